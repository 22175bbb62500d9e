#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef CGPoint NSPoint;
typedef CGSize NSSize;
typedef CGRect NSRect;
QUILLET_API const NSRect NSZeroRect;
static inline NSPoint NSMakePoint(CGFloat x, CGFloat y) { return {x, y}; }
static inline NSSize NSMakeSize(CGFloat width, CGFloat height) { return {width, height}; }
static inline NSRect NSMakeRect(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
    return {{x, y}, {width, height}};
}

@class NSRunningApplication;
@interface NSWorkspaceOpenConfiguration : NSObject <NSCopying>
+ (instancetype)configuration;
@end
@interface NSWorkspace : NSObject
@property(class, readonly, strong) NSWorkspace* sharedWorkspace;
- (BOOL)openURL:(NSURL*)url;
- (void)openApplicationAtURL:(NSURL*)applicationURL
               configuration:(NSWorkspaceOpenConfiguration*)configuration
           completionHandler:
               (void (^_Nullable)(NSRunningApplication* _Nullable app, NSError* _Nullable error))completionHandler;
- (void)activateFileViewerSelectingURLs:(NSArray<NSURL*>*)fileURLs;
- (nullable NSURL*)URLForApplicationWithBundleIdentifier:(NSString*)bundleIdentifier;
@property(readonly, strong) NSNotificationCenter* notificationCenter;
@property(readonly) BOOL accessibilityDisplayShouldReduceMotion;
@end
QUILLET_API NSNotificationName const NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification;

@interface NSRunningApplication : NSObject
+ (NSArray<NSRunningApplication*>*)runningApplicationsWithBundleIdentifier:(NSString*)bundleIdentifier;
@property(readonly) pid_t processIdentifier;
@property(nullable, readonly, copy) NSURL* executableURL;
@property(readonly, getter=isTerminated) BOOL terminated;
@end

// Drawing.

typedef NS_ENUM(NSUInteger, NSCompositingOperation) {
    NSCompositingOperationSourceOver = 2,
    NSCompositingOperationSourceAtop = 5
};
QUILLET_API void NSRectFillUsingOperation(NSRect rect, NSCompositingOperation operation);

@interface NSColor : NSObject <NSCopying>
@property(class, strong, readonly) NSColor* labelColor;
@property(class, strong, readonly) NSColor* systemRedColor;
- (void)set;
@end

@interface NSImage : NSObject <NSCopying>
+ (nullable instancetype)imageWithSystemSymbolName:(NSString*)name
                          accessibilityDescription:(nullable NSString*)description;
+ (NSImage*)imageWithSize:(NSSize)size
                  flipped:(BOOL)drawingHandlerShouldBeCalledWithFlippedContext
           drawingHandler:(BOOL (^)(NSRect destinationRect))drawingHandler;
- (nullable instancetype)initWithData:(NSData*)data;
@property NSSize size;
- (void)setTemplate:(BOOL)isTemplate; // of a property whose name is a keyword of C++
@property(nullable, copy) NSString* accessibilityDescription;
- (void)drawInRect:(NSRect)rect
          fromRect:(NSRect)fromRect
         operation:(NSCompositingOperation)operation
          fraction:(CGFloat)delta;
@end

// Events, views and windows.

typedef NSUInteger NSEventModifierFlags;
enum : NSUInteger {
    NSEventModifierFlagShift = 1 << 17,
    NSEventModifierFlagControl = 1 << 18,
    NSEventModifierFlagOption = 1 << 19,
    NSEventModifierFlagCommand = 1 << 20,
};
@interface NSEvent : NSObject
@property(readonly) NSInteger buttonNumber;
@end

@interface NSResponder : NSObject
- (void)mouseDown:(NSEvent*)event;
- (void)rightMouseDown:(NSEvent*)event;
@end
@interface NSScreen : NSObject
@property(class, readonly, copy) NSArray<NSScreen*>* screens;
@property(readonly) NSRect frame;
@end
@interface NSWindow : NSResponder
- (NSRect)convertRectToScreen:(NSRect)rect;
@end
@interface NSView : NSResponder
- (instancetype)initWithFrame:(NSRect)frameRect;
@property NSRect bounds;
@property BOOL needsDisplay;
@property(readonly) NSSize intrinsicContentSize;
@property(nullable, readonly, assign) NSWindow* window;
@property(nullable, copy) NSString* toolTip;
@property(nullable, copy) NSString* accessibilityLabel;
- (void)addSubview:(NSView*)view;
- (NSRect)convertRect:(NSRect)rect toView:(nullable NSView*)view;
- (void)drawRect:(NSRect)dirtyRect;
@end

@interface NSApplication : NSResponder
- (void)activateIgnoringOtherApps:(BOOL)ignoreOtherApps;
@end
QUILLET_API NSApplication* NSApp;

// The menu bar.

@interface NSMenuItem : NSObject
+ (NSMenuItem*)separatorItem;
- (instancetype)initWithTitle:(NSString*)string action:(nullable SEL)selector keyEquivalent:(NSString*)charCode;
@property NSEventModifierFlags keyEquivalentModifierMask;
@property(nullable, weak) id target;
@property(nullable, strong) id representedObject;
@property(getter=isEnabled) BOOL enabled;
@end
@interface NSMenu : NSObject
- (instancetype)initWithTitle:(NSString*)title;
@property BOOL autoenablesItems;
- (void)addItem:(NSMenuItem*)newItem;
- (BOOL)popUpMenuPositioningItem:(nullable NSMenuItem*)item atLocation:(NSPoint)location inView:(nullable NSView*)view;
@end

@interface NSStatusBarButton : NSView
@end
@interface NSStatusItem : NSObject
@property(nullable, readonly, strong) NSStatusBarButton* button;
@end
static const CGFloat NSSquareStatusItemLength = -2.0;
@interface NSStatusBar : NSObject
@property(class, readonly, strong) NSStatusBar* systemStatusBar;
- (NSStatusItem*)statusItemWithLength:(CGFloat)length;
- (void)removeStatusItem:(NSStatusItem*)item;
@property(readonly) CGFloat thickness;
@end

NS_ASSUME_NONNULL_END
