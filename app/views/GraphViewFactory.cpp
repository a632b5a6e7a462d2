#include "views/GraphViewFactory.h"

#include <QPainter>
#include <QWidget>

#include "state/ProjectStore.h"
#include "views/TextStyles.h"

namespace vantrel {

namespace {

// Stands in for the graph canvas until it is part of the build: the window's background
// and, with a graph, one line naming the selection.
class GraphPlaceholder : public QWidget {
public:
    GraphPlaceholder(ProjectStore& store, QWidget* parent) : QWidget(parent), store_(store) {
        setAutoFillBackground(true);
        setBackgroundRole(QPalette::Base);
        for (auto changed : {&ProjectStore::irChanged, &ProjectStore::selectedSymbolIdChanged})
            connect(&store_, changed, this, qOverload<>(&QWidget::update));
    }

protected:
    void paintEvent(QPaintEvent*) override {
        if (!store_.ir() || !store_.selectedSymbolId()) return;
        QPainter painter(this);
        painter.setFont(textStyleFont(TextStyle::callout));
        painter.setPen(palette().color(QPalette::PlaceholderText));
        painter.drawText(rect(), Qt::AlignCenter, QString::fromStdString(*store_.selectedSymbolId()));
    }

private:
    ProjectStore& store_;
};

}  // namespace

QWidget* makeGraphView(ProjectStore& store, QWidget* parent) { return new GraphPlaceholder(store, parent); }

}  // namespace vantrel
