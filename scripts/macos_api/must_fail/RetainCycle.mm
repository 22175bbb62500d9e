// Must be rejected: capturing 'self' strongly in this block is likely to lead to a retain cycle
#import <Foundation/Foundation.h>

@interface Keeper : NSObject
@property(copy) void (^handler)(void);
- (void)keep;
- (void)work;
@end
@implementation Keeper
- (void)work {
}
- (void)keep {
    self.handler = ^{
      [self work];
    };
}
@end
