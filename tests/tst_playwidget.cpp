// The video tile: what it draws, how frames reach its buffer, its mouse
// handling and what it does when a participant is detached.
//
// Runs under a display with OpenGL (Xvfb + llvmpipe is enough).
#include "cplaywidget.h"
#include "kxscreenmod2.h"
#include "modulelog.h"
#include "personinfo.h"
#include "qdlgplayinfo.h"
#include "qkxscreenconfig.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLoggingCategory>
#include <QMouseEvent>
#include <QMutex>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#ifdef Q_OS_LINUX
#include <sys/resource.h>
#include <unistd.h>
#endif

#if defined(__SANITIZE_ADDRESS__)
#define KX_TEST_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KX_TEST_ASAN 1
#endif
#endif

namespace {

// ---------------------------------------------------------------------------
// Frames
// ---------------------------------------------------------------------------

struct Yuv {
    uint8_t y, u, v;
};

// One tightly packed I420 picture, as a host hands it over.
class TestFrame
{
public:
    TestFrame(int w, int h)
        : m_w(w), m_h(h), m_cw((w + 1) / 2), m_ch((h + 1) / 2),
          m_bytes(size_t(w) * h + 2 * size_t(m_cw) * m_ch, 0)
    {
    }

    int width() const { return m_w; }
    int height() const { return m_h; }
    size_t size() const { return m_bytes.size(); }
    const uint8_t* data() const { return m_bytes.data(); }
    uint8_t* y() { return m_bytes.data(); }
    uint8_t* u() { return y() + size_t(m_w) * m_h; }
    uint8_t* v() { return u() + size_t(m_cw) * m_ch; }

    KxCloudRTCVideoFrameQT record() const
    {
        KxCloudRTCVideoFrameQT f;
        std::memset(&f, 0, sizeof f);
        f.data = m_bytes.data();
        f.length = uint32_t(m_bytes.size());
        f.width = m_w;
        f.height = m_h;
        return f;
    }

    // Every byte tells its plane, row and column, so misplaced rows show.
    void fillPattern(int seed)
    {
        for (int r = 0; r < m_h; ++r)
            for (int c = 0; c < m_w; ++c)
                y()[size_t(r) * m_w + c] = uint8_t(seed + r * 7 + c * 3);
        for (int r = 0; r < m_ch; ++r)
            for (int c = 0; c < m_cw; ++c) {
                u()[size_t(r) * m_cw + c] = uint8_t(seed + 101 + r * 11 + c * 5);
                v()[size_t(r) * m_cw + c] = uint8_t(seed + 202 + r * 13 + c * 9);
            }
    }

    // colourAt(x, y) gives the colour of luma pixel (x, y); chroma is taken at
    // the top-left pixel of each 2x2 cell.
    template <typename F>
    void fill(F colourAt)
    {
        for (int r = 0; r < m_h; ++r)
            for (int c = 0; c < m_w; ++c)
                y()[size_t(r) * m_w + c] = colourAt(c, r).y;
        for (int r = 0; r < m_ch; ++r)
            for (int c = 0; c < m_cw; ++c) {
                const Yuv p = colourAt(2 * c, 2 * r);
                u()[size_t(r) * m_cw + c] = p.u;
                v()[size_t(r) * m_cw + c] = p.v;
            }
    }

private:
    int m_w, m_h, m_cw, m_ch;
    std::vector<uint8_t> m_bytes;
};

// BT.709 limited range.
const Yuv kWhite{235, 128, 128};
const Yuv kBlack{16, 128, 128};
const Yuv kRed{63, 102, 240};
const Yuv kGreen{173, 42, 26};
const Yuv kBlue{32, 240, 118};
const Yuv kGrey{126, 128, 128};

// 1280x720 in six blocks: top row white, black, red; bottom row green, blue,
// grey. Block edges are even so that chroma cells never straddle two blocks.
const int kBlockX[] = {0, 428, 856, 1280};
const int kBlockY[] = {0, 360, 720};
const Yuv kBlocks[2][3] = {{kWhite, kBlack, kRed}, {kGreen, kBlue, kGrey}};

Yuv blockColour(int x, int y)
{
    const int row = y < kBlockY[1] ? 0 : 1;
    const int col = x < kBlockX[1] ? 0 : (x < kBlockX[2] ? 1 : 2);
    return kBlocks[row][col];
}

// Copies one frame the way the export does: on a host thread, frame lock held.
bool feedFromHostThread(CPlayWidget& tile, const KxCloudRTCVideoFrameQT* frame)
{
    bool copied = false;
    std::thread host([&] {
        std::lock_guard<std::recursive_mutex> lock(QKXScreenConfig::getInstance()->frameLock());
        copied = tile.PlayOneFrame(frame);
    });
    host.join();
    return copied;
}

bool feedFromHostThread(CPlayWidget& tile, const TestFrame& frame)
{
    const KxCloudRTCVideoFrameQT rec = frame.record();
    return feedFromHostThread(tile, &rec);
}

// A camera participant ready to show video.
std::unique_ptr<tagPersonInfo> makePerson(const QString& userID, const QString& userName)
{
    auto p = std::make_unique<tagPersonInfo>();
    p->userID = userID;
    p->userName = userName;
    p->bPreview = true;
    return p;
}

QByteArray bufferBytes(const tagPersonInfo& p, qint64 count)
{
    return QByteArray(reinterpret_cast<const char*>(p.m_pBufYuv420p), int(count));
}

// Reads one pixel of the tile's framebuffer as it is now, without painting.
QColor readFramebufferPixel(CPlayWidget& tile, int x, int yTopDown)
{
    tile.makeCurrent();
    QOpenGLFunctions* f = QOpenGLContext::currentContext()->functions();
    uchar px[4] = {0, 0, 0, 0};
    const int fbH = int(tile.height() * tile.devicePixelRatioF());
    f->glReadPixels(x, fbH - 1 - yTopDown, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, px);
    tile.doneCurrent();
    return QColor(px[0], px[1], px[2]);
}

bool near(const QColor& got, const QColor& want, int tol)
{
    return qAbs(got.red() - want.red()) <= tol && qAbs(got.green() - want.green()) <= tol
        && qAbs(got.blue() - want.blue()) <= tol;
}

QString describe(const QColor& c)
{
    return QStringLiteral("(%1,%2,%3)").arg(c.red()).arg(c.green()).arg(c.blue());
}

// Records the module's log lines while passing every message on unchanged.
class LogCapture
{
public:
    LogCapture()
    {
        s_self = this;
        m_prev = qInstallMessageHandler(&LogCapture::handler);
    }
    ~LogCapture()
    {
        qInstallMessageHandler(m_prev);
        s_self = nullptr;
    }
    int countStartingWith(const QString& prefix) const
    {
        QMutexLocker lock(&m_lock);
        int n = 0;
        for (const QString& line : m_lines)
            n += line.startsWith(prefix) ? 1 : 0;
        return n;
    }
    QStringList lines() const
    {
        QMutexLocker lock(&m_lock);
        return m_lines;
    }

private:
    static void handler(QtMsgType type, const QMessageLogContext& ctx, const QString& msg)
    {
        QtMessageHandler prev = nullptr;
        if (LogCapture* self = s_self) {
            if (ctx.category && qstrcmp(ctx.category, "kxscreen") == 0) {
                QMutexLocker lock(&self->m_lock);
                self->m_lines.append(msg);
            }
            prev = self->m_prev;
        }
        if (prev)
            prev(type, ctx, msg);
    }

