#include "platform/LoginItem.h"
#import "platform/macos/MacSupport.h"

#import <ServiceManagement/ServiceManagement.h>

namespace quillet {
namespace {

/// The program itself as a login item. The system knows the program by its identity, so there is nothing to follow when
/// it moves.
class MacLoginItem final : public LoginItem {
public:
    bool isEnabled() const override { return SMAppService.mainAppService.status == SMAppServiceStatusEnabled; }

    Result<void> registerItem() override {
        NSError* error = nil;
        if (![SMAppService.mainAppService registerAndReturnError:&error]) return Failure{toPlatformError(error)};
        return {};
    }
    Result<void> unregisterItem() override {
        NSError* error = nil;
        if (![SMAppService.mainAppService unregisterAndReturnError:&error]) return Failure{toPlatformError(error)};
        return {};
    }
    void followProgram() override {}
};

} // namespace

std::unique_ptr<LoginItem> makeLoginItem() { return std::make_unique<MacLoginItem>(); }

} // namespace quillet
