#include "platform/WindowSystem.h"

#include <QWindow>

namespace quillet {

void activateForUser(QWindow& window) {
    window.raise();
    window.requestActivate();
}

bool windowsMayBeTranslucent() { return true; }

bool hasDisplay() { return true; }

void chooseWindowSystem() {} // there is one

} // namespace quillet
