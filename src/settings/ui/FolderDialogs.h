#pragma once

#include "settings/FolderChooser.h"

namespace quillet {

class FileDialogs;

/// Asks with the desktop's own folder dialog, where it has one and that works, else with the toolkit's, over the window
/// in which the user is at that moment. The dialog goes with that window.
/// dialogs: may be null; outlives the chooser.
[[nodiscard]] FolderChooser makeFolderChooser(FileDialogs* dialogs);

} // namespace quillet
