// The drop target over the empty graph: two lines of text and, when there are recent
// projects, a grid of them to reopen with one click. `isTargeted` (a drag hovers over
// the window) thickens the material and draws the dashed outline in the accent colour.
#pragma once

#include <QStringList>

#include "app/views/MaterialFrame.h"

class QLabel;
class QWidget;

namespace vantrel {

class AdaptiveGridLayout;

class DropOverlayView : public MaterialFrame {
    Q_OBJECT

public:
    explicit DropOverlayView(QWidget* parent = nullptr);

    void setTargeted(bool targeted);
    bool isTargeted() const { return targeted_; }

    // Folders in list order; a cell shows the folder's name.
    void setRecents(const QStringList& folders);
    bool showsRecents() const;
    QStringList recentTitles() const;

    QSize sizeHint() const override;

signals:
    void appeared();  // the owner refreshes the recent list
    void recentChosen(const QString& folder);

protected:
    void showEvent(QShowEvent* event) override;

private:
    bool targeted_ = false;
    QWidget* recents_;
    AdaptiveGridLayout* grid_;
};

}  // namespace vantrel
