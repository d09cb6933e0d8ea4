// Geometry of the gallery layouts: hand-worked rectangles and properties that
// must hold over many gallery sizes.
#include "layoutgeometry.h"

#include <QtTest>

using namespace kxlayout;

Q_DECLARE_METATYPE(QVector<QRect>)

namespace {

// Rectangle from its four inclusive edges, as the layouts set them.
QRect edges(int left, int top, int right, int bottom)
{
    return QRect(QPoint(left, top), QPoint(right, bottom));
}

QString show(const QRect& r)
{
    return QStringLiteral("(%1,%2 %3x%4 right %5 bottom %6)")
        .arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height()).arg(r.right()).arg(r.bottom());
}

} // namespace

class TestLayoutGeometry : public QObject
{
    Q_OBJECT

private slots:
    void myMake169_data();
    void myMake169();
    void make169_data();
    void make169();
    void equalCutGrid_data();
    void equalCutGrid();
    void equalCutPage_data();
    void equalCutPage();
    void equalCutLaterPagesUseTheWholeRosterGrid();
    void equalCutOffByOne();
    void speaker4TwoParticipants();
    void speaker4ThreeParticipants();
    void speaker4LaterPageStartsAtLeft();
    void speaker4FirstPageCentred();
    void speaker4Single();
    void speakerBottomStrip();
    void speakerTopStrip();
    void speakerOtherModesAsTop();
    void speakerRightStrip();
    void speakerRightStripHidden();
    void speakerSingle_data();
    void speakerSingle();
    void sixCut_data();
    void sixCut();
    void eightCut_data();
    void eightCut();
    void singleParticipantCorners();
    void properties_data();
    void properties();
};

void TestLayoutGeometry::myMake169_data()
{
    QTest::addColumn<QRect>("in");
    QTest::addColumn<QRect>("out");
    // too wide: width becomes trunc(360 * 16 / 9) = 640, corner kept
    QTest::newRow("wide") << QRect(10, 20, 1000, 360) << QRect(10, 20, 640, 360);
    // too tall: height becomes trunc(640 * 9 / 16) = 360, corner kept
    QTest::newRow("tall") << QRect(5, 7, 640, 720) << QRect(5, 7, 640, 360);
    QTest::newRow("exact") << QRect(3, 4, 1600, 900) << QRect(3, 4, 1600, 900);
    // 1279 / 16 > 719 / 9: width trunc(719 * 16 / 9) = trunc(1278.2) = 1278
    QTest::newRow("six-cut big") << QRect(0, 0, 1279, 719) << QRect(0, 0, 1278, 719);
    // 959 / 16 < 1080 / 9: height trunc(959 * 9 / 16) = trunc(539.4) = 539
    QTest::newRow("speaker4 big") << QRect(0, 0, 959, 1080) << QRect(0, 0, 959, 539);
    // 318 x 180: height trunc(318 * 9 / 16) = trunc(178.9) = 178
    QTest::newRow("speaker4 small") << QRect(0, 0, 318, 180) << QRect(0, 0, 318, 178);
    // 318 x 178: width trunc(178 * 16 / 9) = trunc(316.4) = 316
    QTest::newRow("strip small") << QRect(0, 0, 318, 178) << QRect(0, 0, 316, 178);
    // the fraction is compared in floating point: 1921 is just too wide
    QTest::newRow("one pixel wide") << QRect(0, 0, 1921, 1080) << QRect(0, 0, 1920, 1080);
    // negative width (collapsed strip): -2 / 16 < h / 9, height trunc(-1.125) = -1
    QTest::newRow("negative width") << QRect(0, 0, -2, 178) << QRect(0, 0, -2, -1);
}

void TestLayoutGeometry::myMake169()
{
    QFETCH(QRect, in);
    QFETCH(QRect, out);
    const QRect got = myMake169Rect(in);
    QVERIFY2(got == out, qPrintable(show(got)));
}

