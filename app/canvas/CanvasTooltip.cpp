#include "app/canvas/CanvasTooltip.h"

#include <QTextBoundaryFinder>
#include <algorithm>
#include <vector>

namespace vantrel {

namespace {

// Offsets where user-perceived characters begin, plus the end of the text.
std::vector<qsizetype> characterBoundaries(const QString& text) {
    std::vector<qsizetype> bounds;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    for (qsizetype at = 0; at >= 0; at = finder.toNextBoundary()) bounds.push_back(at);
    return bounds;
}

}  // namespace

TooltipText tooltipText(const Symbol& symbol) {
    return {QString::fromStdString(symbol.shortName()), QString::fromUtf8(rawValue(symbol.kind)),
            shortenedTooltipPath(QString::fromStdString(symbol.fileRelPath()))};
}

QString shortenedTooltipPath(const QString& path) {
    const std::vector<qsizetype> bounds = characterBoundaries(path);
    const std::size_t characters = bounds.size() - 1;
    if (characters <= 44) return path;
    return path.left(bounds[22]) + QChar(0x2026) + path.mid(bounds[characters - 22]);
}

QPointF tooltipCenter(QPointF node, double radius, QSizeF viewSize) {
    return {std::min(viewSize.width() - 140.0, std::max(node.x(), 140.0)),
            std::min(viewSize.height() - 24.0, std::max(node.y() - radius - 44.0, 34.0))};
}

}  // namespace vantrel
