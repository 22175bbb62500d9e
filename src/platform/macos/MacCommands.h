#pragma once

#include "platform/SingleInstance.h"

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

namespace quillet {

// What two starts of the program say to each other: notifications between the programs of one user's session. A name
// and a text are all that goes over, because a program in a sandbox may send no more.

/// To the application; its object is the command's name.
inline NSNotificationName const kCommandNotification = @"com.corvane.Quillet.command";
/// From the application, as soon as it obeys commands.
inline NSNotificationName const kObeysNotification = @"com.corvane.Quillet.obeys";

inline void sendToSession(NSNotificationName name, NSString* _Nullable text) {
    [NSDistributedNotificationCenter.defaultCenter postNotificationName:name
                                                                 object:text
                                                               userInfo:nil
                                                     deliverImmediately:YES];
}

/// Hands the command to the application if it runs, in another process than this one.
[[nodiscard]] bool deliverCommand(RemoteCommand command);

} // namespace quillet

NS_ASSUME_NONNULL_END
