#include "platform/UserNotices.h"
#import "platform/macos/MacSupport.h"
#include "support/MainThread.h"

#import <Foundation/Foundation.h>
#import <UserNotifications/UserNotifications.h>
#include <map>

namespace quillet {
namespace {

/// What a click on a notice does, by the notice's subject. Main thread.
using NoticeActions = std::map<QString, std::function<void()>>;

} // namespace
} // namespace quillet

/// Shows notices also while the program is in front, and carries out what is clicked.
@interface QuilletNoticeDelegate : NSObject <UNUserNotificationCenterDelegate>
- (instancetype)initWithActions:(std::shared_ptr<quillet::NoticeActions>)actions;
@end

@implementation QuilletNoticeDelegate {
    std::shared_ptr<quillet::NoticeActions> _actions;
}

- (instancetype)initWithActions:(std::shared_ptr<quillet::NoticeActions>)actions {
    self = [super init];
    if (self) _actions = std::move(actions);
    return self;
}

- (void)userNotificationCenter:(UNUserNotificationCenter*)center
       willPresentNotification:(UNNotification*)notification
         withCompletionHandler:(void (^)(UNNotificationPresentationOptions options))completionHandler {
    completionHandler(UNNotificationPresentationOptionBanner);
}

- (void)userNotificationCenter:(UNUserNotificationCenter*)center
    didReceiveNotificationResponse:(UNNotificationResponse*)response
             withCompletionHandler:(void (^)(void))completionHandler {
    const bool dismissed = [response.actionIdentifier isEqualToString:UNNotificationDismissActionIdentifier] == YES;
    const QString subject = quillet::fromNSString(response.notification.request.identifier);
    const std::weak_ptr<quillet::NoticeActions> actions = _actions;
    quillet::MainThread::post([actions, subject, dismissed] {
        const auto alive = actions.lock();
        if (!alive) return;
        const auto found = alive->find(subject);
        if (found == alive->end()) return;
        const auto action = std::move(found->second);
        alive->erase(found);
        if (!dismissed && action) action();
    });
    completionHandler();
}

@end

namespace quillet {
namespace {

NSString* const kActionIdentifier = @"show";

/// The category carries the button's title, and there is one for each title.
void addCategory(UNUserNotificationCenter* center, NSMutableSet<UNNotificationCategory*>* categories,
                 const QString& title) {
    UNNotificationAction* const action =
        [UNNotificationAction actionWithIdentifier:kActionIdentifier
                                             title:toNSString(title)
                                           options:UNNotificationActionOptionForeground];
    [categories addObject:[UNNotificationCategory categoryWithIdentifier:toNSString(title)
                                                                 actions:@[ action ]
                                                       intentIdentifiers:@[]
                                                                 options:UNNotificationCategoryOptionNone]];
    [center setNotificationCategories:categories];
}

class MacUserNotices final : public UserNotices {
public:
    MacUserNotices() {
        // Outside of a bundle there is no centre, and asking for it ends the program.
        if (!NSBundle.mainBundle.bundleIdentifier) return;
        m_center = UNUserNotificationCenter.currentNotificationCenter;
        m_delegate = [[QuilletNoticeDelegate alloc] initWithActions:m_actions];
        m_center.delegate = m_delegate;
    }
    ~MacUserNotices() override { m_center.delegate = nil; }

    void show(const UserNotice& notice) override {
        UNUserNotificationCenter* const center = m_center;
        if (!center) return;
        if (!notice.actionTitle.isEmpty()) addCategory(center, m_categories, notice.actionTitle);
        (*m_actions)[notice.subject] = notice.onAction;

        UNMutableNotificationContent* const content = [[UNMutableNotificationContent alloc] init];
        content.title = toNSString(notice.title);
        content.body = toNSString(notice.body);
        content.categoryIdentifier = toNSString(notice.actionTitle);
        UNNotificationRequest* const request = [UNNotificationRequest requestWithIdentifier:toNSString(notice.subject)
                                                                                    content:content
                                                                                    trigger:nil];
        // Asks the user the first time only. A refusal is theirs to make, and nothing depends on it.
        [center requestAuthorizationWithOptions:UNAuthorizationOptionAlert
                              completionHandler:^(BOOL granted, NSError*) {
                                if (granted) [center addNotificationRequest:request withCompletionHandler:nil];
                              }];
    }

    void withdraw(const QString& subject) override {
        m_actions->erase(subject);
        NSArray<NSString*>* const identifiers = @[ toNSString(subject) ];
        [m_center removePendingNotificationRequestsWithIdentifiers:identifiers];
        [m_center removeDeliveredNotificationsWithIdentifiers:identifiers];
    }

private:
    UNUserNotificationCenter* _Nullable m_center = nil;
    QuilletNoticeDelegate* _Nullable m_delegate = nil;
    NSMutableSet<UNNotificationCategory*>* const m_categories = [[NSMutableSet alloc] init];
    const std::shared_ptr<NoticeActions> m_actions = std::make_shared<NoticeActions>();
};

} // namespace

std::unique_ptr<UserNotices> makeUserNotices() { return std::make_unique<MacUserNotices>(); }

} // namespace quillet
