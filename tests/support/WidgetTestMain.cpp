#include "support/TestMain.h"
#include "widgets/Theme.h"

#include <QApplication>

namespace {

class WidgetApplication final : public QApplication {
public:
    WidgetApplication(int& argc, char** argv) : QApplication(argc, argv) { quillet::Theme::shared().install(); }
};

} // namespace

int main(int argc, char** argv) {
    // Without a display, unless whoever runs the tests wants to see them on one.
    if (qEnvironmentVariableIsEmpty("QUILLET_TEST_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    else
        qputenv("QT_QPA_PLATFORM", qgetenv("QUILLET_TEST_PLATFORM"));
    // No bus of the user's is spoken to, neither by us nor by the toolkit.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent");
    qputenv("NO_AT_BRIDGE", "1");
    return quillet::test::runTests<WidgetApplication>(argc, argv);
}
