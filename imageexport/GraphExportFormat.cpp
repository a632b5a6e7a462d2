#include "imageexport/GraphExportFormat.h"

namespace vantrel {

std::string_view rawValue(GraphExportFormat format) {
    switch (format) {
        case GraphExportFormat::json: return "json";
        case GraphExportFormat::dot: return "dot";
        case GraphExportFormat::svg: return "svg";
        case GraphExportFormat::png: return "png";
    }
    return "json";
}

std::optional<GraphExportFormat> graphExportFormatFromRaw(std::string_view raw) {
    for (GraphExportFormat format : kAllGraphExportFormats)
        if (rawValue(format) == raw) return format;
    return std::nullopt;
}

std::string_view menuTitle(GraphExportFormat format) {
    switch (format) {
        case GraphExportFormat::json: return "JSON (ProjectIR)";
        case GraphExportFormat::dot: return "Graphviz DOT";
        case GraphExportFormat::svg: return "SVG (current layout)";
        case GraphExportFormat::png: return "PNG (current layout)";
    }
    return "JSON (ProjectIR)";
}

std::string_view fileExtension(GraphExportFormat format) { return rawValue(format); }

std::string_view fileDialogFilter(GraphExportFormat format) {
    switch (format) {
        case GraphExportFormat::json: return "JSON (*.json)";
        case GraphExportFormat::dot: return "Graphviz DOT (*.dot)";
        case GraphExportFormat::svg: return "SVG image (*.svg)";
        case GraphExportFormat::png: return "PNG image (*.png)";
    }
    return "JSON (*.json)";
}

}  // namespace vantrel
