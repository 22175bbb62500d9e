#include "templates/ui/TemplateSaveDialog.h"

#include "templates/TemplateNames.h"

#include <QFileDialog>

#include <utility>

namespace quillet {

void showTemplateSaveDialog(QWidget* over, const QString& proposedName,
                            std::function<void(const QString& path)> confirmed) {
    auto* const dialog = new QFileDialog(over);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setMimeTypeFilters({QStringLiteral("application/json")});
    dialog->setDefaultSuffix(QStringLiteral("json"));
    dialog->selectFile(templateFileName(proposedName));
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog,
                     [confirmed = std::move(confirmed)](const QString& path) {
                         if (!path.isEmpty()) confirmed(path);
                     });
    dialog->setModal(false);
    dialog->show();
}

} // namespace quillet
