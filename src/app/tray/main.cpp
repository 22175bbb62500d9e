#include "app/tray/TrayProgram.h"
#include "platform/Process.h"
#include "platform/WindowSystem.h"
#include "support/Translations.h"

#include <QApplication>

#include <cstdio>
#include <cstdlib>

int main(int argc, char** argv) {
    quillet::prepareProcess();
    if (const QString why = quillet::whyNoDisplay(); !why.isEmpty()) {
        std::fprintf(stderr, "quillet: %s “quillet record” records without one.\n", qUtf8Printable(why));
        return EXIT_FAILURE;
    }
    quillet::chooseWindowSystem();
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("quillet"));
    QApplication::setApplicationVersion(QStringLiteral(QUILLET_VERSION));
    QApplication::setDesktopFileName(QStringLiteral("com.corvane.Quillet"));
    quillet::installTranslations(application);
    return quillet::TrayProgram(QApplication::arguments()).run();
}
