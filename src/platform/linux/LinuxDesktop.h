#pragma once

#include "platform/Desktop.h"

namespace quillet {

/// Hands addresses to xdg-open, which asks the desktop's portal or its own table for the program.
class LinuxDesktop final : public Desktop {
public:
    void openUrl(const QUrl& url) override;
    bool openLanguageModelSettings() override { return false; } // Linux desktops come without a language model
};

} // namespace quillet
