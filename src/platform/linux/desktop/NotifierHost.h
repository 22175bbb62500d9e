#pragma once

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QObject>

#include <cstddef>

namespace quillet {

/// Finds the panel that shows status items, puts one of ours into it, and notices when it goes and comes back. Owned by
/// the status item; main thread, never waits for the bus.
class NotifierHost : public QObject {
    Q_OBJECT

public:
    enum class State {
        Asking,
        NoWatcher, ///< nobody on this bus shows items
        NoHost,    ///< somebody keeps a list of items, but no panel shows them
        Shown,
    };

    NotifierHost(const QDBusConnection& bus, const QString& itemPath);

    /// The item must be on the bus by now.
    void start();

    [[nodiscard]] State state() const { return m_state; }

    /// A panel of this desktop is known to tell of a press of the primary button.
    [[nodiscard]] bool tellsOfPresses() const { return m_tellsOfPresses; }

Q_SIGNALS:
    void changed();

private Q_SLOTS:
    void hostsChanged();

private:
    void ownerChanged(bool present);
    void registerItem(std::size_t attempt);
    void askForHost();
    void askWhoElseIsThere();
    void become(State state);

    QDBusConnection m_bus;
    QString m_itemPath;
    QDBusServiceWatcher m_watcher;
    State m_state = State::Asking;
    bool m_tellsOfPresses = false;
    int m_life = 0; ///< of the watcher; answers from an earlier one do not count
};

} // namespace quillet