void TestLayoutGeometry::make169_data()
{
    QTest::addColumn<QRect>("rc");
    QTest::addColumn<QRect>("gallery");
    QTest::addColumn<int>("g");
    QTest::addColumn<QRect>("out");

    // Integer quotients 1921 / 16 = 120 = 1080 / 9: counted as 16:9, untouched.
    QTest::newRow("equal quotients") << QRect(0, 0, 1921, 1080) << QRect(0, 0, 1921, 1080) << 1
                                     << QRect(0, 0, 1921, 1080);
    // Wide, wider than half the gallery: nw = 1920, left = (2000 - 1920) / 2 = 40,
    // right = 40 + 1920; cx - nw = 1000 - 1920 < 0, no push.
    QTest::newRow("wide centred") << QRect(0, 0, 2000, 1080) << QRect(0, 0, 2000, 1080) << 1
                                  << edges(40, 0, 1960, 1079);
    // Wide and narrow enough for a half: nw = trunc(1000 * 16 / 9) = 1777,
    // left = 1111 < cx = 2000, so left = 2000 - 1 - 1777 = 222, right = 1999.
    QTest::newRow("wide left half") << QRect(0, 0, 4000, 1000) << QRect(0, 0, 4000, 1000) << 1
                                    << edges(222, 0, 1999, 999);
    // Same with g = 3: left = 2000 - 3 - 1777 = 220, right = 1997.
    QTest::newRow("wide left half g3") << QRect(0, 0, 4000, 1000) << QRect(0, 0, 4000, 1000) << 3
                                       << edges(220, 0, 1997, 999);
    // A tile in the right half: nw = trunc(500 * 16 / 9) = 888,
    // left = 2500 + (1500 - 888) / 2 = 2806 >= cx, so left = 2000 + g.
    QTest::newRow("wide right half") << QRect(2500, 0, 1500, 500) << QRect(0, 0, 4000, 1000) << 1
                                     << edges(2001, 0, 2889, 499);
    QTest::newRow("wide right half g3") << QRect(2500, 0, 1500, 500) << QRect(0, 0, 4000, 1000) << 3
                                        << edges(2003, 0, 2891, 499);
    // Exactly half: nw = 1600 = cx, cx - nw = 0 is not > 0, no push;
    // left = (3200 - 1600) / 2 = 800.
    QTest::newRow("wide exactly half") << QRect(0, 0, 3200, 900) << QRect(0, 0, 3200, 900) << 1
                                       << edges(800, 0, 2400, 899);
    // nh <= cy includes equality: 346 x 389 gives nh = trunc(194.6) = 194 = cy,
    // top = (389 - 194) / 2 = 97 < cy, so top = 194 - 1 - 194 = -1.
    QTest::newRow("tall nh equals cy") << QRect(0, 0, 346, 389) << QRect(0, 0, 346, 389) << 1
                                       << edges(0, -1, 345, 193);
    // Tall without push: nh = trunc(1000 * 9 / 16) = 562 > cy = 500,
    // top = (1000 - 562) / 2 = 219, bottom = 781.
    QTest::newRow("tall centred") << QRect(0, 0, 1000, 1000) << QRect(0, 0, 1000, 1000) << 1
                                  << edges(0, 219, 999, 781);
    // Tall, upper half: nh = trunc(1080 * 9 / 16) = 607 <= cy = 960,
    // top = 656 < cy, so top = 960 - g - 607.
    QTest::newRow("tall upper half") << QRect(0, 0, 1080, 1920) << QRect(0, 0, 1080, 1920) << 1
                                     << edges(0, 352, 1079, 959);
    QTest::newRow("tall upper half g5") << QRect(0, 0, 1080, 1920) << QRect(0, 0, 1080, 1920) << 5
                                        << edges(0, 348, 1079, 955);
    // Tall, lower half: nh = trunc(400 * 9 / 16) = 225, top = 1200 + 237 = 1437 >= cy,
    // so top = cy + 1 = 961 whatever g is.
    QTest::newRow("tall lower half") << QRect(0, 1200, 400, 700) << QRect(0, 0, 1080, 1920) << 1
                                     << edges(0, 961, 399, 1186);
    QTest::newRow("tall lower half g5") << QRect(0, 1200, 400, 700) << QRect(0, 0, 1080, 1920) << 5
                                        << edges(0, 961, 399, 1186);
    // The centre comes from the gallery, not from the rectangle: gallery at
    // (100, 0) 4000 wide has cx = 2100; nw = 1777, left = 1111 < 2100,
    // so left = 2100 - 1 - 1777 = 322.
    QTest::newRow("gallery offset") << QRect(0, 0, 4000, 1000) << QRect(100, 0, 4000, 1000) << 1
                                    << edges(322, 0, 2099, 999);
}

void TestLayoutGeometry::make169()
{
    QFETCH(QRect, rc);
    QFETCH(QRect, gallery);
    QFETCH(int, g);
    QFETCH(QRect, out);
    const QRect got = make169Rect(rc, gallery, g);
    QVERIFY2(got == out, qPrintable(show(got) + QStringLiteral(" expected ") + show(out)));
}

void TestLayoutGeometry::equalCutGrid_data()
{
    QTest::addColumn<int>("W");
    QTest::addColumn<int>("H");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("columns");
    QTest::addColumn<int>("rows");
    QTest::addColumn<int>("w");
    QTest::addColumn<int>("h");
    QTest::newRow("1") << 1280 << 720 << 1 << 1 << 1 << 1280 << 720;
    // (1282 - 2) / 2 = 640 x 720 -> 640 x 360
    QTest::newRow("2") << 1282 << 720 << 2 << 2 << 1 << 640 << 360;
    // (1920 - 2) / 2 = 959, (1080 - 2) / 2 = 539 -> width trunc(539 * 16 / 9) = 958
    QTest::newRow("3") << 1920 << 1080 << 3 << 2 << 2 << 958 << 539;
    QTest::newRow("4") << 1920 << 1080 << 4 << 2 << 2 << 958 << 539;
    // (1920 - 4) / 3 = 638, 539 -> height trunc(638 * 9 / 16) = 358
    QTest::newRow("5") << 1920 << 1080 << 5 << 3 << 2 << 638 << 358;
    QTest::newRow("20") << 1920 << 1080 << 20 << 3 << 2 << 638 << 358;
    // narrower than the gaps: (3 - 4) / 3 = 0 (truncation toward zero), cell 0 x 539
    QTest::newRow("W below gaps") << 3 << 1080 << 5 << 3 << 2 << 0 << 0;
}

