#include "platform/SleepInhibitor.h"
#import "platform/macos/MacSupport.h"

#import <Foundation/Foundation.h>

namespace quillet {
namespace {

/// An activity also keeps the system from slowing the program down while its windows are closed.
class ActivityHold final : public SleepInhibitor::Hold {
public:
    explicit ActivityHold(const QString& reason)
        : m_activity([NSProcessInfo.processInfo beginActivityWithOptions:NSActivityUserInitiated
                                                                  reason:toNSString(reason)]) {}
    ~ActivityHold() override { [NSProcessInfo.processInfo endActivity:m_activity]; }

private:
    const id<NSObject> m_activity;
};

class MacSleepInhibitor final : public SleepInhibitor {
public:
    std::unique_ptr<Hold> hold(const QString& reason) override { return std::make_unique<ActivityHold>(reason); }
};

} // namespace

std::unique_ptr<SleepInhibitor> makeSleepInhibitor() { return std::make_unique<MacSleepInhibitor>(); }

} // namespace quillet
