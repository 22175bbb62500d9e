#include "support/MainThread.h"

#include "support/Require.h"

#include <QCoreApplication>
#include <QSocketNotifier>
#include <QThread>

#include <array>
#include <cerrno>
#include <condition_variable>
#include <deque>
#include <fcntl.h>
#include <mutex>
#include <unistd.h>

namespace quillet {
namespace {

/// The closures on their way to the main thread. A pipe wakes its event loop: it holds one byte exactly while the queue
/// is not empty, so that a nested loop, too, finds what is left.
class MainQueue {
public:
    /// Never destroyed: a worker may still post when the program is ending.
    static MainQueue& shared() {
        static auto* const queue = new MainQueue;
        return *queue;
    }

    void open() {
        const std::lock_guard lock(m_mutex);
        if (m_wakeUp[0] < 0) {
            require(::pipe(m_wakeUp.data()) == 0, "no pipe for the main thread's queue");
            for (const int end : m_wakeUp) {
                ::fcntl(end, F_SETFD, FD_CLOEXEC);
                ::fcntl(end, F_SETFL, O_NONBLOCK);
            }
        }
        m_notifier = std::make_unique<QSocketNotifier>(m_wakeUp[0], QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { deliver(); });
        m_isOpen = true;
    }

    void close() {
        std::deque<std::function<void()>> dropped;
        std::unique_ptr<QSocketNotifier> notifier;
        {
            const std::lock_guard lock(m_mutex);
            m_isOpen = false;
            if (!m_closures.empty()) takeByte();
            dropped.swap(m_closures);
            notifier = std::move(m_notifier);
        }
    }

    void post(std::function<void()> work) {
        const std::lock_guard lock(m_mutex);
        if (!m_isOpen) return;
        if (m_closures.empty()) putByte();
        m_closures.push_back(std::move(work));
    }

private:
    void deliver() {
        std::size_t round = 0;
        {
            const std::lock_guard lock(m_mutex);
            round = m_closures.size(); // what they post comes in the next round: other events get their turn
        }
        for (; round > 0; --round) {
            std::function<void()> work;
            {
                const std::lock_guard lock(m_mutex);
                if (m_closures.empty()) return;
                work = std::move(m_closures.front());
                m_closures.pop_front();
                if (m_closures.empty()) takeByte();
            }
            work();
        }
    }

    void putByte() {
        const char byte = 0;
        while (::write(m_wakeUp[1], &byte, 1) < 0 && errno == EINTR) {
        }
    }
    void takeByte() {
        char byte = 0;
        while (::read(m_wakeUp[0], &byte, 1) < 0 && errno == EINTR) {
        }
    }

    std::mutex m_mutex;
    std::deque<std::function<void()>> m_closures;
    std::array<int, 2> m_wakeUp{-1, -1};
    bool m_isOpen = false;
    std::unique_ptr<QSocketNotifier> m_notifier; ///< main thread
};

/// Whether a closure has run or was dropped; the last copy of the closure tells.
class Waiting {
public:
    struct Ticket {
        explicit Ticket(Waiting& waiting) : m_waiting(waiting) {}
        Ticket(const Ticket&) = delete;
        Ticket& operator=(const Ticket&) = delete;
        ~Ticket() { m_waiting.end(); }

    private:
        Waiting& m_waiting;
    };

    void wait() {
        std::unique_lock lock(m_mutex);
        m_ended.wait(lock, [this] { return m_isOver; });
    }

private:
    void end() {
        const std::lock_guard lock(m_mutex);
        m_isOver = true;
        m_ended.notify_all(); // under the lock: the waiter may be gone right after
    }

    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_isOver = false;
};

void openMainQueue() {
    MainQueue::shared().open();
    qAddPostRoutine([] { MainQueue::shared().close(); });
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(openMainQueue)

bool MainThread::isCurrent() {
    return QCoreApplication::instance() && QThread::currentThread() == QCoreApplication::instance()->thread();
}

void MainThread::post(std::function<void()> work) { MainQueue::shared().post(std::move(work)); }

void MainThread::runAndWait(const std::function<void()>& work) {
    if (isCurrent()) return work();
    Waiting waiting;
    post([&work, ticket = std::make_shared<Waiting::Ticket>(waiting)] { work(); });
    waiting.wait();
}

} // namespace quillet
