#include "support/TestMain.h"
#include "widgets/Theme.h"

#include <QApplication>

namespace {

class WidgetApplication final : public QApplication {
public:
    WidgetApplication(int& argc, char** argv) : QApplication(argc, argv) { quillet::Theme::shared().install(); }
};

QtMessageHandler usualHandler = nullptr; ///< NOLINT

/// A symbol that does not exist is drawn as a box and complained of, which no test of a window shall overlook.
void failWithoutSymbol(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    if (message.startsWith(QLatin1String("There is no symbol"))) ADD_FAILURE() << message.toStdString();
    usualHandler(type, context, message);
}

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
    usualHandler = qInstallMessageHandler(failWithoutSymbol);
    return quillet::test::runTests<WidgetApplication>(argc, argv);
}
