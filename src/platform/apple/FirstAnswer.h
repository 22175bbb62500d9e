#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace quillet::apple {

/// A completion that two may call, the service and a clock, and that runs for the first of them only. Copies share it.
/// Any thread.
template <typename... Answer>
class FirstAnswer {
public:
    explicit FirstAnswer(std::function<void(Answer...)> completion)
        : m_state(std::make_shared<State>(std::move(completion))) {}

    void operator()(Answer... answer) const {
        if (m_state->given.exchange(true)) return;
        const auto completion = std::exchange(m_state->completion, nullptr); // what it holds goes with the answer
        if (completion) completion(std::move(answer)...);
    }

private:
    struct State {
        explicit State(std::function<void(Answer...)> work) : completion(std::move(work)) {}
        std::atomic<bool> given = false;
        std::function<void(Answer...)> completion;
    };
    std::shared_ptr<State> m_state;
};

} // namespace quillet::apple
