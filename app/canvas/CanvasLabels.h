// Names beside the nodes: which nodes of a frame carry one and where it stands. The
// selection and its direct callers are always named; every other node while fewer than
// kAllNamesBelow nodes are on screen, or in the focused view. Names keep out of each
// other's way as far as the four spots around a node allow. Pure: the painter measures the texts and draws what this
// decides.
#pragma once

#include <QRectF>
#include <QSizeF>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace vantrel {

inline constexpr std::size_t kAllNamesBelow = 150;
inline constexpr double kLabelGap = 5;         // between a node's square and its name
inline constexpr double kLabelMaxWidth = 190;  // a name other than the selection's is elided to this

// Earlier kinds are placed first and win the room.
enum class LabelPriority : std::uint8_t { selected, required, optional };

// Whether a visible node is named at all, and how urgently. `visibleNodes` counts the
// nodes drawn in the frame.
struct LabelRule {
    bool selected = false;
    bool levelOne = false;
    bool group = false;  // a group of the focused view, named by its file and count
};
std::optional<LabelPriority> labelPriority(const LabelRule& node, std::size_t visibleNodes, bool focusedView);

struct LabelCandidate {
    std::size_t symbol = 0;
    QRectF square;  // the node on screen
    QSizeF text;    // the name's size, with its backing
    LabelPriority priority = LabelPriority::optional;
};

struct PlacedLabel {
    std::size_t symbol = 0;
    QRectF rect;
    LabelPriority priority = LabelPriority::optional;
};

// By priority, then ascending symbol: each name goes right of its node, else left, below
// or above, to the first of those spots that overlaps no candidate's node and no name
// placed before it; where
// every spot does, to the first that overlaps the fewest. Every candidate is placed.
std::vector<PlacedLabel> placeLabels(std::vector<LabelCandidate> candidates);

}  // namespace vantrel
