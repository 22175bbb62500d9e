#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@class UNUserNotificationCenter;

typedef NSUInteger UNAuthorizationOptions;
enum : NSUInteger { UNAuthorizationOptionAlert = 1 << 2 };
typedef NSUInteger UNNotificationPresentationOptions;
enum : NSUInteger { UNNotificationPresentationOptionBanner = 1 << 4 };
typedef NSUInteger UNNotificationActionOptions;
enum : NSUInteger { UNNotificationActionOptionForeground = 1 << 2 };
typedef NSUInteger UNNotificationCategoryOptions;
enum : NSUInteger { UNNotificationCategoryOptionNone = 0 };

@interface UNNotificationContent : NSObject <NSCopying>
@end
@interface UNMutableNotificationContent : UNNotificationContent
@property(nonatomic, copy) NSString* title;
@property(nonatomic, copy) NSString* body;
@property(nonatomic, copy) NSString* categoryIdentifier;
@end
@interface UNNotificationTrigger : NSObject
@end
@interface UNNotificationRequest : NSObject
+ (instancetype)requestWithIdentifier:(NSString*)identifier
                              content:(UNNotificationContent*)content
                              trigger:(nullable UNNotificationTrigger*)trigger;
@property(nonatomic, readonly, copy) NSString* identifier;
@end
@interface UNNotification : NSObject
@property(nonatomic, readonly, copy) UNNotificationRequest* request;
@end
@interface UNNotificationAction : NSObject
+ (instancetype)actionWithIdentifier:(NSString*)identifier
                               title:(NSString*)title
                             options:(UNNotificationActionOptions)options;
@end
@interface UNNotificationCategory : NSObject
+ (instancetype)categoryWithIdentifier:(NSString*)identifier
                               actions:(NSArray<UNNotificationAction*>*)actions
                     intentIdentifiers:(NSArray<NSString*>*)intentIdentifiers
                               options:(UNNotificationCategoryOptions)options;
@end
QUILLET_API NSString* const UNNotificationDismissActionIdentifier;
@interface UNNotificationResponse : NSObject
@property(nonatomic, readonly, copy) UNNotification* notification;
@property(nonatomic, readonly, copy) NSString* actionIdentifier;
@end

@protocol UNUserNotificationCenterDelegate <NSObject>
@optional
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions options))completionHandler;
- (void)userNotificationCenter:(UNUserNotificationCenter*)center
    didReceiveNotificationResponse:(UNNotificationResponse*)response
             withCompletionHandler:(void (^)(void))completionHandler;
@end

@interface UNUserNotificationCenter : NSObject
@property(class, readonly, strong) UNUserNotificationCenter* currentNotificationCenter;
@property(nonatomic, nullable, weak) id<UNUserNotificationCenterDelegate> delegate;
- (void)requestAuthorizationWithOptions:(UNAuthorizationOptions)options
                      completionHandler:(void (^)(BOOL granted, NSError* _Nullable error))completionHandler;
- (void)setNotificationCategories:(NSSet<UNNotificationCategory*>*)categories;
- (void)addNotificationRequest:(UNNotificationRequest*)request
         withCompletionHandler:(nullable void (^)(NSError* _Nullable error))completionHandler;
- (void)removePendingNotificationRequestsWithIdentifiers:(NSArray<NSString*>*)identifiers;
- (void)removeDeliveredNotificationsWithIdentifiers:(NSArray<NSString*>*)identifiers;
@end

NS_ASSUME_NONNULL_END
