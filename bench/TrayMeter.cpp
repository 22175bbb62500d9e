// Stands where a panel would, starts the tray application and measures what a user would notice of it; what it finds is
// printed as JSON: quillet-bench-tray PROGRAM STARTS IDLE-SECONDS. Needs a session bus without another panel, a
// display, and a sound server for the part in which a recording runs.

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <thread>
#include <xcb/xcb.h>

namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kPatience = 15s;

double millisecondsSince(Clock::time_point begin) {
    return std::chrono::duration<double, std::milli>(Clock::now() - begin).count();
}

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "quillet-bench-tray: %s\n", what);
    std::exit(EXIT_FAILURE); // NOLINT(concurrency-mt-unsafe)
}

/// Lets messages in for a while, or until the condition holds.
template <typename Condition>
bool waitFor(std::chrono::milliseconds longest, Condition condition) {
    const auto begin = Clock::now();
    while (!condition()) {
        if (Clock::now() - begin > longest) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
    }
    return true;
}

void rest(std::chrono::milliseconds time) {
    QEventLoop loop;
    QTimer::singleShot(time, Qt::PreciseTimer, &loop, &QEventLoop::quit);
    loop.exec();
}

/// Takes items as a panel's tray does.
class Watcher final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)
    Q_PROPERTY(int ProtocolVersion READ version)
public:
    [[nodiscard]] QStringList items() const { return m_items; }
    [[nodiscard]] bool hasHost() const { return true; }
    [[nodiscard]] int version() const { return 0; }
    [[nodiscard]] QString lastItem() const { return m_items.value(m_items.size() - 1); }
    [[nodiscard]] Clock::time_point lastTime() const { return m_time; }
    void forget() { m_items.clear(); }

public Q_SLOTS:
    void RegisterStatusNotifierItem(const QString&) {
        m_time = Clock::now();
        m_items.append(message().service());
    }
    void RegisterStatusNotifierHost(const QString&) {}

private:
    QStringList m_items;
    Clock::time_point m_time;
};

/// What the kernel knows of a process.
class Account {
public:
    explicit Account(qint64 pid) : m_folder(u"/proc/%1/"_s.arg(pid)) {}

    [[nodiscard]] double residentMiB() const { return field(u"status"_s, "VmRSS:") / 1024; }
    [[nodiscard]] double proportionalMiB() const { return field(u"smaps_rollup"_s, "Pss:") / 1024; }
    /// Of all threads that there are.
    [[nodiscard]] double wakeUps() const {
        double all = 0;
        for (const QString& task : tasks()) all += field(u"task/"_s + task + u"/status"_s, "voluntary_ctxt_switches:");
        return all;
    }
    [[nodiscard]] double cpuSeconds() const {
        double all = 0;
        for (const QString& task : tasks())
            all += read(u"task/"_s + task + u"/schedstat"_s).split(' ').value(0).toDouble();
        return all / 1e9;
    }
    [[nodiscard]] qsizetype threads() const { return tasks().size(); }

private:
    [[nodiscard]] QStringList tasks() const {
        return QDir(m_folder + u"task"_s).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    }
    [[nodiscard]] QByteArray read(const QString& name) const {
        QFile file(m_folder + name);
        return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
    }
    [[nodiscard]] double field(const QString& file, const char* name) const {
        for (const QByteArray& line : read(file).split('\n')) {
            if (line.startsWith(name))
                return line.mid(static_cast<int>(qstrlen(name))).simplified().split(' ')[0].toDouble();
        }
        fail("the process has ended");
    }

    const QString m_folder;
};

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

/// The screen as somebody in front of it sees it. Without a window manager, windows are the root's own children.
class Screen {
public:
    Screen() : m_connection(xcb_connect(nullptr, nullptr), &xcb_disconnect) {
        if (xcb_connection_has_error(m_connection.get()) != 0) fail("there is no display");
        const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(m_connection.get())).data->root;
        const std::uint32_t mask = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
        xcb_change_window_attributes(m_connection.get(), root, XCB_CW_EVENT_MASK, &mask);
        forget();
    }
    /// Of what has happened up to now.
    void forget() {
        free(xcb_get_input_focus_reply(m_connection.get(), xcb_get_input_focus(m_connection.get()), nullptr));
        while (nextEvent()) {
        }
    }
    /// Waits for a window of a popover's size.
    xcb_window_t waitForWindow() {
        const auto begin = Clock::now();
        while (Clock::now() - begin < kPatience) {
            const auto event = nextEvent();
            if (!event) {
                std::this_thread::sleep_for(200us);
            } else if ((event->response_type & 0x7f) == XCB_MAP_NOTIFY) {
                const xcb_window_t window = reinterpret_cast<const xcb_map_notify_event_t*>(event.get())->window;
                if (sizeOf(window).first >= 200) return window;
            }
        }
        fail("no window has come");
    }
    /// Until there is more than a ground to be seen in it.
    void waitForPicture(xcb_window_t window) {
        const auto begin = Clock::now();
        while (Clock::now() - begin < kPatience) {
            if (colours(window) > 16) return;
            std::this_thread::sleep_for(500us);
        }
        fail("the window stays empty");
    }

