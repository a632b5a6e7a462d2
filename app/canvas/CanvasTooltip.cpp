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
            tooltipPath(QString::fromStdString(symbol.fileRelPath()), symbol.range.startLine)};
}

QString tooltipPath(const QString& path, std::int64_t line) {
    const QString full = path + u':' + QString::number(line);
    const std::vector<qsizetype> bounds = characterBoundaries(full);
    const std::size_t characters = bounds.size() - 1;
    const qsizetype nameStart = path.lastIndexOf(u'/') + 1;
    if (characters <= kTooltipPathLength || nameStart == 0) return full;
    const qsizetype cut = bounds[characters - (kTooltipPathLength - 1)];  // one for the "…"
    qsizetype from = full.indexOf(u'/', cut);
    if (from < 0 || from >= nameStart) from = nameStart - 1;  // the file's own folder boundary
    return QChar(0x2026) + full.mid(from);
}

QPointF tooltipCenter(QPointF node, double radius, QSizeF viewSize) {
    return {std::min(viewSize.width() - 140.0, std::max(node.x(), 140.0)),
            std::min(viewSize.height() - 24.0, std::max(node.y() - radius - 44.0, 34.0))};
}

}  // namespace vantrel
