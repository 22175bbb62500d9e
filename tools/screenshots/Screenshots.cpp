// Makes the pictures of the windows that the documentation shows: quillet-screenshots FOLDER
// Every window is the program's own, over models with sample data; nothing of the machine's is shown.

#include "app/Desk.h"
#include "app/ui/MenuParts.h"
#include "app/ui/MenuView.h"
#include "app/ui/Popover.h"
#include "onboarding/OnboardingTestSupport.h"
#include "onboarding/ui/OnboardingView.h"
#include "onboarding/ui/PageFlow.h"
#include "settings/SettingsWindow.h"
#include "support/Translations.h"
#include "support/Widgets.h"
#include "templates/TemplateManager.h"
#include "templates/ui/PreviewSheet.h"
#include "templates/ui/TemplateEditorSheet.h"
#include "templates/ui/TemplatesTabView.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

#include <cstdio>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

constexpr int kRoom = 20;
constexpr int kTitleBar = 34;
constexpr int kRadius = 10;
constexpr int kShadow = 14;

QSizeF sizeOf(const QPixmap& picture) { return QSizeF(picture.size()) / picture.devicePixelRatio(); }

QColor ground() {
    return Theme::shared().colorScheme() == ColorScheme::Dark ? QColor(0x46, 0x4a, 0x54) : QColor(0xd9, 0xdd, 0xe5);
}

QPixmap emptyGround(QSizeF size, qreal ratio) {
    QPixmap picture((size * ratio).toSize());
    picture.setDevicePixelRatio(ratio);
    picture.fill(ground());
    return picture;
}

void paintShadow(QPainter& painter, const QRectF& window) {
    painter.setPen(Qt::NoPen);
    for (int ring = kShadow; ring > 0; --ring) {
        painter.setBrush(QColor(0, 0, 0, 1 + (kShadow - ring) / 3));
        painter.drawRoundedRect(window.adjusted(-ring, 3 - ring, ring, 3 + ring), kRadius + ring, kRadius + ring);
    }
}

/// How a desktop would show a window: on a neutral ground, with a title bar, rounded corners and a shadow.
QPixmap framed(const QPixmap& window, const QString& title) {
    const Theme& theme = Theme::shared();
    const QRectF frame(QPointF(kRoom, kRoom), sizeOf(window) + QSizeF(0, kTitleBar));
    QPixmap picture = emptyGround(frame.size() + QSizeF(2 * kRoom, 2 * kRoom), window.devicePixelRatio());
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    paintShadow(painter, frame);
    QPainterPath shape;
    shape.addRoundedRect(frame, kRadius, kRadius);
    painter.setClipPath(shape);
    painter.fillPath(shape, theme.fill(Fill::Window));
    const QRectF bar(frame.topLeft(), QSizeF(frame.width(), kTitleBar));
    painter.setFont(theme.font(TextStyle::SubheadlineMedium));
    painter.setPen(theme.ink(Ink::Secondary));
    painter.drawText(bar, Qt::AlignCenter, title);
    painter.fillRect(QRectF(bar.left(), bar.bottom() - 1, bar.width(), 1), theme.fill(Fill::Border));
    painter.drawPixmap(bar.bottomLeft(), window);
    return picture;
}

/// A window that brings its own corners and shadow, on the same ground.
QPixmap onGround(const QPixmap& window) {
    QPixmap picture = emptyGround(sizeOf(window) + QSizeF(kRoom, kRoom), window.devicePixelRatio());
    QPainter(&picture).drawPixmap(QPointF(kRoom / 2.0, kRoom / 2.0), window);
    return picture;
}

QString targetFolder; ///< NOLINT: given on the command line, once
bool allSaved = true; ///< NOLINT

/// Once in the light and once in the dark, as NAME.png and NAME-dark.png.
void save(const QString& name, const std::function<QPixmap()>& picture) {
    for (const ColorScheme scheme : {ColorScheme::Light, ColorScheme::Dark}) {
        Theme::shared().setColorScheme(scheme);
        letLayoutsSettle();
        const QString dark = scheme == ColorScheme::Dark ? u"-dark"_s : QString();
        const QString path = targetFolder + u'/' + name + dark + u".png"_s;
        const QImage image = picture().toImage().convertToFormat(QImage::Format_RGB888);
        if (image.save(path, "PNG", 0 /* as small as can be */)) continue;
        std::fprintf(stderr, "%s cannot be written\n", qPrintable(path));
        allSaved = false;
    }
}

/// A recording of some length under way.
class PopoverPictures {
public:
    PopoverPictures() {
        const std::filesystem::path recording = *desk.fileServices.support / "Meeting_2026-03-02_10-00.m4a";
        std::ofstream(recording) << "a recording";
        desk.host->url = recording;
        desk.defaults.set(DefaultsKeys::autoCreateNote, true);
    }

