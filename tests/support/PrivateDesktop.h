#pragma once

#include <QProcess>
#include <QProcessEnvironment>
#include <QRect>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <string>
#include <vector>

namespace quillet::test {

/// A desktop of a test's own: an X server without a screen, a session bus without the user's services, a window manager
/// and a panel whose tray holds the items of programs, at the right end of the top edge. Real programs, real input
/// events. A failure to start ends in a failed expectation and an unusable desktop.
class PrivateDesktop {
public:
    /// Why there can be none here; empty when there can.
    [[nodiscard]] static std::string whyUnavailable();

    PrivateDesktop();
    ~PrivateDesktop();
    PrivateDesktop(const PrivateDesktop&) = delete;
    PrivateDesktop& operator=(const PrivateDesktop&) = delete;

    void startPanel();
    void stopPanel();
    /// A tray of the older kind in the panel's place: one that embeds windows and knows no bus.
    void startOlderTray();
    /// Why there can be none here; empty when there can.
    [[nodiscard]] static std::string whyNoOlderTray();
    /// As when an X server crashes. Nothing can be shown from then on.
    void stopScreen();

    /// For programs that are to run on it. Its home and configuration are the desktop's own, too.
    [[nodiscard]] const QProcessEnvironment& environment() const { return m_environment; }
    [[nodiscard]] QString home() const { return m_folder.path(); }

    /// The ids of the visible windows with exactly that title.
    [[nodiscard]] QStringList windows(const QString& title) const;
    [[nodiscard]] bool waitForWindow(const QString& title, bool present = true, int deadlineMs = 10000) const;
    [[nodiscard]] QRect geometry(const QString& window) const;

    /// Input as from a hand: keys by their X names to the focused window, clicks at a place on the screen.
    void press(const QString& keys) const;
    void type(const QString& text) const;
    void click(QPoint place, int button = 1) const;
    /// Where the tray shows the first item.
    [[nodiscard]] QPoint trayItem() const;
    /// Keeps a picture of the whole screen as NAME.png in QUILLET_SCREENSHOTS, when that is set.
    void keepPicture(const QString& name) const;

private:
    [[nodiscard]] std::unique_ptr<QProcess> start(const QString& program, const QStringList& arguments) const;
    QString run(const QString& program, const QStringList& arguments) const;

    QTemporaryDir m_folder;
    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    std::vector<std::unique_ptr<QProcess>> m_processes; ///< ended in reverse order
    std::unique_ptr<QProcess> m_panel;
};

} // namespace quillet::test
