#include "platform/StatusItem.h"
#import "platform/macos/MacSupport.h"

#include <QBuffer>
#include <QPixmap>

#import <AppKit/AppKit.h>
#include <algorithm>

using quillet::MenuEntry;
using quillet::StatusItem;

/// What a menu entry does; the entry itself holds on to it, because it knows its target only weakly.
@interface QuilletMenuAction : NSObject
- (instancetype)initWithAction:(std::function<void()>)action;
- (void)perform:(nullable id)sender;
@end

@implementation QuilletMenuAction {
    std::function<void()> _action;
}

- (instancetype)initWithAction:(std::function<void()>)action {
    self = [super init];
    if (self) _action = std::move(action);
    return self;
}

- (void)perform:(nullable id)sender {
    if (_action) _action();
}

@end

/// Draws the icon in the menu bar and takes the clicks on it.
@interface QuilletStatusItemView : NSView
@property(nonatomic, strong, nullable) NSImage* image;
@property(nonatomic, strong, nullable) NSColor* contentTintColor; ///< nil: the image's own colours
- (instancetype)initWithFrame:(NSRect)frame handlers:(StatusItem::Handlers)handlers;
- (void)forgetHandlers;
@end

namespace {

constexpr CGFloat kItemLength = 24;
constexpr CGFloat kIconShare = 0.6; ///< of the item's shorter side

NSImage* tintedImage(NSImage* image, NSColor* color) {
    NSImage* const shape = [image copy];
    [shape setTemplate:YES];
    return [NSImage imageWithSize:image.size
                          flipped:NO
                   drawingHandler:^BOOL(NSRect rect) {
                     [shape drawInRect:rect
                              fromRect:NSZeroRect
                             operation:NSCompositingOperationSourceOver
                              fraction:1.0];
                     [color set];
                     NSRectFillUsingOperation(rect, NSCompositingOperationSourceAtop);
                     return YES;
                   }];
}

NSMenuItem* menuItemFor(const MenuEntry& entry) {
    if (entry.isSeparator()) return [NSMenuItem separatorItem];
    NSString* key = @"";
    NSEventModifierFlags modifiers = 0;
    if (!entry.shortcut.isEmpty()) {
        const QKeyCombination keys = entry.shortcut[0];
        key = quillet::toNSString(QString(QChar(static_cast<char16_t>(keys.key()))).toLower());
        // Qt calls the Command key Control here, and the Control key Meta.
        if (keys.keyboardModifiers().testFlag(Qt::ControlModifier)) modifiers |= NSEventModifierFlagCommand;
        if (keys.keyboardModifiers().testFlag(Qt::ShiftModifier)) modifiers |= NSEventModifierFlagShift;
        if (keys.keyboardModifiers().testFlag(Qt::AltModifier)) modifiers |= NSEventModifierFlagOption;
        if (keys.keyboardModifiers().testFlag(Qt::MetaModifier)) modifiers |= NSEventModifierFlagControl;
    }
    QuilletMenuAction* const action = [[QuilletMenuAction alloc] initWithAction:entry.action];
    NSMenuItem* const item = [[NSMenuItem alloc] initWithTitle:quillet::toNSString(entry.title)
                                                        action:@selector(perform:)
                                                 keyEquivalent:key];
    item.keyEquivalentModifierMask = modifiers;
    item.target = action;
    item.representedObject = action;
    item.enabled = entry.enabled ? YES : NO;
    return item;
}

/// From the platform's screen coordinates, which count upwards from the first screen's lower edge.
QRect toQtRect(NSRect rect) {
    const CGFloat height = NSScreen.screens.firstObject.frame.size.height;
    const QRectF turned(rect.origin.x, height - rect.origin.y - rect.size.height, rect.size.width, rect.size.height);
    return turned.toRect();
}

} // namespace

@implementation QuilletStatusItemView {
    StatusItem::Handlers _handlers;
}

- (instancetype)initWithFrame:(NSRect)frame handlers:(StatusItem::Handlers)handlers {
    self = [super initWithFrame:frame];
    if (self) _handlers = std::move(handlers);
    return self;
}

- (void)forgetHandlers {
    _handlers = {};
}

- (void)setImage:(nullable NSImage*)image {
    _image = image;
    self.needsDisplay = YES;
}

- (void)setContentTintColor:(nullable NSColor*)color {
    _contentTintColor = color;
    self.needsDisplay = YES;
}

