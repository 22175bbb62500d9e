#include "platform/ExternalPrograms.h"
#include "platform/Process.h"

#include <QString>

namespace quillet {
namespace {

/// Hands addresses to xdg-open, which asks the desktop's portal or its own table for the program.
class LinuxExternalPrograms final : public ExternalPrograms {
public:
    void openUrl(const QUrl& url) override {
        // Without a scheme the text would be taken for a file, or for an option.
        if (!url.isValid() || url.scheme().isEmpty()) return;
        startProgram(QStringLiteral("xdg-open"), {QString::fromLatin1(url.toEncoded())});
    }
    bool openLanguageModelSettings() override { return false; } // Linux desktops come without a language model
};

} // namespace

std::unique_ptr<ExternalPrograms> makeExternalPrograms() { return std::make_unique<LinuxExternalPrograms>(); }

} // namespace quillet
