#include "settings/ui/FolderDialogs.h"

#include "widgets/WindowHost.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QPointer>

#include <utility>

namespace quillet {
namespace {

QString translated(const QString& source) {
    return QCoreApplication::translate("quillet::FolderChooser", source.toUtf8().constData());
}

} // namespace

FolderChooser makeFolderChooser() {
    return [present = QPointer<QFileDialog>()](const FolderQuestion& question, auto answer) mutable {
        if (present && present->isVisible())
            return bringToFront(*present); // it holds up nothing, so the user may ask again
        auto* const dialog = new QFileDialog(QApplication::activeWindow(), translated(question.title));
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
        present = dialog;
        dialog->setModal(false);
        dialog->show();
    };
}

} // namespace quillet
