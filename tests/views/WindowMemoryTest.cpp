// The session a user left: the window's size and place, the sidebar's width and the
// project, given back by the next window; nothing given back once the preference is off
// or the project folder is gone.
#include <QCheckBox>
#include <QDir>
#include <QTest>
#include <memory>

#include "app/state/Preferences.h"
#include "app/views/MainWindow.h"
#include "app/views/PreferencesView.h"
#include "app/views/WindowMemory.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

class WindowMemoryTest : public QObject {
    Q_OBJECT

private slots:
    void init() { clearSettings(); }

    void aClosedWindowIsReopenedAsItWasLeft() {
        StoreFixture f;
        const QString project = QString::fromStdString(f.dir.path()) + QStringLiteral("/shop");
        QVERIFY(QDir().mkpath(project));
        QVERIFY(!projectToReopen());
        {
            MainWindow first(f.store);
            QVERIFY(!restoreWindowMemory(first));  // nothing saved yet
            first.resize(1010, 690);
            first.show();
            QVERIFY(QTest::qWaitForWindowExposed(&first));
            first.setSidebarWidth(300);
            QCOMPARE(first.sidebarWidth(), 300);
            saveWindowMemory(first, project);
        }
        MainWindow second(f.store);
        QVERIFY(restoreWindowMemory(second));
        second.show();
        QVERIFY(QTest::qWaitForWindowExposed(&second));
        QCOMPARE(second.size(), QSize(1010, 690));
        QCOMPARE(second.sidebarWidth(), 300);
        QCOMPARE(projectToReopen(), std::optional<QString>(project));

        // The preference, unticked in the preferences window, turns all of it off.
        PreferencesView preferences{ProjectCache(std::nullopt)};
        preferences.showWindow();
        auto* box = preferences.findChild<QCheckBox*>(QStringLiteral("restoreSession"));
        QVERIFY(box && box->isChecked());
        QTest::mouseClick(box, Qt::LeftButton);
        QVERIFY(!projectToReopen());
        MainWindow third(f.store);
        QVERIFY(!restoreWindowMemory(third));

        QTest::mouseClick(box, Qt::LeftButton);
        QVERIFY(projectToReopen());
        QVERIFY(QDir(project).removeRecursively());
        QVERIFY(!projectToReopen());
    }
};

VANTREL_REGISTER_TEST_CLASS(WindowMemoryTest);
#include "WindowMemoryTest.moc"
