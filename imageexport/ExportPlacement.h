// Where a layout point lands on an export drawing, shared by both image renderers.
#pragma once

#include <algorithm>

#include "core/layout/GraphLayout.h"

namespace vantrel {

// x = w/2 + s px, y = h/2 + s py with s = 0.45 min(w, h): the layout's unit is the
// drawing's shorter side. y grows in the renderer's own direction.
inline Point placeOnDrawing(Point layout, double width, double height) {
    const double scale = 0.45 * std::min(width, height);
    return Point{width * 0.5 + scale * layout.x, height * 0.5 + scale * layout.y};
}

}  // namespace vantrel
