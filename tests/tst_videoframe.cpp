// Frame arithmetic of the video tile: letterbox fit, buffer sizing, frame
// validation and the aligned I420 copy.
#include "videoframe.h"

#include <QtTest>

#include <cstdint>
#include <limits>
#include <vector>

using namespace kxvideo;

namespace {

// A picture whose every byte tells where it came from: plane, row and column.
std::vector<uint8_t> makePattern(int width, int height)
{
    const int cw = (width + 1) / 2;
    const int ch = (height + 1) / 2;
    std::vector<uint8_t> buf(size_t(width) * height + 2 * size_t(cw) * ch);
    size_t i = 0;
    for (int r = 0; r < height; ++r)
        for (int c = 0; c < width; ++c)
            buf[i++] = uint8_t((r * 7 + c * 3) & 0xFF);
    for (int plane = 1; plane <= 2; ++plane)
        for (int r = 0; r < ch; ++r)
            for (int c = 0; c < cw; ++c)
                buf[i++] = uint8_t((plane * 101 + r * 11 + c * 5) & 0xFF);
    return buf;
}

} // namespace

class TestVideoFrame : public QObject
{
    Q_OBJECT
private slots:
    void fitVideo_data();
    void fitVideo();
    void fitVideoStaysInsideTile_data();
    void fitVideoStaysInsideTile();
    void bufferSize_data();
    void bufferSize();
    void rejectReason_data();
    void rejectReason();
    void copyAligned_data();
    void copyAligned();
    void copyOddHeightPlacesVAfterFullChromaRows();
};

void TestVideoFrame::fitVideo_data()
{
    QTest::addColumn<int>("W");
    QTest::addColumn<int>("H");
    QTest::addColumn<int>("vw");
    QTest::addColumn<int>("vh");
    QTest::addColumn<QRect>("expected");

    // trunc(400 * 721 / 1280) = 225, centred with (400 - 225) / 2 = 87.
    QTest::newRow("720p in square") << 400 << 400 << 1280 << 720 << QRect(0, 87, 400, 225);
    // The "+ 1" shows: 1280 * 721 / 1280 = 721, not 720.
    QTest::newRow("bias on derived side") << 1280 << 1000 << 1280 << 720 << QRect(0, 139, 1280, 721);
    QTest::newRow("4:3 in square") << 400 << 400 << 640 << 480 << QRect(0, 50, 400, 300);
    QTest::newRow("square video") << 300 << 200 << 480 << 480 << QRect(50, 0, 200, 200);
    // Portrait: height first; trunc(400 * 721 / 1280) = 225.
    QTest::newRow("portrait in square") << 400 << 400 << 720 << 1280 << QRect(87, 0, 225, 400);
    QTest::newRow("portrait too wide") << 100 << 400 << 720 << 1280 << QRect(0, 111, 100, 177);
    // Height-limited landscape: trunc(50 * 1601 / 900) = 88.
    QTest::newRow("height limited") << 100 << 50 << 1600 << 900 << QRect(6, 0, 88, 50);
    // 224 of 225 rows: within 2 pixels, so the height snaps to the tile.
    QTest::newRow("snap height") << 400 << 225 << 1280 << 718 << QRect(0, 0, 400, 225);
    // 2 pixels short is not snapped: trunc(400 * 719 / 1280) = 224 in 226.
    QTest::newRow("no snap at 2") << 400 << 226 << 1280 << 718 << QRect(0, 1, 400, 224);
    // Height-limited: trunc(56 * 17 / 9) = 105 is wider than the tile and snaps back.
    QTest::newRow("bias past edge snaps") << 100 << 56 << 16 << 9 << QRect(0, 0, 100, 56);
    QTest::newRow("exact fit") << 1920 << 1080 << 1920 << 1080 << QRect(0, 0, 1920, 1080);
    QTest::newRow("no video width") << 400 << 400 << 0 << 720 << QRect();
    QTest::newRow("no video height") << 400 << 400 << 1280 << 0 << QRect();
}

void TestVideoFrame::fitVideo()
{
    QFETCH(int, W);
    QFETCH(int, H);
    QFETCH(int, vw);
    QFETCH(int, vh);
    QFETCH(QRect, expected);
    QCOMPARE(kxvideo::fitVideo(W, H, vw, vh), expected);
}

void TestVideoFrame::fitVideoStaysInsideTile_data()
{
    QTest::addColumn<int>("W");
    QTest::addColumn<int>("H");
    QTest::newRow("400x400") << 400 << 400;
    QTest::newRow("100x56") << 100 << 56;
    QTest::newRow("321x181") << 321 << 181;
    QTest::newRow("1x1") << 1 << 1;
    QTest::newRow("640x1080") << 640 << 1080;
}