    static LogCapture* s_self;
    QtMessageHandler m_prev = nullptr;
    mutable QMutex m_lock;
    QStringList m_lines;
};
LogCapture* LogCapture::s_self = nullptr;

void sendMove(QWidget* w, const QPoint& local)
{
    QMouseEvent ev(QEvent::MouseMove, local, w->mapToGlobal(local), Qt::NoButton, Qt::LeftButton,
                   Qt::NoModifier);
    QApplication::sendEvent(w, &ev);
}

// Long enough for the 300 ms click timer to have fired had it been running.
constexpr int kPastClickTimeout = 500;

} // namespace

class TestPlayWidget : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();

    void colourBlocks_data();
    void colourBlocks();
    void pictureUpright();
    void letterboxBars();
    void resizeRefitsVideo();
    void noBufferPaintsNothing();

    void copyCutsRowsToMultipleOf8();
    void bufferGrowsOnlyForLargerPictures();
    void refusedFrames_data();
    void refusedFrames();
    void allocationFailureIsLogged();
    void deletedRecordIsDropped();
    void changeTagResizesEveryFrame();
    void clearVideoPaintsBlack();
    void rightDoubleClickDumpsNextFrame();

    void dragSuppressesClick_data();
    void dragSuppressesClick();
    void clickArrivesAfterTimer();
    void doubleClick();

    void detachClears_data();
    void detachClears();
    void detachShareFromHiddenTile();
    void overlayFollowsTile();

private:
    static void enableModuleLog(QLoggingCategory* category)
    {
        if (s_defaultFilter)
            s_defaultFilter(category);
        if (qstrcmp(category->categoryName(), "kxscreen") == 0)
            category->setEnabled(QtDebugMsg, true);
    }
    static QLoggingCategory::CategoryFilter s_defaultFilter;

    void renderColourBlocks();

    QImage m_colourGrab;
    QRect m_colourVideoRect;
};

QLoggingCategory::CategoryFilter TestPlayWidget::s_defaultFilter = nullptr;

void TestPlayWidget::initTestCase()
{
    // The module's lines are asserted below. CTest switches them off for speed
    // through QT_LOGGING_RULES, which outranks setFilterRules(), so the category
    // is switched back on by a filter; every other category keeps its rules.
    s_defaultFilter = QLoggingCategory::installFilter(&TestPlayWidget::enableModuleLog);
    QVERIFY2(lcKXScreen().isDebugEnabled(), "the kxscreen category must be enabled for this test");
    QKXScreenConfig::getInstance()->setDPIs(1.0, 1.0);
}

// ---------------------------------------------------------------------------
// Pixels
// ---------------------------------------------------------------------------

void TestPlayWidget::renderColourBlocks()
{
    auto person = makePerson(QStringLiteral("cam_blocks"), QStringLiteral("Blocks"));
    CPlayWidget tile(nullptr);
    tile.setGeometry(100, 100, 400, 400);
    tile.setPersonData(person.get(), true);
    QVERIFY(tile.isChangeTag());
    tile.showTile();
    QVERIFY(QTest::qWaitForWindowExposed(&tile));
    QTRY_VERIFY(!tile.isChangeTag());

    TestFrame frame(1280, 720);
    frame.fill(blockColour);
    const int paintedBefore = tile.paintedFrames();
    QVERIFY(feedFromHostThread(tile, frame));
    QTRY_VERIFY(tile.paintedFrames() > paintedBefore);
    QVERIFY(!tile.isNoVideo());

    m_colourVideoRect = tile.videoRect();
    m_colourGrab = tile.grabFramebuffer().convertToFormat(QImage::Format_RGB32);
    QCOMPARE(m_colourGrab.size(), QSize(400, 400));
    tile.setPersonData(nullptr, false);
}

