#pragma once

#include "support/Published.h"

#include <QDateTime>

#include <optional>

namespace quillet {

/// State of telling a meeting's participants that it is recorded, for views to observe; nothing tells them yet. Main
/// thread.
class ConsentManager {
public:
    Published<bool> isAnnouncing{false};
    Published<std::optional<QDateTime>> announcedAt;
};

} // namespace quillet
