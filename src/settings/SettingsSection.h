#pragma once

#include <QString>

#include <array>
#include <optional>

namespace quillet {

/// The sections of the settings window.
enum class SettingsSection { General, AI, Templates };

/// How a section presents itself in the sidebar.
struct SettingsSectionInfo {
    SettingsSection section;
    const char* rawValue; ///< also the title, before translation
    const char* symbol;
};

/// In the order of the sidebar.
inline constexpr std::array<SettingsSectionInfo, 3> kSettingsSections{{
    {SettingsSection::General, QT_TRANSLATE_NOOP("quillet::SettingsView", "General"), "gear"},
    {SettingsSection::AI, QT_TRANSLATE_NOOP("quillet::SettingsView", "AI & Privacy"), "brain"},
    {SettingsSection::Templates, QT_TRANSLATE_NOOP("quillet::SettingsView", "Templates"), "doc.text"},
}};

/// The section of that raw value; nothing for any other text.
[[nodiscard]] inline std::optional<SettingsSection> settingsSection(const QString& rawValue) {
    for (const SettingsSectionInfo& info : kSettingsSections) {
        if (rawValue == QLatin1String(info.rawValue)) return info.section;
    }
    return std::nullopt;
}

} // namespace quillet
