#include "platform/macos/AppleScriptHost.h"

#include "platform/apple/DescriptorReading.h"
#import "platform/macos/MacSupport.h"
#include "support/MainThread.h"
#include "support/Require.h"

#import <AppKit/AppKit.h>

namespace quillet {
namespace {

class EventDescriptor final : public apple::NativeDescriptor {
public:
    explicit EventDescriptor(NSAppleEventDescriptor* descriptor) : m_descriptor(descriptor) {}

    std::uint32_t descriptorType() const override { return m_descriptor.descriptorType; }
    std::int64_t numberOfItems() const override { return m_descriptor.numberOfItems; }
    std::unique_ptr<NativeDescriptor> descriptorAtIndex(std::int64_t index) const override {
        NSAppleEventDescriptor* const item = [m_descriptor descriptorAtIndex:static_cast<NSInteger>(index)];
        return item ? std::make_unique<EventDescriptor>(item) : nullptr;
    }
    std::optional<QString> stringValue() const override {
        NSString* const text = m_descriptor.stringValue;
        return text ? std::optional(fromNSString(text)) : std::nullopt;
    }
    bool booleanValue() const override { return m_descriptor.booleanValue != 0; }

private:
    NSAppleEventDescriptor* const m_descriptor;
};

} // namespace

std::optional<ScriptHost::Outcome> AppleScriptHost::execute(const QString& source) {
    require(MainThread::isCurrent(), "scripts run on the main thread");
    @autoreleasepool {
        NSAppleScript* const script = [[NSAppleScript alloc] initWithSource:toNSString(source)];
        if (!script) return std::nullopt;
        NSDictionary<NSString*, id>* error = nil;
        NSAppleEventDescriptor* const answer = [script executeAndReturnError:&error];
        if (error)
            return Outcome(Failure{apple::readScriptError(toVariant(error[NSAppleScriptErrorNumber]),
                                                          toVariant(error[NSAppleScriptErrorMessage]),
                                                          toVariant(error[NSAppleScriptErrorBriefMessage]))});
        return Outcome(answer ? apple::readDescriptor(EventDescriptor(answer)) : ScriptDescriptor{});
    }
}

} // namespace quillet
