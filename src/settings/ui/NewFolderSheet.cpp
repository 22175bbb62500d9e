#include "settings/ui/NewFolderSheet.h"

#include "widgets/Controls.h"

#include <QLineEdit>
#include <QVBoxLayout>

#include <utility>

namespace quillet {

NewFolderSheet::NewFolderSheet(std::shared_ptr<SettingsModel> model, QWidget* parent)
    : Sheet(tr("Create Notes Folder"), parent), m_model(std::move(model)) {
    setFixedWidth(Theme::shared().scaled(340));
    contents()->addWidget(
        new TextLabel(tr("Enter a name for the new Apple Notes folder where recordings will be saved."),
                      TextStyle::Caption, Ink::Secondary, this));
    auto* const field = new QLineEdit(m_model->newFolderName.value(), this);
    field->setPlaceholderText(tr("Folder name"));
    field->setAccessibleName(tr("Folder name"));
    contents()->addWidget(field);
    auto* const refused =
        new TextLabel(tr("No folder can have this name: it is too long, contains a slash or begins with a dot."),
                      TextStyle::Caption, Ink::Red, this);
    contents()->addWidget(refused);
    contents()->addStretch();
    connect(addCancelButton(tr("Cancel")), &QPushButton::clicked, this, [this] { m_model->cancelNewFolder(); });
    QPushButton* const create = addDefaultButton(tr("Create"));
    connect(create, &QPushButton::clicked, this, [this] { m_model->createFolder(); });
    connect(field, &QLineEdit::textChanged, this, [this](const QString& text) { m_model->newFolderName.set(text); });
    m_model->newFolderName.subscribe(this, [this, create, refused](const QString&) {
        create->setEnabled(m_model->canCreateFolder());
        refused->setVisible(m_model->isNewFolderNameRefused());
        const int wanted = layout()->totalHeightForWidth(width());
        if (isVisible() && wanted > height()) resize(width(), wanted);
    });
    field->setFocus();
}

NewFolderSheet::~NewFolderSheet() {
    if (m_model->showNewFolderSheet.value()) m_model->cancelNewFolder();
}

} // namespace quillet
