// Runs every canvas test class in one offscreen widget application whose home,
// settings and data folders are temporary, so no test reaches the user's own.
#include <QApplication>

#include "tests/app/AppTestSupport.h"

int main(int argc, char** argv) {
    vantrel::testing::TempDir home;
    vantrel::testing::useTemporaryUserFolders(home);
    QApplication app(argc, argv);
    return vantrel::testing::runRegisteredTestClasses(argc, argv);
}
