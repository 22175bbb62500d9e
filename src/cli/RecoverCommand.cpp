#include "cli/Commands.h"
#include "cli/Options.h"
#include "storage/RecordingFileManager.h"
#include "storage/RecordingRecovery.h"

#include <QFile>

namespace quillet::cli {
namespace {

namespace fs = std::filesystem;

QString describe(const RecoveryOutcome& outcome) {
    QString file = QFile::decodeName(outcome.file.c_str());
    switch (outcome.kind) {
    case RecoveryOutcome::Kind::Repaired:
        return QStringLiteral("repaired: %1 (%2 s)").arg(file).arg(outcome.durationSeconds, 0, 'f', 1);
    case RecoveryOutcome::Kind::BeingWritten:
        return QStringLiteral("being recorded: %1").arg(file);
    case RecoveryOutcome::Kind::NotRepaired:
        return QStringLiteral("not repaired: %1 (%2)").arg(file, outcome.reason);
    }
    return file;
}

} // namespace

int recover(const QStringList& arguments) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Finishes recordings that a crash or a power cut left unfinished. Nothing is ever deleted."));
    const QString folderOption = QStringLiteral("folder");
    parser.addOption({folderOption, QStringLiteral("Folder to look through (default: the recordings folder)."),
                      QStringLiteral("DIR")});
    if (const auto ended = parseOptions(parser, arguments)) return *ended;

    std::vector<fs::path> folders;
    if (parser.isSet(folderOption)) {
        folders.emplace_back(QFile::encodeName(parser.value(folderOption)).toStdString());
    } else {
        folders = RecordingFileManager(FileServices::standard(), UserDefaults::standard()).recordingFolders();
    }

    bool allRepaired = true;
    for (const fs::path& folder : folders) {
        std::error_code error;
        if (!fs::is_directory(folder, error)) {
            if (!parser.isSet(folderOption)) continue;
            complain(QStringLiteral("%1 is not a folder.").arg(QFile::decodeName(folder.c_str())));
            return Failed;
        }
        if (fs::directory_iterator(folder, error); error) {
            complain(QStringLiteral("%1 cannot be read: %2.")
                         .arg(QFile::decodeName(folder.c_str()), PlatformError::fromErrno(error.value()).description));
            allRepaired = false;
        }
        for (const RecoveryOutcome& outcome : recoverRecordings(folder)) {
            print(describe(outcome));
            allRepaired = allRepaired && outcome.kind != RecoveryOutcome::Kind::NotRepaired;
        }
    }
    return allRepaired ? Done : Failed;
}

} // namespace quillet::cli
