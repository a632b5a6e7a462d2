// Puts a frame of the graph together in bands of rows: the ground, the edge layer and
// the node images, shared out over a worker pool with the calling thread as one lane.
// It also holds the bands of the frame under way and runs others' work on them: the
// edge layer is laid on the same bands.
//
// Threads: every member function is called from one thread, the one that paints.
// runBands hands its work to the pool's threads and returns when all of it is done;
// while it runs, the work may read the compositor (bands, rows, node images) but must
// not change it, and a band's work must depend on nothing but the band, since which
// thread takes a band depends on timing. Every band works a pixel out with the same
// arithmetic as one band over the whole view, so the frame is the same, pixel for pixel,
// for any number of threads.
#pragma once

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QPointF>
#include <QSize>
#include <QSizeF>
#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "core/util/ParallelFor.h"

namespace vantrel {

class FrameCompositor {
public:
    // `threads`, the caller among them (0: one per processor, at most four; 1: all on
    // the caller, in one band).
    explicit FrameCompositor(int threads);
    ~FrameCompositor();
    int threads() const { return threads_; }

    // Divides a frame of `pixels` into bands; call before a frame's edges and nodes.
    void startFrame(QSize pixels);
    int bands() const { return bands_; }
    int bandHeight() const { return bandHeight_; }
    // The device rows [first, end) of `band`, empty for a band below the frame.
    std::pair<int, int> rowsOf(int band) const {
        const int firstRow = std::min(band * bandHeight_, pixels_.height());
        return {firstRow, std::min(firstRow + bandHeight_, pixels_.height())};
    }
    // The bands that device rows [top, bottom] reach.
    std::pair<int, int> bandsOf(double top, double bottom) const;
    // Calls work(band) once for every band in [0, count), each band on exactly one thread,
    // and returns when all are done; the caller first runs `first`, work of its own that
    // the bands do not touch. Which thread takes a band depends on timing, so a band's
    // work must depend on nothing but the band.
    void runBands(int count, const std::function<void(int)>& work, const std::function<void()>& first = {});

    // The frame's nodes in drawing order: ready-drawn images, which the bands copy, and
    // nodes drawn in full (glowing, scaled or named), which the painter draws itself on
    // the calling thread, numbered in the order they were added.
    void clearNodes();
    // `at` in view points; the image's rows decide the bands it goes to.
    void addNodeImage(QImage&& image, QPointF at, double dpr);
    void addFullNode();

    // Draws the frame onto `painter`: the ground, `edgeLayer` (the view's size in device
    // pixels, at `dpr`) and the nodes; drawFull(p, n) draws the n-th node drawn in full
    // with an antialiasing painter p in view points, on the calling thread. With a
    // thousand node images or more, few nodes drawn in full and an opaque ground, the
    // bands put the frame together in an image of its own that is copied in one piece;
    // otherwise everything goes straight onto `painter`. Either way `painter` is left
    // antialiasing.
    using DrawFull = std::function<void(QPainter&, std::size_t)>;
    void compose(QPainter& painter, QSizeF viewSize, const QColor& ground, const QImage& edgeLayer, double dpr,
                 const DrawFull& drawFull);

private:
    // A node as the frame draws it: a ready-drawn image, or (null) the full node `full`.
    struct NodeOp {
        QImage sprite;
        QPointF at;
        std::uint32_t full = 0;
    };
    void composeInBands(QSizeF viewSize, const QColor& ground, const QImage& edgeLayer, double dpr,
                        const DrawFull& drawFull);

    int threads_;
    std::unique_ptr<WorkerPool> pool_;  // threads_ - 1 helpers; the caller is the last lane
    QSize pixels_;
    // Two bands per thread: dense and sparse stretches even out, and few bands flatten
    // few curves twice.
    int bands_ = 1;
    int bandHeight_ = 0;
    QImage frame_;                      // the frame put together in bands
    std::vector<NodeOp> nodeOps_;       // in drawing order
    std::vector<std::size_t> fullOps_;  // where in nodeOps_ the full nodes stand
    // Per band, the node images that may reach its rows, in drawing order.
    std::vector<std::vector<std::uint32_t>> bandNodes_;
};

}  // namespace vantrel
