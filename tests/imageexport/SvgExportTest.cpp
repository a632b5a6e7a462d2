#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

#include "imageexport/DecimalText.h"
#include "imageexport/GraphExport.h"
#include "tests/support/GraphBuilder.h"

namespace vantrel {
namespace {

TEST(DecimalText, ShortestRoundTripInPositionalNotation) {
    EXPECT_EQ(decimalText(800.0), "800.0");
    EXPECT_EQ(decimalText(0.0), "0.0");
    EXPECT_EQ(decimalText(-0.0), "-0.0");
    EXPECT_EQ(decimalText(-400.0), "-400.0");
    EXPECT_EQ(decimalText(-0.5), "-0.5");
    EXPECT_EQ(decimalText(1012.3456789012346), "1012.3456789012346");
    EXPECT_EQ(decimalText(0.1 + 0.2), "0.30000000000000004");
    EXPECT_EQ(decimalText(1e-7), "0.0000001");
    EXPECT_EQ(decimalText(-1.5e-7), "-0.00000015");
    EXPECT_EQ(decimalText(1e21), "1000000000000000000000.0");
    EXPECT_EQ(decimalText(123456789012345680.0), "123456789012345680.0");
    EXPECT_EQ(decimalText(std::numeric_limits<double>::infinity()), "inf");

    // Extremes and a spread of magnitudes: never an exponent, always a point, and the
    // text reads back as the very same double.
    std::vector<double> values{std::numeric_limits<double>::max(), std::numeric_limits<double>::denorm_min(),
                               -std::numeric_limits<double>::min()};
    std::uint64_t state = 0x9E3779B97F4A7C15ULL;
    for (int i = 0; i < 2000; ++i) {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        const double mantissa = static_cast<double>(state >> 11) / 9007199254740992.0;
        values.push_back((i % 2 ? -1 : 1) * std::ldexp(mantissa, static_cast<int>(state % 200) - 100));
    }
    for (double value : values) {
        const std::string text = decimalText(value);
        EXPECT_EQ(text.find_first_of("eE"), std::string::npos) << text;
        ASSERT_NE(text.find('.'), std::string::npos) << text;
        EXPECT_NE(text.back(), '.');
        EXPECT_EQ(std::strtod(text.c_str(), nullptr), value) << text;
    }
}

TEST(MakeSVG, EmptyGraphIsFourLinesWithTheSizeCutToIntegers) {
    EXPECT_EQ(GraphExport::makeSVG(ProjectIR{}, {}, 1600, 1000),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"1600\" height=\"1000\" viewBox=\"0 0 1600 1000\">\n"
              "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
              "</svg>");
    const std::string cut = GraphExport::makeSVG(ProjectIR{}, {}, 640.9, 480.5);
    EXPECT_NE(cut.find("width=\"640\" height=\"480\" viewBox=\"0 0 640 480\""), std::string::npos);
}

TEST(MakeSVG, DrawsLinesThenDotsOnlyWherePositionsExist) {
    const std::string main = "a.ts:main:function";
    const std::string util = "b.ts:util:function";
    const std::string hidden = "c.ts:hidden:function";  // a symbol without a position
    const std::string far = "d.ts:far:function";        // placed outside the canvas
    const std::string ext = "lib/x.js:ext:function";    // a position but no symbol
    testing::GraphBuilder b;
    b.symbol(far).symbol(hidden).symbol(util).symbol(main);
    b.call(main, ext).call(main, hidden).call(main, util).call(util, util).call(hidden, main).call(far, main);
    const NodePositions positions{{main, {0.0, 0.0}},
                                  {util, {0.3141592653589793, -0.2718281828459045}},
                                  {ext, {0.471879286447188, 0.3}},
                                  {far, {0.7, -2.0}},
                                  {"z.ts:stale:function", {0.1, 0.1}}};
    const std::string svg = GraphExport::makeSVG(b.build(), positions, 1600, 1000);

    const std::string line = "\" stroke=\"#999\" stroke-opacity=\"0.35\" stroke-width=\"1\"/>\n";
    const std::string dot = "\" r=\"4\" fill=\"#444\" fill-opacity=\"0.85\" stroke=\"#222\" stroke-width=\"1\"/>\n";
    const std::string expected =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"1600\" height=\"1000\" viewBox=\"0 0 1600 1000\">\n"
        "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n"
        "<line x1=\"800.0\" y1=\"500.0\" x2=\"941.3716694115407\" y2=\"377.67731771934297" +
        line + "<line x1=\"800.0\" y1=\"500.0\" x2=\"1012.3456789012346\" y2=\"635.0" + line +
        "<line x1=\"941.3716694115407\" y1=\"377.67731771934297\" x2=\"941.3716694115407\" y2=\"377.67731771934297" +
        line + "<line x1=\"1115.0\" y1=\"-400.0\" x2=\"800.0\" y2=\"500.0" + line + "<circle cx=\"800.0\" cy=\"500.0" +
        dot + "<circle cx=\"941.3716694115407\" cy=\"377.67731771934297" + dot + "<circle cx=\"1115.0\" cy=\"-400.0" +
        dot + "</svg>";
    EXPECT_EQ(svg, expected);
    EXPECT_EQ(GraphExport::makeSVG(b.build(), positions, 1600, 1000), svg);

    // Placement follows the shorter side: s = 0.45 * 200 at 301 x 200.
    const std::string small = GraphExport::makeSVG(b.build(), positions, 301, 200);
    EXPECT_NE(small.find("<circle cx=\"150.5\" cy=\"100.0\""), std::string::npos);
    EXPECT_NE(small.find("<circle cx=\"213.5\" cy=\"-80.0\""), std::string::npos);
}

}  // namespace
}  // namespace vantrel