    void takeAll() {
        take(u"popover-first"_s);
        desk.control.start();
        require(desk.becomesRecording(true), "no recording starts");
        take(u"popover-recording"_s);
        desk.control.stop();
        require(desk.becomesRecording(false), "the recording does not end");
        desk.engine->waitUntilFinished();
        processEvents();
        take(u"popover"_s);
        desk.uiModel.showDiskFull();
        take(u"popover-alert"_s);
        desk.uiModel.showNotesAutomationDenied();
        take(u"popover-automation"_s);
        desk.uiModel.activeAlert.set(std::nullopt);
        desk.permissionServices->screenCapture = false;
        desk.permissionServices->microphone = AuthorizationStatus::Denied;
        take(u"popover-permissions"_s);
    }

private:
    void take(const QString& name) {
        auto* const view = new MenuView(desk.makeMenuModel());
        Popover popover(view, [] { return false; });
        popover.showBeside({});
        save(name, [&] {
            for (auto* const time : view->findChildren<ElapsedTimeView*>()) {
                if (desk.engine->isRecording.value())
                    time->setStartDate(std::chrono::system_clock::now() - (23min + 41s));
            }
            const auto meters = view->findChildren<LevelMeter*>();
            for (int each = 0; each < meters.size(); ++each) meters[each]->setLevel(each == 0 ? 0.72 : 0.41);
            return onGround(popover.grab());
        });
    }

    Desk desk;
};

std::shared_ptr<TemplateManager> sampleTemplates(UserDefaults& defaults) {
    auto manager = std::make_shared<TemplateManager>(defaults);
    for (const auto& name : {u"Weekly product review"_s, u"Job interview"_s}) {
        manager->addTemplate(
            {.id = QUuid::createUuid(), .name = name, .content = MeetingTemplate::builtInTemplates().front().content});
    }
    return manager;
}

class SettingsPictures final : public SettingsWindowFixture {
public:
    void takeAll() {
        folders.support = "/home/ada/.local/share/quillet";
        folders.home = "/home/ada";
        folders.creates = false;
        files = std::make_unique<RecordingFileManager>(folders, defaults);
        notes->folders = {u"Meetings"_s, u"Work"_s};
        launches = true;
        soundServer->found.back().description = u"Headset"_s;
        makeTemplatesTab = [this](QWidget* parent) {
            return new TemplatesTabView(sampleTemplates(defaults), nullptr, parent);
        };
        open();
        const auto take = [&](const QString& name, SettingsSection section) {
            model->selectedSection.set(section);
            save(name, [&] { return framed(view->grab(), u"Quillet Settings"_s); });
        };
        take(u"settings-ai"_s, SettingsSection::AI);
        take(u"settings-templates"_s, SettingsSection::Templates);
        view->resize(view->width(), 900); // all of it at once
        take(u"settings-general"_s, SettingsSection::General);
    }

private:
    void TestBody() override {}

    FakeFileServices folders;
};

class OnboardingPictures final : public OnboardingFixture {
public:
    void takeAll() {
        model = make();
        OnboardingView view(model);
        view.resize(view.sizeHint());
        view.show();
        services->microphone = AuthorizationStatus::Authorized;
        notes->access = NotesAccess::Granted;
        const QStringList names{u"welcome"_s, u"microphone"_s,   u"system-audio"_s,
                                u"notes"_s,   u"on-device-ai"_s, u"ready"_s};
        for (int step = 0; step < model->pageCount(); ++step) {
            model->currentStep.set(step);
            require(waitFor([&] { return !view.findChild<PageFlow*>()->isMoving(); }), "the page does not rest");
            const int name = model->pageCount() < names.size() && step == 4 ? 5 : step;
            save(u"introduction-"_s + names[name], [&] { return framed(view.grab(), u"Welcome to Quillet"_s); });
        }
    }

private:
    void TestBody() override {}
};

void takeTemplateSheets() {
    MemoryUserDefaults defaults;
    const auto manager = sampleTemplates(defaults);
    const MeetingTemplate own = manager->allTemplates().back();
    const auto nothing = [] {};
    NewTemplateSheet add([](const QString&, const QString&) {}, nothing, nullptr);
    EditTemplateSheet edit(
        own, [](const QString&, const QString&) {}, nothing, nullptr);
    PreviewSheet preview(manager->previewTemplate(own), nothing, nullptr);
    for (const auto& [name, sheet] : {std::pair<QString, Sheet*>{u"template-new"_s, &add},
                                      {u"template-edit"_s, &edit},
                                      {u"template-preview"_s, &preview}}) {
        sheet->setAttribute(Qt::WA_DeleteOnClose, false);
        sheet->show();
        save(name, [sheet = sheet] { return framed(sheet->grab(), sheet->windowTitle()); });
        sheet->hide();
    }
}

int takeAll() {
    PopoverPictures().takeAll();
    SettingsPictures().takeAll();
    takeTemplateSheets();
    OnboardingPictures().takeAll();
    return allSaved && !testing::UnitTest::GetInstance()->Failed() ? 0 : 1;
}

} // namespace
} // namespace quillet::test

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: quillet-screenshots FOLDER\n", stderr);
        return 2;
    }
    // Off the screen, at two pixels to a point, and in nobody's home.
    const QTemporaryDir home;
    for (const char* variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME"})
        qputenv(variable, home.path().toLocal8Bit());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_SCALE_FACTOR", "2");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    qputenv("NO_AT_BRIDGE", "1");
    testing::InitGoogleTest();
    QApplication application(argc, argv);
    QApplication::setFont(QFont(QStringLiteral("Inter"))); // the toolkit falls back where there is none
    quillet::installPlatformWording(application);          // in English, whatever the language of whoever makes them
    quillet::Theme::shared().install();
    quillet::test::targetFolder = QString::fromLocal8Bit(argv[1]);
    return quillet::test::takeAll();
}
