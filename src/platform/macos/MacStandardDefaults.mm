#import "platform/macos/MacSupport.h"
#include "support/UserDefaults.h"

namespace quillet {
namespace {

/// The platform's store for this program, which `defaults` and other programs may read and change as well.
class MacStandardDefaults final : public UserDefaults {
public:
    void set(const QString& key, const QVariant& value) override {
        if (const id object = fromVariant(value)) [store() setObject:object forKey:toNSString(key)];
    }
    void remove(const QString& key) override { [store() removeObjectForKey:toNSString(key)]; }

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