void TestPlayWidget::colourBlocks_data()
{
    QTest::addColumn<int>("frameX");
    QTest::addColumn<int>("frameY");
    QTest::addColumn<QColor>("expected");

    QTest::newRow("white") << 214 << 180 << QColor(255, 255, 255);
    QTest::newRow("black") << 642 << 180 << QColor(0, 0, 0);
    QTest::newRow("red") << 1068 << 180 << QColor(255, 0, 0);
    QTest::newRow("green") << 214 << 540 << QColor(0, 255, 0);
    QTest::newRow("blue") << 642 << 540 << QColor(0, 0, 255);
    QTest::newRow("grey") << 1068 << 540 << QColor(128, 128, 128);
}

void TestPlayWidget::colourBlocks()
{
    QFETCH(int, frameX);
    QFETCH(int, frameY);
    QFETCH(QColor, expected);
    if (m_colourGrab.isNull()) {
        renderColourBlocks();
        if (QTest::currentTestFailed())
            return;
    }
    // The tile's video rectangle for 1280x720 in 400x400.
    QCOMPARE(m_colourVideoRect, QRect(0, 87, 400, 225));

    // glViewport counts from the bottom: the 225 rows start 87 rows above the
    // bottom edge, so seen from the top they start at 400 - 87 - 225 = 88.
    const int top = 400 - m_colourVideoRect.y() - m_colourVideoRect.height();
    const int gx = frameX * m_colourVideoRect.width() / 1280;
    const int gy = top + frameY * m_colourVideoRect.height() / 720;
    const QColor got = m_colourGrab.pixelColor(gx, gy);
    QVERIFY2(near(got, expected, 2),
             qPrintable(QStringLiteral("at %1,%2 got %3, want %4").arg(gx).arg(gy).arg(describe(got), describe(expected))));
}

void TestPlayWidget::pictureUpright()
{
    if (m_colourGrab.isNull()) {
        renderColourBlocks();
        if (QTest::currentTestFailed())
            return;
    }
    // The white block is at the top-left of the frame and the green one below
    // it: upright, white is above green in the grab; a flipped texture swaps them.
    int whiteRow = -1;
    int greenRow = -1;
    for (int y = 0; y < m_colourGrab.height(); ++y) {
        const QColor c = m_colourGrab.pixelColor(60, y);
        if (whiteRow < 0 && near(c, Qt::white, 2))
            whiteRow = y;
        if (greenRow < 0 && near(c, QColor(0, 255, 0), 2))
            greenRow = y;
    }
    QVERIFY(whiteRow >= 0);
    QVERIFY(greenRow >= 0);
    QVERIFY2(whiteRow < greenRow, qPrintable(QStringLiteral("white from row %1, green from row %2").arg(whiteRow).arg(greenRow)));
    QVERIFY(whiteRow < 200);
    QVERIFY(greenRow > 200);
    // Red is the right-hand top block, so the picture is not mirrored either.
    QVERIFY(near(m_colourGrab.pixelColor(340, 150), QColor(255, 0, 0), 2));
}

void TestPlayWidget::letterboxBars()
{
    if (m_colourGrab.isNull()) {
        renderColourBlocks();
        if (QTest::currentTestFailed())
            return;
    }
    QCOMPARE(m_colourVideoRect, QRect(0, 87, 400, 225));
    // Video rows seen from the top: 88 .. 312 (glViewport's y is the bottom gap).
    const int firstVideoRow = 88;
    const int lastVideoRow = 312;
    for (int y = 0; y < 400; ++y) {
        if (y >= firstVideoRow && y <= lastVideoRow)
            continue;
        for (int x = 0; x < 400; ++x) {
            const QRgb px = m_colourGrab.pixel(x, y);
            if ((px & 0xFFFFFF) != 0)
                QFAIL(qPrintable(QStringLiteral("bar pixel %1,%2 is %3").arg(x).arg(y).arg(describe(QColor(px)))));
        }
    }
    // The first and last video rows carry the picture: white above, green below.
    QVERIFY2(near(m_colourGrab.pixelColor(60, firstVideoRow), Qt::white, 2), qPrintable(describe(m_colourGrab.pixelColor(60, firstVideoRow))));
    QVERIFY2(near(m_colourGrab.pixelColor(60, lastVideoRow), QColor(0, 255, 0), 2), qPrintable(describe(m_colourGrab.pixelColor(60, lastVideoRow))));
    // Full width: the columns at both edges are video too.
    QVERIFY(near(m_colourGrab.pixelColor(0, 150), Qt::white, 2));
    QVERIFY(near(m_colourGrab.pixelColor(399, 150), QColor(255, 0, 0), 2));
}

void TestPlayWidget::resizeRefitsVideo()
{
    auto person = makePerson(QStringLiteral("cam_resize"), QStringLiteral("Resize"));
    person->eStreamStatus = 2; // already streaming: no change tag
    CPlayWidget tile(nullptr);
    tile.setGeometry(100, 100, 400, 400);
    tile.setPersonData(person.get(), true);
    QVERIFY(!tile.isChangeTag());
    tile.showTile();
    QVERIFY(QTest::qWaitForWindowExposed(&tile));

    TestFrame frame(1280, 720);
    frame.fill(blockColour);
    QVERIFY(feedFromHostThread(tile, frame));
    QTRY_COMPARE(tile.videoRect(), QRect(0, 87, 400, 225));
    QCOMPARE(tile.playInfo()->videoRect(), QRect(0, 87, 400, 225));

    // trunc(640 * 721 / 1280) = 360: the 16:9 tile is filled.
    tile.resize(640, 360);
    QTRY_COMPARE(tile.videoRect(), QRect(0, 0, 640, 360));
    QCOMPARE(tile.playInfo()->videoRect(), QRect(0, 0, 640, 360));
    QCOMPARE(tile.playInfo()->geometry(), QRect(0, 0, 640, 360));

    // A portrait tile letterboxes top and bottom: trunc(200 * 721 / 1280) = 112.
    tile.resize(200, 400);
    QTRY_COMPARE(tile.videoRect(), QRect(0, 144, 200, 112));
    QRect rc(10, 20, 0, 0);
    tile.addVideoRect(rc);
    QCOMPARE(rc.left(), 10);
    QCOMPARE(rc.top(), 164);
    QCOMPARE(rc.right(), 210);
    QCOMPARE(rc.bottom(), 276);
    tile.setPersonData(nullptr, false);
}

