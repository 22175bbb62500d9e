#pragma once

#include "platform/linux/LinuxFileServices.h"

#include <QDBusConnection>
#include <QObject>

#include <filesystem>
#include <functional>

namespace quillet {

/// Reveals through the file manager's own interface on the bus; where no file manager answers there, its folder is
/// opened instead.
class LinuxDesktopFiles final : public LinuxFileServices {
public:
    using OpenFolder = std::function<void(const std::filesystem::path& folder)>;

    /// Without a way of its own to open a folder it takes the ordinary one.
    explicit LinuxDesktopFiles(const QDBusConnection& bus, OpenFolder openFolder = {});

    void revealInFileManager(const std::filesystem::path& file) override;

private:
    QDBusConnection m_bus;
    OpenFolder m_openFolder;
    QObject m_context;
};

} // namespace quillet
