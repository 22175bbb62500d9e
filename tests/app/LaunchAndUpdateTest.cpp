#include "app/LaunchManager.h"
#include "app/UpdaterManager.h"
#include "support/FakeExternalPrograms.h"

#include <gtest/gtest.h>

#include <vector>

namespace quillet {
namespace {

class FakeLoginItem final : public LoginItem {
public:
    struct System {
        bool enabled = false;
        bool obeys = true;
        int changes = 0;
    };
    explicit FakeLoginItem(System& theSystem) : system(theSystem) {}

    bool isEnabled() const override { return system.enabled; }
    Result<void> registerItem() override { return change(true); }
    Result<void> unregisterItem() override { return change(false); }
    void followProgram() override {}

private:
    Result<void> change(bool to) {
        ++system.changes;
        if (!system.obeys) return Failure{PlatformError{1, QStringLiteral("no")}};
        system.enabled = to;
        return {};
    }
    System& system;
};

TEST(LaunchManagerTest, TheSystemsStateIsTheOnlyTruth) {
    FakeLoginItem::System system{.enabled = true};
    LaunchManager manager(std::make_unique<FakeLoginItem>(system));
    EXPECT_TRUE(manager.isEnabled.value()) << "read at creation";

    const struct {
        bool obeys, wanted, published;
    } rows[] = {
        {true, false, false}, {true, true, true},   {true, true, true},
        {false, false, true}, {true, false, false}, {false, true, false},
    };
    for (const auto& row : rows) {
        system.obeys = row.obeys;
        const int before = system.changes;
        manager.setLaunchAtLogin(row.wanted);
        EXPECT_EQ(manager.isEnabled.value(), row.published) << "wanted " << row.wanted << ", obeys " << row.obeys;
        EXPECT_EQ(system.changes, before + 1) << "the system is asked each time";
    }
    system.enabled = true;
    EXPECT_FALSE(manager.isEnabled.value()) << "nobody has looked again";
    manager.refresh();
    EXPECT_TRUE(manager.isEnabled.value());
}

TEST(UpdaterManagerTest, OpensTheDownloadPageIfItHasAnAddress) {
    const auto programs = std::make_shared<test::FakeExternalPrograms>();
    UpdaterManager product(programs);
    EXPECT_TRUE(product.canCheckForUpdates.value());
    product.checkForUpdates();
    ASSERT_EQ(programs->opened.size(), 1U);
    EXPECT_EQ(programs->opened[0].scheme(), QStringLiteral("https"));
    EXPECT_TRUE(product.canCheckForUpdates.value());

    for (const char* none : {"", "no address", "http://[", "page.html"}) {
        UpdaterManager(programs, QString::fromLatin1(none)).checkForUpdates();
        EXPECT_EQ(programs->opened.size(), 1U) << none;
    }
}

} // namespace
} // namespace quillet