void TestLayoutGeometry::equalCutGrid()
{
    QFETCH(int, W);
    QFETCH(int, H);
    QFETCH(int, n);
    const EqualCutGrid grid = kxlayout::equalCutGrid(W, H, n);
    QTEST(grid.columns, "columns");
    QTEST(grid.rows, "rows");
    QTEST(grid.w, "w");
    QTEST(grid.h, "h");
}

void TestLayoutGeometry::equalCutPage_data()
{
    QTest::addColumn<int>("W");
    QTest::addColumn<int>("H");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("page");
    QTest::addColumn<QVector<QRect>>("rects");

    // The right/bottom edges are set to left + w / top + h: 1281 x 721.
    QTest::newRow("1 in 1280x720") << 1280 << 720 << 1 << 0
                                   << QVector<QRect>{edges(0, 0, 1280, 720)};
    // 640 x 360 tiles; the pair keeps its raw x (0 and 640 + 2) and only the
    // vertical edges move: y = (720 - 360) / 2 = 180, bottom 540.
    QTest::newRow("2 in 1282x720") << 1282 << 720 << 2 << 0
                                   << QVector<QRect>{edges(0, 180, 639, 540), edges(642, 180, 1281, 540)};
    // w 958, h 539: L = (1920 - 1916 - 2) / 2 = 1, T = (1080 - 1078 - 2) / 2 = 0;
    // the third is centred: L = (1920 - 958) / 2 = 481, T = 0 + 541.
    QTest::newRow("3 in 1920x1080") << 1920 << 1080 << 3 << 0
                                    << QVector<QRect>{edges(1, 0, 959, 539), edges(961, 0, 1919, 539),
                                                      edges(481, 541, 1439, 1080)};
    QTest::newRow("4 in 1920x1080") << 1920 << 1080 << 4 << 0
                                    << QVector<QRect>{edges(1, 0, 959, 539), edges(961, 0, 1919, 539),
                                                      edges(1, 541, 959, 1080), edges(961, 541, 1919, 1080)};
    // w 638, h 358: top row L = (1920 - 1914 - 4) / 2 + 640 i = 1 + 640 i,
    // T = (1080 - 716 - 2) / 2 = 181; bottom row of two centred:
    // L = (1920 - 1276 - 2) / 2 + 640 (i mod 3) = 321 + 640 (i mod 3), T = 181 + 360.
    QTest::newRow("5 in 1920x1080") << 1920 << 1080 << 5 << 0
                                    << QVector<QRect>{edges(1, 181, 639, 539), edges(641, 181, 1279, 539),
                                                      edges(1281, 181, 1919, 539), edges(321, 541, 959, 899),
                                                      edges(961, 541, 1599, 899)};
    // Seven, page 1: only the seventh, in the top-left cell of the 3 x 2 grid.
    QTest::newRow("7 page 1") << 1920 << 1080 << 7 << 1 << QVector<QRect>{edges(1, 181, 639, 539)};
    QTest::newRow("8 page 1") << 1920 << 1080 << 8 << 1
                              << QVector<QRect>{edges(1, 181, 639, 539), edges(641, 181, 1279, 539)};
    QTest::newRow("12 page 2") << 1920 << 1080 << 12 << 2 << QVector<QRect>();
    QTest::newRow("empty") << 1920 << 1080 << 0 << 0 << QVector<QRect>();
}

void TestLayoutGeometry::equalCutPage()
{
    QFETCH(int, W);
    QFETCH(int, H);
    QFETCH(int, n);
    QFETCH(int, page);
    QFETCH(QVector<QRect>, rects);
    const QVector<QRect> got = equalCutRects(W, H, n, page);
    QCOMPARE(got.size(), rects.size());
    for (int i = 0; i < got.size(); ++i)
        QVERIFY2(got[i] == rects[i], qPrintable(QStringLiteral("slot %1: ").arg(i) + show(got[i])));
}

void TestLayoutGeometry::equalCutLaterPagesUseTheWholeRosterGrid()
{
    // With 8 in the roster, page 1 holds 2 tiles laid out as cells 0 and 1 of
    // the 3 x 2 grid, not as a two-tile layout.
    const QVector<QRect> page0 = equalCutRects(1600, 900, 8, 0);
    const QVector<QRect> page1 = equalCutRects(1600, 900, 8, 1);
    QCOMPARE(page0.size(), 6);
    QCOMPARE(page1.size(), 2);
    QCOMPARE(page1[0], page0[0]);
    QCOMPARE(page1[1], page0[1]);
    QVERIFY(page1[0] != equalCutRects(1600, 900, 2, 0).at(0));
}

void TestLayoutGeometry::equalCutOffByOne()
{
    // Tile sizes per count: N = 1 and N >= 3 move both edges (w + 1) x (h + 1),
    // N = 2 moves only the vertical ones: w x (h + 1).
    for (int n = 1; n <= 9; ++n) {
        const EqualCutGrid grid = kxlayout::equalCutGrid(1366, 768, n);
        const QVector<QRect> rects = equalCutRects(1366, 768, n, 0);
        QCOMPARE(rects.size(), qMin(n, 6));
        for (const QRect& r : rects) {
            QCOMPARE(r.width(), n == 2 ? grid.w : grid.w + 1);
            QCOMPARE(r.height(), grid.h + 1);
        }
    }
}

