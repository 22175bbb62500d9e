#include "platform/Process.h"

#include "platform/posix/SystemCalls.h"

#include <QSocketNotifier>

#include <csignal>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace quillet {
namespace {

int signalPipe[2] = {-1, -1}; ///< a signal handler may only write

void noteSignal(int) {
    const char byte = 0;
    [[maybe_unused]] const auto written = write(signalPipe[1], &byte, 1);
}

} // namespace

void keepNewFilesPrivate() { umask(077); }

bool standardErrorIsTerminal() { return isatty(STDERR_FILENO) == 1; }

void becomeCompanion(const char* program, char** arguments) {
    const std::filesystem::path own = SystemCalls::ownProgram().parent_path();
    if (own.empty()) return;
    for (const char* folder : {".", "../libexec/quillet"}) {
        const std::string path = (own / folder / program).string();
        ::execv(path.c_str(), arguments);
    }
}

TerminationRequests::TerminationRequests(std::function<void()> handler) {
    if (SystemCalls::makePipe(signalPipe) != 0) return;
    auto* notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, [handler = std::move(handler)] {
        char bytes[16];
        while (read(signalPipe[0], bytes, sizeof bytes) > 0) {
        }
        handler();
    });
    struct sigaction action {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART;
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

TerminationRequests::~TerminationRequests() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_DFL);
    for (int& end : signalPipe) close(std::exchange(end, -1));
}

} // namespace quillet
