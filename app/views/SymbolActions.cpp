#include "app/views/SymbolActions.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QDir>
#include <QMenu>

#include "app/canvas/ImpactGraphView.h"
#include "app/state/PreferencesManager.h"
#include "app/state/ProjectStore.h"
#include "app/views/ImpactPanel.h"
#include "app/views/SourcePanel.h"

namespace vantrel {

SymbolActions::SymbolActions(ProjectStore& store, ImpactPanel& impact, SourcePanel& source, QWidget& window)
    : QObject(&window), store_(store), impact_(impact), source_(source), window_(window), editor_(store.platform()) {
    openSelection_ = new QAction(QStringLiteral("Open in Editor"), &window);
    openSelection_->setObjectName(QStringLiteral("openSelectionInEditor"));
    openSelection_->setShortcut(QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_O));
    openSelection_->setShortcutContext(Qt::WindowShortcut);
    window.addAction(openSelection_);
    connect(openSelection_, &QAction::triggered, this, [this] {
        if (store_.selectedSymbolId()) openInEditor(*store_.selectedSymbolId());
    });
    const auto refreshEnabled = [this] { openSelection_->setEnabled(store_.selectedSymbolId().has_value()); };
    connect(&store_, &ProjectStore::selectedSymbolIdChanged, this, refreshEnabled);
    refreshEnabled();
}

QMenu* SymbolActions::buildMenu(const std::string& symbolId, std::int64_t line) {
    auto* menu = new QMenu(&window_);
    menu->setObjectName(QStringLiteral("symbolMenu"));
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const bool known = store_.ir() && store_.ir()->symbols.contains(symbolId);
    const auto add = [&](const QString& title, auto operation, bool enabled = true) {
        QAction* action = menu->addAction(title);
        action->setEnabled(enabled);
        connect(action, &QAction::triggered, this, [this, symbolId, operation] { (this->*operation)(symbolId); });
        return action;
    };
    add(QStringLiteral("Copy Id"), &SymbolActions::copyId);
    add(QStringLiteral("Copy file:line"), &SymbolActions::copyPlace, known);
    QAction* open = menu->addAction(QStringLiteral("Open in Editor"));
    open->setShortcut(openSelection_->shortcut());  // shown, not bound: the window's action is
    open->setShortcutContext(Qt::WidgetShortcut);
    open->setEnabled(known);
    connect(open, &QAction::triggered, this, [this, symbolId, line] { openInEditor(symbolId, line); });
    menu->addSeparator();
    add(QStringLiteral("Show Callers"), &SymbolActions::showCallers, known);
    add(QStringLiteral("Show Callees"), &SymbolActions::showCallees, known);
    menu->addSeparator();
    add(QStringLiteral("Exclude This File\u2026"), &SymbolActions::excludeFile, known);
    return menu;
}

void SymbolActions::popupMenu(const QString& symbolId, const QPoint& globalPos, std::int64_t line) {
    if (openMenu_) openMenu_->close();
    openMenu_ = buildMenu(symbolId.toStdString(), line);
    openMenu_->popup(globalPos);
}

void SymbolActions::attachToCanvas(ImpactGraphView& canvas) {
    canvas_ = &canvas;
    canvas.installEventFilter(this);
}

// The canvas stays unaware of menus: its context-menu events are read here.
bool SymbolActions::eventFilter(QObject* watched, QEvent* event) {
    if (watched != canvas_ || event->type() != QEvent::ContextMenu) return QObject::eventFilter(watched, event);
    auto* menuEvent = static_cast<QContextMenuEvent*>(event);
    const std::optional<std::string> id = canvas_->nodeAt(menuEvent->pos());
    if (!id) return false;
    popupMenu(QString::fromStdString(*id), menuEvent->globalPos());
    return true;
}

void SymbolActions::copyId(const std::string& symbolId) {
    QApplication::clipboard()->setText(QString::fromStdString(symbolId));
}

void SymbolActions::copyPlace(const std::string& symbolId) {
    const Symbol& symbol = store_.ir()->symbols.find(symbolId)->second;
    QApplication::clipboard()->setText(QString::fromStdString(symbol.fileRelPath()) + u':' +
                                       QString::number(symbol.range.startLine));
}

std::int64_t SymbolActions::lineFor(const std::string& symbolId, std::int64_t line) const {
    if (line > 0) return line;
    if (line == 0 && source_.shownId() == symbolId && source_.preferredLine() > 0) return source_.preferredLine();
    auto symbol = store_.ir()->symbols.find(symbolId);
    return symbol == store_.ir()->symbols.end() ? 1 : std::max<std::int64_t>(symbol->second.range.startLine, 1);
}

bool SymbolActions::openInEditor(const std::string& symbolId, std::int64_t line) {
    if (!store_.ir() || !store_.ir()->symbols.contains(symbolId)) return false;
    const QString file =
        QDir(store_.projectRoot())
            .filePath(QString::fromStdString(store_.ir()->symbols.find(symbolId)->second.fileRelPath()));
    return editor_.open(QDir::cleanPath(file), lineFor(symbolId, line));
}

void SymbolActions::showCallers(const std::string& symbolId) {
    impact_.reveal(symbolId, ImpactPanel::Group::callers);
    store_.select(symbolId);
}

void SymbolActions::showCallees(const std::string& symbolId) {
    impact_.reveal(symbolId, ImpactPanel::Group::callees);
    store_.select(symbolId);
}

void SymbolActions::excludeFile(const std::string& symbolId) {
    const QString root = store_.projectRoot();
    if (root.isEmpty() || !store_.ir() || !store_.ir()->symbols.contains(symbolId)) return;
    const std::string file = store_.ir()->symbols.find(symbolId)->second.fileRelPath();
    const QString name = QString::fromStdString(file);
    const int answer = store_.platform().runModalAlert(
        {QStringLiteral("Exclude %1?").arg(name),
         QStringLiteral("Its symbols leave the graph. The path is added to the exclusions in the project's "
                        "vantrel.json, and the project is scanned again."),
         {QStringLiteral("Exclude"), QStringLiteral("Cancel")},
         1});
    if (answer != 0) return;
    store_.excludeFileAndRescan(name);
}

}  // namespace vantrel