void TestLayoutGeometry::speaker4TwoParticipants()
{
    // 1282 x 720: big (640, 720) -> 640 x 360, top = (720 - 360) / 2 = 180,
    // left = (1282 - 1280 - 2) / 2 = 0, right tile from 639 + 2 = 641.
    const Speaker4Geometry geo = speaker4Geometry(1282, 720, 2, 0, 0);
    QCOMPARE(geo.bigLeft, QRect(0, 180, 640, 360));
    QCOMPARE(geo.bigRight, QRect(641, 180, 640, 360));
    QCOMPARE(geo.strip.width(), 0);
    QCOMPARE(geo.strip.height(), 0);
    QVERIFY(geo.small.isEmpty());
    QVERIFY(geo.single.isNull());
}

void TestLayoutGeometry::speaker4ThreeParticipants()
{
    // 1920 x 1080: small (318, 180) -> 318 x 178, v = 89; big (959, 1080) ->
    // 959 x 539; top = (1080 - 539 - 89 - 178) / 2 = 137;
    // stripTop = 137 + 538 + 89 = 764; x0 = (1920 - 320) / 2 = 800.
    const Speaker4Geometry geo = speaker4Geometry(1920, 1080, 3, 1, 0);
    QCOMPARE(geo.bigLeft, QRect(0, 137, 959, 539));
    QCOMPARE(geo.bigRight, QRect(960, 137, 959, 539));
    QCOMPARE(geo.strip, QRect(0, 764, 318, 178));
    QCOMPARE(geo.small.size(), 1);
    QCOMPARE(geo.small[0], QRect(800, 764, 318, 178));
}

void TestLayoutGeometry::speaker4LaterPageStartsAtLeft()
{
    // Ten participants: eight in the strip list, page 1 shows list[6] and
    // list[7] from x = 0 (centring would put them at (1920 - 640) / 2 = 640).
    const Speaker4Geometry geo = speaker4Geometry(1920, 1080, 10, 8, 1);
    QCOMPARE(geo.small.size(), 2);
    QCOMPARE(geo.small[0], QRect(0, 764, 318, 178));
    QCOMPARE(geo.small[1], QRect(320, 764, 318, 178));
    QVERIFY(speaker4Geometry(1920, 1080, 10, 8, 2).small.isEmpty());
}

void TestLayoutGeometry::speaker4FirstPageCentred()
{
    // Five participants, three small: x0 = (1920 - 3 * 320) / 2 = 480.
    const Speaker4Geometry geo = speaker4Geometry(1920, 1080, 5, 3, 0);
    QCOMPARE(geo.small, (QVector<QRect>{QRect(480, 764, 318, 178), QRect(800, 764, 318, 178),
                                         QRect(1120, 764, 318, 178)}));
    // A full first page: six slots, no more.
    QCOMPARE(speaker4Geometry(1920, 1080, 12, 10, 0).small.size(), 6);
}

void TestLayoutGeometry::speaker4Single()
{
    // 1000 x 1000: fitted 1000 x 562, centred: top (1000 - 562) / 2 = 219.
    const Speaker4Geometry geo = speaker4Geometry(1000, 1000, 1, 0, 0);
    QCOMPARE(geo.single, edges(0, 219, 1000, 781));
    QVERIFY(geo.small.isEmpty());
}

void TestLayoutGeometry::speakerBottomStrip()
{
    // Mode 6, 1920 x 1080, four: small (318, 178) -> 316 x 178; big (1920, 898)
    // -> 1596 x 898 at left 162, top 1; small at y = 901 from
    // x = (1920 - (3 * 316 + 2 * 2)) / 2 = 484, every 318.
    const SpeakerGeometry geo = speakerGeometry(6, 1920, 1080, 4, false);
    QCOMPARE(geo.smallSize, QSize(316, 178));
    QCOMPARE(geo.big, edges(162, 1, 162 + 1596, 1 + 898));
    QCOMPARE(speakerSmallRect(6, 1920, 1080, 4, geo, 0), QRect(484, 901, 316, 178));
    QCOMPARE(speakerSmallRect(6, 1920, 1080, 4, geo, 1), QRect(802, 901, 316, 178));
    QCOMPARE(speakerSmallRect(6, 1920, 1080, 4, geo, 2), QRect(1120, 901, 316, 178));
}

void TestLayoutGeometry::speakerTopStrip()
{
    // Mode 7, same sizes: top = (1080 - 898 - 178) / 2 + 178 + 1 = 181; strip at y = 1.
    const SpeakerGeometry geo = speakerGeometry(7, 1920, 1080, 4, false);
    QCOMPARE(geo.big, edges(162, 181, 1758, 1079));
    QCOMPARE(speakerSmallRect(7, 1920, 1080, 4, geo, 0), QRect(484, 1, 316, 178));
    // The strip count is min(n - 1, 6) whatever the page: with 20 participants
    // slot 0 is at (1920 - (6 * 316 + 10)) / 2 = 7.
    const SpeakerGeometry many = speakerGeometry(7, 1920, 1080, 20, false);
    QCOMPARE(speakerSmallRect(7, 1920, 1080, 20, many, 0), QRect(7, 1, 316, 178));
    QCOMPARE(speakerSmallRect(7, 1920, 1080, 20, many, 5), QRect(7 + 5 * 318, 1, 316, 178));
}

