#pragma once

#include "support/Published.h"

#include <QByteArray>
#include <QIcon>
#include <QKeySequence>
#include <QPoint>
#include <QRect>
#include <QString>

#include <functional>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace quillet {

/// One line of a status item's context menu.
struct MenuEntry {
    QString title;                  ///< empty for a separator
    std::function<void()> action{}; ///< main thread
    QKeySequence shortcut{};        ///< shown beside the title; Ctrl stands for the platform's own modifier
    bool enabled = true;

    static MenuEntry separator() { return {}; }
    [[nodiscard]] bool isSeparator() const { return title.isEmpty(); }
};

/// What a status item shows. The icon brings the shape only; the platform chooses the ink, because only it knows what
/// the icon lies on.
struct StatusImage {
    enum class Tint {
        Plain,     ///< no tint
        Label,     ///< the colour of the text beside it
        Recording, ///< the system's red
    };

    QString symbol{};      ///< the shape's name, for platforms that draw symbols of their own
    QIcon icon{};          ///< the same shape in one opaque colour, at every size
    QString description{}; ///< title, tool tip and what a screen reader says
    Tint tint = Tint::Plain;
};

/// Where the user pressed the item, as far as the desktop tells. What it tells is not to be trusted to lie on a screen.
struct ActivationHint {
    std::optional<QRect> itemGeometry{}; ///< where the item is, in Qt's screen coordinates
    std::optional<QPoint> point{};       ///< where the pointer was, or a place near the item
    QByteArray activationToken{};        ///< what a Wayland compositor wants to see before a window may take the focus
};

/// The program's one item in the menu bar, tray or panel. The application delegate owns it; main thread only. A desktop
/// without a place for it is no failure: presence() says so, and follows when such a place comes, goes and returns.
/// The item shows nothing before the first setImage() and leaves the screen when it is destroyed.
class StatusItem {
public:
    enum class Presence {
        Unknown, ///< nobody has answered yet; never for longer than a few seconds
        Shown,
        Absent, ///< this desktop has no place for it at present
    };

    struct Handlers {
        std::function<void(const ActivationHint&)> activate; ///< a press of the primary button, or its likeness
        std::function<std::vector<MenuEntry>()> menu;        ///< asked each time the menu opens
    };

    virtual ~StatusItem() = default;

    virtual void setImage(const StatusImage& image) = 0;

    /// Hosts that keep a copy of the menu are told to take a new one; for changes while it may be open.
    virtual void refreshMenu() = 0;

    /// Set only when it changes.
    [[nodiscard]] virtual Published<Presence>& presence() = 0;
    [[nodiscard]] bool isShown() { return presence().value() == Presence::Shown; }
};

[[nodiscard]] std::unique_ptr<StatusItem> makeStatusItem(StatusItem::Handlers handlers);

} // namespace quillet
