#include "app/canvas/FrameCompositor.h"

#include <QRect>
#include <QRectF>
#include <algorithm>
#include <thread>

namespace vantrel {

FrameCompositor::FrameCompositor(int threads)
    : threads_(threads > 0 ? threads : std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 4)),
      pool_(std::make_unique<WorkerPool>(static_cast<std::size_t>(threads_ - 1))) {}

FrameCompositor::~FrameCompositor() = default;

void FrameCompositor::startFrame(QSize pixels) {
    pixels_ = pixels;
    bands_ = threads_ == 1 ? 1 : std::clamp(pixels.height() / 64, 1, 2 * threads_);
    bandHeight_ = std::max(1, (pixels.height() + bands_ - 1) / bands_);
}

std::pair<int, int> FrameCompositor::bandsOf(double top, double bottom) const {
    // A curve may end far outside the view: rows are kept to the bands before they
    // become integers.
    const double end = static_cast<double>(bands_) * bandHeight_;
    const int first = static_cast<int>(std::clamp(top, 0.0, end - 1)) / bandHeight_;
    const int last = static_cast<int>(std::clamp(bottom, 0.0, end - 1)) / bandHeight_;
    return {first, last};
}

void FrameCompositor::runBands(int count, const std::function<void(int)>& work, const std::function<void()>& first) {
    parallelFor(
        *pool_, static_cast<std::size_t>(count), static_cast<std::size_t>(threads_),
        [&](std::size_t band, std::size_t) { work(static_cast<int>(band)); }, first);
}

void FrameCompositor::clearNodes() {
    nodeOps_.clear();
    fullOps_.clear();
    bandNodes_.resize(bands_);
    for (auto& list : bandNodes_) list.clear();
}

void FrameCompositor::addNodeImage(QImage&& image, QPointF at, double dpr) {
    const double top = at.y() * dpr;
    const auto [first, last] = bandsOf(top - 1, top + image.height() + 1);
    for (int band = first; band <= last; ++band)
        bandNodes_[band].push_back(static_cast<std::uint32_t>(nodeOps_.size()));
    nodeOps_.push_back({std::move(image), at, 0});
}

void FrameCompositor::addFullNode() {
    const auto full = static_cast<std::uint32_t>(fullOps_.size());
    fullOps_.push_back(nodeOps_.size());
    nodeOps_.push_back({QImage(), QPointF(), full});
}

void FrameCompositor::compose(QPainter& painter, QSizeF viewSize, const QColor& ground, const QImage& edgeLayer,
                              double dpr, const DrawFull& drawFull) {
    // Putting the frame together apart costs one more copy of it, worth it past a
    // thousand node images. Every node drawn in full costs a pause of the bands; past a
    // few (names under every node) one thread draws the nodes. And the frame must cover
    // what was there before, as an opaque ground does.
    constexpr std::size_t kFewestNodeImages = 1000, kMostFullNodes = 8;
    if (bands_ > 1 && nodeOps_.size() >= kFewestNodeImages && fullOps_.size() <= kMostFullNodes &&
        ground.alpha() == 255) {
        composeInBands(viewSize, ground, edgeLayer, dpr, drawFull);
        painter.drawImage(QPointF(0, 0), frame_);
        painter.setRenderHint(QPainter::Antialiasing);
        return;
    }
    painter.fillRect(QRectF(QPointF(0, 0), viewSize), ground);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.drawImage(QPointF(0, 0), edgeLayer);
    for (const NodeOp& op : nodeOps_) {
        if (op.sprite.isNull()) {
            drawFull(painter, op.full);
        } else {
            painter.drawImage(op.at, op.sprite);
        }
    }
}

void FrameCompositor::composeInBands(QSizeF viewSize, const QColor& ground, const QImage& edgeLayer, double dpr,
                                     const DrawFull& drawFull) {
    if (frame_.size() != pixels_) frame_ = QImage(pixels_, QImage::Format_ARGB32_Premultiplied);
    frame_.setDevicePixelRatio(dpr);
    uchar* const bits = frame_.bits();
    const qsizetype stride = frame_.bytesPerLine();
    const QRectF view(QPointF(0, 0), viewSize);
    std::vector<std::size_t> next(bands_, 0);  // per band, its first node image not yet drawn
    // Rounds of node images between the nodes drawn in full; the first lays the ground
    // and the edges.
    for (std::size_t round = 0; round <= fullOps_.size(); ++round) {
        const std::size_t end = round < fullOps_.size() ? fullOps_[round] : nodeOps_.size();
        runBands(bands_, [&](int band) {
            const auto [firstRow, endRow] = rowsOf(band);
            const std::vector<std::uint32_t>& nodes = bandNodes_[band];
            std::size_t& at = next[band];
            if (firstRow >= endRow || (round > 0 && (at == nodes.size() || nodes[at] >= end))) return;
            // A painter of its own over the frame's pixels, kept to the band's rows.
            QImage rows(bits, pixels_.width(), pixels_.height(), stride, QImage::Format_ARGB32_Premultiplied);
            QPainter p(&rows);
            p.setClipRect(QRect(0, firstRow, pixels_.width(), endRow - firstRow));
            p.scale(dpr, dpr);
            if (round == 0) p.fillRect(view, ground);
            p.setRenderHint(QPainter::Antialiasing);
            if (round == 0) p.drawImage(QPointF(0, 0), edgeLayer);
            for (; at < nodes.size() && nodes[at] < end; ++at) {
                const NodeOp& op = nodeOps_[nodes[at]];
                p.drawImage(op.at, op.sprite);
            }
        });
        if (round < fullOps_.size()) {
            QPainter p(&frame_);
            p.setRenderHint(QPainter::Antialiasing);
            drawFull(p, round);
        }
    }
}

}  // namespace vantrel
