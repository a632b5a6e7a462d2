// The canvas's two views and the actions that switch them: "All symbols" (the whole
// project, reorganised around the selection) and "Impact" (only the selection, its reach
// and its callees, laid out by level; core/layout/FocusedLayout).
#pragma once

#include <QList>
#include <QObject>
#include <cstddef>

class QAction;
class QActionGroup;

namespace vantrel {

enum class CanvasMode { allSymbols, impact };

// Impact for a project of more than kForceLayoutLimit symbols, where the whole project
// no longer reads as anything but a ring.
CanvasMode defaultCanvasMode(std::size_t symbolCount);

// Two checkable, exclusive actions for a toolbar, and Ctrl+I switching between them
// anywhere in the window the actions are added to.
class CanvasModeActions : public QObject {
    Q_OBJECT

public:
    explicit CanvasModeActions(QObject* parent);

    QList<QAction*> choices() const;  // "All symbols", "Impact"
    QAction* toggle() const { return toggle_; }
    CanvasMode mode() const { return mode_; }
    // Checks the mode's action; emits nothing.
    void show(CanvasMode mode);

signals:
    // The user chose a mode, by an action or the shortcut.
    void chosen(CanvasMode mode);

private:
    CanvasMode mode_ = CanvasMode::allSymbols;
    QActionGroup* group_;
    QAction* allSymbols_;
    QAction* impact_;
    QAction* toggle_;
};

}  // namespace vantrel
