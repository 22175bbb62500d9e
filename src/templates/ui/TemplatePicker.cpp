#include "templates/ui/TemplatePicker.h"

#include "templates/TemplateNames.h"
#include "widgets/Theme.h"

#include <QAbstractListModel>
#include <QListView>
#include <QPainter>
#include <QStyledItemDelegate>

#include <algorithm>

namespace quillet {
namespace {

/// An entry as in a menu: room around the text, and a rounded ground below the one that the pointer or the keys are on.
class EntryDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        return {0, option.fontMetrics.height() + 2 * Theme::shared().scaled(6)};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const bool isMarked = option.state & QStyle::State_Selected;
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        if (isMarked) {
            const double radius = Theme::shared().scaled(5);
            painter->setPen(Qt::NoPen);
            painter->setBrush(Theme::shared().fill(Fill::Selection));
            painter->drawRoundedRect(QRectF(option.rect).adjusted(3, 1, -3, -1), radius, radius);
        }
        const int margin = Theme::shared().scaled(10);
        const QRect place = option.rect.adjusted(margin, 0, -margin, 0);
        painter->setPen(Theme::shared().ink(Ink::Label));
        painter->setFont(option.font);
        painter->drawText(place, Qt::AlignVCenter | Qt::AlignLeading | Qt::TextSingleLine,
                          option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, place.width()));
        painter->restore();
    }
};

} // namespace

/// Makes the text of an entry only when that is asked for.
class TemplatePicker::Entries final : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    void set(const std::vector<MeetingTemplate>& templates) {
        beginResetModel();
        m_templates = templates;
        endResetModel();
    }
    [[nodiscard]] const std::vector<MeetingTemplate>& templates() const { return m_templates; }

    [[nodiscard]] int rowCount(const QModelIndex& parent) const override {
        return parent.isValid() ? 0 : static_cast<int>(m_templates.size());
    }
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override {
        constexpr int kShownCharacters = 100;
        if (!index.isValid() || role != Qt::DisplayRole) return {};
        return templateNameForOneLine(m_templates[static_cast<std::size_t>(index.row())].name, kShownCharacters);
    }

private:
    std::vector<MeetingTemplate> m_templates;
};

TemplatePicker::TemplatePicker(std::function<void(const QUuid&)> onChoose, QWidget* parent)
    : ComboBox(parent), m_entries(new Entries(this)) {
    auto* const list = new QListView(this);
    list->setUniformItemSizes(true);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setFrameShape(QFrame::NoFrame);
    setView(list);
    setItemDelegate(new EntryDelegate(this));
    setModel(m_entries);
    setSizeAdjustPolicy(AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(12);
    setMaxVisibleItems(14);
    connect(this, &QComboBox::activated, this, [this, onChoose = std::move(onChoose)](int index) {
        if (index >= 0) onChoose(m_entries->templates().at(static_cast<std::size_t>(index)).id);
    });
}

void TemplatePicker::setTemplates(const std::vector<MeetingTemplate>& templates) {
    m_entries->set(templates);
    showSelection();
}

void TemplatePicker::setSelectedId(const std::optional<QUuid>& id) {
    m_selectedId = id;
    showSelection();
}

void TemplatePicker::showSelection() {
    const auto& all = m_entries->templates();
    const auto found =
        std::find_if(all.begin(), all.end(), [this](const auto& each) { return each.id == m_selectedId; });
    setCurrentIndex(found == all.end() ? -1 : static_cast<int>(found - all.begin()));
}

} // namespace quillet
