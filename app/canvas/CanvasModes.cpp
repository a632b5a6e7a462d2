#include "app/canvas/CanvasModes.h"

#include <QAction>
#include <QActionGroup>

#include "core/layout/GraphLayout.h"

namespace vantrel {

CanvasMode defaultCanvasMode(std::size_t symbolCount) {
    return symbolCount > kForceLayoutLimit ? CanvasMode::impact : CanvasMode::allSymbols;
}

CanvasModeActions::CanvasModeActions(QObject* parent)
    : QObject(parent),
      group_(new QActionGroup(this)),
      allSymbols_(new QAction(tr("All symbols"), group_)),
      impact_(new QAction(tr("Impact"), group_)),
      toggle_(new QAction(tr("Switch All Symbols / Impact"), this)) {
    group_->setExclusive(true);
    for (QAction* choice : choices()) {
        choice->setCheckable(true);
        choice->setToolTip(choice->text() + QStringLiteral(" (Ctrl+I switches)"));
    }
    allSymbols_->setObjectName(QStringLiteral("allSymbolsView"));
    impact_->setObjectName(QStringLiteral("impactView"));
    allSymbols_->setChecked(true);
    toggle_->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_I));
    toggle_->setShortcutContext(Qt::WindowShortcut);
    connect(allSymbols_, &QAction::triggered, this, [this] { emit chosen(CanvasMode::allSymbols); });
    connect(impact_, &QAction::triggered, this, [this] { emit chosen(CanvasMode::impact); });
    connect(toggle_, &QAction::triggered, this,
            [this] { emit chosen(mode_ == CanvasMode::impact ? CanvasMode::allSymbols : CanvasMode::impact); });
}

QList<QAction*> CanvasModeActions::choices() const { return {allSymbols_, impact_}; }

void CanvasModeActions::show(CanvasMode mode) {
    mode_ = mode;
    (mode == CanvasMode::impact ? impact_ : allSymbols_)->setChecked(true);
}

}  // namespace vantrel
