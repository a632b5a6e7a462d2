// The `vantrel` executable in its screenshot mode and with bad arguments, run as a
// separate process with this test's temporary home and settings.
#include <QImage>
#include <QTest>

#include "tests/app/AppTestSupport.h"
#include "tests/support/RunCommand.h"

using namespace vantrel::testing;

class AppCommandLineTest : public QObject {
    Q_OBJECT

private slots:
    void screenshotModeWritesThePictureOrSaysWhy() {
        TempDir dir;
        const std::string project = copyScanProject(dir).toStdString();
        const std::string picture = dir / "window.png";

        CommandResult shot = runCommand({VANTREL_APP_PATH, project, "--screenshot", picture, "--size", "900x600",
                                         "--select", "py/pkg/totals.py:_values:function", "--scheme", "dark"});
        QCOMPARE(shot.exitCode, 0);
        QImage image(QString::fromStdString(picture));
        QCOMPARE(image.size(), QSize(900, 600));
        QVERIFY(image.pixelColor(880, 580).lightness() < 100);  // the dark appearance

        CommandResult unknown = runCommand({VANTREL_APP_PATH, project, "--screenshot", picture, "--select", "ghost"});
        QCOMPARE(unknown.exitCode, 1);
        QVERIFY(unknown.err.find("ghost") != std::string::npos);

        CommandResult noBaseline = runCommand({VANTREL_APP_PATH, project, "--screenshot", picture, "--baseline",
                                               dir / "missing.json"});
        QCOMPARE(noBaseline.exitCode, 1);
        QVERIFY(noBaseline.err.find("cannot load the baseline") != std::string::npos);

        // Working Changes need a git work tree; the temporary folder is none.
        CommandResult noGit = runCommand({VANTREL_APP_PATH, project, "--screenshot", picture, "--open", "working-changes"});
        QCOMPARE(noGit.exitCode, 1);
        QVERIFY(noGit.err.find("no Working Changes: ") != std::string::npos);
        QCOMPARE(std::count(noGit.err.begin(), noGit.err.end(), '\n'), std::ptrdiff_t{1});
        QCOMPARE(runCommand({VANTREL_APP_PATH, project, "--screenshot", picture, "--open", "everything"}).exitCode, 2);

        dir.write("project/src/broken.ts/inside.txt", "a folder named like a source file cannot be read");
        CommandResult failed = runCommand({VANTREL_APP_PATH, project, "--screenshot", picture});
        QCOMPARE(failed.exitCode, 1);
        QVERIFY(failed.err.find("scan failed: ") != std::string::npos);
        QVERIFY(failed.err.find("broken.ts") != std::string::npos);
        QCOMPARE(std::count(failed.err.begin(), failed.err.end(), '\n'), std::ptrdiff_t{1});

        QCOMPARE(runCommand({VANTREL_APP_PATH, "--size", "900x600"}).exitCode, 2);
        QCOMPARE(runCommand({VANTREL_APP_PATH, "--baseline", "b.json"}).exitCode, 2);
        QCOMPARE(runCommand({VANTREL_APP_PATH, "--frobnicate"}).exitCode, 2);
        CommandResult version = runCommand({VANTREL_APP_PATH, "--version"});
        QCOMPARE(version.exitCode, 0);
        QVERIFY(version.out.starts_with("vantrel "));
    }
};

VANTREL_REGISTER_TEST_CLASS(AppCommandLineTest);
#include "AppCommandLineTest.moc"