- (NSSize)intrinsicContentSize {
    return NSMakeSize(kItemLength, NSStatusBar.systemStatusBar.thickness);
}

- (void)drawRect:(NSRect)dirtyRect {
    NSImage* const image = self.image;
    if (!image) return;
    const NSRect bounds = self.bounds;
    const CGFloat side = std::min(bounds.size.width, bounds.size.height) * kIconShare;
    const NSRect square = NSMakeRect((bounds.size.width - side) * 0.5, (bounds.size.height - side) * 0.5, side, side);
    NSColor* const color = self.contentTintColor;
    if (!color) [image setTemplate:NO];
    NSImage* const drawn = color ? tintedImage(image, color) : image;
    [drawn drawInRect:square fromRect:NSZeroRect operation:NSCompositingOperationSourceOver fraction:1.0];
}

- (void)mouseDown:(NSEvent*)event {
    if (event.buttonNumber != 0 || !_handlers.activate) return;
    [NSApp activateIgnoringOtherApps:YES];
    quillet::ActivationHint hint;
    if (NSWindow* const window = self.window)
        hint.itemGeometry = toQtRect([window convertRectToScreen:[self convertRect:self.bounds toView:nil]]);
    const auto activate = _handlers.activate;
    // After the activation has taken effect.
    dispatch_async(dispatch_get_main_queue(), ^{
      activate(hint);
    });
}

- (void)rightMouseDown:(NSEvent*)event {
    if (!_handlers.menu) return;
    NSMenu* const menu = [[NSMenu alloc] initWithTitle:@""];
    menu.autoenablesItems = NO;
    for (const MenuEntry& entry : _handlers.menu()) [menu addItem:menuItemFor(entry)];
    [menu popUpMenuPositioningItem:nil atLocation:NSMakePoint(self.bounds.size.width * 0.5, 0) inView:self];
}

@end

namespace quillet {
namespace {

/// The system's own symbol of that name, else the one that came with the program.
NSImage* _Nullable imageOf(const StatusImage& image) {
    NSString* const description = toNSString(image.description);
    NSImage* const symbol = [NSImage imageWithSystemSymbolName:toNSString(image.symbol)
                                      accessibilityDescription:description];
    if (symbol) return symbol;
    QByteArray bytes;
    QBuffer buffer(&bytes);
    constexpr int kPixels = 48; // twice as many as points, for fine screens
    if (!image.icon.pixmap(kPixels).save(&buffer, "PNG")) return nil;
    NSImage* const drawn = [[NSImage alloc] initWithData:[NSData dataWithBytes:bytes.constData()
                                                                        length:static_cast<NSUInteger>(bytes.size())]];
    drawn.size = NSMakeSize(kItemLength, kItemLength);
    drawn.accessibilityDescription = description;
    return drawn;
}

NSColor* _Nullable colorOf(StatusImage::Tint tint) {
    switch (tint) {
    case StatusImage::Tint::Plain:
        return nil;
    case StatusImage::Tint::Label:
        return NSColor.labelColor;
    case StatusImage::Tint::Recording:
        return NSColor.systemRedColor;
    }
    return nil;
}

class MacStatusItem final : public StatusItem {
public:
    explicit MacStatusItem(Handlers handlers)
        : m_item([NSStatusBar.systemStatusBar statusItemWithLength:NSSquareStatusItemLength]),
          m_view([[QuilletStatusItemView alloc]
              initWithFrame:NSMakeRect(0, 0, kItemLength, NSStatusBar.systemStatusBar.thickness)
                   handlers:std::move(handlers)]) {
        [m_item.button addSubview:m_view];
    }
    ~MacStatusItem() override {
        [m_view forgetHandlers];
        [NSStatusBar.systemStatusBar removeStatusItem:m_item];
    }

    void setImage(const StatusImage& image) override {
        m_view.image = imageOf(image);
        m_view.contentTintColor = colorOf(image.tint);
        m_item.button.accessibilityLabel = toNSString(image.description);
        m_item.button.toolTip = toNSString(image.description);
    }
    void refreshMenu() override {} // built at each opening
    Published<Presence>& presence() override { return m_presence; }

private:
    NSStatusItem* const m_item;
    QuilletStatusItemView* const m_view;
    Published<Presence> m_presence{Presence::Shown}; // the menu bar is always there
};

} // namespace

std::unique_ptr<StatusItem> makeStatusItem(StatusItem::Handlers handlers) {
    return std::make_unique<MacStatusItem>(std::move(handlers));
}

} // namespace quillet
