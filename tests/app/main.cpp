// Runs every application-state test class in one offscreen application whose home,
// settings and data folders are temporary, so no test reaches the user's own.
#include <QGuiApplication>

#include "tests/app/AppTestSupport.h"

int main(int argc, char** argv) {
    vantrel::testing::TempDir home;
    vantrel::testing::useTemporaryUserFolders(home);
    QGuiApplication app(argc, argv);
    return vantrel::testing::runRegisteredTestClasses(argc, argv);
}
