#include "platform/RemoteCommandNames.h"
#include "platform/SingleInstance.h"
#import "platform/macos/MacCommands.h"
#import "platform/macos/MacSupport.h"
#include "support/MainThread.h"

using quillet::RemoteCommand;

/// Hears the commands that other starts of the program send.
@interface QuilletCommandListener : NSObject
- (instancetype)initWithHandler:(std::function<void(RemoteCommand)>)handler;
- (void)stop;
@end

@implementation QuilletCommandListener {
    std::function<void(RemoteCommand)> _handler;
}

- (instancetype)initWithHandler:(std::function<void(RemoteCommand)>)handler {
    self = [super init];
    if (self) {
        _handler = std::move(handler);
        [NSDistributedNotificationCenter.defaultCenter addObserver:self
                                                          selector:@selector(commandDidArrive:)
                                                              name:quillet::kCommandNotification
                                                            object:nil
                                                suspensionBehavior:NSNotificationSuspensionBehaviorDeliverImmediately];
    }
    return self;
}

- (void)commandDidArrive:(NSNotification*)notification {
    const id name = notification.object;
    if (![name isKindOfClass:[NSString class]]) return;
    const auto command = quillet::remoteCommandNamed(quillet::fromNSString(static_cast<NSString*>(name)));
    if (command) _handler(*command);
}

- (void)stop {
    [NSDistributedNotificationCenter.defaultCenter removeObserver:self];
}

@end

namespace quillet {
namespace {

/// The system itself starts a program only once when it is opened as one; this is for starts from a command line. Who
/// runs is known to the system.
class MacSingleInstance final : public SingleInstance {
public:
    ~MacSingleInstance() override { [m_listener stop]; }

    void claim(RemoteCommand command, std::function<void(RemoteCommand)> onCommand,
               std::function<void(Claim)> done) override {
        const bool delivered = deliverCommand(command);
        if (!delivered) m_listener = [[QuilletCommandListener alloc] initWithHandler:std::move(onCommand)];
        MainThread::post([done = std::move(done), delivered] {
            done(delivered ? Claim::Delivered : Claim::First);
            if (!delivered) sendToSession(kObeysNotification, nil); // whoever opened it has something to tell it
        });
    }

    void send(RemoteCommand command, std::function<void(bool)> done) override {
        MainThread::post([done = std::move(done), delivered = deliverCommand(command)] { done(delivered); });
    }

private:
    QuilletCommandListener* _Nullable m_listener = nil;
};

} // namespace

std::unique_ptr<SingleInstance> makeSingleInstance() { return std::make_unique<MacSingleInstance>(); }

} // namespace quillet
