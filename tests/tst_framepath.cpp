// Frames from host threads through KXScreen_PlayFrame into the gallery's
// tiles: real pixels, the display-order request of a first frame, refusals,
// the every-frame dump, and delivery racing removal.
#include "kxgallerytest.h"
#include "qdlgplayinfo.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <atomic>
#include <random>

using namespace kxtest;

namespace {

// Six vertical blocks in BT.709 limited range: white, black, red, green,
// blue, grey; the top eighth of the picture is white across, to tell up from down.
Frame colourBlocks(int w, int h)
{
    static const uint8_t yuv[6][3] = {{235, 128, 128}, {16, 128, 128}, {63, 102, 240},
                                      {173, 42, 26},   {32, 240, 118}, {126, 128, 128}};
    Frame f(w, h);
    uint8_t* Y = f.bytes.data();
    uint8_t* U = Y + w * h;
    uint8_t* V = U + (w / 2) * (h / 2);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const int b = (y < h / 8) ? 0 : x * 6 / w;
            Y[y * w + x] = yuv[b][0];
            if ((x % 2) == 0 && (y % 2) == 0) {
                U[(y / 2) * (w / 2) + x / 2] = yuv[b][1];
                V[(y / 2) * (w / 2) + x / 2] = yuv[b][2];
            }
        }
    }
    return f;
}

bool near(QRgb a, QColor b, int tol = 2)
{
    return qAbs(qRed(a) - b.red()) <= tol && qAbs(qGreen(a) - b.green()) <= tol && qAbs(qBlue(a) - b.blue()) <= tol;
}

QStringList g_lines;
QtMessageHandler g_previous = nullptr;
void capture(QtMsgType type, const QMessageLogContext& ctx, const QString& msg)
{
    if (ctx.category && QByteArray(ctx.category) == "kxscreen")
        g_lines << msg;
    else if (g_previous)
        g_previous(type, ctx, msg);
}

} // namespace

class TstFramePath : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { logToNowhere(); }
    void init();
    void pixelsFromAHostThread();
    void firstFrameOrdersOnce();
    void previewOffRefusedSilently();
    void everyFrameDump();
    void deliveryRacesRemoval();
};

void TstFramePath::init()
{
    Recorder::at(0).clear();
    QKXScreenConfig::getInstance()->setCurScreenMode(1);
}

void TstFramePath::pixelsFromAHostThread()
{
    Gallery g(QSize(1280, 720));
    g.add(1);
    KXScreen_JoinMeetingFinish(g.h);
    CPlayWidget* tile = g.rec(0)->pWidget;
    QVERIFY(tile && tile->isVisible());
    // Hide the name plate so that every sampled pixel is video.
    tile->playInfo()->hide();
    const int painted = tile->paintedFrames();
    Frame f = colourBlocks(1280, 720);
    int ok = 0;
    // A freshly placed tile ignores frames for a few milliseconds; the host
    // keeps sending, as a media engine does.
    auto deliver = [&]() {
        std::thread media([&]() { ok += KXScreen_PlayFrame(g.h, g.handles.at(0), &f.rec); });
        media.join();
        return tile->paintedFrames() > painted;
    };
    QTRY_VERIFY(deliver());
    QVERIFY(ok > 0);
    const QImage img = tile->grabFramebuffer();
    QCOMPARE(tile->videoRect(), QRect(0, 0, 1281, 721));
    const QColor expect[6] = {Qt::white, Qt::black, QColor(255, 0, 0), QColor(0, 255, 0), QColor(0, 0, 255),
                              QColor(128, 128, 128)};
    const int y = img.height() * 3 / 4;
    for (int b = 0; b < 6; ++b) {
        const int x = img.width() * (2 * b + 1) / 12;
        QVERIFY2(near(img.pixel(x, y), expect[b]),
                 qPrintable(QString("block %1 at %2,%3 is %4").arg(b).arg(x).arg(y).arg(QColor(img.pixel(x, y)).name())));
    }
    // The white band is at the top: the picture is the right way up.
    QVERIFY(near(img.pixel(img.width() * 9 / 12, img.height() / 32), Qt::white));
}

