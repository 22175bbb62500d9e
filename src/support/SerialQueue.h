#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace quillet {

/// One thread that runs what it is handed, one after another, in the order of posting.
///
/// Work that recurs thousands of times a minute is an Item that its owner keeps and posts again and again: posting
/// one allocates nothing. Everything else is a closure. Posting is safe from any thread, the queue's own included.
/// The destructor lets what is already queued run and joins the thread; on the queue itself (the last owner may let go
/// there) the thread is left to finish the rest by itself.
class SerialQueue {
public:
    /// A reusable piece of work. It may be posted again once run() has been entered, and must live until it has run.
    class Item {
    public:
        Item() = default;
        Item(const Item&) = delete;
        Item& operator=(const Item&) = delete;
        virtual ~Item() = default;
        virtual void run() = 0; ///< on the queue

    private:
        friend class SerialQueue;
        Item* m_next = nullptr;
    };

    explicit SerialQueue(std::string label);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    void post(Item& item);
    /// As post(), but lets the thread sleep on: the item waits its turn until something else is posted. For work that
    /// comes in a row, where each wake-up costs more than the wait.
    void postUnhurried(Item& item);
    void async(std::function<void()> work);
    /// Runs the work on the queue and waits for it; never from the queue itself.
    void sync(const std::function<void()>& work);

    [[nodiscard]] bool isCurrent() const { return std::this_thread::get_id() == m_thread.get_id(); }

private:
    struct State {
        std::mutex mutex; ///< guards the list only; never held while work runs
        std::condition_variable wake;
        Item* head = nullptr;
        Item* tail = nullptr;
        bool hurried = false; ///< something in the list does not wait for more
        bool closing = false;

        void append(Item& item); ///< under the mutex
    };
    static void loop(State& state, const std::string& label);

    const std::shared_ptr<State> m_state; ///< shared with the thread, which may outlive this object
    std::thread m_thread;
};

} // namespace quillet
