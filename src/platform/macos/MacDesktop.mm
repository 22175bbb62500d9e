#include "platform/Desktop.h"
#import "platform/macos/MacSupport.h"

#import <AppKit/AppKit.h>

namespace quillet {
namespace {

class MacDesktop final : public Desktop {
public:
    void openUrl(const QUrl& url) override { open(QString::fromLatin1(url.toEncoded())); }
    bool openLanguageModelSettings() override {
        return open(QStringLiteral("x-apple.systempreferences:com.apple.Siri-Settings.extension"));
    }

private:
    static bool open(const QString& address) {
        NSURL* const url = [NSURL URLWithString:toNSString(address)];
        return url && [NSWorkspace.sharedWorkspace openURL:url];
    }
};

} // namespace

std::unique_ptr<Desktop> makeDesktop() { return std::make_unique<MacDesktop>(); }

} // namespace quillet
