#pragma once

#include "notes/NoteIntegrator.h"
#include "permissions/PermissionManager.h"
#include "support/FakeNotesApplication.h"
#include "support/FakePermissionServices.h"
#include "support/WaitFor.h"

#include <gmock/gmock.h>

namespace quillet::test {

/// What the system and the notes application allow, under the test's control.
class PermissionsFixture : public testing::Test {
protected:
    ~PermissionsFixture() override {
        // Whatever is still under way holds the application, and writes to the defaults afterwards.
        EXPECT_TRUE(waitFor([this] { return notes.use_count() == 1; }));
        processEvents();
    }

    MemoryUserDefaults defaults; // one thread only: whoever writes elsewhere than on the main thread is found out
    std::shared_ptr<FakePermissionServices> services = std::make_shared<FakePermissionServices>();
    std::shared_ptr<FakeNotesApplication> notes = std::make_shared<FakeNotesApplication>();
};

/// And what a window that shows it needs.
class PermissionsWindowFixture : public PermissionsFixture {
protected:
    std::shared_ptr<PermissionManager> permissions;
    NoteIntegrator integrator{notes, defaults, [this] {
                                  return permissions &&
                                         permissions->automationStatus.value() == PermissionStatus::Granted;
                              }};
};

} // namespace quillet::test
