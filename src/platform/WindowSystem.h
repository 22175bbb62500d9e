#pragma once

#include <QString>

class QWindow;

namespace quillet {

/// Raises the window and gives it the keyboard on behalf of a user whose press came to us by another way than the
/// window system, from a panel or a second start: without that a window manager would take it for an intruder. Main
/// thread, after the window was shown.
void activateForUser(QWindow& window);

/// Whether a window may have parts through which others are seen; without that, its corners would be black. Main
/// thread, at any time: a compositor may come and go.
[[nodiscard]] bool windowsMayBeTranslucent();

/// Why no window can be shown, as a sentence; empty when one can. Without a display the toolkit ends the process with a
/// core dump. Before the application object is made.
[[nodiscard]] QString whyNoDisplay();

/// Prepares the choice of the window system. Before the application object is made.
void chooseWindowSystem();

} // namespace quillet
