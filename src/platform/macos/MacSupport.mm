#import "platform/macos/MacSupport.h"

#include "platform/apple/ErrorTexts.h"

#import <CoreFoundation/CoreFoundation.h>

namespace quillet {

NSString* toNSString(const QString& text) {
    return [NSString stringWithCharacters:reinterpret_cast<const unichar*>(text.utf16())
                                   length:static_cast<NSUInteger>(text.size())];
}

QString fromNSString(NSString* _Nullable text) {
    if (text == nil) return {};
    QString result(static_cast<qsizetype>(text.length), Qt::Uninitialized);
    [text getCharacters:reinterpret_cast<unichar*>(result.data()) range:NSMakeRange(0, text.length)];
    return result;
}

NSURL* toFileURL(const std::filesystem::path& path) {
    std::error_code ignored;
    const bool isDirectory = std::filesystem::is_directory(path, ignored);
    return [NSURL fileURLWithFileSystemRepresentation:path.c_str() isDirectory:isDirectory relativeToURL:nil];
}

std::filesystem::path toPath(NSURL* _Nullable url) {
    if (url == nil || !url.fileURL) return {};
    return std::filesystem::path(url.fileSystemRepresentation);
}

PlatformError toPlatformError(NSError* _Nullable error) {
    if (error == nil) return apple::platformError(QStringLiteral("nobody"), 0, {});
    return apple::platformError(fromNSString(error.domain), error.code, fromNSString(error.localizedDescription));
}

NSString* settingsDomain() {
    NSString* const identifier = NSBundle.mainBundle.bundleIdentifier;
    return identifier ? identifier : NSProcessInfo.processInfo.processName;
}

QVariant toVariant(id _Nullable object) {
    if ([object isKindOfClass:[NSString class]]) return fromNSString(static_cast<NSString*>(object));
    if ([object isKindOfClass:[NSData class]]) {
        NSData* const data = static_cast<NSData*>(object);
        return QByteArray(static_cast<const char*>(data.bytes), static_cast<qsizetype>(data.length));
    }
    if ([object isKindOfClass:[NSNumber class]]) {
        NSNumber* const number = static_cast<NSNumber*>(object);
        if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID()) return QVariant(number.boolValue == YES);
        if (CFNumberIsFloatType((__bridge CFNumberRef)number)) return QVariant(number.doubleValue);
        return QVariant(static_cast<qlonglong>(number.longLongValue));
    }
    return {};
}

id _Nullable fromVariant(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool() ? @YES : @NO;
    case QMetaType::Int:
    case QMetaType::LongLong:
        return [NSNumber numberWithLongLong:value.toLongLong()];
    case QMetaType::Double:
        return [NSNumber numberWithDouble:value.toDouble()];
    case QMetaType::QString:
        return toNSString(value.toString());
    case QMetaType::QByteArray: {
        const QByteArray bytes = value.toByteArray();
        return [NSData dataWithBytes:bytes.constData() length:static_cast<NSUInteger>(bytes.size())];
    }
    default:
        return nil;
    }
}

} // namespace quillet
