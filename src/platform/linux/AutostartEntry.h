#pragma once

#include "platform/LoginItem.h"

#include <QByteArray>

#include <filesystem>
#include <functional>
#include <optional>

namespace quillet {

/// A desktop file in the user's autostart folder, as the XDG autostart specification has it. Desktops switch an entry
/// off by a key inside it rather than by removing it, so both count, and users change what else it says, which stays
/// when the program moves. The file is replaced as a whole, never half written and never through a symbolic link, and
/// one that cannot be written stays as it was.
class AutostartEntry final : public LoginItem {
public:
    /// The folder is the "autostart" folder itself. The program is asked for its path at each call; a relative or
    /// missing one is never written.
    AutostartEntry(std::filesystem::path folder, std::function<std::filesystem::path()> program);

    [[nodiscard]] bool isEnabled() const override;
    Result<void> registerItem() override;
    Result<void> unregisterItem() override;
    void followProgram() override;

private:
    [[nodiscard]] std::optional<QByteArray> read() const;
    [[nodiscard]] Result<void> write(const QByteArray& contents) const;
    [[nodiscard]] Result<std::filesystem::path> usableProgram() const;

    const std::filesystem::path m_folder;
    const std::filesystem::path m_file;
    const std::function<std::filesystem::path()> m_program;
};

} // namespace quillet