void TestLayoutGeometry::speakerOtherModesAsTop()
{
    const SpeakerGeometry top = speakerGeometry(7, 1600, 1000, 5, false);
    for (int mode : {0, 1, 8, 42}) {
        const SpeakerGeometry geo = speakerGeometry(mode, 1600, 1000, 5, false);
        QCOMPARE(geo.big, top.big);
        QCOMPARE(geo.smallSize, top.smallSize);
        QCOMPARE(speakerSmallRect(mode, 1600, 1000, 5, geo, 2), speakerSmallRect(7, 1600, 1000, 5, top, 2));
    }
}

void TestLayoutGeometry::speakerRightStrip()
{
    // Mode 5, 1920 x 1080, four: c = 320, small (318, 178) -> 316 x 178;
    // big (1920 - 316, 1080) = (1604, 1080) -> 1604 x 902;
    // left = ((1920 - 1604) - 2 - 316) / 2 = -1, top = (1080 - 902) / 2 = 89;
    // strip x = right edge (-1 + 1604) + 2 = 1605;
    // small y = (1080 - (3 * 178 + 2 * 2)) / 2 + 180 placed = 271 + 180 placed.
    const SpeakerGeometry geo = speakerGeometry(5, 1920, 1080, 4, false);
    QCOMPARE(geo.smallSize, QSize(316, 178));
    QCOMPARE(geo.big, edges(-1, 89, 1603, 991));
    QCOMPARE(geo.stripX, 1605);
    QCOMPARE(speakerSmallRect(5, 1920, 1080, 4, geo, 0), QRect(1605, 271, 316, 178));
    QCOMPARE(speakerSmallRect(5, 1920, 1080, 4, geo, 2), QRect(1605, 631, 316, 178));
}

void TestLayoutGeometry::speakerRightStripHidden()
{
    // Hidden strip: c = 0, small base (-2, 178) -> -2 x -1; big base (1922, 1080)
    // -> 1920 x 1080, left = (0 - 2 + 2) / 2 = 0: the big tile fills the height.
    const SpeakerGeometry geo = speakerGeometry(5, 1920, 1080, 4, true);
    QCOMPARE(geo.smallSize, QSize(-2, -1));
    QCOMPARE(geo.big, edges(0, 0, 1920, 1080));
    for (int placed = 0; placed < 3; ++placed)
        QVERIFY(speakerSmallRect(5, 1920, 1080, 4, geo, placed).isEmpty());
}

void TestLayoutGeometry::speakerSingle_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<bool>("hidden");
    for (int mode : {5, 6, 7}) {
        QTest::newRow(qPrintable(QStringLiteral("mode %1").arg(mode))) << mode << false;
        QTest::newRow(qPrintable(QStringLiteral("mode %1 hidden").arg(mode))) << mode << true;
    }
}

void TestLayoutGeometry::speakerSingle()
{
    QFETCH(int, mode);
    QFETCH(bool, hidden);
    // One participant: fitted gallery centred in the whole gallery.
    // 1920 x 1080 -> (0, 0) to (1920, 1080); 1000 x 1000 -> 1000 x 562 at top 219.
    QCOMPARE(speakerGeometry(mode, 1920, 1080, 1, hidden).single, edges(0, 0, 1920, 1080));
    QCOMPARE(speakerGeometry(mode, 1000, 1000, 1, hidden).single, edges(0, 219, 1000, 781));
}

void TestLayoutGeometry::sixCut_data()
{
    QTest::addColumn<int>("W");
    QTest::addColumn<int>("H");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("slot");
    QTest::addColumn<QRect>("rect");
    // 1920 x 1080, six: big (1279, 719) -> 1278 x 719; hw = 1279 / 2 = 639,
    // hh = 720 / 2 = 360 (the big tile's own inclusive width and height).
    QTest::newRow("big") << 1920 << 1080 << 6 << 0 << edges(0, 0, 1278, 719);
    QTest::newRow("right top") << 1920 << 1080 << 6 << 1 << edges(1280, 0, 1919, 359);
    // top 361, bottom 361 + 359 = 720 held to the big tile's bottom 719
    QTest::newRow("right bottom") << 1920 << 1080 << 6 << 2 << edges(1280, 361, 1919, 719);
    QTest::newRow("bottom 3") << 1920 << 1080 << 6 << 3 << edges(0, 721, 638, 1081);
    QTest::newRow("bottom 4") << 1920 << 1080 << 6 << 4 << edges(640, 721, 1278, 1081);
    QTest::newRow("bottom 5") << 1920 << 1080 << 6 << 5 << edges(1280, 721, 1918, 1081);
    // The count does not change the rectangles (except for a lone participant).
    QTest::newRow("big of two") << 1920 << 1080 << 2 << 0 << edges(0, 0, 1278, 719);
    // A 1280 x 1000 gallery: frame 1280 x 720 at offY 140; big (852, 479)
    // -> width trunc(479 * 16 / 9) = 851: (0, 140) to (851, 619);
    // hw = 852 / 2 = 426, hh = 480 / 2 = 240.
    QTest::newRow("offset big") << 1280 << 1000 << 6 << 0 << edges(0, 140, 851, 619);
    QTest::newRow("offset right top") << 1280 << 1000 << 6 << 1 << edges(853, 140, 1279, 379);
    QTest::newRow("offset right bottom") << 1280 << 1000 << 6 << 2 << edges(853, 381, 1279, 619);
    QTest::newRow("offset bottom 4") << 1280 << 1000 << 6 << 4 << edges(427, 621, 852, 861);
    // A lone participant sits at the top-left corner, not centred in the gallery.
    QTest::newRow("single") << 1280 << 1000 << 1 << 0 << edges(0, 0, 1280, 720);
}

