#include "settings/ui/FolderDialogs.h"

#include "platform/FileDialogs.h"
#include "widgets/WindowHost.h"

#include <QApplication>
#include <QFile>
#include <QFileDialog>
#include <QPointer>

#include <memory>
#include <utility>

namespace quillet {
namespace {

using Answer = std::function<void(std::optional<std::filesystem::path>)>;

QString translated(const QString& source) {
    return QCoreApplication::translate("quillet::FolderChooser", source.toUtf8().constData());
}

/// Holds up nothing, so the user may ask again while it is open; that raises it.
class ToolkitDialog {
public:
    void ask(const FolderQuestion& question, QWidget* over, Answer answer) {
        if (m_dialog && m_dialog->isVisible()) return bringToFront(*m_dialog);
        auto* const dialog = new QFileDialog(over, translated(question.title));
        m_dialog = dialog;
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
        dialog->setModal(false);
        dialog->show();
    }

private:
    QPointer<QFileDialog> m_dialog;
};

} // namespace

FolderChooser makeFolderChooser(FileDialogs* dialogs) {
    return [dialogs, toolkit = std::make_shared<ToolkitDialog>()](const FolderQuestion& question, Answer answer) {
        const QPointer over(QApplication::activeWindow());
        if (!dialogs) return toolkit->ask(question, over, std::move(answer));
        dialogs->ask({.title = translated(question.title), .startFolder = question.startFolder},
                     over ? over->windowHandle() : nullptr, [toolkit, question, over, answer](const FileAnswer& given) {
                         switch (given.outcome) {
                         case FileAnswer::Outcome::Chosen:
                             return answer(given.path);
                         case FileAnswer::Outcome::Declined:
                             return answer(std::nullopt);
                         case FileAnswer::Outcome::Unavailable:
                             return toolkit->ask(question, over, answer);
                         }
                     });
    };
}

} // namespace quillet
