#include "app/canvas/EdgeMask.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

namespace vantrel {

namespace {

constexpr double kFlatness = 0.25;  // largest distance, in pixels, of the polyline from the curve
constexpr int kMaxPieces = 64;
// Pieces are cut to this far around the mask, which keeps every coordinate small
// enough for the fixed-point arithmetic below however far the view is panned.
constexpr double kWorkMargin = 4096;

// x × a / 255 for each byte of x, rounded.
inline QRgb byteMul(QRgb x, uint a) {
    uint t = (x & 0xff00ff) * a;
    t = ((t + ((t >> 8) & 0xff00ff) + 0x800080) >> 8) & 0xff00ff;
    x = ((x >> 8) & 0xff00ff) * a;
    x = (x + ((x >> 8) & 0xff00ff) + 0x800080) & 0xff00ff00;
    return x | t;
}

// Source over in alpha alone, m + a × (1 - m) out of 255 and rounded, for every a and m:
// a look-up costs less than the arithmetic at millions of pixels a frame.
struct OverTable {
    unsigned char over[256][256];  // [a][m]
};
constexpr OverTable makeOverTable() {
    OverTable table{};
    for (std::uint32_t a = 0; a < 256; ++a)
        for (std::uint32_t m = 0; m < 256; ++m) {
            const std::uint32_t t = (255 - m) * a + 128;
            table.over[a][m] = static_cast<unsigned char>(m + ((t + (t >> 8)) >> 8));
        }
    return table;
}
constexpr OverTable kOver = makeOverTable();

// Lays `alpha` (out of 255) times `coverage` (out of 65536) over the mask's alpha. No
// coverage changes nothing.
inline void addAlpha(unsigned char* mask, unsigned alpha, std::uint32_t coverage) {
    *mask = kOver.over[(alpha * coverage + 32768) >> 16][*mask];
}

// One curve's coverage while it is gathered (zero outside a curve), and the offsets it
// touched. Each thread lays its curves start to end, so one of each per thread does.
thread_local std::vector<unsigned char> gathered;
thread_local std::vector<std::uint32_t> touched;

// floor() for the working coordinate range, without a library call: the baseline
// instruction set has no rounding instruction.
inline int floorToInt(double v) { return static_cast<int>(v + 65536.0) - 65536; }
inline int ceilToInt(double v) { return -floorToInt(-v); }

// Cuts the segment a→b to the rectangle; false when nothing of it lies inside. Liang–Barsky
// clipping: each edge narrows the parameter interval [t0, t1] of a + t·(b − a).
bool clipSegment(QPointF& a, QPointF& b, double left, double top, double right, double bottom) {
    double t0 = 0, t1 = 1;
    const double dx = b.x() - a.x(), dy = b.y() - a.y();
    auto edge = [&](double p, double q) {
        if (p == 0) return q >= 0;
        const double r = q / p;
        if (p < 0) {
            if (r > t1) return false;
            t0 = std::max(t0, r);
        } else {
            if (r < t0) return false;
            t1 = std::min(t1, r);
        }
        return true;
    };
    if (!edge(-dx, a.x() - left) || !edge(dx, right - a.x()) || !edge(-dy, a.y() - top) || !edge(dy, bottom - a.y()))
        return false;
    const QPointF start = a;
    a = start + QPointF(dx, dy) * t0;
    b = start + QPointF(dx, dy) * t1;
    return true;
}

// The pixels a mask may lay: the view's size and the band of rows the mask holds.
struct Window {
    int width;
    int height;
    int firstRow;
    int endRow;
};

// Sweeps the piece a→b one pixel step at a time along its main axis and hands every
// pixel of the window's rows the band covers to `lay(offset in the window, coverage out
// of 65536)`. Step i covers [i, i + 1] along the main axis; a piece takes the steps
// whose centres lie between its ends, its far end excluded unless `includeEnd`, so that
// consecutive pieces running the same way share no step. Every step is worked out in
// the view's coordinates, whichever rows the window keeps.
template <typename Lay>
void sweepPiece(QPointF a, QPointF b, float width, bool includeEnd, const Window& window, Lay&& lay) {
    double u0 = a.x(), v0 = a.y(), u1 = b.x(), v1 = b.y();
    const bool steep = std::abs(v1 - v0) > std::abs(u1 - u0);
    if (steep) std::swap(u0, v0), std::swap(u1, v1);
    const double low = std::min(u0, u1), high = std::max(u0, u1);
    const bool farEndIsLow = u1 < u0;
    int first = ceilToInt(low - 0.5), last = floorToInt(high - 0.5);
    if (!includeEnd) {
        if (farEndIsLow && static_cast<double>(first) + 0.5 == low) ++first;
        if (!farEndIsLow && static_cast<double>(last) + 0.5 == high) --last;
    }
    const double du = u1 - u0;
    const double slope = std::abs(du) < 1e-9 ? 0.0 : (v1 - v0) / du;
    // Across one step the stroke is this thick along the minor axis.
    const double thickness = width * std::sqrt(1 + slope * slope);

    const int majorEnd = steep ? window.height : window.width;
    first = std::max(first, 0);
    last = std::min(last, majorEnd - 1);
    if (first > last) return;
    const std::size_t majorStep = steep ? window.width : 1, minorStep = steep ? 1 : window.width;

    // The band's edges along the minor axis in 16.16 fixed point, stepped per pixel;
    // the offset keeps the truncation a floor.
    auto fixed = [](double v) {
        constexpr double kOffset = 1 << 20;
        return static_cast<std::int32_t>(static_cast<std::int64_t>((v + kOffset) * 65536.0 + 0.5) -
                                         (static_cast<std::int64_t>(1) << 36));
    };
    const double centre = v0 + slope * (first + 0.5 - u0);
    std::int32_t upper = fixed(centre - thickness / 2), lower = fixed(centre + thickness / 2);
    const std::int32_t step = fixed(slope);
    std::int32_t minorFirst = 0, minorLimit = window.width << 16;
    if (steep) {
        // Rows are steps: the ones above the window are stepped over at once, which adds
        // the same integers as stepping through them.
        const int firstInWindow = std::max(first, window.firstRow);
        last = std::min(last, window.endRow - 1);
        if (firstInWindow > last) return;
        const std::int32_t skipped = static_cast<std::int32_t>(static_cast<std::int64_t>(firstInWindow - first) * step);
        upper += skipped;
        lower += skipped;
        first = firstInWindow;
    } else {
        minorFirst = window.firstRow << 16;
        minorLimit = window.endRow << 16;
    }
    // Offsets count from the window's first row; unsigned arithmetic wraps back to them.
    std::size_t column = static_cast<std::size_t>(first) * majorStep -
                         static_cast<std::size_t>(window.firstRow) * static_cast<std::size_t>(window.width);
    if (lower - upper <= 65536) {
        // At most a pixel thick, the band crosses at most two pixels of a step: both get
        // their share, the second none when the band ends in the first (the window
        // leaves room for that second pixel past its end).
        for (int i = first; i <= last; ++i, upper += step, lower += step, column += majorStep) {
            const std::int32_t from = std::max(upper, minorFirst), to = std::min(lower, minorLimit);
            if (from >= to) continue;
            const int firstPixel = from >> 16;
            const std::int32_t split = std::min(to, (firstPixel + 1) << 16);
            const std::size_t at = column + static_cast<std::size_t>(firstPixel) * minorStep;
            lay(at, static_cast<std::uint32_t>(split - from));
            lay(at + minorStep, static_cast<std::uint32_t>(to - split));
        }
        return;
    }
    for (int i = first; i <= last; ++i, upper += step, lower += step, column += majorStep) {
        const std::int32_t from = std::max(upper, minorFirst), to = std::min(lower, minorLimit);
        if (from >= to) continue;
        const int firstPixel = from >> 16, lastPixel = (to - 1) >> 16;
        std::size_t at = column + static_cast<std::size_t>(firstPixel) * minorStep;
        if (firstPixel == lastPixel) {
            lay(at, static_cast<std::uint32_t>(to - from));
            continue;
        }
        lay(at, static_cast<std::uint32_t>(((firstPixel + 1) << 16) - from));
        for (int k = firstPixel + 1; k < lastPixel; ++k) lay(at += minorStep, 65536u);
        lay(at + minorStep, static_cast<std::uint32_t>(to - (lastPixel << 16)));
    }
}

}  // namespace

EdgeMask::EdgeMask(QSize pixels, int firstRow, int endRow)
    : width_(pixels.width()),
      height_(pixels.height()),
      firstRow_(std::clamp(firstRow, 0, height_)),
      endRow_(std::clamp(endRow, firstRow_, height_)),
      // A row and a pixel to spare past the end: see sweepPiece.
      alpha_(static_cast<std::size_t>(width_) * (endRow_ - firstRow_ + 1) + 1, 0),
      dirtyTop_(endRow_),
      dirtyBottom_(firstRow_) {}

void EdgeMask::paintOnto(uchar* pixels, qsizetype bytesPerLine, QRgb color) {
    QRgb shade[256];
    for (uint a = 0; a < 256; ++a) shade[a] = byteMul(color | 0xff000000u, a);
    for (int y = dirtyTop_; y < dirtyBottom_; ++y) {
        unsigned char* m = alpha_.data() + static_cast<std::size_t>(y - firstRow_) * width_;
        QRgb* pixel = reinterpret_cast<QRgb*>(pixels + y * bytesPerLine);
        for (int x = 0; x < width_;) {
            // Most of a mask is empty: skip it eight pixels at a time.
            std::uint64_t word;
            if (x + 8 <= width_ && (std::memcpy(&word, m + x, 8), word == 0)) {
                x += 8;
                continue;
            }
            if (const uint a = m[x]) {
                // The first hue lands on an empty layer, where nothing needs blending.
                pixel[x] = pixel[x] == 0 ? shade[a] : shade[a] + byteMul(pixel[x], 255 - a);
                m[x] = 0;
            }
            ++x;
        }
    }
    dirtyTop_ = endRow_;
    dirtyBottom_ = firstRow_;
}

void EdgeMask::strokeQuad(QPointF p, QPointF c, QPointF q, double width, double alpha) {
    if (p == q && c == p) return;
    // A quadratic's chord strays at most |p - 2c + q| / 4 from it; n pieces bring that
    // down by n².
    const QPointF bend = p - 2 * c + q;
    const double stray = std::sqrt(bend.x() * bend.x() + bend.y() * bend.y()) / 4;
    const int n = std::clamp(static_cast<int>(std::ceil(std::sqrt(stray / kFlatness))), 1, kMaxPieces);
    // Left uninitialised: only the first n + 1 are read.
    struct Point {
        double x, y;
    };
    std::array<Point, kMaxPieces + 1> points;
    double left = p.x(), right = left, top = p.y(), bottom = top;
    for (int i = 0; i <= n; ++i) {
        const double t = static_cast<double>(i) / n, u = 1 - t;
        const double a = u * u, b = 2 * u * t, d = t * t;
        points[i] = {p.x() * a + c.x() * b + q.x() * d, p.y() * a + c.y() * b + q.y() * d};
        left = std::min(left, points[i].x), right = std::max(right, points[i].x);
        top = std::min(top, points[i].y), bottom = std::max(bottom, points[i].y);
    }
    const double reach = width + 2;
    if (right + reach < 0 || left - reach > width_ || bottom + reach < firstRow_ || top - reach > endRow_) return;
    dirtyTop_ = std::min(dirtyTop_, std::max(firstRow_, floorToInt(std::max(top - reach, -1.0))));
    dirtyBottom_ = std::max(dirtyBottom_, std::min(endRow_, floorToInt(std::min(bottom + reach, double(height_))) + 1));

    // Pieces far outside the mask are cut; what is cut away lies beyond every pixel.
    const bool farOut =
        left < -kWorkMargin || top < -kWorkMargin || right > width_ + kWorkMargin || bottom > height_ + kWorkMargin;
    // Pieces that all run one way along one axis share no step; a curve that turns
    // past 45 degrees or doubles back may cover a pixel from two pieces, so its
    // coverage is first gathered as the most any piece gives each pixel.
    bool oneWay = true;
    for (int i = 1; i < n && oneWay; ++i) {
        const double dx0 = points[i].x - points[i - 1].x, dy0 = points[i].y - points[i - 1].y;
        const double dx1 = points[i + 1].x - points[i].x, dy1 = points[i + 1].y - points[i].y;
        const bool steep0 = std::abs(dy0) > std::abs(dx0), steep1 = std::abs(dy1) > std::abs(dx1);
        const double major0 = steep0 ? dy0 : dx0, major1 = steep1 ? dy1 : dx1;
        oneWay = steep0 == steep1 && (major0 < 0) == (major1 < 0);
    }
    const auto strength = static_cast<unsigned>(std::lround(std::clamp(alpha, 0.0, 1.0) * 255));
    unsigned char* const mask = alpha_.data();
    const Window window{width_, height_, firstRow_, endRow_};
    // A piece lays no pixel further than this from its ends across its main axis.
    const double across = width + 1;
    auto forEachPiece = [&](auto&& lay) {
        for (int i = 0; i < n; ++i) {
            QPointF a(points[i].x, points[i].y), b(points[i + 1].x, points[i + 1].y);
            if (farOut && !clipSegment(a, b, -kWorkMargin, -kWorkMargin, width_ + kWorkMargin, height_ + kWorkMargin))
                continue;
            if (std::max(a.y(), b.y()) + across < firstRow_ || std::min(a.y(), b.y()) - across > endRow_) continue;
            sweepPiece(a, b, static_cast<float>(width), i == n - 1 || !oneWay, window, lay);
        }
    };
    if (oneWay) {
        forEachPiece(
            [mask, strength](std::size_t at, std::uint32_t coverage) { addAlpha(mask + at, strength, coverage); });
        return;
    }
    // The curve touches at most as many pixels as its pieces' steps times the pixels
    // that a step crosses, and at most the window's.
    double steps = 0;
    for (int i = 0; i < n; ++i)
        steps += std::abs(points[i + 1].x - points[i].x) + std::abs(points[i + 1].y - points[i].y) + 2;
    const double windowPixels = static_cast<double>(alpha_.size());
    const auto most = static_cast<std::size_t>(std::min(steps * (1.5 * width + 3), windowPixels));
    if (gathered.size() < alpha_.size()) gathered.resize(alpha_.size(), 0);
    if (touched.size() < most) touched.resize(most);
    unsigned char* const gather = gathered.data();
    std::uint32_t* const list = touched.data();
    std::size_t count = 0;
    forEachPiece([gather, list, &count](std::size_t at, std::uint32_t coverage) {
        const auto c = static_cast<unsigned char>(std::min<std::uint32_t>(coverage >> 8, 255));
        const unsigned char before = gather[at];
        if (before == 0 && c != 0) list[count++] = static_cast<std::uint32_t>(at);
        gather[at] = std::max(before, c);
    });
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint32_t at = list[i];
        addAlpha(mask + at, strength, gather[at] * 257u);
        gather[at] = 0;
    }
}

}  // namespace vantrel