private:
    template <typename T>
    using Reply = std::unique_ptr<T, Free>;

    Reply<xcb_generic_event_t> nextEvent() {
        return Reply<xcb_generic_event_t>(xcb_poll_for_event(m_connection.get()));
    }
    std::pair<std::uint16_t, std::uint16_t> sizeOf(xcb_window_t window) {
        const Reply<xcb_get_geometry_reply_t> reply(
            xcb_get_geometry_reply(m_connection.get(), xcb_get_geometry(m_connection.get(), window), nullptr));
        return reply ? std::pair(reply->width, reply->height) : std::pair<std::uint16_t, std::uint16_t>();
    }
    std::size_t colours(xcb_window_t window) {
        const auto [width, height] = sizeOf(window);
        const Reply<xcb_get_image_reply_t> image(xcb_get_image_reply(
            m_connection.get(),
            xcb_get_image(m_connection.get(), XCB_IMAGE_FORMAT_Z_PIXMAP, window, 0, 0, width, height, ~0U), nullptr));
        if (!image) return 0;
        const auto* const pixels = reinterpret_cast<const std::uint32_t*>(xcb_get_image_data(image.get()));
        return std::set<std::uint32_t>(pixels, pixels + xcb_get_image_data_length(image.get()) / 4).size();
    }

    const std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection;
};

/// Whether a recording has come into the home that was empty.
bool isRecording() {
    const QDir folder(qEnvironmentVariable("XDG_DATA_HOME") + u"/quillet/Recordings"_s);
    const QFileInfoList files = folder.entryInfoList({u"*.m4a"_s}, QDir::Files);
    return std::any_of(files.begin(), files.end(), [](const QFileInfo& file) { return file.size() > 0; });
}

class Meter {
public:
    explicit Meter(const QString& program) : m_program(program) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        const auto all = QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties;
        if (!bus.registerObject(u"/StatusNotifierWatcher"_s, &m_watcher, all) ||
            !bus.registerService(u"org.kde.StatusNotifierWatcher"_s))
            fail("there is no session bus, or a panel on it already");
    }
    ~Meter() {
        if (m_process.state() == QProcess::NotRunning) return;
        m_process.kill();
        m_process.waitForFinished();
    }

    /// Milliseconds from the start of the process until a panel is told of the item.
    double start() {
        m_watcher.forget();
        const auto begin = Clock::now();
        m_process.setProcessChannelMode(QProcess::ForwardedChannels);
        m_process.start(m_program, {u"--skip-onboarding"_s});
        if (!waitFor(kPatience, [this] { return !m_watcher.lastItem().isEmpty(); })) fail("no item has come");
        return std::chrono::duration<double, std::milli>(m_watcher.lastTime() - begin).count();
    }
    void stop() {
        tell(u"--quit"_s);
        if (!m_process.waitForFinished(15000)) fail("it does not quit");
    }
    QJsonObject idle(int seconds) {
        const Account account(m_process.processId());
        const double wakeUps = account.wakeUps();
        const double cpu = account.cpuSeconds();
        rest(std::chrono::seconds(seconds));
        return {{u"wakeups"_s, account.wakeUps() - wakeUps},
                {u"cpu_ms"_s, (account.cpuSeconds() - cpu) * 1000},
                {u"resident_mib"_s, account.residentMiB()},
                {u"threads"_s, account.threads()},
                {u"proportional_mib"_s, account.proportionalMiB()}};
    }
    /// Milliseconds from a press on the item until the popover is on the screen, and until it can be read there.
    QJsonObject open() {
        m_screen.forget();
        const auto begin = Clock::now();
        press();
        const xcb_window_t window = m_screen.waitForWindow();
        const double mapped = millisecondsSince(begin);
        m_screen.waitForPicture(window);
        const double painted = millisecondsSince(begin);
        rest(600ms);
        return {{u"mapped_ms"_s, mapped}, {u"painted_ms"_s, painted}};
    }
    void close() {
        press();
        rest(600ms);
    }
    void toggleRecording() { tell(u"--toggle-recording"_s); }

private:
    void press() {
        QDBusMessage call = QDBusMessage::createMethodCall(m_watcher.lastItem(), u"/StatusNotifierItem"_s,
                                                           u"org.kde.StatusNotifierItem"_s, u"Activate"_s);
        call.setArguments({1000, 10});
        QDBusConnection::sessionBus().send(call);
    }
    void tell(const QString& command) const {
        if (QProcess::execute(m_program, {command}) != 0) fail("the running program cannot be told");
    }

    const QString m_program;
    Watcher m_watcher;
    Screen m_screen;
    QProcess m_process;
};

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const int starts = arguments.value(2).toInt();
    const int seconds = arguments.value(3).toInt();
    if (arguments.size() != 4 || starts < 1 || seconds < 1)
        fail("usage: quillet-bench-tray PROGRAM STARTS IDLE-SECONDS");

    Meter meter(arguments[1]);
    double start = meter.start();
    for (int each = 1; each < starts; ++each) {
        meter.stop();
        start = std::min(start, meter.start());
    }
    rest(3s); // what follows a start is not idleness
    QJsonObject found{{u"start_ms"_s, start}, {u"idle"_s, meter.idle(seconds)}};

    found[u"first_open"_s] = meter.open();
    meter.close();
    QJsonObject again = meter.open();
    for (int each = 1; each < starts; ++each) {
        meter.close();
        const QJsonObject next = meter.open();
        if (next[u"painted_ms"_s].toDouble() < again[u"painted_ms"_s].toDouble()) again = next;
    }
    found[u"open_again"_s] = again;
    meter.close();
    rest(2s);
    found[u"idle_after_popover"_s] = meter.idle(seconds);

    meter.toggleRecording();
    rest(5s);
    if (!isRecording()) fail("no recording runs");
    found[u"recording"_s] = meter.idle(seconds);
    meter.toggleRecording();
    rest(2s);
    meter.stop();
    std::fputs(QJsonDocument(found).toJson().constData(), stdout);
    return EXIT_SUCCESS;
}

#include "TrayMeter.moc"
