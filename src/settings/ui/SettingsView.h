#pragma once

#include "settings/NotesChoiceModel.h"
#include "settings/SettingsModel.h"
#include "settings/SoundChoiceModel.h"
#include "support/NotificationCenter.h"

#include <QPointer>
#include <QWidget>

#include <functional>
#include <memory>

class QListWidget;
class QSplitter;
class QStackedWidget;

namespace quillet {

class NewFolderSheet;

/// What the settings window shows.
struct SettingsParts {
    std::shared_ptr<SettingsModel> model;
    std::shared_ptr<NotesChoiceModel> notesChoice; ///< null where there is one notes application only
    std::shared_ptr<SoundChoiceModel> soundChoice; ///< null where the devices cannot be chosen
    std::function<QWidget*(QWidget* parent)> makeTemplatesTab;
    NotificationCenter& notifications = NotificationCenter::standard();
};

/// The contents of the settings window: the sections at the side, the selected one beside them. Made anew with each
/// window. Everything is read afresh each time it is shown. While it is there, it turns to the section that somebody
/// asks to see, unless a sheet is open over it.
class SettingsView final : public QWidget {
    Q_OBJECT
public:
    explicit SettingsView(SettingsParts parts, QWidget* parent = nullptr);
    /// An open sheet goes first, while there still is a view to tell.
    ~SettingsView() override;

    [[nodiscard]] QSize sizeHint() const override { return {720, 520}; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void makeSidebar();
    void fitSidebar();
    [[nodiscard]] QWidget* makeTemplates();
    void addPage(QWidget* section);
    void showSheet(bool shown);
    [[nodiscard]] bool hasOpenSheet() const;

    const SettingsParts m_parts;
    QSplitter* m_columns;
    QWidget* m_side;
    QListWidget* m_sidebar;
    QStackedWidget* m_pages;
    QPointer<NewFolderSheet> m_sheet;
};

} // namespace quillet
