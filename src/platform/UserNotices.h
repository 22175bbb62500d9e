#pragma once

#include <QString>

#include <functional>
#include <memory>

namespace quillet {

/// A short message that the desktop shows beside whatever the user is doing.
struct UserNotice {
    enum class Urgency { Normal, Critical };

    QString subject{}; ///< a later notice on the same subject takes the place of the earlier one
    QString title{};
    QString body{};                   ///< plain text
    QString actionTitle{};            ///< of the one button; empty for none
    std::function<void()> onAction{}; ///< the button, or a click on the notice itself; at most once
    Urgency urgency = Urgency::Normal;
};

/// The desktop's notifications, owned by what tells of recordings. Main thread only, never waits. Without a
/// notification service nothing is shown and nothing fails: whatever must reach the user is also an alert.
class UserNotices {
public:
    virtual ~UserNotices() = default;

    virtual void show(const UserNotice& notice) = 0;

    /// Takes the notice away if it is still there; its action does not come any more.
    virtual void withdraw(const QString& subject) = 0;
};

[[nodiscard]] std::unique_ptr<UserNotices> makeUserNotices();

} // namespace quillet