void TestLayoutGeometry::sixCut()
{
    QFETCH(int, W);
    QFETCH(int, H);
    QFETCH(int, n);
    QFETCH(int, slot);
    QFETCH(QRect, rect);
    const QRect got = sixCutRect(W, H, n, slot);
    QVERIFY2(got == rect, qPrintable(show(got) + QStringLiteral(" expected ") + show(rect)));
}

void TestLayoutGeometry::eightCut_data()
{
    QTest::addColumn<int>("W");
    QTest::addColumn<int>("H");
    QTest::addColumn<int>("n");
    QTest::addColumn<int>("slot");
    QTest::addColumn<QRect>("rect");
    // 1920 x 1080: big (1439, 809) -> width trunc(809 * 16 / 9) = 1438;
    // cw = 1438 / 3 = 479, ch = 809 / 3 = 269.
    QTest::newRow("big") << 1920 << 1080 << 5 << 0 << edges(0, 0, 1438, 809);
    QTest::newRow("right 1") << 1920 << 1080 << 5 << 1 << edges(1440, 0, 1918, 268);
    QTest::newRow("right 2") << 1920 << 1080 << 5 << 2 << edges(1440, 270, 1918, 538);
    // bottom 540 + 268 = 808 set to the big tile's bottom 809
    QTest::newRow("right 3") << 1920 << 1080 << 5 << 3 << edges(1440, 540, 1918, 809);
    QTest::newRow("bottom 4") << 1920 << 1080 << 5 << 4 << edges(0, 811, 478, 1080);
    QTest::newRow("bottom 5") << 1920 << 1080 << 8 << 5 << edges(480, 811, 958, 1080);
    QTest::newRow("bottom 6") << 1920 << 1080 << 8 << 6 << edges(960, 811, 1438, 1080);
    // slot 7 stands under the right column
    QTest::newRow("bottom 7") << 1920 << 1080 << 8 << 7 << edges(1440, 811, 1918, 1080);
    // 1000 x 1000: frame 1000 x 562, offY 219; big (749, 420) -> width
    // trunc(420 * 16 / 9) = 746; cw = 248, ch = 140; big (0, 219) to (746, 639).
    QTest::newRow("tall big") << 1000 << 1000 << 8 << 0 << edges(0, 219, 746, 639);
    // slot 3: top 219 + 2 * 141 = 501, bottom held to 639
    QTest::newRow("tall right 3") << 1000 << 1000 << 8 << 3 << edges(748, 501, 995, 639);
    // slot 6: left 2 * 249 = 498, right set to the big tile's right 746
    QTest::newRow("tall bottom 6") << 1000 << 1000 << 8 << 6 << edges(498, 641, 746, 781);
    QTest::newRow("tall bottom 7") << 1000 << 1000 << 8 << 7 << edges(748, 641, 995, 781);
    // A lone participant is centred in the gallery.
    QTest::newRow("single") << 1920 << 1080 << 1 << 0 << edges(0, 0, 1920, 1080);
    QTest::newRow("single tall") << 1280 << 1000 << 1 << 0 << edges(0, 140, 1280, 860);
}

void TestLayoutGeometry::eightCut()
{
    QFETCH(int, W);
    QFETCH(int, H);
    QFETCH(int, n);
    QFETCH(int, slot);
    QFETCH(QRect, rect);
    const QRect got = eightCutRect(W, H, n, slot);
    QVERIFY2(got == rect, qPrintable(show(got) + QStringLiteral(" expected ") + show(rect)));
}

void TestLayoutGeometry::singleParticipantCorners()
{
    // Same gallery, one participant: six-cut keeps the top-left corner,
    // eight-cut centres.
    const QRect six = sixCutRect(1280, 1000, 1, 0);
    const QRect eight = eightCutRect(1280, 1000, 1, 0);
    QCOMPARE(six.topLeft(), QPoint(0, 0));
    QCOMPARE(eight.topLeft(), QPoint(0, 140));
    QCOMPARE(six.size(), eight.size());
}

