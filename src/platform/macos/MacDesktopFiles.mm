#include "platform/DesktopFiles.h"
#import "platform/macos/MacFileServices.h"

namespace quillet {

// The Finder selects what it reveals whoever asks.
std::unique_ptr<FileServices> makeDesktopFileServices() { return std::make_unique<MacFileServices>(); }

} // namespace quillet
