#pragma once

#include "support/Result.h"

#include <QString>
#include <QStringList>

#include <filesystem>
#include <functional>
#include <mutex>

namespace quillet {

/// Keeps what Joplin's user answered: the token of a consent, or that there was a refusal, which Joplin itself forgets.
/// Any thread.
class JoplinSecrets {
public:
    virtual ~JoplinSecrets() = default;

    /// Tokens worth trying, the likeliest first.
    [[nodiscard]] virtual QStringList tokens() const = 0;
    [[nodiscard]] virtual bool isRefused() const = 0;
    /// A consent ends a refusal.
    virtual Result<void> keepToken(const QString& token) = 0;
    /// A refusal leaves earlier tokens alone: Joplin may take one of them again.
    virtual Result<void> setRefused(bool refused) = 0;
};

/// Keeps them in a file that only its owner can read, apart from the settings, which are shown and copied around. Reads
/// it anew each time, because the command line may be told meanwhile. A damaged file counts as empty.
class FileJoplinSecrets final : public JoplinSecrets {
public:
    using GivenToken = std::function<QString()>;

    /// A token that the user gives by hand, for a Joplin without a screen to ask on, comes before the file's.
    explicit FileJoplinSecrets(const std::filesystem::path& file, GivenToken givenToken = {});

    [[nodiscard]] QStringList tokens() const override;
    [[nodiscard]] bool isRefused() const override;
    Result<void> keepToken(const QString& token) override;
    Result<void> setRefused(bool refused) override;

private:
    struct Contents {
        QString token;
        bool isRefused = false;
    };
    [[nodiscard]] Contents read() const;
    Result<void> write(const Contents& contents);

    const QString m_path;
    const GivenToken m_givenToken;
    mutable std::mutex m_mutex;
};

} // namespace quillet
