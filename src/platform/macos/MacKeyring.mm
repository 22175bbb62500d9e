#include "platform/Keyring.h"
#import "platform/macos/MacSupport.h"

#import <Foundation/Foundation.h>
#import <Security/Security.h>

namespace quillet {
namespace {

constexpr qsizetype kLongestSecret = 4096;

} // namespace

// The system asks the user before it hands out what another program put there; that cannot be broken off from here.
std::optional<QString> keyringSecret(const QString& purpose, const StopToken& stop) {
    if (stop.stopRequested()) return std::nullopt;
    @autoreleasepool {
        NSDictionary<NSString*, id>* const query = @{
            (__bridge NSString*)kSecClass : (__bridge id)kSecClassGenericPassword,
            (__bridge NSString*)kSecAttrService : @"quillet",
            (__bridge NSString*)kSecAttrAccount : toNSString(purpose),
            (__bridge NSString*)kSecReturnData : @YES,
            (__bridge NSString*)kSecMatchLimit : (__bridge id)kSecMatchLimitOne,
        };
        CFTypeRef found = nullptr;
        if (SecItemCopyMatching((__bridge CFDictionaryRef)query, &found) != errSecSuccess || !found)
            return std::nullopt;
        const QVariant data = toVariant(CFBridgingRelease(found));
        const QString secret = QString::fromUtf8(data.toByteArray().left(kLongestSecret)).trimmed();
        if (secret.isEmpty()) return std::nullopt;
        return secret;
    }
}

QString keyringAdvice(const QString& purpose) {
    return QStringLiteral("Keep it with: security add-generic-password -s quillet -a %1 -w").arg(purpose);
}

} // namespace quillet