void TestPlayWidget::noBufferPaintsNothing()
{
    auto person = makePerson(QStringLiteral("cam_early"), QStringLiteral("Early"));
    CPlayWidget tile(nullptr);
    tile.setGeometry(100, 100, 200, 200);
    tile.setPersonData(person.get(), true);
    tile.showTile();
    QVERIFY(QTest::qWaitForWindowExposed(&tile));

    QTest::ignoreMessage(QtDebugMsg, "nullptr == YUVBuf, userName: Early , bPreview: true , eStreamStatus: 0");
    const QImage grab = tile.grabFramebuffer();
    QCOMPARE(tile.paintedFrames(), 0);
    QVERIFY(!grab.isNull());
    QCOMPARE(grab.pixelColor(100, 100), QColor(0, 0, 0));

    // Without a record the paint names the tile and draws nothing.
    tile.setPersonData(nullptr, false);
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral("^painGL this: CPlayWidget\\(0x[0-9a-f]+\\) , m_pPersonInfo: 0x0$")));
    tile.grabFramebuffer();
    QCOMPARE(tile.paintedFrames(), 0);
}

// ---------------------------------------------------------------------------
// Copy and buffer rules
// ---------------------------------------------------------------------------

void TestPlayWidget::copyCutsRowsToMultipleOf8()
{
    auto person = makePerson(QStringLiteral("cam_641"), QStringLiteral("Odd"));
    CPlayWidget tile(nullptr);
    tile.setPersonData(person.get(), true);

    TestFrame frame(641, 360);
    frame.fillPattern(3);
    QSignalSpy render(&tile, &CPlayWidget::notifyRender);
    QVERIFY(feedFromHostThread(tile, frame));
    QTRY_COMPARE(render.count(), 1); // queued from the host thread

    QCOMPARE(person->iWidth, 641);
    QCOMPARE(person->iHeight, 360);
    QCOMPARE(person->iAlignedWidth, 640);
    QCOMPARE(person->iBufLen, 2 * 641 * 360 + 20480);
    QVERIFY(person->m_pBufYuv420p);

    const uint8_t* buf = person->m_pBufYuv420p;
    const KxCloudRTCVideoFrameQT rec = frame.record();
    const uint8_t* src = rec.data;
    for (int r = 0; r < 360; ++r)
        QVERIFY2(std::memcmp(buf + size_t(r) * 640, src + size_t(r) * 641, 640) == 0, qPrintable(QStringLiteral("Y row %1").arg(r)));
    // Chroma: 180 rows of 320 bytes, from source rows of 321.
    const uint8_t* srcU = src + 641 * 360;
    const uint8_t* srcV = srcU + 321 * 180;
    const uint8_t* dstU = buf + 640 * 360;
    const uint8_t* dstV = dstU + 320 * 180;
    for (int r = 0; r < 180; ++r) {
        QVERIFY2(std::memcmp(dstU + size_t(r) * 320, srcU + size_t(r) * 321, 320) == 0, qPrintable(QStringLiteral("U row %1").arg(r)));
        QVERIFY2(std::memcmp(dstV + size_t(r) * 320, srcV + size_t(r) * 321, 320) == 0, qPrintable(QStringLiteral("V row %1").arg(r)));
    }
    tile.setPersonData(nullptr, false);
}

void TestPlayWidget::bufferGrowsOnlyForLargerPictures()
{
    auto person = makePerson(QStringLiteral("cam_grow"), QStringLiteral("Grow"));
    CPlayWidget tile(nullptr);
    tile.setPersonData(person.get(), true);
    tile.delayResetChangeTag(); // as after showing: frames of one size are not re-sized

    struct Step {
        int w, h;
        int bufLen;
        bool freed; // the buffer is freed and allocated again
    };
    const Step steps[] = {
        {1280, 720, 1863680, false},
        {640, 360, 1863680, false},
        {1280, 720, 1863680, false},
        {1920, 1080, 4167680, true},
        {1280, 720, 4167680, false},
    };
    const unsigned char* previous = nullptr;
    int seed = 0;
    for (const Step& s : steps) {
        const QString tag = QStringLiteral("%1x%2").arg(s.w).arg(s.h);
        LogCapture log;
        TestFrame frame(s.w, s.h);
        frame.fillPattern(++seed);
        if (s.freed)
            QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("xxxxx setVideoSize,iWidth,iHeight: %1 %2").arg(s.w).arg(s.h)));
        QVERIFY2(feedFromHostThread(tile, frame), qPrintable(tag));
        QCOMPARE(person->iBufLen, s.bufLen);
        QCOMPARE(log.countStartingWith(QStringLiteral("xxxxx setVideoSize")), s.freed ? 1 : 0);
        if (previous && !s.freed)
            QVERIFY2(person->m_pBufYuv420p == previous, qPrintable(tag + QStringLiteral(": buffer was replaced")));
        previous = person->m_pBufYuv420p;
        // The size change is logged before and after, with the old and new values.
        QCOMPARE(log.countStartingWith(QStringLiteral("SetVideoSize m_pPersonInfo->iWidth:")), 1);
        QCOMPARE(log.countStartingWith(QStringLiteral("2SetVideoSize m_pPersonInfo->iWidth: %1 , m_pPersonInfo->iHeight: %2 , m_pPersonInfo->iBufLen: %3")
                                           .arg(s.w).arg(s.h).arg(s.bufLen)), 1);
        const qint64 copied = qint64(s.w) * s.h * 3 / 2;
        QVERIFY2(bufferBytes(*person, copied) == QByteArray(reinterpret_cast<const char*>(frame.data()), int(copied)), qPrintable(tag));
    }
    tile.setPersonData(nullptr, false);
}

