#include "imageexport/GraphExport.h"

#include <QBuffer>
#include <QByteArray>

#include "core/export/ProjectExport.h"

namespace vantrel {

namespace {

constexpr int kRenderFailedCode = 1;

std::string encodePNG(const QImage& image) {
    if (image.isNull()) return {};
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG")) return {};
    return std::string(bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

}  // namespace

std::string GraphExport::makeData(GraphExportFormat format, const ProjectIR& ir, const NodePositions& positions) {
    switch (format) {
        case GraphExportFormat::json: return ProjectExport::projectIRJSON(ir, true);
        case GraphExportFormat::dot: return ProjectExport::graphvizDOT(ir);
        case GraphExportFormat::svg: return makeSVG(ir, positions, kExportWidth, kExportHeight);
        case GraphExportFormat::png: {
            std::string bytes = encodePNG(renderPNG(ir, positions, kExportWidth, kExportHeight));
            if (bytes.empty()) throw GraphExportError(kRenderFailedCode, "Failed to render PNG");
            return bytes;
        }
    }
    return {};
}

}  // namespace vantrel
