#pragma once

#include "platform/FileServices.h"

#include <memory>

namespace quillet {

/// The file services of a program with a desktop around it: a revealed file is selected in the file manager's window.
/// The plain FileServices, which need no desktop, open its folder.
[[nodiscard]] std::unique_ptr<FileServices> makeDesktopFileServices();

} // namespace quillet
