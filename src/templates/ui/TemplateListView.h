#pragma once

#include "templates/ui/TemplateRowView.h"

#include <QAbstractScrollArea>

#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace quillet {

/// The scrolling list of templates. Only the rows in view exist, so that ten thousand templates cost no more than ten.
/// It is one stop for the Tab key: Tab goes through the buttons of the current row and on, the arrow keys (and Page
/// Up, Page Down, Home, End) go to other rows. Owned by the tab; main thread; nothing fails.
class TemplateListView final : public QAbstractScrollArea {
    Q_OBJECT
public:
    using MakeActions = std::function<TemplateRowActions(const MeetingTemplate&)>;

    explicit TemplateListView(MakeActions makeActions, QWidget* parent = nullptr);

    void setTemplates(std::vector<MeetingTemplate> templates);
    /// The rows with this id carry the mark.
    void setSelectedId(const std::optional<QUuid>& id);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] TemplateRowView::Form rowForm() const;
    [[nodiscard]] int rowHeight() const;
    [[nodiscard]] int rowCount() const { return static_cast<int>(m_templates.size()); }
    [[nodiscard]] std::optional<int> rowOf(const QObject* control) const;
    void updateScrollBar();
    void showRowsInView();
    TemplateRowView* makeRow(int index);
    void discardRow(TemplateRowView* row);
    void makeCurrent(int index);
    void scrollTo(int index);
    void moveTo(int index, std::size_t control);
    bool handleKey(int index, const QObject* control, int key);
    void rebuild();

    const MakeActions m_makeActions;
    std::vector<MeetingTemplate> m_templates;
    std::optional<QUuid> m_selectedId;
    std::map<int, TemplateRowView*> m_rows; ///< those in view, and the current one
    int m_current = 0;
};

} // namespace quillet
