#pragma once

#include "settings/FolderChooser.h"

class QWidget;

namespace quillet {

/// Asks with the desktop's own folder dialog where there is one, else with the toolkit's, over the window in which the
/// user is at that moment. The dialog goes with that window.
[[nodiscard]] FolderChooser makeFolderChooser();

} // namespace quillet
