#include "support/UserDefaults.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

namespace quillet {

bool UserDefaults::boolean(const QString& key, bool absent) const {
    const QVariant stored = value(key);
    if (stored.typeId() == QMetaType::Bool) return stored.toBool();
    // An INI file keeps text; whoever edits it by hand writes what they know from other programs.
    const QString text = stored.toString().trimmed().toLower();
    if (text == QLatin1String("true") || text == QLatin1String("1") || text == QLatin1String("yes")) return true;
    if (text == QLatin1String("false") || text == QLatin1String("0") || text == QLatin1String("no")) return false;
    return absent;
}

std::optional<QString> UserDefaults::string(const QString& key) const {
    const QVariant stored = value(key);
    if (stored.typeId() == QMetaType::QString) return stored.toString();
    // "a, b" in a hand-edited INI file arrives as a list.
    if (stored.typeId() == QMetaType::QStringList) return stored.toStringList().join(QLatin1String(", "));
    return std::nullopt;
}

std::optional<QByteArray> UserDefaults::data(const QString& key) const {
    const QVariant stored = value(key);
    if (stored.typeId() == QMetaType::QByteArray) return stored.toByteArray();
    if (stored.typeId() == QMetaType::QString) return stored.toString().toUtf8();
    return std::nullopt;
}

// A QSettings object per call: they are cheap (the parsed file is shared in the process) and need no lock of ours.
QVariant FileUserDefaults::value(const QString& key) const {
    QSettings settings(m_path, QSettings::IniFormat);
    settings.sync();
    return settings.value(key);
}

void FileUserDefaults::set(const QString& key, const QVariant& value) {
    const QString folder = QFileInfo(m_path).path();
    if (!QFileInfo::exists(folder)) {
        QDir().mkpath(folder);
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    QSettings settings(m_path, QSettings::IniFormat);
    settings.setValue(key, value);
    settings.sync();
}

void FileUserDefaults::remove(const QString& key) {
    QSettings settings(m_path, QSettings::IniFormat);
    settings.remove(key);
    settings.sync();
}

QStringList FileUserDefaults::keys() const {
    QSettings settings(m_path, QSettings::IniFormat);
    settings.sync();
    return settings.allKeys();
}

} // namespace quillet