void TestPlayWidget::refusedFrames_data()
{
    QTest::addColumn<bool>("nullFrame");
    QTest::addColumn<bool>("hasData");
    QTest::addColumn<int>("w");
    QTest::addColumn<int>("h");
    QTest::addColumn<QString>("reason");

    QTest::newRow("zero width") << false << true << 0 << 32 << QStringLiteral("width not positive");
    QTest::newRow("zero height") << false << true << 64 << 0 << QStringLiteral("height not positive");
    QTest::newRow("negative width") << false << true << -64 << 32 << QStringLiteral("width not positive");
    QTest::newRow("negative height") << false << true << 64 << -32 << QStringLiteral("height not positive");
    QTest::newRow("null data") << false << false << 64 << 32 << QStringLiteral("null data");
    QTest::newRow("side above 16384") << false << true << 32768 << 32768 << QStringLiteral("side above 16384 pixels");
    QTest::newRow("tall and thin") << false << true << 2 << 536867500 << QStringLiteral("side above 16384 pixels");
    QTest::newRow("length short of the picture") << false << true << 64 << 32 << QStringLiteral("length smaller than the picture");
    QTest::newRow("null frame") << true << false << 0 << 0 << QStringLiteral("null frame");
}

void TestPlayWidget::refusedFrames()
{
    QFETCH(bool, nullFrame);
    QFETCH(bool, hasData);
    QFETCH(int, w);
    QFETCH(int, h);
    QFETCH(QString, reason);

    auto person = makePerson(QStringLiteral("cam_refuse"), QStringLiteral("Refusal"));
    CPlayWidget tile(nullptr);
    tile.setPersonData(person.get(), true);
    tile.delayResetChangeTag();

    TestFrame good(64, 32);
    good.fillPattern(9);
    QVERIFY(feedFromHostThread(tile, good));
    const unsigned char* buf = person->m_pBufYuv420p;
    const int bufLen = person->iBufLen;
    const QByteArray before = bufferBytes(*person, bufLen);
    QCOMPARE(before.left(int(good.size())), QByteArray(reinterpret_cast<const char*>(good.data()), int(good.size())));

    // The bad frame's data, when present, is never read: a few bytes suffice.
    static const uint8_t junk[16] = {};
    KxCloudRTCVideoFrameQT bad;
    std::memset(&bad, 0, sizeof bad);
    bad.data = hasData ? junk : nullptr;
    bad.length = sizeof junk;
    bad.width = w;
    bad.height = h;

    QSignalSpy render(&tile, &CPlayWidget::notifyRender);
    QSignalSpy viewCenter(&tile, &CPlayWidget::notifyViewCenter);
    QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("PlayOneFrame refused frame: %1, userName:Refusal, size:%2x%3")
                                                    .arg(reason).arg(w).arg(h)));
    QVERIFY(!feedFromHostThread(tile, nullFrame ? nullptr : &bad));

    QCOMPARE(render.count(), 0);
    QCOMPARE(viewCenter.count(), 0);
    QCOMPARE(person->m_pBufYuv420p, buf);
    QCOMPARE(person->iBufLen, bufLen);
    QCOMPARE(person->iWidth, 64);
    QCOMPARE(person->iHeight, 32);
    QCOMPARE(person->iAlignedWidth, 64);
    QVERIFY(bufferBytes(*person, bufLen) == before);

    // The tile still takes good frames afterwards.
    TestFrame next(64, 32);
    next.fillPattern(77);
    QVERIFY(feedFromHostThread(tile, next));
    QCOMPARE(bufferBytes(*person, qint64(next.size())), QByteArray(reinterpret_cast<const char*>(next.data()), int(next.size())));
    tile.setPersonData(nullptr, false);
}

