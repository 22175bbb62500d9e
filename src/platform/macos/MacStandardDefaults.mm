#import "platform/macos/MacSupport.h"
#include "support/UserDefaults.h"

namespace quillet {
namespace {

/// The platform's store for this program, which `defaults` and other programs may read and change as well.
class MacStandardDefaults final : public UserDefaults {
public:
    // The platform writes later, and says nothing about it.
    bool set(const QString& key, const QVariant& value) override {
        const id object = fromVariant(value);
        if (object) [store() setObject:object forKey:toNSString(key)];
        return object;
    }
    bool remove(const QString& key) override {
        [store() removeObjectForKey:toNSString(key)];
        return true;
    }

    /// Ours only: the store also answers for what is set for all programs.
    QStringList keys() const override {
        @autoreleasepool {
            QStringList keys;
            for (NSString* key in [store() persistentDomainForName:settingsDomain()]) keys.push_back(fromNSString(key));
            keys.sort();
            return keys;
        }
    }

protected:
    QVariant value(const QString& key) const override {
        @autoreleasepool {
            return toVariant([store() objectForKey:toNSString(key)]);
        }
    }

private:
    static NSUserDefaults* store() { return NSUserDefaults.standardUserDefaults; }
};

} // namespace

UserDefaults& UserDefaults::standard() {
    static MacStandardDefaults defaults;
    return defaults;
}

} // namespace quillet
