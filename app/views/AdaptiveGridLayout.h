// A grid whose column count follows its width: as many columns of at least
// `minimumCellWidth` as fit, each stretched to an equal share of the width, items placed
// row by row and left-aligned in their cells.
#pragma once

#include <QLayout>
#include <QList>

namespace vantrel {

class AdaptiveGridLayout : public QLayout {
public:
    AdaptiveGridLayout(int minimumCellWidth, int spacing, QWidget* parent = nullptr);
    ~AdaptiveGridLayout() override;

    int columnsForWidth(int width) const;

    void addItem(QLayoutItem* item) override;
    int count() const override { return static_cast<int>(items_.size()); }
    QLayoutItem* itemAt(int index) const override { return items_.value(index); }
    QLayoutItem* takeAt(int index) override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    void setGeometry(const QRect& rect) override;
    Qt::Orientations expandingDirections() const override { return Qt::Horizontal; }

private:
    int arrange(const QRect& rect, bool apply) const;

    QList<QLayoutItem*> items_;
    int minimumCellWidth_;
    int gridSpacing_;
};

}  // namespace vantrel
