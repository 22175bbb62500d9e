#include "support/PrivateDesktop.h"

#include "support/Files.h"
#include "support/WaitFor.h"

#include <QStandardPaths>

#include <gtest/gtest.h>

#include <algorithm>

namespace quillet::test {
namespace {

using namespace Qt::StringLiterals;

constexpr QSize kScreen(1280, 900);
constexpr const char* kPanelConfiguration = R"(<?xml version="1.0"?>
<channel name="xfce4-panel" version="1.0">
 <property name="configver" type="int" value="2"/>
 <property name="panels" type="array"><value type="int" value="1"/>
  <property name="panel-1" type="empty">
   <property name="position" type="string" value="p=6;x=0;y=0"/>
   <property name="length" type="uint" value="100"/>
   <property name="position-locked" type="bool" value="true"/>
   <property name="size" type="uint" value="28"/>
   <property name="plugin-ids" type="array"><value type="int" value="1"/><value type="int" value="2"/></property>
  </property>
 </property>
 <property name="plugins" type="empty">
  <property name="plugin-1" type="string" value="separator">
   <property name="expand" type="bool" value="true"/><property name="style" type="uint" value="0"/>
  </property>
  <property name="plugin-2" type="string" value="systray"/>
 </property>
</channel>
)";

/// The panel's settings service lies outside the path, in a folder by the machine's name.
QString settingsService() {
    for (const QString& folder : {u"/usr/lib"_s, u"/usr/libexec"_s}) {
        QStringList candidates{folder + u"/xfce4/xfconf/xfconfd"_s};
        for (const QString& triplet : QDir(folder).entryList({u"*-linux-*"_s}, QDir::Dirs))
            candidates += folder + u'/' + triplet + u"/xfce4/xfconf/xfconfd"_s;
        for (const QString& candidate : candidates) {
            if (QFile::exists(candidate)) return candidate;
        }
    }
    return {};
}

std::string whyMissing(const char* program) {
    if (!QStandardPaths::findExecutable(QLatin1String(program)).isEmpty()) return {};
    return std::string(program) + " is not installed; scripts/install-dependencies --desktop brings it";
}

void end(QProcess& process) {
    process.terminate();
    if (process.waitForFinished(2000)) return;
    process.kill();
    process.waitForFinished();
}

} // namespace

std::string PrivateDesktop::whyUnavailable() {
    for (const char* program : {"Xvfb", "dbus-daemon", "openbox", "xfce4-panel", "xdotool"}) {
        if (std::string why = whyMissing(program); !why.empty()) return why;
    }
    return settingsService().isEmpty() ? "xfconfd is not installed" : std::string();
}

std::string PrivateDesktop::whyNoOlderTray() { return whyMissing("trayer"); }

