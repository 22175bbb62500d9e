#include "support/UserDefaults.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>

namespace quillet {
namespace {

/// "a, b" in a hand-edited INI file arrives as a list.
std::optional<QString> textOf(const QVariant& stored) {
    if (stored.typeId() == QMetaType::QString) return stored.toString();
    if (stored.typeId() == QMetaType::QStringList) return stored.toStringList().join(QLatin1String(", "));
    return std::nullopt;
}

/// Bytes that are text as such: the INI file takes others for Latin-1, where neither a path's letters nor an edit by
/// hand are what they look like.
QVariant legible(const QVariant& value) {
    if (value.typeId() != QMetaType::QByteArray) return value;
    const QByteArray bytes = value.toByteArray();
    const QString text = QString::fromUtf8(bytes);
    return text.toUtf8() == bytes && !text.contains(QChar(u'\0')) ? QVariant(text) : value;
}

} // namespace

std::optional<bool> booleanFrom(const QString& text) {
    const QString lower = text.trimmed().toLower();
    for (const char* yes : {"true", "yes", "on", "1"}) {
        if (lower == QLatin1String(yes)) return true;
    }
    for (const char* no : {"false", "no", "off", "0"}) {
        if (lower == QLatin1String(no)) return false;
    }
    return std::nullopt;
}

std::optional<int> numberFrom(const QString& text, NumberBounds bounds) {
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber && number >= bounds.least && number <= bounds.largest ? std::optional(number) : std::nullopt;
}

bool UserDefaults::boolean(const QString& key, bool absent) const {
    const QVariant stored = value(key);
    if (stored.typeId() == QMetaType::Bool) return stored.toBool();
    // An INI file keeps text; whoever edits it by hand writes what they know from other programs.
    return booleanFrom(stored.toString()).value_or(absent);
}

std::optional<QString> UserDefaults::string(const QString& key) const { return textOf(value(key)); }

std::optional<QByteArray> UserDefaults::data(const QString& key) const {
    const QVariant stored = value(key);
    if (stored.typeId() == QMetaType::QByteArray) return stored.toByteArray();
    const std::optional<QString> text = textOf(stored);
    return text ? std::optional(text->toUtf8()) : std::nullopt;
}

// A QSettings object per call: they are cheap (the parsed file is shared in the process) and need no lock of ours.
QVariant FileUserDefaults::value(const QString& key) const {
    QSettings settings(m_path, QSettings::IniFormat);
    settings.sync();
    return settings.value(key);
}

bool FileUserDefaults::set(const QString& key, const QVariant& value) {
    const QString folder = QFileInfo(m_path).path();
    if (!QFileInfo::exists(folder)) {
        QDir().mkpath(folder);
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    return change(key, legible(value));
}

bool FileUserDefaults::remove(const QString& key) { return change(key, QVariant()); }

bool FileUserDefaults::change(const QString& key, const QVariant& value) {
    QSettings settings(m_path, QSettings::IniFormat);
    const auto put = [&](const QVariant& wanted) {
        wanted.isValid() ? settings.setValue(key, wanted) : settings.remove(key);
        settings.sync();
    };
    const QVariant before = settings.value(key);
    if (!before.isValid() && !value.isValid()) return true;
    put(value);
    // A damaged file, though it is written well, hides the error that tells.
    if (settings.status() != QSettings::AccessError && settings.isWritable()) return true;
    put(before); // what could not be written would be read back by the rest of the process as if it were stored
    return false;
}

QStringList FileUserDefaults::keys() const {
    QSettings settings(m_path, QSettings::IniFormat);
    settings.sync();
    return settings.allKeys();
}

} // namespace quillet
