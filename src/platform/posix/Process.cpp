#include "platform/Process.h"

#include "platform/posix/SystemCalls.h"

#include <QCoreApplication>
#include <QEvent>
#include <QProcess>
#include <QSocketNotifier>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace quillet {
namespace {

int signalPipe[2] = {-1, -1}; ///< a signal handler may only write

std::optional<mode_t> usersMask; ///< for new files, as the process was started with

void giveBackUsersMask() {
    if (usersMask) umask(*usersMask);
}

void noteSignal(int) {
    const char byte = 0;
    [[maybe_unused]] const auto written = write(signalPipe[1], &byte, 1);
}

/// Unlike an ignored signal, one that is caught does its usual work again in the programs that this one starts.
void letPass(int) {}

void handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
}

bool isIgnored(int signal) {
    struct sigaction present {};
    return sigaction(signal, nullptr, &present) == 0 && present.sa_handler == SIG_IGN;
}

/// For a child of a process with threads that was itself made in the same way: one of them may have held a lock that
/// fork() takes.
pid_t forkWithoutLocks() {
#if defined(__GLIBC__)
    return _Fork();
#else
    return fork();
#endif
}

} // namespace

void prepareProcess() {
    usersMask = umask(077);
    int number = 0;
    do number = open("/dev/null", O_RDWR);
    while (number >= 0 && number <= STDERR_FILENO);
    if (number >= 0) close(number);
    handle(SIGXFSZ, letPass);
    SystemCalls::prepareLibraries();
}

// In Qt 6.4 QProcess::startDetached() takes no notice of a modifier, so the second fork is made here. What keeps the
// parent waiting until the program runs, or does not, is inherited by the second child.
bool startProgram(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    process.setChildProcessModifier([] {
        giveBackUsersMask();
        setsid();
        const pid_t child = forkWithoutLocks();
        if (child != 0) _exit(child > 0 ? EXIT_SUCCESS : EXIT_FAILURE);
    });
    process.start(program, arguments);
    return process.waitForStarted() && process.waitForFinished() && process.exitCode() == EXIT_SUCCESS;
}

void leaveProcess(int status) {
#if defined(__SANITIZE_ADDRESS__)
    std::exit(status); // among the finalisers is the search for leaks
#else
    std::fflush(nullptr);
    std::_Exit(status);
#endif
}

bool standardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

// Not by making it non-blocking: that would hold for every program that shares it, the user's shell among them.
bool writeToStandardError(const QByteArray& bytes, std::chrono::milliseconds patience) {
    using Clock = std::chrono::steady_clock;
    const auto deadline = Clock::now() + patience;
    for (qsizetype done = 0; done < bytes.size();) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd standardError{.fd = STDERR_FILENO, .events = POLLOUT, .revents = 0};
        const int ready = poll(&standardError, 1, static_cast<int>(std::max<std::int64_t>(left, 0)));
        if (ready == 0) return false;
        if (ready < 0 && errno != EINTR) return false;
        if (ready < 0) continue;
        // A pipe that is ready takes so much without waiting, and a part of a line is of no use.
        const auto size = static_cast<std::size_t>(std::min<qsizetype>(bytes.size() - done, PIPE_BUF));
        const ssize_t written = write(STDERR_FILENO, bytes.constData() + done, size);
        if (written < 0 && errno != EINTR) return false;
        done += std::max<ssize_t>(written, 0);
    }
    return true;
}

void becomeCompanion(const char* program, char** arguments) {
    const std::filesystem::path own = SystemCalls::ownProgram().parent_path();
    if (own.empty()) return;
    giveBackUsersMask(); // the companion prepares itself
    for (const char* folder : {".", "../libexec/quillet"}) {
        const std::string path = (own / folder / program).string();
        SystemCalls::replaceProgram(path.c_str(), arguments);
    }
    if (usersMask) umask(077);
}

TerminationRequests::TerminationRequests(std::function<void()> handler) : m_handler(std::move(handler)) {
    QCoreApplication::instance()->installEventFilter(this);
    if (SystemCalls::makePipe(signalPipe) != 0) return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [this] {
        char bytes[16];
        while (read(signalPipe[0], bytes, sizeof bytes) > 0) {
        }
        m_handler();
    });
    for (const int signal : {SIGINT, SIGTERM}) handle(signal, noteSignal);
    if (!isIgnored(SIGHUP)) handle(SIGHUP, noteSignal);
    handle(SIGPIPE, letPass);
}

TerminationRequests::~TerminationRequests() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
        if (!isIgnored(signal)) std::signal(signal, SIG_DFL);
    }
    for (int& end : signalPipe) close(std::exchange(end, -1));
}

bool TerminationRequests::eventFilter(QObject* watched, QEvent* event) {
    if (watched != QCoreApplication::instance() || event->type() != QEvent::Quit) return false;
    m_handler();
    return true;
}

} // namespace quillet
