#include "templates/TemplateFiles.h"

#include "templates/TemplateRecords.h"

#include <QFileInfo>
#include <QSaveFile>
#include <QSet>

#include <memory>

namespace quillet::TemplateFiles {
namespace {

constexpr qint64 kLargestFile = 64 * 1024 * 1024;

/// QSaveFile writes beside the file, under its name and seven bytes more.
bool canBeSavedBeside(const QFileInfo& target) {
    constexpr qsizetype kLongestName = 255 - 7;
    return QFile::encodeName(target.fileName()).size() <= kLongestName;
}

} // namespace

Result<void, QString> write(const QString& path, const QByteArray& bytes) {
    const auto failure = [&path](const QFileDevice& file) {
        return Failure{QStringLiteral("%1 cannot be written: %2.").arg(path, file.errorString())};
    };
    // A pipe or a terminal is written to, never replaced.
    if (const QFileInfo target(path); (target.exists() && !target.isFile()) || !canBeSavedBeside(target)) {
        QFile inPlace(path);
        if (!inPlace.open(QFile::WriteOnly) || inPlace.write(bytes) != bytes.size() || !inPlace.flush())
            return failure(inPlace);
        return {};
    }
    QSaveFile file(path);
    file.setDirectWriteFallback(true); // for a file in a folder that takes no new ones
    if (!file.open(QFile::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit()) return failure(file);
    return {};
}

Result<QByteArray, QString> read(const QString& path) {
    QFile file(path);
    if (!file.open(QFile::ReadOnly))
        return Failure{QStringLiteral("%1 cannot be read: %2.").arg(path, file.errorString())};
    // Devices have no end, and tell no size.
    QByteArray bytes = file.read(kLargestFile + 1);
    if (file.error() != QFile::NoError)
        return Failure{QStringLiteral("%1 cannot be read: %2.").arg(path, file.errorString())};
    if (bytes.size() > kLargestFile)
        return Failure{QStringLiteral("%1 is larger than 64 MB, too large for templates.").arg(path)};
    return bytes;
}

Result<std::vector<MeetingTemplate>, QString> imported(const QByteArray& json,
                                                       const std::vector<MeetingTemplate>& existing) {
    auto decoded = TemplateRecords::decodeListOrRecord(json);
    if (!decoded) return decoded;
    QSet<QUuid> taken;
    for (const MeetingTemplate& each : existing) taken.insert(each.id);
    for (MeetingTemplate& each : *decoded) {
        if (taken.contains(each.id)) each.id = QUuid::createUuid();
        taken.insert(each.id);
        each.isDefault = false;
        each.isBuiltIn = false;
    }
    return decoded;
}

} // namespace quillet::TemplateFiles
