#include "app/state/EditorCommand.h"

#include <QFileInfo>
#include <QProcessEnvironment>
#include <QStandardPaths>
#include <array>

#include "app/state/Preferences.h"

namespace vantrel {

namespace {

struct PresetName {
    EditorPreset preset;
    const char* raw;
};
constexpr std::array<PresetName, 4> kPresetNames{{{EditorPreset::vsCode, "vscode"},
                                                  {EditorPreset::terminal, "terminal"},
                                                  {EditorPreset::desktop, "system"},
                                                  {EditorPreset::custom, "custom"}}};

// Terminal emulators in the order tried, with the option after which the command follows.
struct Terminal {
    const char* program;
    const char* runOption;
};
constexpr std::array<Terminal, 6> kTerminals{{{"x-terminal-emulator", "-e"},
                                              {"gnome-terminal", "--"},
                                              {"konsole", "-e"},
                                              {"xfce4-terminal", "-x"},
                                              {"alacritty", "-e"},
                                              {"xterm", "-e"}}};

constexpr char kVsCodeTemplate[] = "code -g {file}:{line}";

EditorCommand terminalCommand(const QString& file, std::int64_t line, const EditorEnvironment& environment) {
    EditorCommand command;
    const QString editorText = !environment.visual.trimmed().isEmpty() ? environment.visual : environment.editor;
    QString error;
    const std::optional<QStringList> editor =
        splitCommandWords(editorText.trimmed().isEmpty() ? QStringLiteral("vi") : editorText, &error);
    if (!editor) {
        command.error = QStringLiteral("$VISUAL or $EDITOR cannot be read: %1").arg(error);
        return command;
    }
    for (const Terminal& terminal : kTerminals) {
        const QString found =
            environment.findExecutable ? environment.findExecutable(QLatin1String(terminal.program)) : QString();
        if (found.isEmpty()) continue;
        command.argv = QStringList{found, QLatin1String(terminal.runOption)} + *editor +
                       substitutePlaceholders({QStringLiteral("+{line}"), QStringLiteral("{file}")}, file, line);
        return command;
    }
    command.error = QStringLiteral(
        "No terminal emulator was found (x-terminal-emulator, gnome-terminal, konsole, "
        "xfce4-terminal, alacritty or xterm)");
    return command;
}

}  // namespace

QString rawValue(EditorPreset preset) {
    for (const PresetName& name : kPresetNames)
        if (name.preset == preset) return QLatin1String(name.raw);
    return {};
}

std::optional<EditorPreset> editorPresetFromRaw(const QString& raw) {
    for (const PresetName& name : kPresetNames)
        if (raw == QLatin1String(name.raw)) return name.preset;
    return std::nullopt;
}

std::optional<QStringList> splitCommandWords(const QString& text, QString* error) {
    QStringList words;
    QString word;
    bool inWord = false;
    QChar quote;  // the open quote, null outside quotes
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (!quote.isNull()) {
            if (c == quote) {
                quote = QChar();
            } else if (quote == u'"' && c == u'\\' && i + 1 < text.size() &&
                       (text[i + 1] == u'"' || text[i + 1] == u'\\')) {
                word += text[++i];
            } else {
                word += c;
            }
        } else if (c.isSpace()) {
            if (inWord) words.append(word);
            word.clear();
            inWord = false;
        } else if (c == u'\'' || c == u'"') {
            quote = c;
            inWord = true;
        } else if (c == u'\\' && i + 1 < text.size()) {
            word += text[++i];
            inWord = true;
        } else {
            word += c;
            inWord = true;
        }
    }
    if (!quote.isNull()) {
        if (error) *error = QStringLiteral("a quote (%1) is not closed").arg(quote);
        return std::nullopt;
    }
    if (inWord) words.append(word);
    if (words.isEmpty()) {
        if (error) *error = QStringLiteral("the command is empty");
        return std::nullopt;
    }
    return words;
}

QStringList substitutePlaceholders(QStringList words, const QString& file, std::int64_t line) {
    const QString number = QString::number(line);
    for (QString& word : words) {
        // One pass, so that a file name holding "{line}" stays as it is.
        QString out;
        for (qsizetype i = 0; i < word.size();) {
            if (word.mid(i, 6) == QLatin1String("{file}")) {
                out += file;
                i += 6;
            } else if (word.mid(i, 6) == QLatin1String("{line}")) {
                out += number;
                i += 6;
            } else {
                out += word[i++];
            }
        }
        word = out;
    }
    return words;
}

EditorEnvironment EditorEnvironment::current() {
    const QProcessEnvironment system = QProcessEnvironment::systemEnvironment();
    return {system.value(QStringLiteral("VISUAL")), system.value(QStringLiteral("EDITOR")),
            [](const QString& program) { return QStandardPaths::findExecutable(program); }};
}

EditorCommand editorCommand(EditorPreset preset, const QString& customTemplate, const QString& file, std::int64_t line,
                            const EditorEnvironment& environment) {
    EditorCommand command;
    switch (preset) {
        case EditorPreset::desktop: command.desktopDefault = true; return command;
        case EditorPreset::terminal: return terminalCommand(file, line, environment);
        case EditorPreset::vsCode:
        case EditorPreset::custom: break;
    }
    QString error;
    const std::optional<QStringList> words =
        splitCommandWords(preset == EditorPreset::vsCode ? QLatin1String(kVsCodeTemplate) : customTemplate, &error);
    if (!words) command.error = QStringLiteral("The editor command cannot be read: %1").arg(error);
    else command.argv = substitutePlaceholders(*words, file, line);
    return command;
}

EditorLauncher::EditorLauncher(PlatformServices& platform, EditorEnvironment environment)
    : platform_(platform), environment_(std::move(environment)) {}

bool EditorLauncher::open(const QString& absolutePath, std::int64_t line) {
    const EditorPreset preset =
        editorPresetFromRaw(Preferences::value(QLatin1String(prefkeys::kEditorPreset)).toString())
            .value_or(EditorPreset::desktop);
    const QString customTemplate = Preferences::value(QLatin1String(prefkeys::kEditorCommandTemplate)).toString();
    const EditorCommand command = editorCommand(preset, customTemplate, absolutePath, line, environment_);
    QString error = command.error;
    if (error.isEmpty()) {
        if (command.desktopDefault) {
            if (!platform_.openWithDesktop(absolutePath))
                error = QStringLiteral("The desktop has no application for %1").arg(QFileInfo(absolutePath).fileName());
        } else if (!platform_.startDetached(command.argv.first(), command.argv.mid(1), &error)) {
            error = QStringLiteral("\u201c%1\u201d could not be started: %2").arg(command.argv.first(), error);
        }
    }
    if (error.isEmpty()) return true;
    platform_.runModalAlert(
        {QStringLiteral("Could Not Open the Editor"),
         error + QStringLiteral(".\n\nChoose the editor in Edit \u203a Preferences \u203a General."),
         {QStringLiteral("OK")},
         0});
    return false;
}

}  // namespace vantrel