// ---------------------------------------------------------------------------
// Properties over many gallery sizes: every visible tile lies inside the
// gallery grown by one pixel right and bottom (the inclusive-edge tiles may
// reach x = W and y = H), and no two visible tiles share a pixel.
//
// Known breaches of the layouts' own arithmetic are not "fixed"; they are
// named below, and the tile is held to the one bound that arithmetic gives.
//  - six-cut bottom row: bottom = big bottom + 2g + big height / 2 reaches
//    H + 1 when the 16:9 frame fills the gallery's height (1920 x 1080 gives
//    bottom 1081).
//  - speaker right strip (mode 5): the big tile is centred with
//    ((W - bw) - 2g - sw) / 2, which is -1 when big + strip fill the width;
//    with the strip hidden the big base is W + 2g wide and the tile may reach
//    x = W + 1. One pixel either side.
//  - speaker4: the big row is fitted to half the width without regard to the
//    strip; when big + gap + strip are taller than the gallery plus one, the
//    block's top goes negative and the strip runs off the bottom (wide
//    galleries). Only the overlap check applies there.
//  - speaker4 first page: a full strip may be two pixels wider than the
//    gallery, x0 = (W - 6 (ws + 2g)) / 2 = -1.
//  - full screen: in the tall branch with nh == cy the tile moves to
//    top = cy - g - nh = -1.
// ---------------------------------------------------------------------------

namespace {

struct Tile {
    QRect rect;
    QRect bound; // where it must lie
    bool known = false;
    bool skipBound = false;
};

struct Stats {
    int cases = 0;
    int tiles = 0;
    int known = 0;
    int skipped = 0;
    QStringList knownExamples;
};

QVector<QSize> gallerySizes()
{
    QVector<QSize> sizes;
    for (int W = 320; W <= 3840; W += 97)
        for (int H = 180; H <= 2160; H += 53)
            sizes.append(QSize(W, H));
    // common screens and the extremes of the range
    const QVector<QSize> extra{{1280, 720}, {1282, 720}, {1920, 1080}, {3840, 2160}, {1366, 768},
                               {1440, 1080}, {1000, 1000}, {320, 180}, {321, 181}, {3840, 180},
                               {320, 2160}, {2560, 1080}, {1080, 1920}, {671, 378}, {346, 389},
                               {502, 180}, {1600, 900}, {1601, 901}, {3839, 2159}};
    sizes += extra;
    return sizes;
}

QRect grownGallery(int W, int H)
{
    return QRect(0, 0, W + 1, H + 1);
}

QVector<Tile> plainTiles(int W, int H, const QVector<QRect>& rects)
{
    QVector<Tile> tiles;
    for (const QRect& r : rects)
        tiles.append(Tile{r, grownGallery(W, H), false, false});
    return tiles;
}

QVector<Tile> layoutTiles(const QString& family, int W, int H, int n)
{
    QVector<Tile> tiles;
    if (family == QLatin1String("equalcut")) {
        // every page is checked on its own
        return tiles;
    }
    if (family == QLatin1String("sixcut")) {
        for (int slot = 0; slot < 6 && slot < n; ++slot) {
            Tile t{sixCutRect(W, H, n, slot), grownGallery(W, H), false, false};
            if (slot >= 3 && t.rect.bottom() == H + 1) {
                t.known = true;
                t.bound = QRect(0, 0, W + 1, H + 2);
            }
            tiles.append(t);
        }
        return tiles;
    }
    if (family == QLatin1String("eightcut")) {
        QVector<QRect> rects;
        for (int slot = 0; slot < 8 && slot < n; ++slot)
            rects.append(eightCutRect(W, H, n, slot));
        return plainTiles(W, H, rects);
    }
    if (family == QLatin1String("fullscreen")) {
        const QRect gallery(0, 0, W, H);
        Tile t{make169Rect(gallery, gallery), grownGallery(W, H), false, false};
        const int nh = static_cast<int>(W * 9.0 / 16.0);
        if (W / 16 < H / 9 && nh == H / 2) {
            t.known = true;
            t.bound = QRect(0, -1, W + 1, H + 2);
        }
        tiles.append(t);
        return tiles;
    }
    // speaker modes: "speaker5", "speaker5hidden", "speaker6", ...
    const bool hidden = family.endsWith(QLatin1String("hidden"));
    const int mode = family.mid(7, 1).toInt();
    const SpeakerGeometry geo = speakerGeometry(mode, W, H, n, hidden);
    if (n <= 1)
        return plainTiles(W, H, {geo.single});
    Tile big{geo.big, grownGallery(W, H), false, false};
    // bw is the fitted big width (the tile is bw + 1 wide), sw the strip width.
    const int bw = geo.big.width() - 1;
    const int sw = geo.smallSize.width();
    if (mode == 5 && (hidden ? bw > W : bw + sw >= W)) {
        big.known = true;
        big.bound = QRect(-1, 0, W + 3, H + 1);
    }
    tiles.append(big);
    const int cnt = qMin(n - 1, 6);
    for (int placed = 0; placed < cnt; ++placed)
        tiles.append(Tile{speakerSmallRect(mode, W, H, n, geo, placed), grownGallery(W, H), false, false});
    return tiles;
}

QVector<Tile> speaker4Tiles(int W, int H, int n, int page)
{
    const int smallCount = qMax(n - 2, 0);
    const Speaker4Geometry geo = speaker4Geometry(W, H, n, smallCount, page);
    if (n <= 1)
        return plainTiles(W, H, {geo.single});
    QVector<Tile> tiles = plainTiles(W, H, QVector<QRect>{geo.bigLeft, geo.bigRight} + geo.small);
    const int hs = geo.strip.height();
    const int stack = geo.bigLeft.height() + hs / 2 + hs;
    if (stack > H + 1) {
        for (Tile& t : tiles) {
            t.known = true;
            t.skipBound = true;
        }
        return tiles;
    }
    const int ws = geo.strip.width();
    const int cnt = qMin(smallCount - page * 6, 6);
    if (page == 0 && cnt * (ws + 2) >= W + 2) {
        for (int i = 2; i < tiles.size(); ++i) {
            tiles[i].known = true;
            tiles[i].bound = QRect(-1, 0, W + 2, H + 1);
        }
    }
    return tiles;
}

void checkTiles(const QVector<Tile>& tiles, int W, int H, int n, const QString& what, Stats& st)
{
    ++st.cases;
    for (int i = 0; i < tiles.size(); ++i) {
        const Tile& a = tiles[i];
        if (a.rect.isEmpty())
            continue; // no visible area (collapsed strip)
        ++st.tiles;
        if (a.known) {
            ++st.known;
            if (st.knownExamples.size() < 3)
                st.knownExamples << QStringLiteral("%1x%2 n=%3 %4 tile %5 %6")
                                        .arg(W).arg(H).arg(n).arg(what).arg(i).arg(show(a.rect));
        }
        if (a.skipBound) {
            ++st.skipped;
        } else if (!a.bound.contains(a.rect)) {
            QFAIL(qPrintable(QStringLiteral("%1x%2 n=%3 %4: tile %5 %6 outside %7")
                                 .arg(W).arg(H).arg(n).arg(what).arg(i).arg(show(a.rect)).arg(show(a.bound))));
        }
        for (int j = i + 1; j < tiles.size(); ++j) {
            const Tile& b = tiles[j];
            if (b.rect.isEmpty())
                continue;
            if (a.rect.intersects(b.rect))
                QFAIL(qPrintable(QStringLiteral("%1x%2 n=%3 %4: tiles %5 %6 and %7 %8 overlap")
                                     .arg(W).arg(H).arg(n).arg(what).arg(i).arg(show(a.rect))
                                     .arg(j).arg(show(b.rect))));
        }
    }
}

} // namespace