void TstFramePath::firstFrameOrdersOnce()
{
    Gallery g(QSize(1280, 720));
    g.add(2);
    KXScreen_JoinMeetingFinish(g.h);
    QCoreApplication::processEvents();
    QSignalSpy orders(QKXScreenConfig::getInstance(), &QKXScreenConfig::notifyDisplayOrder);
    QCOMPARE(g.rec(0)->eStreamStatus, 0);
    Frame f(640, 360);
    QCOMPARE(KXScreen_PlayFrame(g.h, g.handles.at(0), &f.rec), 1);
    QCoreApplication::processEvents();
    QCOMPARE(orders.count(), 1);
    QCOMPARE(g.rec(0)->eStreamStatus, 2);
    for (int i = 0; i < 5; ++i)
        QCOMPARE(KXScreen_PlayFrame(g.h, g.handles.at(0), &f.rec), 1);
    QCoreApplication::processEvents();
    QCOMPARE(orders.count(), 1);
    // The other participant's first frame asks once more.
    QCOMPARE(KXScreen_PlayFrame(g.h, g.handles.at(1), &f.rec), 1);
    QCoreApplication::processEvents();
    QCOMPARE(orders.count(), 2);
}

void TstFramePath::previewOffRefusedSilently()
{
    Gallery g(QSize(1280, 720));
    g.add(1);
    QCOMPARE(KXScreen_Preview(g.h, g.handles.at(0), false), 1);
    ModuleLogOn logOn;
    g_lines.clear();
    g_previous = qInstallMessageHandler(capture);
    Frame f(640, 360);
    const int r = KXScreen_PlayFrame(g.h, g.handles.at(0), &f.rec);
    qInstallMessageHandler(g_previous);
    QCOMPARE(r, 0);
    QVERIFY2(g_lines.isEmpty(), qPrintable(g_lines.join(" | ")));
    QVERIFY(!g.rec(0)->m_pBufYuv420p);
}

void TstFramePath::everyFrameDump()
{
    QTemporaryDir dir;
    QVERIFY(QDir().mkpath(dir.path() + "/log/tmpFrame"));
    QVERIFY(QDir().mkpath(dir.path() + "/user_data"));
    QFile ini(dir.path() + "/user_data/sys_ver.ini");
    QVERIFY(ini.open(QIODevice::WriteOnly));
    ini.write("[version]\ncache_frame1=true\n");
    ini.close();
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    Gallery g(QSize(640, 360), dir.path().toUtf8());
    QTRY_VERIFY(cfg->cacheEveryFrame()); // read on the loader thread Init started
    QByteArray id("../../escape");
    QByteArray name("A/B");
    void* p = KXScreen_AddPerson(g.h, id.data(), id.data(), name.data(), 1, 0, nullptr, 1);
    QTRY_COMPARE(g.screen()->persons().size(), 1);
    Frame a(64, 36, 10);
    Frame b(64, 36, 200);
    QCOMPARE(KXScreen_PlayFrame(g.h, p, &a.rec), 1);
    QCOMPARE(KXScreen_PlayFrame(g.h, p, &b.rec), 1);
    cfg->setBaseDir(QString());
    cfg->loadSettingsNow();

    // One file per participant and size, overwritten by every frame, inside the directory.
    const QStringList files = QDir(dir.path() + "/log/tmpFrame").entryList(QDir::Files);
    QCOMPARE(files.size(), 1);
    QVERIFY(files.first().endsWith("_64x36.yuv"));
    QFile dump(dir.path() + "/log/tmpFrame/" + files.first());
    QVERIFY(dump.open(QIODevice::ReadOnly));
    const QByteArray bytes = dump.readAll();
    QCOMPARE(bytes, QByteArray(reinterpret_cast<const char*>(b.bytes.data()), int(b.bytes.size())));
    QVERIFY(!QFile::exists(dir.path() + "/escape_64x36.yuv"));
}

void TstFramePath::deliveryRacesRemoval()
{
    Gallery g(QSize(1280, 720));
    g.add(8);
    KXScreen_JoinMeetingFinish(g.h);
    std::atomic<bool> stop{false};
    std::atomic<int> delivered{0};
    QVector<void*> handles = g.handles;
    // The host's media threads keep delivering to every handle they know,
    // including ones the signalling side has just released.
    std::vector<std::thread> media;
    for (int t = 0; t < 3; ++t) {
        media.emplace_back([&, t]() {
            std::mt19937 rng(1234 + t);
            Frame small(320, 180);
            Frame odd(641, 361);
            while (!stop.load()) {
                void* p = handles.at(int(rng() % handles.size()));
                delivered += KXScreen_PlayFrame(g.h, p, (rng() % 2) ? &small.rec : &odd.rec);
            }
        });
    }
    for (int i = 0; i < 8; ++i) {
        QTest::qWait(30);
        QCOMPARE(KXScreen_DelPerson(g.h, handles.at(i)), 1);
        QCoreApplication::processEvents();
    }
    stop = true;
    for (std::thread& t : media)
        t.join();
    QTRY_COMPARE(g.screen()->persons().size(), 0);
    QVERIFY(delivered.load() > 0);
    g.handles.clear();
}

QTEST_MAIN(TstFramePath)
#include "tst_framepath.moc"
