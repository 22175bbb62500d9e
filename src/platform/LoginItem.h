#pragma once

#include "support/Result.h"

#include <memory>

namespace quillet {

/// The program's place among what the system starts when the user logs in. The system keeps the state, and the user
/// may change it there at any time, so it is read afresh at each question. Main thread; every call is a glance at or a
/// short write to the user's own files. What fails leaves the state as it was.
class LoginItem {
public:
    virtual ~LoginItem() = default;

    /// Whether the system will start this program at the next login.
    [[nodiscard]] virtual bool isEnabled() const = 0;
    virtual Result<void> registerItem() = 0;
    virtual Result<void> unregisterItem() = 0;
    /// Called at each start of the program: an enabled item that names a program that is gone is made to name this one.
    virtual void followProgram() = 0;
};

/// The argument by which a program started at login knows that nobody is waiting for it.
inline constexpr const char* kStartedAtLoginArgument = "--autostarted";

[[nodiscard]] std::unique_ptr<LoginItem> makeLoginItem();

} // namespace quillet
