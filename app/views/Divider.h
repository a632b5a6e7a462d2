// A one-point separator line in the palette's mid colour.
#pragma once

#include <QFrame>

namespace vantrel {

inline QFrame* makeDivider(Qt::Orientation orientation, QWidget* parent = nullptr) {
    auto* line = new QFrame(parent);
    line->setFrameShape(orientation == Qt::Horizontal ? QFrame::HLine : QFrame::VLine);
    line->setFrameShadow(QFrame::Plain);
    line->setForegroundRole(QPalette::Mid);
    return line;
}

}  // namespace vantrel
