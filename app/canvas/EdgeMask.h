// Antialiased quadratic curves gathered in 8-bit coverage masks, one mask per hue, then
// painted in that hue over an image. The toolkit's rasteriser blends translucent
// strokes a pixel span at a time and hands long span lists to worker threads, which
// costs tens of nanoseconds a pixel; a graph of tens of thousands of faint edges needs
// a few.
//
// Strokes of one hue combine as "source over" does: the mask keeps the alpha of the
// strokes laid so far, and since they share their colour, that alpha alone decides the
// result, whatever their order. Each curve is flattened to a polyline whose pieces are
// swept one pixel step at a time along their main axis; at each step the stroke crosses
// the pixel column (or row) as a band of the stroke's width over the cosine of its
// slope, and every pixel is covered by the share of it that the band takes up. A curve
// blends each pixel once: pieces running the same way share no step, and the coverage
// of a curve that turns past 45 degrees or doubles back is gathered first, each pixel
// taking the most that any of its pieces gives it.
//
// A mask may cover only a band of the view's rows, so that bands can be laid on
// separate threads: every band follows the same steps in the view's coordinates and
// keeps the pixels of its own rows, so a pixel gets the same value whichever band, or
// the whole view, lays it.
#pragma once

#include <QImage>
#include <QPointF>
#include <QRgb>
#include <QSize>
#include <vector>

namespace vantrel {

// The gathered alpha of one hue's strokes.
class EdgeMask {
public:
    // A mask of the whole view, `pixels` large.
    explicit EdgeMask(QSize pixels) : EdgeMask(pixels, 0, pixels.height()) {}
    // A mask of the view's rows [firstRow, endRow).
    EdgeMask(QSize pixels, int firstRow, int endRow);
    int width() const { return width_; }
    int height() const { return height_; }
    int firstRow() const { return firstRow_; }
    int endRow() const { return endRow_; }

    // Adds the curve from p to q around control point c (in the mask's pixels), `width`
    // pixels wide, at `alpha` (0 to 1). A curve of no length adds nothing.
    void strokeQuad(QPointF p, QPointF c, QPointF q, double width, double alpha);

    // Paints `color` (its alpha ignored) at the gathered alpha over the mask's rows of
    // `target` (Format_ARGB32_Premultiplied, the view's size), and empties the mask.
    void paintOnto(QImage& target, QRgb color) { paintOnto(target.bits(), target.bytesPerLine(), color); }
    // The same onto the pixels of such an image: bands on other threads paint onto
    // other rows of one image, which its non-const accessors would touch as a whole.
    void paintOnto(uchar* pixels, qsizetype bytesPerLine, QRgb color);

private:
    int width_;
    int height_;
    int firstRow_;
    int endRow_;
    std::vector<unsigned char> alpha_;  // the band's rows only, and a row to spare
    int dirtyTop_;                      // rows [dirtyTop_, dirtyBottom_) may hold alpha
    int dirtyBottom_;
};

}  // namespace vantrel
