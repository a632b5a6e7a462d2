// Turns a graph and its base layout into the bytes of an export file. SVG and PNG are
// plain maps of dots and straight lines drawn from the layout as it is: no selection,
// rings, zoom, labels or colours by impact. They are two separate renderers with their
// own colours; neither is derived from the other.
#pragma once

#include <QImage>
#include <stdexcept>
#include <string>

#include "core/layout/GraphLayout.h"
#include "core/model/ProjectIR.h"
#include "imageexport/GraphExportFormat.h"

namespace vantrel {

// A failed image export, in the error domain "Vantrel".
class GraphExportError : public std::runtime_error {
public:
    GraphExportError(int code, const std::string& description) : std::runtime_error(description), code_(code) {}
    static constexpr const char* domain() { return "Vantrel"; }
    int code() const { return code_; }

private:
    int code_;
};

struct GraphExport {
    GraphExport() = delete;

    // The fixed drawing size of SVG and PNG files.
    static constexpr int kExportWidth = 1600;
    static constexpr int kExportHeight = 1000;

    // json: the pretty JSON form (its EncodeError passes through); dot: the DOT text;
    // svg: makeSVG at the export size; png: renderPNG at the export size, PNG-encoded.
    // Throws GraphExportError(1, "Failed to render PNG") when the image cannot be made.
    static std::string makeData(GraphExportFormat format, const ProjectIR& ir, const NodePositions& positions);

    // Lines joined by "\n", none after the last: XML declaration, root element sized to
    // the width and height cut to integers, white background, one <line> per call whose
    // both ends have a position, then one <circle> per symbol with a position (ids
    // ascending in both). Same input, same bytes. Cannot fail.
    static std::string makeSVG(const ProjectIR& ir, const NodePositions& positions, double width, double height);

    // The same map on a white image of the given pixel size, with y growing upward (so
    // it is the SVG mirrored top to bottom), antialiased. Cannot fail; a size that
    // cannot be allocated gives a null image.
    static QImage renderPNG(const ProjectIR& ir, const NodePositions& positions, int width, int height);
};

}  // namespace vantrel
