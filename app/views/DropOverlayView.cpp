#include "app/views/DropOverlayView.h"

#include <QDir>
#include <QLabel>
#include <QVBoxLayout>

#include "app/views/AdaptiveGridLayout.h"
#include "app/views/CapsuleButton.h"
#include "app/views/TextStyles.h"

namespace vantrel {

namespace {
constexpr int kPadding = 24;
constexpr int kSpacing = 12;
constexpr int kMaxWidth = 520;
constexpr int kMinimumCellWidth = 140;
}  // namespace

DropOverlayView::DropOverlayView(QWidget* parent) : MaterialFrame(Material::regular, 16, parent) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
    column->setSpacing(kSpacing);
    column->addWidget(makeLabel(QStringLiteral("Drop a project folder to scan"), TextStyle::headline, false, this), 0,
                      Qt::AlignHCenter);
    QLabel* promise = makeLabel(QStringLiteral("No cloud. No permissions prompts. Deterministic indexing."),
                                TextStyle::callout, true, this);
    column->addWidget(promise, 0, Qt::AlignHCenter);

    recents_ = new QWidget(this);
    auto* recentColumn = new QVBoxLayout(recents_);
    recentColumn->setContentsMargins(0, 6, 0, 0);  // extra space above the section
    recentColumn->setSpacing(8);
    QLabel* heading = makeLabel(QStringLiteral("Recent projects"), TextStyle::subheadline, true, recents_);
    applyTextStyle(heading, TextStyle::subheadline, true);
    recentColumn->addWidget(heading);
    grid_ = new AdaptiveGridLayout(kMinimumCellWidth, 8);
    recentColumn->addLayout(grid_);
    column->addWidget(recents_);
    recents_->setVisible(false);

    setMaximumWidth(kMaxWidth);
    setTargeted(false);
}

void DropOverlayView::setTargeted(bool targeted) {
    targeted_ = targeted;
    setMaterial(targeted ? Material::thick : Material::regular);
    setBorder(Border{targeted ? QPalette::Highlight : QPalette::PlaceholderText, targeted ? 1.0 : 0.4, 2, true});
}

void DropOverlayView::setRecents(const QStringList& folders) {
    while (QLayoutItem* item = grid_->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const QString& folder : folders) {
        auto* cell = new CapsuleButton(QDir(folder).dirName(), recents_);
        cell->setToolTip(folder);
        grid_->addWidget(cell);
        connect(cell, &CapsuleButton::clicked, this, [this, folder] { emit recentChosen(folder); });
    }
    recents_->setVisible(!folders.isEmpty());
    updateGeometry();
}

bool DropOverlayView::showsRecents() const { return !recents_->isHidden(); }

QStringList DropOverlayView::recentTitles() const {
    QStringList titles;
    for (int i = 0; i < grid_->count(); ++i)
        if (auto* cell = qobject_cast<CapsuleButton*>(grid_->itemAt(i)->widget())) titles.append(cell->text());
    return titles;
}

QSize DropOverlayView::sizeHint() const {
    QSize hint = MaterialFrame::sizeHint();
    // With recents the grid takes all the width it may have.
    if (showsRecents()) hint.setWidth(kMaxWidth);
    return hint;
}

void DropOverlayView::showEvent(QShowEvent* event) {
    MaterialFrame::showEvent(event);
    emit appeared();
}

}  // namespace vantrel
