#pragma once

#include "app/MenuModel.h"
#include "capture/RecordingControl.h"
#include "support/FakeFileServices.h"
#include "support/FakeHardware.h"
#include "support/FakeNotesApplication.h"
#include "support/FakePermissionServices.h"
#include "support/NotificationCenter.h"
#include "support/WaitFor.h"

#include <QTemporaryDir>

#include <fstream>
#include <memory>

namespace quillet::test {

/// Everything that the popover and the shell work on, with fakes where the machine begins.
struct Desk : FakeMachine {
    QTemporaryDir folder;
    MemoryUserDefaults defaults;
    NotificationCenter notifications;
    FakeFileServices fileServices;
    RecordingFileManager files{fileServices, defaults};
    RecorderUIModel uiModel;
    std::shared_ptr<FakePermissionServices> permissionServices = std::make_shared<FakePermissionServices>();
    std::shared_ptr<FakeNotesApplication> notes = std::make_shared<FakeNotesApplication>();
    std::shared_ptr<PermissionManager> permissions = PermissionManager::create(permissionServices, notes, defaults);
    RecordingControl control{engine};

    Desk() {
        fileServices.support = folder.path().toStdString();
        const std::filesystem::path recording = *fileServices.support / "Meeting.m4a";
        std::ofstream(recording) << "a recording";
        host->url = recording;
    }
    ~Desk() {
        engine->waitUntilFinished();
        processEvents();
    }

    [[nodiscard]] std::unique_ptr<MenuModel> makeMenuModel() { return makeMenuModel(defaults); }
    [[nodiscard]] std::unique_ptr<MenuModel> makeMenuModel(UserDefaults& kept) {
        return std::make_unique<MenuModel>(MenuModel::Services{.permissions = permissions,
                                                               .engine = engine,
                                                               .control = control,
                                                               .uiModel = uiModel,
                                                               .files = files,
                                                               .defaults = kept});
    }
    /// As devices do: bit by bit.
    void deliver(std::int64_t firstFrame, std::int64_t frames, float system, float mic) const {
        constexpr std::int64_t kBit = 4800;
        for (std::int64_t at = firstFrame; at < firstFrame + frames; at += kBit)
            FakeMachine::deliver(at, kBit, system, mic);
    }
    [[nodiscard]] bool becomesRecording(bool recording) const {
        return waitFor([&] { return engine->isRecording.value() == recording; });
    }
};

} // namespace quillet::test
