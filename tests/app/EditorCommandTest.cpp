// "Open in Editor" commands: templates split into words before {file} and {line} are
// replaced, so spaces, quotes and placeholders in a file name never change the words; the
// presets; and the launcher's run through scripted platform services, which record the
// command instead of starting it. Expected argument lists are written out by hand.
#include <QTest>

#include "app/state/EditorCommand.h"
#include "app/state/Preferences.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;
using namespace vantrel::testing;

namespace {

// Programs found on this imagined system: `found` only, in /usr/bin.
EditorEnvironment systemWith(QStringList found, QString visual = {}, QString editor = {}) {
    return {std::move(visual), std::move(editor), [found](const QString& program) {
                return found.contains(program) ? QStringLiteral("/usr/bin/") + program : QString();
            }};
}

}  // namespace

class EditorCommandTest : public QObject {
    Q_OBJECT

private slots:
    void init() { clearSettings(); }

    void templatesSplitBeforeTheFileNameGoesIn() {
        const QString awkward = QStringLiteral("/home/a b/it's \"q\" {line}.ts");
        const EditorEnvironment none = systemWith({});
        // The file name stays one word, or one part of a word, whatever it holds.
        QCOMPARE(editorCommand(EditorPreset::custom, QStringLiteral("ed --goto '{file}:{line}'  -n"), awkward, 12, none)
                     .argv,
                 (QStringList{"ed", "--goto", "/home/a b/it's \"q\" {line}.ts:12", "-n"}));
        QCOMPARE(editorCommand(EditorPreset::vsCode, {}, awkward, 3, none).argv,
                 (QStringList{"code", "-g", "/home/a b/it's \"q\" {line}.ts:3"}));
        // Quotes and backslashes of the template itself are a shell's.
        QCOMPARE(editorCommand(EditorPreset::custom,
                               QStringLiteral("\"/opt/My Editor/ed\" +{line} \"say \\\"hi\\\"\" a\\ b {file}"),
                               QStringLiteral("/x.py"), 7, none)
                     .argv,
                 (QStringList{"/opt/My Editor/ed", "+7", "say \"hi\"", "a b", "/x.py"}));
        // Unusable templates say why.
        QVERIFY(editorCommand(EditorPreset::custom, QStringLiteral("ed '{file}"), awkward, 1, none)
                    .error.contains(QStringLiteral("not closed")));
        QVERIFY(editorCommand(EditorPreset::custom, QStringLiteral("   "), awkward, 1, none)
                    .error.contains(QStringLiteral("empty")));
        QVERIFY(editorCommand(EditorPreset::desktop, {}, awkward, 1, none).desktopDefault);
    }

    void terminalPresetFindsAnEmulatorAndTheEditor() {
        const QString file = QStringLiteral("/p/src/a b.ts");
        // $VISUAL wins over $EDITOR and may carry options of its own.
        QCOMPARE(editorCommand(EditorPreset::terminal, {}, file, 9,
                               systemWith({"xterm", "x-terminal-emulator"}, "nvim -u NONE", "nano"))
                     .argv,
                 (QStringList{"/usr/bin/x-terminal-emulator", "-e", "nvim", "-u", "NONE", "+9", file}));
        QCOMPARE(editorCommand(EditorPreset::terminal, {}, file, 2, systemWith({"gnome-terminal"}, {}, "nano")).argv,
                 (QStringList{"/usr/bin/gnome-terminal", "--", "nano", "+2", file}));
        QCOMPARE(editorCommand(EditorPreset::terminal, {}, file, 2, systemWith({"xterm"})).argv,
                 (QStringList{"/usr/bin/xterm", "-e", "vi", "+2", file}));
        QVERIFY(editorCommand(EditorPreset::terminal, {}, file, 2, systemWith({}, "vim"))
                    .error.contains(QStringLiteral("No terminal emulator")));
    }

    void launcherRunsThePreferredCommandOrSaysWhyNot() {
        ScriptedPlatform platform;
        EditorLauncher launcher(platform, systemWith({}));
        // By default the desktop's application opens the file.
        QVERIFY(launcher.open(QStringLiteral("/p/a.ts"), 4));
        QCOMPARE(platform.openedWithDesktop, QStringList{"/p/a.ts"});
        QVERIFY(platform.started.empty());

        Preferences::setValue(prefkeys::kEditorPreset, QStringLiteral("custom"));
        Preferences::setValue(prefkeys::kEditorCommandTemplate, QStringLiteral("subl {file}:{line}"));
        QVERIFY(launcher.open(QStringLiteral("/p/b c.py"), 40));
        QCOMPARE(platform.started.size(), std::size_t{1});
        QCOMPARE(platform.started[0], (QStringList{"subl", "/p/b c.py:40"}));
        QVERIFY(platform.alerts.empty());

        // A program that does not start, and a template that cannot be read, alert.
        platform.startFails = QStringLiteral("No such file or directory");
        QVERIFY(!launcher.open(QStringLiteral("/p/a.ts"), 1));
        QCOMPARE(platform.alerts.size(), std::size_t{1});
        QVERIFY(
            platform.alerts[0].text.contains(QStringLiteral("\u201csubl\u201d could not be started: No such file")));
        QVERIFY(platform.alerts[0].text.contains(QStringLiteral("Preferences")));
        Preferences::setValue(prefkeys::kEditorCommandTemplate, QStringLiteral("subl \"{file}"));
        QVERIFY(!launcher.open(QStringLiteral("/p/a.ts"), 1));
        QCOMPARE(platform.alerts.size(), std::size_t{2});
        QCOMPARE(platform.started.size(), std::size_t{1});
    }
};

VANTREL_REGISTER_TEST_CLASS(EditorCommandTest);
#include "EditorCommandTest.moc"
