#include "app/views/AdaptiveGridLayout.h"

#include <QWidget>
#include <algorithm>

namespace vantrel {

AdaptiveGridLayout::AdaptiveGridLayout(int minimumCellWidth, int spacing, QWidget* parent)
    : QLayout(parent), minimumCellWidth_(minimumCellWidth), gridSpacing_(spacing) {
    setContentsMargins(0, 0, 0, 0);
}

AdaptiveGridLayout::~AdaptiveGridLayout() {
    while (QLayoutItem* item = takeAt(0)) delete item;
}

int AdaptiveGridLayout::columnsForWidth(int width) const {
    return std::max(1, (width + gridSpacing_) / (minimumCellWidth_ + gridSpacing_));
}

void AdaptiveGridLayout::addItem(QLayoutItem* item) { items_.append(item); }

QLayoutItem* AdaptiveGridLayout::takeAt(int index) {
    return index >= 0 && index < items_.size() ? items_.takeAt(index) : nullptr;
}

QSize AdaptiveGridLayout::sizeHint() const { return minimumSize(); }

QSize AdaptiveGridLayout::minimumSize() const { return {minimumCellWidth_, heightForWidth(minimumCellWidth_)}; }

int AdaptiveGridLayout::heightForWidth(int width) const { return arrange(QRect(0, 0, width, 0), false); }

void AdaptiveGridLayout::setGeometry(const QRect& rect) {
    QLayout::setGeometry(rect);
    arrange(rect, true);
}

int AdaptiveGridLayout::arrange(const QRect& rect, bool apply) const {
    const int columns = columnsForWidth(rect.width());
    const int cellWidth = std::max(1, (rect.width() - gridSpacing_ * (columns - 1)) / columns);
    int y = rect.top();
    for (int first = 0; first < items_.size(); first += columns) {
        int rowHeight = 0;
        for (int i = first; i < std::min<int>(first + columns, items_.size()); ++i)
            rowHeight = std::max(rowHeight, items_[i]->sizeHint().height());
        for (int i = first; apply && i < std::min<int>(first + columns, items_.size()); ++i) {
            const int column = i - first;
            items_[i]->setGeometry(QRect(rect.left() + column * (cellWidth + gridSpacing_), y, cellWidth, rowHeight));
        }
        y += rowHeight + gridSpacing_;
    }
    return items_.isEmpty() ? 0 : y - gridSpacing_ - rect.top();
}

}  // namespace vantrel