void TestPlayWidget::allocationFailureIsLogged()
{
#if !defined(Q_OS_LINUX)
    QSKIP("the address-space limit used here is Linux-only");
#elif defined(KX_TEST_ASAN)
    QSKIP("AddressSanitizer reserves more address space than the limit allows");
#else
    auto person = makePerson(QStringLiteral("cam_big"), QStringLiteral("Big"));
    CPlayWidget tile(nullptr);
    tile.setPersonData(person.get(), true);
    tile.delayResetChangeTag();
    TestFrame small(64, 32);
    small.fillPattern(4);
    QVERIFY(feedFromHostThread(tile, small));

    // A valid size whose buffer (2 * 16000 * 16000 + 20480 bytes) cannot be
    // had under the limit set below. The data is never read: the copy is
    // skipped when there is no buffer.
    static const uint8_t junk[16] = {};
    KxCloudRTCVideoFrameQT big;
    std::memset(&big, 0, sizeof big);
    big.data = junk;
    big.length = 16000 * 16000 * 3 / 2; // declared whole: only the allocation fails
    big.width = 16000;
    big.height = 16000;
    const size_t need = size_t(2) * 16000 * 16000 + 20480;

    rlimit old{};
    QCOMPARE(getrlimit(RLIMIT_AS, &old), 0);
    long vmPages = 0;
    {
        QFile statm(QStringLiteral("/proc/self/statm"));
        QVERIFY(statm.open(QIODevice::ReadOnly));
        vmPages = statm.readAll().split(' ').value(0).toLong();
    }
    QVERIFY(vmPages > 0);
    rlimit tight = old;
    tight.rlim_cur = rlim_t(vmPages) * rlim_t(sysconf(_SC_PAGESIZE)) + (rlim_t(256) << 20);
    QCOMPARE(setrlimit(RLIMIT_AS, &tight), 0);
    // If the limit does not bite here, the copy would run far past the junk bytes.
    if (void* probe = std::malloc(need)) {
        std::free(probe);
        setrlimit(RLIMIT_AS, &old);
        QSKIP("the address-space limit does not hold on this machine");
    }
    QTest::ignoreMessage(QtDebugMsg, QRegularExpression(QStringLiteral(
        "^m_pBufYuv420p alloc failed! Maybe no frames shown in the widget\\x{FF0C}alloc_size= 512020480$")));
    const bool copied = feedFromHostThread(tile, &big);
    QCOMPARE(setrlimit(RLIMIT_AS, &old), 0);

    QVERIFY(!copied);
    QVERIFY(person->m_pBufYuv420p == nullptr);
    QCOMPARE(person->iBufLen, 0);
    QCOMPARE(person->iWidth, 16000);
    QCOMPARE(person->iHeight, 16000);

    // A picture of another size is sized afresh and shown again.
    QVERIFY(feedFromHostThread(tile, small));
    QVERIFY(person->m_pBufYuv420p != nullptr);
    QCOMPARE(person->iBufLen, 2 * 64 * 32 + 20480);
    QCOMPARE(bufferBytes(*person, qint64(small.size())), QByteArray(reinterpret_cast<const char*>(small.data()), int(small.size())));
    tile.setPersonData(nullptr, false);
#endif
}

void TestPlayWidget::deletedRecordIsDropped()
{
    auto person = makePerson(QStringLiteral("cam_gone"), QStringLiteral("Gone"));
    CPlayWidget tile(nullptr);
    tile.setPersonData(person.get(), true);
    QCOMPARE(tile.personInfo(), person.get());

    QKXScreenConfig* config = QKXScreenConfig::getInstance();
    config->addDelPerson(person.get());
    TestFrame frame(64, 32);
    frame.fillPattern(1);
    QTest::ignoreMessage(QtDebugMsg, "m_pPersonInfo had delete");
    const bool copied = feedFromHostThread(tile, frame);
    // Clear the registry before any check can return: later records may reuse the address.
    config->testDelPerson(person.get(), true);
    QVERIFY(!copied);
    QCOMPARE(tile.personInfo(), static_cast<tagPersonInfo*>(nullptr));
    QVERIFY(person->m_pBufYuv420p == nullptr);
    QCOMPARE(person->iWidth, 0);
}

void TestPlayWidget::changeTagResizesEveryFrame()
{
    auto person = makePerson(QStringLiteral("cam_tag"), QStringLiteral("Tag"));
    CPlayWidget tile(nullptr);
    tile.setPersonData(person.get(), true);
    QVERIFY(tile.isChangeTag());

    TestFrame frame(320, 180);
    frame.fillPattern(5);
    {
        LogCapture log;
        QVERIFY(feedFromHostThread(tile, frame));
        QVERIFY(feedFromHostThread(tile, frame));
        // Re-sized on every frame while the participant is fresh.
        QCOMPARE(log.countStartingWith(QStringLiteral("SetVideoSize m_pPersonInfo->iWidth:")), 2);
    }
    tile.delayResetChangeTag();
    QVERIFY(!tile.isChangeTag());
    {
        LogCapture log;
        QVERIFY(feedFromHostThread(tile, frame));
        QCOMPARE(log.countStartingWith(QStringLiteral("SetVideoSize m_pPersonInfo->iWidth:")), 0);
    }

    // A participant that is already streaming is not fresh.
    auto streaming = makePerson(QStringLiteral("cam_tag2"), QStringLiteral("Tag2"));
    streaming->eStreamStatus = 2;
    tile.setPersonData(streaming.get(), false);
    QVERIFY(!tile.isChangeTag());
    QVERIFY(streaming->bAttached);
    // ... unless its video is off.
    auto muted = makePerson(QStringLiteral("cam_tag3"), QStringLiteral("Tag3"));
    muted->eStreamStatus = 2;
    muted->bPreview = false;
    tile.setPersonData(muted.get(), false);
    QVERIFY(tile.isChangeTag());
    tile.setPersonData(nullptr, false);
}

void TestPlayWidget::clearVideoPaintsBlack()
{
    auto person = makePerson(QStringLiteral("cam_clear"), QStringLiteral("Clear"));
    CPlayWidget tile(nullptr);
    tile.setPersonData(person.get(), true);
    TestFrame frame(64, 32);
    frame.fillPattern(200);
    QVERIFY(feedFromHostThread(tile, frame));

    QSignalSpy render(&tile, &CPlayWidget::notifyRender);
    tile.ClearVideo();
    QCOMPARE(render.count(), 1);
    const QByteArray bytes = bufferBytes(*person, person->iBufLen);
    QCOMPARE(bytes.size(), 2 * 64 * 32 + 20480);
    QCOMPARE(bytes.mid(0, 2048), QByteArray(2048, '\0'));
    QCOMPARE(bytes.mid(2048, 512), QByteArray(512, char(128)));
    QCOMPARE(bytes.mid(2560, 512), QByteArray(512, char(128)));
    QCOMPARE(bytes.mid(3072), QByteArray(bytes.size() - 3072, '\0'));
    tile.setPersonData(nullptr, false);
}

