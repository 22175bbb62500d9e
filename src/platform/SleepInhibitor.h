#pragma once

#include <QString>

#include <memory>

namespace quillet {

/// Keeps the machine awake while a recording runs. Main thread only. The machine may refuse or have no such service;
/// then it sleeps as it always does, and a recording survives that.
class SleepInhibitor {
public:
    /// The machine stays awake for as long as one of these lives.
    class Hold {
    public:
        virtual ~Hold() = default;
    };

    virtual ~SleepInhibitor() = default;

    /// The reason is shown to a user who asks the desktop what keeps it awake.
    [[nodiscard]] virtual std::unique_ptr<Hold> hold(const QString& reason) = 0;
};

[[nodiscard]] std::unique_ptr<SleepInhibitor> makeSleepInhibitor();

} // namespace quillet
