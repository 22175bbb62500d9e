#include "app/LaunchManager.h"
#include "app/UpdaterManager.h"
#include "support/FakeExternalPrograms.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillet {
namespace {

/// A system that may not obey.
struct FakeLoginItem final : LoginItem {
    bool enabled = true;
    bool obeys = true;
    int changes = 0;

    bool isEnabled() const override { return enabled; }
    Result<void> registerItem() override { return change(true); }
    Result<void> unregisterItem() override { return change(false); }
    void followProgram() override {}
    Result<void> change(bool to) {
        ++changes;
        if (!obeys) return Failure{PlatformError{1, {}}};
        enabled = to;
        return {};
    }
};

TEST(LaunchManagerTest, TheSystemsStateIsTheOnlyTruth) {
    auto item = std::make_unique<FakeLoginItem>();
    FakeLoginItem& system = *item;
    LaunchManager manager(std::move(item));
    EXPECT_TRUE(manager.isEnabled.value()) << "read at creation";
    const struct {
        bool obeys, wanted, published;
    } rows[] = {{true, false, false}, {true, true, true}, {true, true, true}, {false, false, true}};
    for (const auto& row : rows) {
        system.obeys = row.obeys;
        system.changes = 0;
        manager.setLaunchAtLogin(row.wanted);
        EXPECT_EQ(manager.isEnabled.value(), row.published) << "wanted " << row.wanted << ", obeys " << row.obeys;
        EXPECT_EQ(system.changes, 1) << "the system is asked each time";
    }
    system.enabled = false;
    manager.refresh();
    EXPECT_FALSE(manager.isEnabled.value()) << "it was changed elsewhere";
}

TEST(UpdaterManagerTest, OpensTheDownloadPageIfItHasAnAddress) {
    const auto programs = std::make_shared<test::FakeExternalPrograms>();
    UpdaterManager product(programs);
    product.checkForUpdates();
    ASSERT_EQ(programs->opened.size(), 1U);
    EXPECT_EQ(programs->opened[0].scheme(), QStringLiteral("https"));
    for (const char* none : {"", "no address", "http://[", "page.html"}) {
        UpdaterManager(programs, QString::fromLatin1(none)).checkForUpdates();
        EXPECT_EQ(programs->opened.size(), 1U) << none;
    }
}

} // namespace
} // namespace quillet