PrivateDesktop::PrivateDesktop() {
    for (const auto& [name, folder] : {std::pair{u"HOME"_s, u""_s},
                                       {u"XDG_RUNTIME_DIR"_s, u"/run"_s},
                                       {u"XDG_CONFIG_HOME"_s, u"/config"_s},
                                       {u"XDG_DATA_HOME"_s, u"/data"_s},
                                       {u"XDG_CACHE_HOME"_s, u"/cache"_s}}) {
        QDir().mkpath(home() + folder);
        m_environment.insert(name, home() + folder);
    }
    QFile::setPermissions(home() + u"/run"_s, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    m_environment.insert(u"NO_AT_BRIDGE"_s, u"1"_s);
    m_environment.insert(u"DBUS_SESSION_BUS_ADDRESS"_s, u"unix:path="_s + home() + u"/run/bus"_s);
    for (const QString& name : {u"QT_QPA_PLATFORM"_s, u"WAYLAND_DISPLAY"_s, u"SESSION_MANAGER"_s, u"QT_SCALE_FACTOR"_s})
        m_environment.remove(name);

    // An X server that resets drops the clients that just connect when the last of the others leaves, which at the
    // start is whoever looks for a window.
    const QString arguments = u"-displayfd 1 -noreset -screen 0 %1x%2x24 -dpi 96 -nolisten tcp"_s;
    m_processes.push_back(start(u"Xvfb"_s, arguments.arg(kScreen.width()).arg(kScreen.height()).split(u' ')));
    QProcess* const screen = m_processes.back().get();
    while (!screen->canReadLine() && screen->waitForReadyRead(10000)) continue;
    EXPECT_TRUE(screen->canReadLine()) << "the X server does not tell its number";
    m_environment.insert(u"DISPLAY"_s, u':' + QString::fromLatin1(screen->readLine().trimmed()));
    // Without service folders: nothing of the machine's is started by a message.
    const QString bus = u"<busconfig><type>session</type><listen>unix:path=%1/run/bus</listen><auth>EXTERNAL</auth>"
                        "<policy context=\"default\"><allow send_destination=\"*\" eavesdrop=\"true\"/>"
                        "<allow eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>"_s.arg(home());
    makeFile(home() + u"/bus.conf"_s, bus.toUtf8());
    m_processes.push_back(start(u"dbus-daemon"_s, {u"--config-file="_s + home() + u"/bus.conf"_s, u"--nofork"_s}));
    EXPECT_TRUE(waitFor([this] { return QFile::exists(home() + u"/run/bus"_s); }));
    m_processes.push_back(start(u"openbox"_s, {}));
    makeFile(home() + u"/config/xfce4/xfconf/xfce-perchannel-xml/xfce4-panel.xml"_s, kPanelConfiguration);
    m_processes.push_back(start(settingsService(), {}));
    startPanel();
}

PrivateDesktop::~PrivateDesktop() {
    stopPanel();
    std::for_each(m_processes.rbegin(), m_processes.rend(), [](const auto& process) { end(*process); });
}

void PrivateDesktop::stopScreen() {
    m_processes.front()->kill();
    m_processes.front()->waitForFinished();
}

std::unique_ptr<QProcess> PrivateDesktop::start(const QString& program, const QStringList& arguments) const {
    auto process = std::make_unique<QProcess>();
    process->setProcessEnvironment(m_environment);
    process->setStandardErrorFile(home() + u'/' + program.section(u'/', -1) + u".log"_s);
    process->start(program, arguments);
    EXPECT_TRUE(process->waitForStarted()) << program.toStdString();
    return process;
}

void PrivateDesktop::startPanel() {
    m_panel = start(u"xfce4-panel"_s, {u"--disable-wm-check"_s});
    constexpr int kColdStartMs = 30'000; // of the panel, from a disk that others use as well
    ASSERT_TRUE(waitForWindow(u"xfce4-panel"_s, true, kColdStartMs));
}

void PrivateDesktop::startOlderTray() {
    m_panel = start(u"trayer"_s, u"--edge top --align right --widthtype percent --width 100 --height 28"_s.split(u' '));
}

void PrivateDesktop::stopPanel() {
    if (m_panel) end(*m_panel);
    m_panel.reset();
}

QString PrivateDesktop::run(const QString& program, const QStringList& arguments) const {
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.start(program, arguments);
    process.waitForFinished(10000);
    return QString::fromUtf8(process.readAllStandardOutput());
}

QStringList PrivateDesktop::windows(const QString& title) const {
    const QString pattern = u'^' + title + u'$';
    return run(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, pattern}).split(u'\n', Qt::SkipEmptyParts);
}

bool PrivateDesktop::waitForWindow(const QString& title, bool present, int deadlineMs) const {
    return waitFor([&] { return windows(title).isEmpty() != present; }, deadlineMs);
}

QRect PrivateDesktop::geometry(const QString& window) const {
    QRect rect;
    const QString text = run(u"xdotool"_s, {u"getwindowgeometry"_s, u"--shell"_s, window});
    for (const QString& line : text.split(u'\n')) {
        const int value = line.section(u'=', 1).toInt();
        if (line.startsWith(u"X="_s)) rect.moveLeft(value);
        if (line.startsWith(u"Y="_s)) rect.moveTop(value);
        if (line.startsWith(u"WIDTH="_s)) rect.setWidth(value);
        if (line.startsWith(u"HEIGHT="_s)) rect.setHeight(value);
    }
    return rect;
}

void PrivateDesktop::press(const QString& keys) const {
    run(u"xdotool"_s, QStringList{u"key"_s, u"--delay"_s, u"60"_s} + keys.split(u' '));
}

void PrivateDesktop::type(const QString& text) const { run(u"xdotool"_s, {u"type"_s, u"--delay"_s, u"20"_s, text}); }

void PrivateDesktop::click(QPoint place, int button) const {
    run(u"xdotool"_s,
        {u"mousemove"_s, QString::number(place.x()), QString::number(place.y()), u"click"_s, QString::number(button)});
}

QPoint PrivateDesktop::trayItem() const { return {kScreen.width() - 12, 14}; }

void PrivateDesktop::keepPicture(const QString& name) const {
    const QString folder = qEnvironmentVariable("QUILLET_SCREENSHOTS");
    if (!folder.isEmpty()) run(u"import"_s, {u"-window"_s, u"root"_s, folder + u'/' + name + u".png"_s});
}

} // namespace quillet::test
