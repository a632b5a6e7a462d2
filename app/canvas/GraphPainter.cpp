#include "app/canvas/GraphPainter.h"

#include <QFontMetricsF>
#include <QPainterPath>
#include <QPen>
#include <algorithm>
#include <cmath>

#include "app/canvas/CanvasShapes.h"

namespace vantrel {

namespace {

constexpr double kPulseGrowth = 8.0;
constexpr double kSelectedGlowRadius = 14.0;
constexpr double kHoverGlowRadius = 10.0;

}  // namespace

double GraphFrame::scaleOf(std::size_t symbol) const {
    for (const auto& [s, scale] : scaled)
        if (s == symbol) return scale;
    return 1.0;
}

NodeBox nodeBox(const GraphFrame& frame, std::size_t symbol, double captionLineHeight) {
    const GraphScene& scene = *frame.scene;
    const bool selected = scene.selectedPoint() == symbol;
    NodeBox box;
    box.size = 2 * nodeRadius(selected, frame.nodeSizeFactor) + (selected ? kPulseGrowth * frame.selectionPulse : 0);
    // The selection's name stands beside it, in full.
    box.labelInside = !selected && box.size >= 54;
    box.labelBelow = !selected && box.size >= 38 && box.size < 54;
    box.scale = frame.scaleOf(symbol);
    const QPointF s = frame.transform.toScreen((*frame.nodePlaces)[symbol]);
    const double below = box.labelBelow ? 4 + captionLineHeight : 0;
    const QPointF squareCenter = s + QPointF(0, -below / 2) * box.scale;
    const double side = box.size * box.scale;
    box.square = QRectF(squareCenter.x() - side / 2, squareCenter.y() - side / 2, side, side);
    return box;
}

GraphPainter::GraphPainter(int threads) : compositor_(threads) { invalidate(); }

GraphPainter::~GraphPainter() = default;

void GraphPainter::invalidate() {
    sprites_.clear();
    caption_ = CanvasFonts::caption();
    captionBold_ = caption_;
    captionBold_.setWeight(QFont::DemiBold);
    caption2_ = CanvasFonts::caption2();
    nodeLabel_ = CanvasFonts::nodeLabel();
    captionLineHeight_ = QFontMetricsF(caption2_).height();
    namesBelow_.clear();
    namesBeside_.clear();
    sceneNames_.clear();
    sceneNamesFor_ = 0;
    counts_.clear();
    edges_.forget();
}

void GraphPainter::paint(QPainter& painter, const GraphFrame& frame, const CanvasPalette& palette) {
    if (spritePalette_ != palette) {
        sprites_.clear();
        edges_.forget();
        spritePalette_ = palette;
    }
    const QRectF view(QPointF(0, 0), frame.viewSize);
    if (!frame.scene || frame.scene->isEmpty()) {
        painter.fillRect(view, palette.windowBackground());
        return;
    }
    const double dpr = painter.device()->devicePixelRatioF();
    const QSize pixels(static_cast<int>(std::ceil(frame.viewSize.width() * dpr)),
                       static_cast<int>(std::ceil(frame.viewSize.height() * dpr)));
    compositor_.startFrame(pixels);
    // The nodes are gathered on this thread (their images are cached here) while the
    // edges are laid.
    edges_.lay(frame, palette, dpr, pixels, compositor_, [&] { collectNodes(frame, palette, dpr); });
    compositor_.compose(painter, frame.viewSize, palette.windowBackground(), edges_.image(), dpr,
                        [&](QPainter& p, std::size_t full) {
                            const FullNode& node = fullNodes_[full];
                            paintNode(p, frame, palette, node.symbol, node.box, node.style);
                        });
    placeNames(frame);
    paintNames(painter, frame, palette);
    if (frame.tooltip) paintTooltip(painter, *frame.tooltip, frame.viewSize);
}

void GraphPainter::collectNodes(const GraphFrame& frame, const CanvasPalette& palette, double dpr) {
    const GraphScene& scene = *frame.scene;
    const GraphTopology& graph = scene.topology();
    const QRectF view(QPointF(0, 0), frame.viewSize);
    compositor_.clearNodes();
    fullNodes_.clear();
    visible_.clear();
    onScreen_ = 0;
    // Glows and names below reach past the square; a node further out is not seen.
    const double glowReach = kSelectedGlowRadius * 1.5 + 8;
    for (std::size_t symbol = 0; symbol < graph.symbolCount(); ++symbol) {
        if (!scene.hasPlace(symbol)) continue;
        const NodeBox box = nodeBox(frame, symbol, captionLineHeight_);
        const double below = box.labelBelow ? 4 + captionLineHeight_ : 0;
        const double sideways = box.labelBelow ? std::max(0.0, std::min(box.size * 3, 140.0) - box.size) / 2 : 0;
        if (!box.square.adjusted(-glowReach - sideways, -glowReach, glowReach + sideways, glowReach + below)
                 .intersects(view))
            continue;
        visible_.push_back({symbol, box});
        onScreen_ += box.square.intersects(view);  // the glow alone does not count
        const bool hovered = frame.hovered == symbol;
        const bool hit = frame.searchHits && (*frame.searchHits)[symbol];
        const NodeStyle style = nodeStyle(scene.role(symbol), scene.hasSelection(), hit, hovered);
        const bool plain = scene.selectedPoint() != symbol && !hovered && box.scale == 1.0 && !scene.groupAt(symbol);
        if (!plain || box.labelInside || box.labelBelow) {
            compositor_.addFullNode();
            fullNodes_.push_back({symbol, box, style});
            continue;
        }
        NodeSpriteCache::Placed placed = sprites_.place(graph.kind(symbol), style, box.square, palette, dpr);
        compositor_.addNodeImage(std::move(placed.image), placed.at, dpr);
    }
}

void GraphPainter::paintNode(QPainter& painter, const GraphFrame& frame, const CanvasPalette& palette,
                             std::size_t symbol, const NodeBox& box, const NodeStyle& style) {
    const GraphScene& scene = *frame.scene;
    const bool selected = scene.selectedPoint() == symbol;
    const bool hovered = frame.hovered == symbol;
    const SymbolKind kind = scene.topology().kind(symbol);
    const SceneGroup* group = scene.groupAt(symbol);
    const bool resting = !selected && !hovered && box.scale == 1.0;
    const bool plain = resting && !group;
    // A group: its kind's shape in a faint halo of the same, its count inside; at rest both
    // come from the sprite cache like a plain node.
    NodeStyle halo = style;
    halo.opacity *= 0.35;
    if (resting && group) sprites_.draw(painter, kind, halo, box.square.adjusted(-5, -5, 5, 5), palette);
    if (resting) sprites_.draw(painter, kind, style, box.square, palette);
    if (plain && !box.labelInside && !box.labelBelow) return;

    // In the node's own frame: the square's centre at the origin, before the hover scale,
    // which acts on everything in the node's column.
    painter.save();
    painter.translate(box.square.center());
    painter.scale(box.scale, box.scale);
    const QRectF square(-box.size / 2, -box.size / 2, box.size, box.size);
    if (!resting) {
        // The few nodes that glow, swell or grow are drawn in full.
        if (selected)
            drawNodeGlow(painter, kind, style, square, palette, palette.color(named(NamedColor::red, 0.35)),
                         kSelectedGlowRadius);
        if (hovered)
            drawNodeGlow(painter, kind, style, square, palette, palette.color(named(NamedColor::white, 0.18)),
                         kHoverGlowRadius);
        if (group) drawNodeShape(painter, kind, halo, square.adjusted(-5, -5, 5, 5), palette);
        drawNodeShape(painter, kind, style, square, palette);
    }
    if (group) {
        painter.setFont(nodeLabel_);
        painter.setPen(palette.color(NamedColor::white));
        auto [count, added] = counts_.try_emplace(group->size, QString::number(group->size));
        if (added) count->second.prepare(QTransform(), nodeLabel_);
        const QSizeF size = count->second.size();
        painter.drawStaticText(QPointF(-size.width() / 2, -size.height() / 2), count->second);
    }
    if (box.labelInside) {
        painter.setFont(nodeLabel_);
        painter.setPen(palette.color(NamedColor::white));
        const double width = std::max(box.size - 10, 28.0);
        const QString text =
            QFontMetricsF(nodeLabel_).elidedText(scene.topology().shortName(symbol), Qt::ElideMiddle, width);
        painter.drawText(QRectF(-width / 2, -box.size / 2, width, box.size), Qt::AlignCenter, text);
    }
    if (box.labelBelow) {
        const QStaticText& label = namesBelow_.get(scene.topology(), symbol, caption2_, std::min(box.size * 3, 140.0));
        painter.setFont(caption2_);
        painter.setPen(palette.color(NamedColor::secondary));
        painter.drawStaticText(QPointF(-label.size().width() / 2, box.size / 2 + 4), label);
    }
    painter.restore();
}

const QStaticText& GraphPainter::NameCache::get(const GraphTopology& graph, std::size_t symbol, const QFont& font,
                                                double width) {
    if (graph_ != &graph || width_ != width) {
        graph_ = &graph;
        width_ = width;
        names_.assign(graph.symbolCount(), std::nullopt);
    }
    if (!names_[symbol]) {
        QStaticText text(QFontMetricsF(font).elidedText(graph.shortName(symbol), Qt::ElideMiddle, width));
        text.setTextFormat(Qt::PlainText);
        text.prepare(QTransform(), font);
        names_[symbol] = std::move(text);
    }
    return *names_[symbol];
}

// ---- Names beside nodes ----

namespace {

constexpr double kNamePadX = 4, kNamePadY = 1;

}  // namespace

QString GraphPainter::groupName(const GraphScene& scene, std::size_t symbol) const {
    const SceneGroup* group = scene.groupAt(symbol);
    const QString file = QString::fromStdString(group->key.file);
    return file.mid(file.lastIndexOf(u'/') + 1) + QStringLiteral(" (%1)").arg(group->size);
}

// The selection's name in full and bold, a group's file and count, any other name cut to
// kLabelMaxWidth; the first two kept for the scene.
const QStaticText& GraphPainter::nameBeside(const GraphScene& scene, std::size_t symbol) {
    const bool selected = scene.selectedPoint() == symbol;
    if (!selected && !scene.groupAt(symbol))
        return namesBeside_.get(scene.topology(), symbol, caption_, kLabelMaxWidth);
    if (sceneNamesFor_ != scene.serial()) {
        sceneNamesFor_ = scene.serial();
        sceneNames_.clear();
    }
    auto [it, added] = sceneNames_.try_emplace(symbol);
    if (added) {
        it->second.setText(selected ? scene.topology().shortName(symbol) : groupName(scene, symbol));
        it->second.setTextFormat(Qt::PlainText);
        it->second.prepare(QTransform(), selected ? captionBold_ : caption_);
    }
    return it->second;
}

void GraphPainter::placeNames(const GraphFrame& frame) {
    const GraphScene& scene = *frame.scene;
    std::vector<LabelCandidate> candidates;
    for (const VisibleNode& node : visible_) {
        const NodeRole role = scene.role(node.symbol);
        const bool group = scene.groupAt(node.symbol) != nullptr;
        // A name already inside or under its node needs no second one.
        if (!role.selected && !group && (node.box.labelInside || node.box.labelBelow)) continue;
        const auto priority = labelPriority({role.selected, role.level == 1, group}, onScreen_, scene.isFocused());
        if (!priority) continue;
        const QSizeF text = nameBeside(scene, node.symbol).size();
        candidates.push_back({node.symbol, node.box.square, text + QSizeF(2 * kNamePadX, 2 * kNamePadY), *priority});
    }
    placedLabels_ = placeLabels(std::move(candidates));
}

void GraphPainter::paintNames(QPainter& painter, const GraphFrame& frame, const CanvasPalette& palette) {
    const GraphScene& scene = *frame.scene;
    QColor backing = palette.windowBackground();
    backing.setAlphaF(0.82f);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    for (const PlacedLabel& label : placedLabels_) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(backing);
        painter.drawRoundedRect(label.rect, 5, 5);
        painter.setPen(palette.text());
        painter.setFont(label.priority == LabelPriority::selected ? captionBold_ : caption_);
        painter.drawStaticText(label.rect.topLeft() + QPointF(kNamePadX, kNamePadY), nameBeside(scene, label.symbol));
    }
    painter.restore();
}

