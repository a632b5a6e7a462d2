#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <cmath>
#include <limits>

#include "core/export/ProjectExport.h"
#include "imageexport/GraphExport.h"
#include "tests/support/GraphBuilder.h"

namespace vantrel {
namespace {

const std::string kLeft = "a.ts:left:function";
const std::string kRight = "a.ts:right:function";
const std::string kTop = "b.ts:top:function";

// Two dots joined by a horizontal line in the upper half of the layout (y > 0), and a
// third dot below the centre; a fourth symbol has no position.
ProjectIR exportGraph() {
    testing::GraphBuilder b;
    b.symbol(kLeft).symbol(kRight).symbol(kTop).symbol("c.ts:nowhere:function");
    b.call(kLeft, kRight).call(kTop, kTop).call("c.ts:nowhere:function", kLeft);
    return b.build();
}

// The line lies at SVG y 724.5; on the image, whose y grows upward, that is 275.5 from
// the top: the middle of pixel row 275.
const NodePositions kPositions{{kLeft, {-0.5, 224.5 / 450.0}}, {kRight, {0.5, 224.5 / 450.0}}, {kTop, {0.0, -0.4}}};

QImage decodePNG(const std::string& bytes) {
    return QImage::fromData(reinterpret_cast<const uchar*>(bytes.data()), static_cast<int>(bytes.size()), "PNG");
}

bool allWhite(const QImage& image) {
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (image.pixel(x, y) != qRgb(255, 255, 255)) return false;
    return true;
}

TEST(GraphExport, TextFormatsComeFromTheirWriters) {
    const ProjectIR ir = exportGraph();
    EXPECT_EQ(GraphExport::makeData(GraphExportFormat::json, ir, kPositions), ProjectExport::projectIRJSON(ir, true));
    EXPECT_EQ(GraphExport::makeData(GraphExportFormat::dot, ir, kPositions), ProjectExport::graphvizDOT(ir));
    EXPECT_EQ(GraphExport::makeData(GraphExportFormat::svg, ir, kPositions),
              GraphExport::makeSVG(ir, kPositions, 1600, 1000));

    ProjectIR unencodable = ir;
    unencodable.lastScan = std::numeric_limits<double>::infinity();
    EXPECT_THROW(GraphExport::makeData(GraphExportFormat::json, unencodable, kPositions), EncodeError);
}

TEST(GraphExport, PngIsTheMapMirroredTopToBottom) {
    const QImage image = decodePNG(GraphExport::makeData(GraphExportFormat::png, exportGraph(), kPositions));
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(image.width(), 1600);
    EXPECT_EQ(image.height(), 1000);
    EXPECT_EQ(image.pixel(0, 0), qRgb(255, 255, 255));
    EXPECT_EQ(image.pixel(1599, 999), qRgb(255, 255, 255));

    // Dot fill: gray 0.25 at alpha 0.9 over white is about 0.325.
    auto expectDot = [&](int x, int y) {
        const QColor c = image.pixelColor(x, y);
        EXPECT_NEAR(c.redF(), 0.325, 0.03) << x << "," << y;
        EXPECT_EQ(c.red(), c.green());
        EXPECT_EQ(c.red(), c.blue());
    };
    expectDot(576, 275);  // left is centred at (575, 275.5)
    expectDot(1024, 275);
    expectDot(800, 680);  // top sits at SVG y 320, which is 680 from the image's top
    // The mirror images of those points are empty.
    EXPECT_EQ(image.pixel(800, 320), qRgb(255, 255, 255));
    EXPECT_EQ(image.pixel(800, 724), qRgb(255, 255, 255));

    // The line between the dots: gray 0.55 at alpha 0.28 over white is about 0.874.
    const QColor line = image.pixelColor(800, 275);
    EXPECT_NEAR(line.redF(), 0.874, 0.02);
    EXPECT_EQ(image.pixel(800, 273), qRgb(255, 255, 255));
}

TEST(GraphExport, EmptyGraphIsAPlainWhitePng) {
    const QImage image = decodePNG(GraphExport::makeData(GraphExportFormat::png, ProjectIR{}, {}));
    ASSERT_EQ(image.size(), QSize(1600, 1000));
    EXPECT_TRUE(allWhite(image));
    EXPECT_TRUE(GraphExport::renderPNG(ProjectIR{}, {}, 0, 10).isNull());
}

}  // namespace
}  // namespace vantrel
