#include "platform/Appearance.h"

#import <AppKit/AppKit.h>

namespace quillet {
namespace {

using Animations = Published<std::optional<bool>>;

} // namespace
} // namespace quillet

/// Follows the user's wish for less motion.
@interface QuilletMotionObserver : NSObject
- (instancetype)initWithAnimations:(quillet::Animations*)animations;
@end

@implementation QuilletMotionObserver {
    quillet::Animations* _animations; ///< its owner is this object's owner
}

- (instancetype)initWithAnimations:(quillet::Animations*)animations {
    self = [super init];
    if (self) {
        _animations = animations;
        [NSWorkspace.sharedWorkspace.notificationCenter
            addObserver:self
               selector:@selector(optionsDidChange:)
                   name:NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification
                 object:nil];
        [self read];
    }
    return self;
}

- (void)optionsDidChange:(NSNotification*)notification {
    [self read];
}

- (void)read {
    _animations->set(NSWorkspace.sharedWorkspace.accessibilityDisplayShouldReduceMotion == NO);
}

- (void)stop {
    [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:self];
}

@end

namespace quillet {
namespace {

/// Colours and text sizes reach Qt by themselves here.
class MacAppearance final : public Appearance {
public:
    MacAppearance() : m_observer([[QuilletMotionObserver alloc] initWithAnimations:&m_animations]) {}
    ~MacAppearance() override { [m_observer stop]; }

    Published<std::optional<Scheme>>& scheme() override { return m_scheme; }
    Published<std::optional<double>>& textScale() override { return m_textScale; }
    Published<std::optional<bool>>& animations() override { return m_animations; }

private:
    Published<std::optional<Scheme>> m_scheme;
    Published<std::optional<double>> m_textScale;
    Animations m_animations;
    QuilletMotionObserver* const m_observer;
};

} // namespace

std::unique_ptr<Appearance> makeAppearance() { return std::make_unique<MacAppearance>(); }

} // namespace quillet