void GraphPainter::paintTooltip(QPainter& painter, const TooltipFrame& tooltip, QSizeF viewSize) const {
    constexpr double kPadX = 10, kPadY = 8, kSpacing = 4, kArrowWidth = 16, kArrowHeight = 8;
    constexpr double kMaxWidth = 280 - 2 * kPadX;
    const QFontMetricsF titleMetrics(captionBold_), smallMetrics(caption2_);
    const QString title = titleMetrics.elidedText(tooltip.text.title, Qt::ElideMiddle, kMaxWidth);
    const double contentWidth =
        std::max({titleMetrics.horizontalAdvance(title), smallMetrics.horizontalAdvance(tooltip.text.kind),
                  smallMetrics.horizontalAdvance(tooltip.text.filePath)});
    const double contentHeight = titleMetrics.height() + 2 * (kSpacing + smallMetrics.height());
    const QSizeF box(contentWidth + 2 * kPadX, contentHeight + 2 * kPadY);
    const double totalHeight = box.height() + kArrowHeight - 1;

    const QPointF center = tooltipCenter(tooltip.node, tooltip.radius, viewSize);
    const QRectF boxRect(center.x() - box.width() / 2, center.y() - totalHeight / 2, box.width(), box.height());
    painter.save();
    painter.setOpacity(tooltip.opacity);
    const QColor backing(0, 0, 0, static_cast<int>(std::lround(0.78 * 255)));
    QPainterPath shape = continuousRoundedRect(boxRect, 10);
    QPainterPath arrow;  // pointing down at the node
    const double arrowTop = boxRect.bottom() - 1;
    arrow.moveTo(center.x(), arrowTop + kArrowHeight);
    arrow.lineTo(center.x() + kArrowWidth / 2, arrowTop);
    arrow.lineTo(center.x() - kArrowWidth / 2, arrowTop);
    arrow.closeSubpath();
    painter.fillPath(shape.united(arrow), backing);

    double y = boxRect.top() + kPadY;
    const double x = boxRect.left() + kPadX;
    auto line = [&](const QFont& font, const QFontMetricsF& metrics, const QString& text, double alpha) {
        QColor color(Qt::white);
        color.setAlphaF(static_cast<float>(alpha));
        painter.setFont(font);
        painter.setPen(color);
        painter.drawText(QPointF(x, y + metrics.ascent()), text);
        y += metrics.height() + kSpacing;
    };
    line(captionBold_, titleMetrics, title, 1.0);
    line(caption2_, smallMetrics, tooltip.text.kind, 0.8);
    line(caption2_, smallMetrics, tooltip.text.filePath, 0.75);
    painter.restore();
}

}  // namespace vantrel
