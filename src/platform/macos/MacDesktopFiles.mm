#include "platform/DesktopFiles.h"
#include "platform/FileDialogs.h"
#import "platform/macos/MacFileServices.h"

namespace quillet {

// The Finder selects what it reveals whoever asks.
std::unique_ptr<FileServices> makeDesktopFileServices() { return std::make_unique<MacFileServices>(); }

// The toolkit shows the system's.
std::unique_ptr<FileDialogs> makeFileDialogs() { return nullptr; }

} // namespace quillet