void TestPlayWidget::rightDoubleClickDumpsNextFrame()
{
    QKXScreenConfig* config = QKXScreenConfig::getInstance();
    const QString oldBase = config->baseDir();
    QTemporaryDir base;
    QVERIFY(base.isValid());
    QVERIFY(QDir(base.path()).mkpath(QStringLiteral("log/tmpFrame")));
    config->setBaseDir(base.path());
    struct Restore {
        QKXScreenConfig* c;
        QString dir;
        ~Restore() { c->setBaseDir(dir); }
    } restore{config, oldBase};

    auto person = makePerson(QStringLiteral("u42"), QStringLiteral("Dumper"));
    CPlayWidget tile(nullptr);
    tile.setGeometry(100, 100, 200, 200);
    tile.setPersonData(person.get(), true);
    tile.showTile();
    QVERIFY(QTest::qWaitForWindowExposed(&tile));

    const QString path = base.path() + QStringLiteral("/log/tmpFrame/(Dumper)u42_66x34.yuv");
    TestFrame first(66, 34);
    first.fillPattern(11);
    QVERIFY(feedFromHostThread(tile, first));
    QVERIFY2(!QFile::exists(path), "nothing is dumped before the double click");

    QSignalSpy dclick(&tile, &CPlayWidget::mouseLDClick);
    QSignalSpy click(&tile, &CPlayWidget::mouseLClick);
    QTest::mouseDClick(&tile, Qt::RightButton, Qt::NoModifier, QPoint(100, 100));
    QCOMPARE(dclick.count(), 0);

    TestFrame second(66, 34);
    second.fillPattern(22);
    QVERIFY(feedFromHostThread(tile, second));
    QFile dump(path);
    QVERIFY2(dump.open(QIODevice::ReadOnly), qPrintable(path));
    const QByteArray written = dump.readAll();
    dump.close();
    QCOMPARE(written.size(), int(second.size()));
    QVERIFY(written == QByteArray(reinterpret_cast<const char*>(second.data()), int(second.size())));

    // One frame only.
    QVERIFY(QFile::remove(path));
    TestFrame third(66, 34);
    third.fillPattern(33);
    QVERIFY(feedFromHostThread(tile, third));
    QVERIFY(!QFile::exists(path));
    QCOMPARE(click.count(), 0);
    tile.setPersonData(nullptr, false);
}

// ---------------------------------------------------------------------------
// Mouse
// ---------------------------------------------------------------------------

void TestPlayWidget::dragSuppressesClick_data()
{
    QTest::addColumn<QPoint>("delta");
    QTest::addColumn<bool>("clicks");

    QTest::newRow("6 px right") << QPoint(6, 0) << false;
    QTest::newRow("6 px up") << QPoint(0, -6) << false;
    QTest::newRow("6 px left and down") << QPoint(-6, 3) << false;
    QTest::newRow("5 px both ways") << QPoint(5, 5) << true;
    QTest::newRow("5 px back") << QPoint(-5, -2) << true;
    QTest::newRow("no move") << QPoint(0, 0) << true;
}

void TestPlayWidget::dragSuppressesClick()
{
    QFETCH(QPoint, delta);
    QFETCH(bool, clicks);

    CPlayWidget tile(nullptr);
    tile.setGeometry(100, 100, 200, 200);
    tile.showTile();
    QVERIFY(QTest::qWaitForWindowExposed(&tile));
    QSignalSpy click(&tile, &CPlayWidget::mouseLClick);

    const QPoint start(100, 100);
    QTest::mousePress(&tile, Qt::LeftButton, Qt::NoModifier, start);
    sendMove(&tile, start + delta);
    QTest::mouseRelease(&tile, Qt::LeftButton, Qt::NoModifier, start + delta);

    if (clicks) {
        QTRY_COMPARE(click.count(), 1);
        QCOMPARE(click.at(0).at(0).value<CPlayWidget*>(), &tile);
    } else {
        QTest::qWait(kPastClickTimeout);
        QCOMPARE(click.count(), 0);
    }
}

void TestPlayWidget::clickArrivesAfterTimer()
{
    CPlayWidget tile(nullptr);
    tile.setGeometry(100, 100, 200, 200);
    tile.showTile();
    QVERIFY(QTest::qWaitForWindowExposed(&tile));
    QSignalSpy click(&tile, &CPlayWidget::mouseLClick);

    QElapsedTimer clock;
    clock.start();
    QTest::mouseClick(&tile, Qt::LeftButton, Qt::NoModifier, QPoint(50, 50));
    QCOMPARE(click.count(), 0); // not at once: a second click may still follow
    QTRY_COMPARE(click.count(), 1);
    const qint64 elapsed = clock.elapsed();
    QVERIFY2(elapsed >= 250, qPrintable(QStringLiteral("click after %1 ms").arg(elapsed)));
    QVERIFY2(elapsed < 3000, qPrintable(QStringLiteral("click after %1 ms").arg(elapsed)));

    // A right press starts nothing.
    QTest::mouseClick(&tile, Qt::RightButton, Qt::NoModifier, QPoint(50, 50));
    QTest::qWait(kPastClickTimeout);
    QCOMPARE(click.count(), 1);
}