void TestVideoFrame::fitVideoStaysInsideTile()
{
    QFETCH(int, W);
    QFETCH(int, H);
    const QRect tile(0, 0, W, H);
    const int sizes[][2] = {{16, 9}, {9, 16}, {1280, 720}, {641, 361}, {1, 1}, {4, 3}, {1920, 1081}, {3, 1000}};
    for (const auto& s : sizes) {
        const QRect r = kxvideo::fitVideo(W, H, s[0], s[1]);
        QVERIFY2(tile.contains(r), qPrintable(QStringLiteral("%1x%2 in %3x%4 gives %5,%6 %7x%8")
                                                  .arg(s[0]).arg(s[1]).arg(W).arg(H)
                                                  .arg(r.x()).arg(r.y()).arg(r.width()).arg(r.height())));
        // Letterbox, never crop: one side always fills the tile.
        QVERIFY(r.width() == W || r.height() == H);
    }
}

void TestVideoFrame::bufferSize_data()
{
    QTest::addColumn<qint64>("w");
    QTest::addColumn<qint64>("h");
    QTest::addColumn<qint64>("expected");

    QTest::newRow("720p") << qint64(1280) << qint64(720) << qint64(1863680);
    QTest::newRow("360p") << qint64(640) << qint64(360) << qint64(481280);
    QTest::newRow("1080p") << qint64(1920) << qint64(1080) << qint64(4167680);
    QTest::newRow("1x1") << qint64(1) << qint64(1) << qint64(20482);
    QTest::newRow("zero width") << qint64(0) << qint64(720) << qint64(-1);
    QTest::newRow("zero height") << qint64(1280) << qint64(0) << qint64(-1);
    QTest::newRow("negative width") << qint64(-1280) << qint64(720) << qint64(-1);
    QTest::newRow("negative height") << qint64(1280) << qint64(-720) << qint64(-1);
    // 2 * 32767^2 + 20480 = 2147373058 still fits; 2 * 32768^2 does not.
    QTest::newRow("largest square") << qint64(32767) << qint64(32767) << qint64(2147373058);
    QTest::newRow("square overflow") << qint64(32768) << qint64(32768) << qint64(-1);
    // 2 * w * h fits, the extra 20480 bytes do not.
    QTest::newRow("reserve overflows") << qint64(1) << qint64(1073735000) << qint64(-1);
    QTest::newRow("reserve just fits") << qint64(1) << qint64(1073731583) << qint64(2147483646);
    QTest::newRow("huge sides") << qint64(1) << (qint64(1) << 40) << qint64(-1);
    QTest::newRow("int32 max sides") << qint64(std::numeric_limits<qint32>::max())
                                     << qint64(std::numeric_limits<qint32>::max()) << qint64(-1);
}

void TestVideoFrame::bufferSize()
{
    QFETCH(qint64, w);
    QFETCH(qint64, h);
    QFETCH(qint64, expected);
    QCOMPARE(bufferSizeFor(w, h), expected);
}

void TestVideoFrame::rejectReason_data()
{
    QTest::addColumn<bool>("hasData");
    QTest::addColumn<qint64>("w");
    QTest::addColumn<qint64>("h");
    QTest::addColumn<qint64>("length");
    QTest::addColumn<QString>("reason");

    QTest::newRow("good") << true << qint64(1280) << qint64(720) << qint64(1382400) << QString();
    QTest::newRow("tiny") << true << qint64(1) << qint64(1) << qint64(3) << QString();
    QTest::newRow("odd sides need rounded-up chroma") << true << qint64(3) << qint64(3) << qint64(17) << QString();
    QTest::newRow("odd sides one byte short") << true << qint64(3) << qint64(3) << qint64(16)
                                              << QStringLiteral("length smaller than the picture");
    QTest::newRow("1080p over 64 bytes") << true << qint64(1920) << qint64(1080) << qint64(64)
                                         << QStringLiteral("length smaller than the picture");
    QTest::newRow("null data") << false << qint64(1280) << qint64(720) << qint64(1382400) << QStringLiteral("null data");
    QTest::newRow("zero width") << true << qint64(0) << qint64(720) << qint64(0) << QStringLiteral("width not positive");
    QTest::newRow("negative width") << true << qint64(-2) << qint64(720) << qint64(0) << QStringLiteral("width not positive");
    QTest::newRow("zero height") << true << qint64(1280) << qint64(0) << qint64(0) << QStringLiteral("height not positive");
    QTest::newRow("negative height") << true << qint64(1280) << qint64(-720) << qint64(0) << QStringLiteral("height not positive");
    QTest::newRow("largest side") << true << qint64(16384) << qint64(2) << qint64(49152) << QString();
    QTest::newRow("side above 16384") << true << qint64(16385) << qint64(2) << qint64(1LL << 40)
                                      << QStringLiteral("side above 16384 pixels");
    QTest::newRow("huge") << true << qint64(32767) << qint64(32767) << qint64(1LL << 40)
                          << QStringLiteral("side above 16384 pixels");
}

