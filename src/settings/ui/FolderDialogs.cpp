#include "settings/ui/FolderDialogs.h"

#include "platform/FileDialogs.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QPointer>

#include <utility>

namespace quillet {
namespace {

using Answer = std::function<void(std::optional<std::filesystem::path>)>;

QString translated(const QString& source) {
    return QCoreApplication::translate("quillet::FolderChooser", source.toUtf8().constData());
}

void askWithToolkit(const FolderQuestion& question, QWidget* over, Answer answer) {
    auto* const dialog = new QFileDialog(over, translated(question.title));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    // There is no place for a message in these dialogs but the label of the list and what is read out.
    dialog->setAccessibleDescription(translated(question.message));
    if (question.startFolder) dialog->setDirectory(QFile::decodeName(question.startFolder->c_str()));
    QObject::connect(dialog, &QFileDialog::finished, dialog, [dialog, answer = std::move(answer)](int result) {
        const QStringList chosen = dialog->selectedFiles();
        if (result != QDialog::Accepted || chosen.isEmpty()) return answer(std::nullopt);
        answer(std::filesystem::path(QFile::encodeName(chosen.constFirst()).toStdString()));
    });
    dialog->open();
}

} // namespace

FolderChooser makeFolderChooser(FileDialogs* dialogs) {
    return [dialogs](const FolderQuestion& question, Answer answer) {
        const QPointer over(QApplication::activeWindow());
        if (!dialogs) return askWithToolkit(question, over, std::move(answer));
        dialogs->ask({.title = translated(question.title), .startFolder = question.startFolder},
                     over ? over->windowHandle() : nullptr, [question, over, answer](const FileAnswer& given) {
                         switch (given.outcome) {
                         case FileAnswer::Outcome::Chosen:
                             return answer(given.path);
                         case FileAnswer::Outcome::Declined:
                             return answer(std::nullopt);
                         case FileAnswer::Outcome::Unavailable:
                             return askWithToolkit(question, over, answer);
                         }
                     });
    };
}

} // namespace quillet
