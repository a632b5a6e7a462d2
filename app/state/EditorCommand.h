// "Open in Editor": the command that shows a file at a line, chosen by the `editorPreset`
// preference (VS Code, the terminal editor of $VISUAL or $EDITOR in a terminal emulator
// found on the system, the desktop's default application, or a template of the user's
// with {file} and {line}), and its launch through PlatformServices, so that tests see
// the command instead of an editor.
//
// A template is split into words first, as a shell would split it (single and double
// quotes, backslashes; nothing is expanded), and only then are the placeholders replaced
// inside each word: a file name with spaces or quotes stays one argument, and no shell
// ever sees it.
#pragma once

#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <optional>

#include "app/state/PlatformServices.h"

namespace vantrel {

enum class EditorPreset { vsCode, terminal, desktop, custom };

// "vscode" "terminal" "system" "custom", as the preference stores them.
QString rawValue(EditorPreset preset);
std::optional<EditorPreset> editorPresetFromRaw(const QString& raw);

// The words of a command line; nothing with `error` set for an unclosed quote or an
// empty command.
std::optional<QStringList> splitCommandWords(const QString& text, QString* error = nullptr);

// Each word with every {file} and {line} replaced.
QStringList substitutePlaceholders(QStringList words, const QString& file, std::int64_t line);

// What the system offers the terminal preset.
struct EditorEnvironment {
    QString visual;  // $VISUAL
    QString editor;  // $EDITOR
    // The full path of a program on PATH, empty when there is none.
    std::function<QString(const QString& program)> findExecutable;

    static EditorEnvironment current();
};

struct EditorCommand {
    bool desktopDefault = false;  // open the file with the desktop's default application
    QStringList argv;             // program and arguments, placeholders replaced
    QString error;                // why there is no command; empty otherwise
};

EditorCommand editorCommand(EditorPreset preset, const QString& customTemplate, const QString& file, std::int64_t line,
                            const EditorEnvironment& environment);

// Opens files with the editor the preferences name, through the platform's runner.
class EditorLauncher {
public:
    explicit EditorLauncher(PlatformServices& platform, EditorEnvironment environment = EditorEnvironment::current());

    // Reads the preferences anew each time. A command that cannot be made or started
    // shows an alert that says why and where to choose another editor; then false.
    bool open(const QString& absolutePath, std::int64_t line);

private:
    PlatformServices& platform_;
    EditorEnvironment environment_;
};

}  // namespace vantrel
