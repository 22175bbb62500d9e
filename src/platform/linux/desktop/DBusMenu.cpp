#include "platform/linux/desktop/DBusMenu.h"

#include "support/MainThread.h"

#include <QGuiApplication>

#include <algorithm>

namespace quillet {
namespace {

constexpr int kRoot = 0;

bool looksTheSame(const MenuEntry& a, const MenuEntry& b) {
    return a.title == b.title && a.shortcut == b.shortcut && a.enabled == b.enabled;
}

/// "[["Control", "comma"]]": modifiers in the protocol's words, the key as the toolkit names it.
QVariant shortcutProperty(const QKeySequence& sequence) {
    QList<QStringList> presses;
    for (int i = 0; i < sequence.count(); ++i) {
        const QKeyCombination press = sequence[static_cast<uint>(i)];
        const Qt::KeyboardModifiers modifiers = press.keyboardModifiers();
        QStringList words;
        if (modifiers & Qt::ControlModifier) words << QStringLiteral("Control");
        if (modifiers & Qt::AltModifier) words << QStringLiteral("Alt");
        if (modifiers & Qt::ShiftModifier) words << QStringLiteral("Shift");
        if (modifiers & Qt::MetaModifier) words << QStringLiteral("Super");
        words << (press.key() == Qt::Key_Comma ? QStringLiteral("comma")
                                               : QKeySequence(press.key()).toString(QKeySequence::PortableText));
        presses << words;
    }
    return QVariant::fromValue(presses);
}

QVariantMap describe(const MenuEntry& entry) {
    if (entry.isSeparator()) return {{QStringLiteral("type"), QStringLiteral("separator")}};
    QString label = entry.title;
    label.replace(QLatin1Char('_'), QLatin1String("__")); // a single one would mark the letter behind it
    QVariantMap properties{{QStringLiteral("label"), label},
                           {QStringLiteral("enabled"), entry.enabled},
                           {QStringLiteral("visible"), true}};
    if (!entry.shortcut.isEmpty()) properties.insert(QStringLiteral("shortcut"), shortcutProperty(entry.shortcut));
    return properties;
}

} // namespace

DBusMenu::DBusMenu(std::function<std::vector<MenuEntry>()> entries, QObject* parent)
    : QObject(parent), m_entries(std::move(entries)) {
    registerNotifierTypes();
}

QString DBusMenu::textDirection() const {
    return QGuiApplication::isRightToLeft() ? QStringLiteral("rtl") : QStringLiteral("ltr");
}

bool DBusMenu::rebuild() {
    const std::vector<MenuEntry> entries = m_entries();
    if (std::equal(entries.begin(), entries.end(), m_lines.begin(), m_lines.end(),
                   [](const MenuEntry& entry, const Line& line) { return looksTheSame(entry, line.entry); })) {
        for (std::size_t i = 0; i < entries.size(); ++i) m_lines[i].entry = entries[i]; // the actions may be others
        return false;
    }
    m_replaced = std::move(m_lines);
    m_lines.clear();
    for (const MenuEntry& entry : entries) m_lines.push_back({++m_lastId, entry});
    ++m_revision;
    return true;
}

void DBusMenu::refresh() {
    if (rebuild()) Q_EMIT LayoutUpdated(m_revision, kRoot);
}

void DBusMenu::buildOnce() {
    if (m_revision == 0) (void)rebuild();
}

const DBusMenu::Line* DBusMenu::find(int id) const {
    for (const auto* lines : {&m_lines, &m_replaced}) {
        const auto found = std::find_if(lines->begin(), lines->end(), [id](const Line& line) { return line.id == id; });
        if (found != lines->end()) return &*found;
    }
    return nullptr;
}

QVariantMap DBusMenu::propertiesOf(int id, const QStringList& names) const {
    QVariantMap properties;
    if (id == kRoot) {
        properties.insert(QStringLiteral("children-display"), QStringLiteral("submenu"));
    } else if (const Line* line = find(id)) {
        properties = describe(line->entry);
    }
    if (names.isEmpty()) return properties;
    for (auto property = properties.begin(); property != properties.end();)
        property = names.contains(property.key()) ? std::next(property) : properties.erase(property);
    return properties;
}

uint DBusMenu::GetLayout(int parentId, int recursionDepth, const QStringList& propertyNames, MenuLayout& layout) {
    buildOnce();
    layout = {parentId, propertiesOf(parentId, propertyNames)};
    if (parentId == kRoot && recursionDepth != 0) {
        for (const Line& line : m_lines) layout.children.append({line.id, propertiesOf(line.id, propertyNames)});
    }
    return m_revision;
}

QList<MenuItemProperties> DBusMenu::GetGroupProperties(const QList<int>& ids, const QStringList& propertyNames) {
    buildOnce();
    QList<MenuItemProperties> result;
    if (ids.isEmpty()) { // all of them, as the protocol has it
        for (const Line& line : m_lines) result.append({line.id, propertiesOf(line.id, propertyNames)});
    }
    for (const int id : ids) {
        if (knows(id)) result.append({id, propertiesOf(id, propertyNames)});
    }
    return result;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name) {
    const QVariant value = propertiesOf(id, {name}).value(name);
    return QDBusVariant(value.isValid() ? value : QVariant(QString())); // an invalid one cannot travel
}

void DBusMenu::Event(int id, const QString& eventId, const QDBusVariant&, uint) {
    if (eventId == QLatin1String("opened") && id == kRoot) return refresh(); // some panels announce it no other way
    if (eventId != QLatin1String("clicked")) return;
    const Line* line = find(id);
    // Later: the action may end the program or show a window, and the panel is still waiting for its answer.
    if (line && line->entry.enabled && line->entry.action) MainThread::post(line->entry.action);
}

QList<int> DBusMenu::EventGroup(const QList<MenuEvent>& events) {
    QList<int> unknown;
    for (const MenuEvent& event : events) {
        if (!knows(event.id)) unknown.append(event.id);
        Event(event.id, event.kind, QDBusVariant(event.data), event.timestamp);
    }
    return unknown;
}

bool DBusMenu::AboutToShow(int id) {
    if (id != kRoot) return false;
    const bool changed = rebuild();
    if (changed) Q_EMIT LayoutUpdated(m_revision, kRoot);
    return changed;
}

QList<int> DBusMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) {
    QList<int> changed;
    idErrors.clear();
    for (const int id : ids) {
        if (!knows(id)) idErrors.append(id);
        if (AboutToShow(id)) changed.append(id);
    }
    return changed;
}

} // namespace quillet
