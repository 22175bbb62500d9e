#include "platform/WindowSystem.h"

#include <QDir>
#include <QFile>
#include <QGuiApplication>
#include <QWindow>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace quillet {
namespace {

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using Reply = std::unique_ptr<T, Free>;

bool isSet(const char* variable) { return !qEnvironmentVariableIsEmpty(variable); }

/// Null on other window systems.
xcb_connection_t* x11Connection() {
    auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t atomOf(xcb_connection_t* connection, std::string_view name) {
    const Reply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(
        connection, xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data()), nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace

void activateForUser(QWindow& window) {
    window.raise();
    window.requestActivate();
    xcb_connection_t* const connection = x11Connection();
    if (!connection) return;
    // Extended Window Manager Hints 1.5, "_NET_ACTIVE_WINDOW": 2 stands for a user's own action.
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = static_cast<xcb_window_t>(window.winId());
    message.type = atomOf(connection, "_NET_ACTIVE_WINDOW");
    message.data.data32[0] = 2;
    message.data.data32[1] = XCB_CURRENT_TIME;
    const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    xcb_send_event(connection, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&message));
    xcb_flush(connection);
}

bool windowsMayBeTranslucent() {
    xcb_connection_t* const connection = x11Connection();
    if (!connection) return true; // other window systems always lay windows over each other
    // A compositing manager owns this selection (Extended Window Manager Hints, "_NET_WM_CM_Sn").
    const xcb_atom_t compositor = atomOf(connection, "_NET_WM_CM_S0");
    const Reply<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(connection, xcb_get_selection_owner(connection, compositor), nullptr));
    return owner && owner->owner != XCB_WINDOW_NONE;
}

namespace {

bool isX11There() {
    if (!isSet("DISPLAY")) return false;
    xcb_connection_t* const connection = xcb_connect(nullptr, nullptr);
    const bool works = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return works;
}

bool isWaylandThere() {
    if (!isSet("WAYLAND_DISPLAY")) return false;
    const QByteArray path = QFile::encodeName(
        QDir(qEnvironmentVariable("XDG_RUNTIME_DIR")).filePath(qEnvironmentVariable("WAYLAND_DISPLAY")));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= static_cast<qsizetype>(sizeof address.sun_path)) return false;
    std::copy(path.begin(), path.end(), std::begin(address.sun_path));
    const int socketHandle = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool works = connect(socketHandle, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(socketHandle);
    return works;
}

/// The toolkit's part for Wayland is a package of its own.
bool canShowOnWayland() {
    const QStringList folders = QCoreApplication::libraryPaths();
    return std::any_of(folders.begin(), folders.end(), [](const QString& folder) {
        return !QDir(folder + QStringLiteral("/platforms")).entryList({QStringLiteral("libqwayland*")}).isEmpty();
    });
}

} // namespace

QString whyNoDisplay() {
    const QByteArray chosen = qgetenv("QT_QPA_PLATFORM");
    const bool mayBeX11 = chosen.isEmpty() || chosen.contains("xcb");
    const bool mayBeWayland = chosen.isEmpty() || chosen.contains("wayland");
    if (!mayBeX11 && !mayBeWayland) return {}; // somebody knows what they are doing
    if (mayBeX11 && isX11There()) return {};
    if (!mayBeWayland || !isWaylandThere()) return QStringLiteral("There is no display to show a window on.");
    if (canShowOnWayland()) return {};
    return QStringLiteral(
        "Showing a window on Wayland needs a part of Qt that is not installed (Debian: qt6-wayland).");
}

void chooseWindowSystem() {
    // On Wayland no client may say where its window goes; through XWayland the popover can stand beside its icon.
    if (!isSet("QT_QPA_PLATFORM") && isSet("WAYLAND_DISPLAY") && isSet("DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "xcb;wayland");
}

} // namespace quillet