void TestPlayWidget::doubleClick()
{
    CPlayWidget tile(nullptr);
    tile.setGeometry(100, 100, 200, 200);
    tile.showTile();
    QVERIFY(QTest::qWaitForWindowExposed(&tile));
    QSignalSpy click(&tile, &CPlayWidget::mouseLClick);
    QSignalSpy dclick(&tile, &CPlayWidget::mouseLDClick);

    // The sequence a window system delivers: press, release, double click, release.
    const QPoint pos(80, 90);
    QTest::mousePress(&tile, Qt::LeftButton, Qt::NoModifier, pos);
    QTest::mouseRelease(&tile, Qt::LeftButton, Qt::NoModifier, pos);
    QTest::mouseDClick(&tile, Qt::LeftButton, Qt::NoModifier, pos);
    QTest::mouseRelease(&tile, Qt::LeftButton, Qt::NoModifier, pos);

    QCOMPARE(dclick.count(), 1);
    QCOMPARE(dclick.at(0).at(0).value<CPlayWidget*>(), &tile);
    QTest::qWait(kPastClickTimeout);
    QCOMPARE(click.count(), 0);
    QCOMPARE(dclick.count(), 1);
}

// ---------------------------------------------------------------------------
// Detaching
// ---------------------------------------------------------------------------

void TestPlayWidget::detachClears_data()
{
    QTest::addColumn<QString>("userID");
    QTest::addColumn<bool>("clearsToBlack");

    QTest::newRow("share") << QStringLiteral("sharescreen_7") << true;
    QTest::newRow("share id inside") << QStringLiteral("x_sharescreen_7") << true;
    QTest::newRow("camera") << QStringLiteral("cam_7") << false;
    QTest::newRow("prefix case differs") << QStringLiteral("ShareScreen_7") << false;
}

void TestPlayWidget::detachClears()
{
    QFETCH(QString, userID);
    QFETCH(bool, clearsToBlack);

    auto person = makePerson(userID, QStringLiteral("Detach"));
    person->eStreamStatus = 2;
    CPlayWidget tile(nullptr);
    tile.setGeometry(100, 100, 320, 180);
    tile.setPersonData(person.get(), true);
    tile.showTile();
    QVERIFY(QTest::qWaitForWindowExposed(&tile));

    TestFrame frame(320, 180);
    frame.fill([](int, int) { return kWhite; });
    const int paintedBefore = tile.paintedFrames();
    QVERIFY(feedFromHostThread(tile, frame));
    QTRY_VERIFY(tile.paintedFrames() > paintedBefore);
    QTRY_COMPARE(tile.videoRect(), QRect(0, 0, 320, 180));
    QVERIFY(near(readFramebufferPixel(tile, 160, 90), Qt::white, 2));

    // Read back without painting again: this is what stays on screen.
    tile.setPersonData(nullptr, false);
    QCOMPARE(tile.personInfo(), static_cast<tagPersonInfo*>(nullptr));
    const QColor after = readFramebufferPixel(tile, 160, 90);
    if (clearsToBlack)
        QVERIFY2(after == QColor(0, 0, 0), qPrintable(describe(after)));
    else
        QVERIFY2(near(after, Qt::white, 2), qPrintable(describe(after)));
}

void TestPlayWidget::detachShareFromHiddenTile()
{
    // The gallery binds and unbinds records on tiles it never showed: there is
    // no GL context to clear then, and the detach must still go through.
    auto person = makePerson(QStringLiteral("sharescreen_hidden"), QStringLiteral("Hidden"));
    CPlayWidget tile(nullptr);
    tile.setPersonData(person.get(), true);
    TestFrame frame(64, 32);
    frame.fillPattern(8);
    QVERIFY(feedFromHostThread(tile, frame));
    QVERIFY(!tile.isValid());
    tile.setPersonData(nullptr, false);
    QCOMPARE(tile.personInfo(), static_cast<tagPersonInfo*>(nullptr));
    QVERIFY(person->bAttached);
}

void TestPlayWidget::overlayFollowsTile()
{
    auto person = makePerson(QStringLiteral("cam_overlay"), QStringLiteral("overlay name"));
    CPlayWidget tile(nullptr);
    QDlgPlayInfo* info = tile.playInfo();
    QVERIFY(info);
    QCOMPARE(info->parentWidget(), static_cast<QWidget*>(&tile));
    QVERIFY(!tile.isFocusTile());
    tile.setFocusTile(true);
    QVERIFY(tile.isFocusTile());

    tile.setPersonData(person.get(), true);
    QCOMPARE(info->personInfo(), person.get());
    QCOMPARE(info->displayName(), QStringLiteral("overlay name"));
    QVERIFY(person->bAttached);

    tile.setGeometry(100, 100, 320, 180);
    tile.showTileNormal();
    QVERIFY(QTest::qWaitForWindowExposed(&tile));
    QVERIFY(tile.isNoVideo());
    QTRY_COMPARE(info->geometry(), QRect(0, 0, 320, 180));
    // The 100 ms show timer ends the fresh state; until then renders are ignored.
    QVERIFY(tile.isChangeTag());
    tile.onRender();
    QVERIFY(tile.isNoVideo());
    QTRY_VERIFY(!tile.isChangeTag());

    TestFrame frame(320, 180);
    frame.fill([](int, int) { return kGrey; });
    QVERIFY(feedFromHostThread(tile, frame));
    QTRY_VERIFY(!tile.isNoVideo());
    QTRY_COMPARE(info->videoRect(), QRect(0, 0, 320, 180));

    // A freed record is not read by the overlay any more.
    QKXScreenConfig::getInstance()->addDelPerson(person.get());
    const QString nameAfterFree = info->displayName();
    QKXScreenConfig::getInstance()->testDelPerson(person.get(), true);
    QVERIFY(nameAfterFree.isEmpty());
    tile.setPersonData(nullptr, false);
}

QTEST_MAIN(TestPlayWidget)
#include "tst_playwidget.moc"
