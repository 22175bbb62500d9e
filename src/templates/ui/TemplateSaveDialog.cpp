#include "templates/ui/TemplateSaveDialog.h"

#include "platform/FileDialogs.h"
#include "templates/TemplateNames.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QPointer>

#include <utility>

namespace quillet {
namespace {

constexpr QLatin1String kSuffix("json");
constexpr QLatin1String kMimeType("application/json");

void askWithToolkit(QWidget* over, const QString& fileName, std::function<void(const QString& path)> confirmed) {
    auto* const dialog = new QFileDialog(over);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setFileMode(QFileDialog::AnyFile);
    dialog->setMimeTypeFilters({QLatin1String(kMimeType)});
    dialog->setDefaultSuffix(kSuffix);
    dialog->selectFile(fileName);
    QObject::connect(dialog, &QFileDialog::fileSelected, dialog,
                     [confirmed = std::move(confirmed)](const QString& path) {
                         if (!path.isEmpty()) confirmed(path);
                     });
    dialog->setModal(false);
    dialog->show();
}

/// With the suffix where the user left it out; but a file that has that name was not what they agreed to replace.
QString withSuffix(const QString& path) {
    const QString whole = path + QLatin1Char('.') + kSuffix;
    return QFileInfo(path).suffix().isEmpty() && !QFile::exists(whole) ? whole : path;
}

} // namespace

void showTemplateSaveDialog(FileDialogs* dialogs, QWidget* over, const QString& proposedName,
                            std::function<void(const QString& path)> confirmed) {
    const QString fileName = templateFileName(proposedName);
    if (!dialogs) return askWithToolkit(over, fileName, std::move(confirmed));
    dialogs->ask({.kind = FileQuestion::Kind::NewFile,
                  .title = QCoreApplication::translate("quillet::TemplateSaveDialog", "Export Template"),
                  .proposedName = fileName,
                  .mimeType = QLatin1String(kMimeType)},
                 over->window()->windowHandle(), [over = QPointer(over), fileName, confirmed](const FileAnswer& given) {
                     if (given.outcome == FileAnswer::Outcome::Chosen)
                         return confirmed(withSuffix(QFile::decodeName(given.path.c_str())));
                     if (given.outcome == FileAnswer::Outcome::Unavailable) askWithToolkit(over, fileName, confirmed);
                 });
}

} // namespace quillet
