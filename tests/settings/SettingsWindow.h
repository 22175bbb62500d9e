#pragma once

#include "SettingsTestSupport.h"
#include "settings/ui/SettingsView.h"
#include "support/Widgets.h"
#include "widgets/Sheet.h"

namespace quillet::test {

/// The settings' window, with a sound server behind it. What stands in the section for templates is the test's.
class SettingsWindowFixture : public SettingsFixture {
protected:
    ~SettingsWindowFixture() override { view.reset(); }
    void open() {
        view.reset();
        makeModel();
        notesChoice = makeNotesChoice();
        sound = std::make_shared<SoundChoiceModel>(soundServer, *kept);
        reopen();
        ASSERT_TRUE(settle());
        ASSERT_TRUE(waitFor([this] { return !sound->isLoading.value(); }));
    }
    void reopen() {
        view = std::make_unique<SettingsView>(SettingsParts{
            .model = model, .notesChoice = notesChoice, .soundChoice = sound, .makeTemplatesTab = makeTemplatesTab});
        view->resize(size);
        view->show();
    }
    /// The one that is open.
    Sheet* sheet() const {
        for (Sheet* const candidate : view->findChildren<Sheet*>()) {
            if (candidate->isVisible()) return candidate;
        }
        return nullptr;
    }

    QSize size{720, 520};
    std::function<QWidget*(QWidget*)> makeTemplatesTab;
    std::shared_ptr<FakeSoundDevices> soundServer = std::make_shared<FakeSoundDevices>(
        std::vector<SoundDevice>{{.kind = SoundDevice::Kind::Output, .name = u"out"_s, .description = u"Speakers"_s},
                                 {.kind = SoundDevice::Kind::Input,
                                  .name = u"in"_s,
                                  .description = u"Headset with a rather long name, USB, channel one"_s}});
    std::shared_ptr<NotesChoiceModel> notesChoice;
    std::shared_ptr<SoundChoiceModel> sound;
    std::unique_ptr<SettingsView> view;
};

} // namespace quillet::test
