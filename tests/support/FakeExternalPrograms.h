#pragma once

#include "platform/ExternalPrograms.h"

#include <vector>

namespace quillet::test {

/// Opens nothing and writes down what it is to open.
struct FakeExternalPrograms final : ExternalPrograms {
    bool hasModelSettings = false;
    int modelSettingsOpened = 0;
    std::vector<QUrl> opened;

    void openUrl(const QUrl& url) override { opened.push_back(url); }
    bool openLanguageModelSettings() override {
        if (hasModelSettings) ++modelSettingsOpened;
        return hasModelSettings;
    }
};

} // namespace quillet::test
