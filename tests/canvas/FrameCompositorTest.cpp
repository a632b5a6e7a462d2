// The compositor's bands cover a frame's rows once each, and a frame put together in
// bands keeps the drawing order (ground, edges, node images, a node drawn in full
// between the images before and after it) exactly as drawing straight onto the painter
// does.
#include <QImage>
#include <QPainter>
#include <QTest>
#include <atomic>
#include <utility>
#include <vector>

#include "app/canvas/FrameCompositor.h"
#include "tests/app/AppTestSupport.h"

using namespace vantrel;

namespace {

const QSize kView(200, 200);

// 1,200 red images of 4 × 4 pixels in a grid of 40 columns (5 pixels apart) and 30 rows
// (6 apart), with one node drawn in full after the first 600: a blue square at
// (90, 80), 30 wide, over the images of rows 14 and before and under those of row 15 on.
// The edge layer is one green row at y = 2.
QImage compose(FrameCompositor& compositor, bool& fullOnCallersPainter) {
    QImage red(4, 4, QImage::Format_ARGB32_Premultiplied);
    red.fill(Qt::red);
    QImage edges(kView, QImage::Format_ARGB32_Premultiplied);
    edges.fill(Qt::transparent);
    for (int x = 0; x < kView.width(); ++x) edges.setPixel(x, 2, qRgb(0, 255, 0));

    compositor.startFrame(kView);
    compositor.clearNodes();
    for (int i = 0; i < 1200; ++i) {
        if (i == 600) compositor.addFullNode();
        QImage image = red;
        compositor.addNodeImage(std::move(image), QPointF(i % 40 * 5, i / 40 * 6), 1.0);
    }
    QImage target(kView, QImage::Format_ARGB32_Premultiplied);
    target.fill(Qt::black);  // what the frame must cover
    QPainter painter(&target);
    int fullCalls = 0;
    compositor.compose(painter, QSizeF(kView), QColor(Qt::white), edges, 1.0, [&](QPainter& p, std::size_t full) {
        ++fullCalls;
        fullOnCallersPainter = &p == &painter;
        if (full == 0) p.fillRect(QRectF(90, 80, 30, 30), Qt::blue);
    });
    painter.end();
    if (fullCalls != 1) return {};
    return target;
}

}  // namespace

class FrameCompositorTest : public QObject {
    Q_OBJECT

private slots:
    void bandsCoverEveryRowOnceAndFarRowsFallInTheEdgeBands() {
        FrameCompositor three(3);
        three.startFrame(QSize(900, 641));
        // Two bands per thread, 641 rows in bands of 107.
        QCOMPARE(three.bands(), 6);
        QCOMPARE(three.rowsOf(0), std::pair(0, 107));
        QCOMPARE(three.rowsOf(5), std::pair(535, 641));
        for (int band = 1; band < three.bands(); ++band)
            QCOMPARE(three.rowsOf(band).first, three.rowsOf(band - 1).second);
        QCOMPARE(three.bandsOf(106.9, 107.0), std::pair(0, 1));
        QCOMPARE(three.bandsOf(-1e12, 1e12), std::pair(0, 5));  // a curve from far off the view
        QCOMPARE(three.bandsOf(5000, 9000), std::pair(5, 5));

        std::vector<std::atomic<int>> runs(6);
        bool firstRan = false;
        three.runBands(
            6, [&](int band) { ++runs[band]; }, [&] { firstRan = true; });
        QVERIFY(firstRan);
        for (const auto& count : runs) QCOMPARE(count.load(), 1);

        // A short view is one band; one thread is always one band.
        three.startFrame(QSize(900, 100));
        QCOMPARE(three.bands(), 1);
        FrameCompositor one(1);
        one.startFrame(QSize(900, 641));
        QCOMPARE(one.bands(), 1);
        QCOMPARE(one.rowsOf(0), std::pair(0, 641));
    }

    void aFrameInBandsKeepsTheDrawingOrderOfOneDrawnStraight() {
        FrameCompositor straight(1), banded(3);
        bool straightOnCaller = false, bandedOnCaller = true;
        const QImage expected = compose(straight, straightOnCaller);
        const QImage frame = compose(banded, bandedOnCaller);
        QVERIFY(!expected.isNull() && !frame.isNull());
        QVERIFY(straightOnCaller);
        QVERIFY(!bandedOnCaller);  // the frame was really put together apart

        const QRgb white = qRgb(255, 255, 255), red = qRgb(255, 0, 0), green = qRgb(0, 255, 0), blue = qRgb(0, 0, 255);
        for (const QImage& image : {expected, frame}) {
            QCOMPARE(image.pixel(199, 199), white);  // the ground
            QCOMPARE(image.pixel(4, 2), green);      // edges over the ground
            QCOMPARE(image.pixel(2, 2), red);        // images over the edges
            QCOMPARE(image.pixel(91, 85), blue);     // image 578, under the full node
            QCOMPARE(image.pixel(94, 85), blue);     // between images
            QCOMPARE(image.pixel(91, 91), red);      // image 618, over it
            QCOMPARE(image.pixel(116, 109), red);    // image 743, crossing the node's lower edge
            QCOMPARE(image.pixel(116, 110), red);
            QCOMPARE(image.pixel(116, 111), red);
            QCOMPARE(image.pixel(114, 111), white);  // below the node, between images
        }
        QVERIFY(frame == expected);
    }
};

VANTREL_REGISTER_TEST_CLASS(FrameCompositorTest);
#include "FrameCompositorTest.moc"
