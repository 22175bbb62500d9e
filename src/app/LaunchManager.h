#pragma once

#include "platform/LoginItem.h"
#include "support/Published.h"

#include <memory>

namespace quillet {

/// Switches starting at login on and off and publishes whether it is on. The system's own state is the only truth: it
/// is read at creation, after every change and whenever somebody asks for it, and a change that fails shows only in
/// that. Main thread.
class LaunchManager {
public:
    explicit LaunchManager(std::unique_ptr<LoginItem> item);

    Published<bool> isEnabled{false};

    void setLaunchAtLogin(bool enabled);
    /// Reads the system's state again: the user may have changed it there.
    void refresh();

private:
    const std::unique_ptr<LoginItem> m_item;
};

} // namespace quillet
