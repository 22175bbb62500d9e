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

    bool isEnabled() const override { return enabled; }
    Result<void> registerItem() override { return change(true); }
    Result<void> unregisterItem() override { return change(false); }
    void followProgram() override {}
    Result<void> change(bool to) {
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
    } rows[] = {{true, false, false}, {true, true, true}, {false, false, true}};
    for (const auto& row : rows) {
        system.obeys = row.obeys;
        manager.setLaunchAtLogin(row.wanted);
        EXPECT_EQ(manager.isEnabled.value(), row.published) << "wanted " << row.wanted << ", obeys " << row.obeys;
    }
    system.obeys = true;
    system.enabled = false;
    manager.setLaunchAtLogin(true);
    EXPECT_TRUE(system.enabled) << "it is asked even for what was published";
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
