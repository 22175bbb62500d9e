#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

namespace quillet {

/// The words for yes and no that people write into settings, whatever their case; absent for any other.
[[nodiscard]] std::optional<bool> booleanFrom(const QString& text);

struct NumberBounds {
    int least;
    int largest;
};
/// The number that a setting holds as text; absent for any other text, and for a number outside the bounds.
[[nodiscard]] std::optional<int> numberFrom(const QString& text, NumberBounds bounds);

/// The program's persistent settings: typed values under text keys. Any thread; nothing is cached, so that a change
/// made by another process is seen by the next read. A stored value of another type reads as absent.
class UserDefaults {
public:
    virtual ~UserDefaults() = default;

    [[nodiscard]] bool boolean(const QString& key, bool absent = false) const;
    [[nodiscard]] std::optional<QString> string(const QString& key) const;
    [[nodiscard]] std::optional<QByteArray> data(const QString& key) const;

    /// False when the change could not be stored: what was there before goes on counting.
    virtual bool set(const QString& key, const QVariant& value) = 0;
    virtual bool remove(const QString& key) = 0;
    [[nodiscard]] virtual QStringList keys() const = 0;

    /// The user's own store.
    static UserDefaults& standard();

protected:
    [[nodiscard]] virtual QVariant value(const QString& key) const = 0;
};

namespace DefaultsKeys {
inline const QString hasCompletedOnboarding = QStringLiteral("hasCompletedOnboarding");               ///< Bool
inline const QString onboardingAIShown = QStringLiteral("onboardingAIShown");                         ///< Bool
inline const QString autoCreateNote = QStringLiteral("corvane.autoCreateNote");                       ///< Bool
inline const QString automationPromptAttempted = QStringLiteral("corvane.automationPromptAttempted"); ///< Bool
inline const QString automationGrantedCached = QStringLiteral("corvane.automationGrantedCached");     ///< Bool
inline const QString customTemplates = QStringLiteral("corvane.customTemplates");                     ///< data: JSON
inline const QString includeConsentTimestamp = QStringLiteral("corvane.includeConsentTimestamp");     ///< Bool
inline const QString notesFolderName = QStringLiteral("corvane.notesFolderName");                     ///< text
inline const QString joplinPort = QStringLiteral("corvane.joplinPort");               ///< text: a port number
inline const QString joplinToken = QStringLiteral("corvane.joplinToken");             ///< text, secret
inline const QString notesApplication = QStringLiteral("corvane.notesApplication");   ///< text: of DefaultsValues
inline const QString notesVaultFolder = QStringLiteral("corvane.notesVaultFolder");   ///< data: absolute path
inline const QString localModelAddress = QStringLiteral("corvane.localModelAddress"); ///< text: a loopback address
inline const QString localModelName = QStringLiteral("corvane.localModelName");       ///< text
inline const QString localModelContext = QStringLiteral("corvane.localModelContext"); ///< text: tokens
inline const QString cloudModelAddress = QStringLiteral("corvane.cloudModelAddress"); ///< text: an https address
inline const QString cloudModelName = QStringLiteral("corvane.cloudModelName");       ///< text
inline const QString cloudModelContext = QStringLiteral("corvane.cloudModelContext"); ///< text: tokens
// Stored settings are found under exactly these two, which have no prefix.
inline const QString useLocalSummarisation = QStringLiteral("useLocalSummarisation"); ///< Bool, absent: true
inline const QString cloudFallbackEnabled = QStringLiteral("cloudFallbackEnabled");   ///< Bool, absent: true
inline const QString recordingsFolderBookmark = QStringLiteral("corvane.recordingsFolderBookmark"); ///< data
inline const QString systemAudioDevice = QStringLiteral("corvane.systemAudioDevice");   ///< text: a device's name
inline const QString microphoneDevice = QStringLiteral("corvane.microphoneDevice");     ///< text: a device's name
inline const QString selectedTemplateId = QStringLiteral("corvane.selectedTemplateId"); ///< text: a UUID
} // namespace DefaultsKeys

/// What some of them hold.
namespace DefaultsValues {
inline const QString vault = QStringLiteral("vault");   ///< a notes application
inline const QString joplin = QStringLiteral("joplin"); ///< a notes application
inline constexpr NumberBounds kPorts{1, 65'535};
inline constexpr NumberBounds kContextTokens{1024, 4'000'000};
/// What local servers allow when they are told nothing else; some drop what is beyond without a word.
inline constexpr int kUsualLocalContext = 4096;
inline constexpr int kUsualCloudContext = 32'768;
} // namespace DefaultsValues

/// A settings file in INI form, created with its folder (0700) on the first write.
class FileUserDefaults final : public UserDefaults {
public:
    explicit FileUserDefaults(QString path) : m_path(std::move(path)) {}
    bool set(const QString& key, const QVariant& value) override;
    bool remove(const QString& key) override;
    [[nodiscard]] QStringList keys() const override;

protected:
    [[nodiscard]] QVariant value(const QString& key) const override;

private:
    bool change(const QString& key, const QVariant& value);

    const QString m_path;
};

/// Settings that end with the process: for tests and for a run whose choices are not to be kept. One thread only.
class MemoryUserDefaults final : public UserDefaults {
public:
    bool set(const QString& key, const QVariant& value) override {
        m_values.insert(key, value);
        return true;
    }
    bool remove(const QString& key) override {
        m_values.remove(key);
        return true;
    }
    [[nodiscard]] QStringList keys() const override { return m_values.keys(); }

protected:
    [[nodiscard]] QVariant value(const QString& key) const override { return m_values.value(key); }

private:
    QVariantMap m_values;
};

} // namespace quillet
