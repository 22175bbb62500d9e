#include "platform/ExternalPrograms.h"
#import "platform/macos/MacSupport.h"

#import <AppKit/AppKit.h>

namespace quillet {
namespace {

class MacExternalPrograms final : public ExternalPrograms {
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

std::unique_ptr<ExternalPrograms> makeExternalPrograms() { return std::make_unique<MacExternalPrograms>(); }

} // namespace quillet
