#include "platform/linux/desktop/LinuxDesktopFiles.h"

#include "platform/linux/desktop/Bus.h"
#include "support/FileUrl.h"

namespace quillet {
namespace {

constexpr bus::Address kFileManager{"org.freedesktop.FileManager1", "/org/freedesktop/FileManager1",
                                    "org.freedesktop.FileManager1"};

} // namespace

LinuxDesktopFiles::LinuxDesktopFiles(const QDBusConnection& bus, OpenFolder openFolder)
    : m_bus(bus), m_openFolder(std::move(openFolder)) {
    if (!m_openFolder) m_openFolder = [this](const std::filesystem::path& folder) { openInFileManager(folder); };
}

void LinuxDesktopFiles::revealInFileManager(const std::filesystem::path& file) {
    const QString uri = QString::fromLatin1(fileUrl(file).toEncoded());
    bus::ask(
        m_bus, bus::startingCall(kFileManager, "ShowItems", {QStringList{uri}, QString()}), &m_context,
        [this, file](const QDBusMessage& reply) {
            if (bus::failed(reply)) m_openFolder(file.parent_path());
        },
        bus::kStartingPatienceMs);
}

} // namespace quillet
