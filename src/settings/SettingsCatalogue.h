#pragma once

#include "platform/FileServices.h"
#include "support/Result.h"
#include "support/UserDefaults.h"

#include <QString>
#include <QStringList>
#include <QVariant>

#include <span>

namespace quillet {

/// One setting of the product, for whoever sets it up without a screen.
struct SettingInfo {
    enum class Type {
        Bool,     ///< true or false
        Text,     ///< any text
        Choice,   ///< one of the choices
        Folder,   ///< an absolute path
        Bookmark, ///< the same, kept as the system's lasting reference to the folder
        Uuid,
        Port,         ///< of a service on this machine
        LocalAddress, ///< of a service on this machine
        CloudAddress, ///< of a service elsewhere
        Tokens,       ///< how much a language model can hold
        Secret,       ///< never shown
        Templates     ///< as JSON
    };
    QString key;
    Type type = Type::Text;
    QString absent; ///< what counts when the setting is absent, as text
    QString summary;
    QStringList choices; ///< with Choice only
};

/// Every setting, in the order in which they are listed.
[[nodiscard]] std::span<const SettingInfo> settingsCatalogue();
/// Null for a key that is no setting.
[[nodiscard]] const SettingInfo* findSetting(const QString& key);

/// The value to store for a text; the error is a sentence for the user.
[[nodiscard]] Result<QVariant, QString> parseSetting(const SettingInfo& setting, const QString& text,
                                                     FileServices& files);
/// What is stored, as parseSetting() takes it ("(set)" for a secret); what counts instead when nothing (or nothing
/// sensible) is stored. Templates are shown also when they cannot be read, so that they can be mended.
[[nodiscard]] QString settingText(const SettingInfo& setting, const UserDefaults& defaults, FileServices& files);

} // namespace quillet
