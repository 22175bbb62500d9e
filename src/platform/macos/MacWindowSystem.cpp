#include "platform/WindowSystem.h"

#include <QWindow>

namespace quillet {

void activateForUser(QWindow& window) {
    window.raise();
    window.requestActivate();
}

bool windowsMayBeTranslucent() { return true; }

QString whyNoDisplay() { return {}; }

void chooseWindowSystem() {} // there is one

} // namespace quillet