void TestLayoutGeometry::properties_data()
{
    QTest::addColumn<QString>("family");
    QTest::addColumn<bool>("expectKnown");
    QTest::newRow("equal cut, all pages") << QStringLiteral("equalcut") << false;
    QTest::newRow("six-cut") << QStringLiteral("sixcut") << true;
    QTest::newRow("eight-cut") << QStringLiteral("eightcut") << false;
    QTest::newRow("speaker 5") << QStringLiteral("speaker5") << true;
    QTest::newRow("speaker 5 hidden") << QStringLiteral("speaker5hidden") << true;
    QTest::newRow("speaker 6") << QStringLiteral("speaker6") << false;
    QTest::newRow("speaker 6 hidden") << QStringLiteral("speaker6hidden") << false;
    QTest::newRow("speaker 7") << QStringLiteral("speaker7") << false;
    QTest::newRow("speaker 7 hidden") << QStringLiteral("speaker7hidden") << false;
    QTest::newRow("speaker4, all pages") << QStringLiteral("speaker4") << true;
    QTest::newRow("full screen") << QStringLiteral("fullscreen") << true;
}

void TestLayoutGeometry::properties()
{
    QFETCH(QString, family);
    QFETCH(bool, expectKnown);
    Stats st;
    const QVector<QSize> sizes = gallerySizes();
    for (const QSize& s : sizes) {
        const int W = s.width();
        const int H = s.height();
        const int maxN = family == QLatin1String("fullscreen") ? 1 : 20;
        for (int n = 1; n <= maxN; ++n) {
            if (family == QLatin1String("equalcut")) {
                for (int page = 0; page * 6 < n; ++page) {
                    const QVector<QRect> rects = equalCutRects(W, H, n, page);
                    QCOMPARE(rects.size(), qMin(6, n - page * 6));
                    checkTiles(plainTiles(W, H, rects), W, H, n, QStringLiteral("page %1").arg(page), st);
                }
            } else if (family == QLatin1String("speaker4")) {
                const int smallCount = qMax(n - 2, 0);
                for (int page = 0; page == 0 || page * 6 < smallCount; ++page)
                    checkTiles(speaker4Tiles(W, H, n, page), W, H, n, QStringLiteral("page %1").arg(page), st);
            } else {
                checkTiles(layoutTiles(family, W, H, n), W, H, n, family, st);
            }
            if (QTest::currentTestFailed())
                return;
        }
    }
    QVERIFY(st.cases >= sizes.size());
    QVERIFY(st.tiles > 0);
    // The known breaches occur where expected and nowhere else.
    QCOMPARE(st.known > 0, expectKnown);
    if (st.known)
        qInfo("%s: %d cases, %d tiles, %d held to a known wider bound, %d unbounded; e.g. %s",
              qPrintable(family), st.cases, st.tiles, st.known - st.skipped, st.skipped,
              qPrintable(st.knownExamples.join(QStringLiteral("; "))));
}

QTEST_APPLESS_MAIN(TestLayoutGeometry)

#include "tst_layoutgeometry.moc"
