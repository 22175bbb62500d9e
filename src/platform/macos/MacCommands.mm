#import "platform/macos/MacCommands.h"

#include "platform/Process.h"
#include "platform/RemoteCommandNames.h"
#import "platform/macos/MacSupport.h"
#include "platform/posix/SystemCalls.h"

#import <AppKit/AppKit.h>
#import <CoreFoundation/CoreFoundation.h>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

namespace quillet {
namespace {

constexpr NSTimeInterval kLongestStart_s = 20; // the first one after an update is looked over by the system

/// Lets what was sent go on its way, and what has come be heard.
void exchange() { CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.1, false); }

void sendCommand(RemoteCommand command) { sendToSession(kCommandNotification, toNSString(remoteCommandName(command))); }

/// The system counts by identifier, which the command line has as well.
bool applicationRuns() {
    NSString* const identifier = NSBundle.mainBundle.bundleIdentifier;
    if (!identifier) return false;
    const pid_t own = NSProcessInfo.processInfo.processIdentifier;
    for (NSRunningApplication* running in [NSRunningApplication runningApplicationsWithBundleIdentifier:identifier]) {
        const bool isApplication = [running.executableURL.lastPathComponent isEqualToString:@"quillet-tray"];
        if (isApplication && running.processIdentifier != own && !running.terminated) return true;
    }
    return false;
}

RemoteCommand commandAmong(char** arguments) {
    const QString dashes = QStringLiteral("--");
    for (; *arguments; ++arguments) {
        const QString argument = QString::fromUtf8(*arguments);
        if (!argument.startsWith(dashes)) continue;
        if (const auto command = remoteCommandNamed(argument.mid(dashes.size()))) return *command;
    }
    return RemoteCommand::Open;
}

/// Returns when the application obeys commands, or with the reason why it does not.
NSString* _Nullable openApplication(NSURL* bundle) {
    __block bool obeys = false;
    __block NSString* refusal = nil;
    NSDistributedNotificationCenter* const center = NSDistributedNotificationCenter.defaultCenter;
    const id observer = [center addObserverForName:kObeysNotification
                                            object:nil
                                             queue:nil
                                        usingBlock:^(NSNotification*) {
                                          obeys = true;
                                        }];
    [NSWorkspace.sharedWorkspace openApplicationAtURL:bundle
                                        configuration:[NSWorkspaceOpenConfiguration configuration]
                                    completionHandler:^(NSRunningApplication* opened, NSError* error) {
                                      if (opened) return;
                                      NSString* const reason =
                                          error ? error.localizedDescription : @"The system does not say why.";
                                      dispatch_async(dispatch_get_main_queue(), ^{
                                        refusal = reason;
                                      });
                                    }];
    NSDate* const deadline = [NSDate dateWithTimeIntervalSinceNow:kLongestStart_s];
    while (!obeys && !refusal && deadline.timeIntervalSinceNow > 0) exchange();
    [center removeObserver:observer];
    if (obeys) return nil;
    return refusal ? refusal : @"It does not answer.";
}

} // namespace

bool deliverCommand(RemoteCommand command) {
    if (!applicationRuns()) return false;
    sendCommand(command);
    return true;
}

// A sandbox lets no program become another one. The application is opened as from the Finder, without the arguments,
// which the system takes from nobody in a sandbox, and is then told what it is wanted for. Outside of a bundle, where a
// build leaves it, nothing is in a sandbox.
void SystemCalls::replaceProgram(const char* program, char** arguments) {
    const auto contents = std::filesystem::path(program).lexically_normal().parent_path().parent_path();
    const std::filesystem::path bundle = contents.parent_path();
    if (bundle.extension() != ".app") {
        ::execv(program, arguments);
        return;
    }
    const RemoteCommand command = commandAmong(arguments);
    // Nothing is started only to be ended.
    if (!deliverCommand(command) && command != RemoteCommand::Quit) {
        if (NSString* const reason = openApplication(toFileURL(bundle))) {
            std::fprintf(stderr, "quillet: Quillet could not be opened. %s\n", qUtf8Printable(fromNSString(reason)));
            leaveProcess(EXIT_FAILURE);
        }
        if (command != RemoteCommand::Open) sendCommand(command);
    }
    exchange();
    leaveProcess(EXIT_SUCCESS);
}

} // namespace quillet
