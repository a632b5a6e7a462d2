// Runs every window test class in one offscreen application (Fusion style, as the
// application uses) whose home, settings and data folders are temporary.
#include <QApplication>

#include "tests/app/AppTestSupport.h"

int main(int argc, char** argv) {
    vantrel::testing::TempDir home;
    vantrel::testing::useTemporaryUserFolders(home);
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication app(argc, argv);
    return vantrel::testing::runRegisteredTestClasses(argc, argv);
}