void TestVideoFrame::rejectReason()
{
    QFETCH(bool, hasData);
    QFETCH(qint64, w);
    QFETCH(qint64, h);
    QFETCH(qint64, length);
    QFETCH(QString, reason);
    static const uint8_t byte = 0;
    const char* r = frameRejectReason(hasData ? &byte : nullptr, w, h, length);
    if (reason.isEmpty())
        QVERIFY2(r == nullptr, r);
    else
        QCOMPARE(QString::fromLatin1(r), reason);
}

void TestVideoFrame::copyAligned_data()
{
    QTest::addColumn<int>("w");
    QTest::addColumn<int>("h");
    QTest::newRow("641x360 (last column lost)") << 641 << 360;
    QTest::newRow("640x360 (whole rows)") << 640 << 360;
    QTest::newRow("647x17 (odd, 7 columns lost)") << 647 << 17;
    QTest::newRow("1280x720") << 1280 << 720;
    QTest::newRow("16x3") << 16 << 3;
    QTest::newRow("7x5 (nothing left)") << 7 << 5;
    QTest::newRow("9x1") << 9 << 1;
}

void TestVideoFrame::copyAligned()
{
    QFETCH(int, w);
    QFETCH(int, h);
    const std::vector<uint8_t> src = makePattern(w, h);
    const int A = w & ~7;
    const int cw = (w + 1) / 2;
    const int ch = (h + 1) / 2;
    const int ca = (A + 1) / 2;
    const qint64 expectedBytes = qint64(A) * h + 2 * qint64(ca) * ch;

    // Guard bytes after the written area must stay untouched.
    std::vector<uint8_t> dst(size_t(expectedBytes) + 64, 0xEE);
    QCOMPARE(copyI420Aligned(src.data(), w, h, dst.data()), expectedBytes);

    const uint8_t* srcU = src.data() + size_t(w) * h;
    const uint8_t* srcV = srcU + size_t(cw) * ch;
    for (int r = 0; r < h; ++r)
        for (int c = 0; c < A; ++c)
            QCOMPARE(int(dst[size_t(r) * A + c]), int(src[size_t(r) * w + c]));
    const uint8_t* dstU = dst.data() + size_t(A) * h;
    const uint8_t* dstV = dstU + size_t(ca) * ch;
    for (int r = 0; r < ch; ++r) {
        for (int c = 0; c < ca; ++c) {
            QCOMPARE(int(dstU[size_t(r) * ca + c]), int(srcU[size_t(r) * cw + c]));
            QCOMPARE(int(dstV[size_t(r) * ca + c]), int(srcV[size_t(r) * cw + c]));
        }
    }
    for (size_t i = size_t(expectedBytes); i < dst.size(); ++i)
        QCOMPARE(int(dst[i]), 0xEE);
}

void TestVideoFrame::copyOddHeightPlacesVAfterFullChromaRows()
{
    // 16x5: Y 80 bytes, chroma 3 rows of 8. V starts at 80 + 24 = 104, one
    // chroma row after where a w*h*5/4 reader looks (100).
    const int w = 16, h = 5;
    std::vector<uint8_t> src(size_t(w) * h + 2 * 8 * 3);
    std::fill(src.begin(), src.begin() + w * h, uint8_t(10));
    std::fill(src.begin() + w * h, src.begin() + w * h + 24, uint8_t(20));
    std::fill(src.begin() + w * h + 24, src.end(), uint8_t(30));
    std::vector<uint8_t> dst(src.size(), 0);
    QCOMPARE(copyI420Aligned(src.data(), w, h, dst.data()), qint64(128));
    QCOMPARE(int(dst[79]), 10);
    QCOMPARE(int(dst[80]), 20);
    QCOMPARE(int(dst[103]), 20);
    QCOMPARE(int(dst[104]), 30);
    QCOMPARE(int(dst[w * h * 5 / 4]), 20);
    QCOMPARE(int(dst[127]), 30);
}

QTEST_APPLESS_MAIN(TestVideoFrame)
#include "tst_videoframe.moc"
