// The four formats of the export menu. The raw value is both the format's identity and
// the extension of the proposed file name.
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace vantrel {

enum class GraphExportFormat { json, dot, svg, png };

// All cases in menu order.
inline constexpr std::array<GraphExportFormat, 4> kAllGraphExportFormats{
    GraphExportFormat::json, GraphExportFormat::dot, GraphExportFormat::svg, GraphExportFormat::png};

// "json", "dot", "svg", "png".
std::string_view rawValue(GraphExportFormat format);
std::optional<GraphExportFormat> graphExportFormatFromRaw(std::string_view raw);

// "JSON (ProjectIR)", "Graphviz DOT", "SVG (current layout)", "PNG (current layout)".
std::string_view menuTitle(GraphExportFormat format);

// The extension of the file name, without the dot: the raw value.
std::string_view fileExtension(GraphExportFormat format);

// The save dialog's filter, by extension only: "JSON (*.json)", "Graphviz DOT (*.dot)",
// "SVG image (*.svg)", "PNG image (*.png)".
std::string_view fileDialogFilter(GraphExportFormat format);

}  // namespace vantrel
