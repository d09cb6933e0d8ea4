// Frames from host threads through KXScreen_PlayFrame into the gallery's
// tiles: real pixels, the copy under the frame lock, the follow-up on the
// interface thread and a quiet refusal (refused frames and the every-frame
// dump: tst_badinput; delivery racing removal: tst_lifecycle).
#include "kxtestkit.h"
#include "qdlgplayinfo.h"
#include "testhooks.h"

using namespace kxtest;

class TstFramePath : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(moduleLogOn()); }
    void pixelsFromAHostThread()
    {
        // Also after the host moves the gallery into another window, or into
        // none: the tiles' GL contexts are replaced and the tiles go on drawing
        // (a tile with objects of a lost context cannot link its shaders).
        Gallery g(QSize(1280, 720), 1);
        QWidget second;
        second.resize(1320, 760);
        second.show();
        QVERIFY(QTest::qWaitForWindowExposed(&second));
        Frame f = Frame::blocks(1280, 720);
        for (QWidget* parent : {&g.parent, &second, static_cast<QWidget*>(nullptr), &g.parent}) {
            QCOMPARE(KXScreen_SetParent(g.h, parent), 1);
            KXScreen_MoveWindow(g.h, QRect(0, 0, 1280, 720), KXSCREEN_MOVE_SHOW);
            pump();
            CPlayWidget* tile = g.rec(0)->pWidget;
            QVERIFY(tile && tile->isVisible());
            // every sampled pixel is video
            tile->playInfo()->hide();
            const int painted = tile->paintedFrames();
            // A freshly placed tile ignores frames for a moment; the host keeps sending.
            QTRY_VERIFY((onHostThread([&]() { return KXScreen_PlayFrame(g.h, g.handles.at(0), &f.rec); }),
                         tile->paintedFrames() > painted));
            QCOMPARE(tile->videoRect(), QRect(0, 0, 1281, 721));
            const QImage img = tile->grabFramebuffer();
            const QString wrong = blocksWrong(img, img.rect(), img.height() * 3 / 4);
            QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
            // upright
            QVERIFY(near(img.pixelColor(img.width() * 9 / 12, img.height() / 32), Qt::white));
        }
    }

    void copyFollowUpAndRefusal()
    {
        // A participant's first frame asks for the display order once; the
        // follow-up of a frame whose participant has left since does nothing.
        Gallery g(QSize(1280, 720), 4);
        QSignalSpy orders(g.screen(), &QDlgScreen::notifyDisplayOrder);
        Frame f(640, 360);
        for (int i = 0; i < 3; ++i)
            QCOMPARE(KXScreen_PlayFrame(g.h, g.handles.at(0), &f.rec), 1);
        pump();
        QCOMPARE(orders.count(), 1);
        QCOMPARE(KXScreen_PlayFrame(g.h, g.handles.at(1), &f.rec), 1);
        pump();
        QCOMPARE(orders.count(), 2);
        QCOMPARE(onHostThread([&]() { return KXScreen_PlayFrame(g.h, g.handles.at(2), &f.rec); }), 1);
        QCOMPARE(KXScreen_DelPerson(g.h, g.handles.at(2)), 1);
        ExpectLog log;
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression("^xxxxx QDlgScreen::onPlayFrameUpdateUI testDelPerson"));
        pump();
        QCOMPARE(orders.count(), 2);
        QCOMPARE(g.screen()->persons().size(), 3);
        // Video off: refused, without a log line per frame (the module's lines
        // are counted, the rest dropped meanwhile).
        QCOMPARE(KXScreen_Preview(g.h, g.handles.at(3), false), 1);
        static std::atomic<int> lines{0};
        const QtMessageHandler next
            = qInstallMessageHandler([](QtMsgType, const QMessageLogContext& c, const QString&) {
                  lines += c.category && qstrcmp(c.category, "kxscreen") == 0 ? 1 : 0;
              });
        const int r = onHostThread([&]() { return KXScreen_PlayFrame(g.h, g.handles.at(3), &f.rec); });
        qInstallMessageHandler(next);
        QCOMPARE(r, 0);
        QCOMPARE(lines.load(), 0);
        QVERIFY(!g.rec(3)->m_pBufYuv420p);
        // While a host thread copies a frame (held just past its handle
        // check), it holds the frame lock: no tile reads the buffer meanwhile.
        static std::atomic<bool> parked{false}, resume{false};
        kxhooks::setHook([](kxhooks::Point) {
            if (QThread::currentThread() != qApp->thread() && !parked.exchange(true))
                while (!resume)
                    std::this_thread::yield();
        });
        std::thread media([&]() { KXScreen_PlayFrame(g.h, g.handles.at(0), &f.rec); });
        QTRY_VERIFY(parked.load());
        std::recursive_mutex& frameLock = QKXScreenConfig::getInstance()->frameLock();
        const bool free = frameLock.try_lock();
        resume = true;
        media.join();
        kxhooks::setHook(nullptr);
        if (free)
            frameLock.unlock();
        QVERIFY2(!free, "a frame was copied without the frame lock");
    }
};

QTEST_MAIN(TstFramePath)
#include "tst_framepath.moc"
