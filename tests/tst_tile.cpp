// One tile and what is drawn over it: real pixels of a frame as each renderer
// (OpenGL, CPU) draws it, how frames reach the tile's buffer, mouse handling,
// detaching, the overlay's states and controls, the weak-network spinner, the
// page controls and the popup shell. Runs under a display with OpenGL (Xvfb +
// llvmpipe); CTest runs the pictures again at QT_SCALE_FACTOR=2.
#include "galleryaccessible.h"
#include "kxtestkit.h"
#include "netweakloading.h"
#include "overlayicons.h"
#include "playinfolayout.h"
#include "qdlgplayinfo.h"
#include "tilerenderer.h"
#include "videoframe.h"

#include <QAbstractButton>
#include <QFrame>
#include <QOpenGLWidget>
#include <memory>

using namespace kxtest;

namespace {

// Tiles made from now on draw with OpenGL ("gl") or on the CPU ("raster").
bool useRenderer(const QString& r)
{
    kxtilerender::setForTests(r == "gl" ? kxrender::Renderer::Gl : kxrender::Renderer::Raster);
    return r == "raster";
}

void rendererRows()
{
    QTest::addColumn<QString>("renderer");
    QTest::newRow("gl") << "gl";
    QTest::newRow("raster") << "raster";
}

std::unique_ptr<tagPersonInfo> person(const QString& id, const QString& name)
{
    auto p = std::make_unique<tagPersonInfo>();
    p->userID = id;
    p->userName = name;
    return p;
}

// From a host thread under the frame lock, as the export copies.
bool feedTile(CPlayWidget* tile, const KxCloudRTCVideoFrameQT* f)
{
    return onHostThread([&]() {
        std::lock_guard<std::recursive_mutex> lock(QKXScreenConfig::getInstance()->frameLock());
        return tile->PlayOneFrame(f);
    });
}

// One tile inside a host window, as the gallery places it.
struct Stage
{
    QWidget host;
    CPlayWidget* tile;
    Stage(tagPersonInfo* p, QSize size)
    {
        host.resize(size + QSize(40, 40));
        tile = new CPlayWidget(&host);
        tile->setGeometry(20, 20, size.width(), size.height());
        tile->setPersonData(p, true);
        host.show();
        tile->showTile();
    }
    ~Stage() { tile->setPersonData(nullptr, false); }
    QDlgPlayInfo* info() const { return tile->playInfo(); }
    bool feed(const KxCloudRTCVideoFrameQT* f) { return feedTile(tile, f); }
    // Exposed, past the fresh state, and one frame painted.
    bool show(const Frame& f)
    {
        if (!QTest::qWaitForWindowExposed(&host) || !QTest::qWaitFor([&]() { return !tile->isChangeTag(); }, 2000))
            return false;
        tile->personInfo()->eStreamStatus = 2; // what the gallery sets with a first frame
        const int before = tile->paintedFrames();
        return feed(&f.rec)
               && QTest::qWaitFor([&]() { return tile->paintedFrames() > before && !info()->isNoVideo(); }, 3000);
    }
    QImage grab()
    {
        pump();
        return tile->grab().toImage().convertToFormat(QImage::Format_RGB32);
    }
};

int countLike(const QImage& img, const QRect& r, const QColor& c, int tol = 40)
{
    int n = 0;
    const QRect box = r.intersected(img.rect());
    for (int y = box.top(); y <= box.bottom(); ++y)
        for (int x = box.left(); x <= box.right(); ++x)
            n += near(img.pixelColor(x, y), c, tol) ? 1 : 0;
    return n;
}

void clickThroughWindow(QWidget* w, QPoint pos = QPoint(-1, -1))
{
    QWidget* win = w->window();
    QTest::mouseClick(
        win->windowHandle(), Qt::LeftButton, Qt::NoModifier, w->mapTo(win, pos.x() < 0 ? w->rect().center() : pos));
}

QByteArray bytes(const uint8_t* p, qint64 n) { return QByteArray(reinterpret_cast<const char*>(p), int(n)); }

} // namespace

class TstTile : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        Q_INIT_RESOURCE(kxscreenmod);
        QVERIFY(moduleLogOn());
        // What a host passes here does not move or size the video: the pictures
        // below are drawn at the pixel ratio of the screen all the same.
        QKXScreenConfig::getInstance()->setDPIs(0.5, 0.5);
    }

    void picture_data()
    {
        QTest::addColumn<QString>("renderer");
        QTest::addColumn<QString>("userID");
        QTest::addColumn<bool>("black"); // after a detach: a share leaves no picture behind, a camera keeps its last
        for (const char* r : {"gl", "raster"}) {
            QTest::addRow("%s share", r) << r << "sharescreen_7" << true;
            QTest::addRow("%s share id inside", r) << r << "x_sharescreen_7" << true;
            QTest::addRow("%s camera", r) << r << "cam_7" << false;
            QTest::addRow("%s prefix case differs", r) << r << "ShareScreen_7" << false;
        }
    }

    void picture()
    {
        QFETCH(QString, renderer);
        QFETCH(QString, userID);
        QFETCH(bool, black);
        const bool raster = useRenderer(renderer);
        auto p = person(userID, "Blocks");
        Stage s(p.get(), QSize(400, 400));
        QCOMPARE(s.tile->isRaster(), raster);
        s.info()->hide(); // every sampled pixel is video
        QVERIFY(s.show(Frame::blocks(1280, 720)));
        // 1280x720 letterboxed in 400x400: (0, 87, 400, 225); the picture is
        // 225 rows from row 88 (GL counts from the bottom) at any pixel ratio.
        QCOMPARE(s.tile->videoRect(), QRect(0, 87, 400, 225));
        const qreal dpr = s.tile->devicePixelRatioF();
        QImage img = s.tile->grabFramebuffer().convertToFormat(QImage::Format_RGB32);
        QCOMPARE(img.size(), QSize(400, 400) * dpr);
        auto at = [&](int x, int y) { return img.pixelColor(int(x * dpr), int(y * dpr)); };
        const QString wrong = blocksWrong(img, QRect(0, 0, 400 * dpr, 400 * dpr), int((88 + 225 * 3 / 4) * dpr));
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
        QVERIFY(near(at(380, 88), Qt::white)); // the white band on top: upright
        QVERIFY(near(at(380, 312), QColor(128, 128, 128)));
        for (int y : {0, 87, 313, 399})
            for (int x : {0, 200, 399})
                QCOMPARE(at(x, y), QColor(Qt::black)); // bars
        // What the detach leaves, without a new picture to draw.
        s.tile->setPersonData(nullptr, false);
        img = s.tile->grabFramebuffer().convertToFormat(QImage::Format_RGB32);
        QVERIFY(near(at(233, 256), black ? QColor(Qt::black) : Frame::blockColour(3)));
    }

    void mouse_data()
    {
        // A press, a move by delta, a release; "double" is the window system's
        // press, release, double click, release.
        QTest::addColumn<QPoint>("delta");
        QTest::addColumn<bool>("doubleClick");
        QTest::addColumn<int>("clicks");
        QTest::newRow("6 px right: a drag") << QPoint(6, 0) << false << 0;
        QTest::newRow("5 px both ways: a click") << QPoint(5, 5) << false << 1;
        QTest::newRow("double click: no single click") << QPoint(0, 0) << true << 0;
    }

    void mouse()
    {
        QFETCH(QPoint, delta);
        QFETCH(bool, doubleClick);
        QFETCH(int, clicks);
        CPlayWidget tile(nullptr);
        tile.setGeometry(100, 100, 200, 200);
        tile.showTile();
        QVERIFY(QTest::qWaitForWindowExposed(&tile));
        QSignalSpy click(&tile, &CPlayWidget::mouseLClick);
        QSignalSpy dclick(&tile, &CPlayWidget::mouseLDClick);
        const QPoint at(100, 100);
        QTest::mousePress(&tile, Qt::LeftButton, Qt::NoModifier, at);
        QMouseEvent move(
            QEvent::MouseMove, at + delta, tile.mapToGlobal(at + delta), Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(&tile, &move);
        QTest::mouseRelease(&tile, Qt::LeftButton, Qt::NoModifier, at + delta);
        if (doubleClick) {
            QTest::mouseDClick(&tile, Qt::LeftButton, Qt::NoModifier, at);
            QTest::mouseRelease(&tile, Qt::LeftButton, Qt::NoModifier, at);
        }
        QCOMPARE(click.count(), 0); // not at once: a second click may follow
        QTRY_VERIFY(!tile.findChild<QTimer*>()->isActive());
        QCOMPARE(click.count(), clicks);
        QCOMPARE(dclick.count(), doubleClick ? 1 : 0);
    }

    void overlayMetrics_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<int>("fontPx");
        QTest::addColumn<int>("iconPx");
        QTest::newRow("strip tile 320x180: readable floor") << QSize(320, 180) << 11 << 16;
        QTest::newRow("200x400: from the 16:9 height") << QSize(200, 400) << 11 << 16;
        QTest::newRow("640x360") << QSize(640, 360) << 15 << 22;
        QTest::newRow("1920x1080: ceiling") << QSize(1920, 1080) << 18 << 26;
    }

    void overlayMetrics()
    {
        QFETCH(QSize, size);
        kxoverlay::PlayInfoInput in;
        in.size = size;
        in.plateText = QStringLiteral("Eve");
        in.mic = in.net = in.more = true;
        const kxoverlay::PlayInfoLayout L = kxoverlay::layoutPlayInfo(in);
        QTEST(L.fontPx, "fontPx");
        QTEST(L.iconPx, "iconPx");
        QVERIFY(QRect(QPoint(0, 0), size).contains(L.plate));
    }

    void overlayStatesAndFrameDump_data() { rendererRows(); }
    void overlayStatesAndFrameDump()
    {
        QFETCH(QString, renderer);
        const bool raster = useRenderer(renderer);
        auto p = person("u_alice", "Alice Smith");
        p->bMute = false;
        p->iVolume = 70;
        Stage s(p.get(), QSize(640, 360));
        const Frame blue(640, 360, 32, 240, 118);
        QVERIFY(s.show(blue));
        QDlgPlayInfo* info = s.info();
        QCOMPARE(info->plateText(), QString("Alice Smith"));
        QImage img = s.grab();
        QVERIFY(near(img.pixelColor(320, 180), QColor(0, 0, 255), 8)); // the picture shows through
        QVERIFY(countLike(img, info->layout().name, Qt::white, 60) > 30);
        QVERIFY(countLike(img, info->layout().mic, QColor(0x3D, 0xD6, 0x8C)) > 4); // the level
        // Neither frames nor a refresh with nothing changed repaint the
        // overlay (over a CPU tile its kept pixels are laid over each new
        // picture); a state change does.
        const int paints = info->paintCount();
        for (int i = 0; i < 3; ++i)
            QVERIFY(s.feed(&blue.rec));
        info->refreshDisplay();
        pump();
        QTRY_COMPARE(info->composeCount() > 0, raster);
        QCOMPARE(info->paintCount(), paints);
        const int pictures = s.tile->paintedFrames();
        p->bMute = true;
        info->refreshDisplay();
        QCOMPARE(info->micIconName(), QString("mic_off"));
        QTRY_VERIFY(info->paintCount() > paints);
        QCOMPARE(s.tile->paintedFrames(), pictures); // the picture under it is not drawn again
        QCOMPARE(countLike(s.grab(), info->layout().mic, QColor(0x3D, 0xD6, 0x8C)), 0);
        p->bHasMic = false;
        info->refreshDisplay();
        QCOMPARE(info->micIconName(), QString("mic_none"));
        // No level yet: the spinner turns in the middle until a level arrives or
        // 15 s (250 ticks of 60 ms) have passed; then the weakest level shows.
        p->iNetLevel = 0;
        info->refreshDisplay();
        NetWeakLoading* w = info->netWeakLoading();
        QTRY_VERIFY(w->isVisible());
        w->stopLoading(); // ticked by hand from here on
        QSignalSpy timeout(w, &NetWeakLoading::sigTimerOutLoading);
        for (int i = 1; i < 250; ++i)
            w->onTick();
        QCOMPARE(timeout.count(), 0);
        w->onTick();
        QCOMPARE(timeout.count(), 1);
        QVERIFY(!w->isVisible());
        QCOMPARE(p->iNetLevel, -1);
        QVERIFY(p->bNetWeak);
        QCOMPARE(info->netIconName(), QString("net_level_1"));
        // No video: the initial on a disc whose colour comes from the user ID alone.
        p->bPreview = false;
        info->refreshDisplay();
        QVERIFY(info->isPlaceholderShown());
        QCOMPARE(info->initialText(), QString("A"));
        QCOMPARE(kxoverlay::discColor("sharescreen_u_alice"), info->discColor());
        QVERIFY(countLike(s.grab(), info->layout().avatar, info->discColor(), 8) > 100);
        // A new size refits the picture, and the overlay with it.
        s.tile->resize(200, 400);
        QTRY_COMPARE(s.tile->videoRect(), QRect(0, 144, 200, 112));
        QTRY_COMPARE(info->videoRect(), QRect(0, 144, 200, 112));
        // A right double click dumps the next frame, and that one only.
        QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
        QTemporaryDir base;
        QVERIFY(QDir(base.path()).mkpath("log/tmpFrame"));
        cfg->setBaseDir(base.path());
        const QString path = base.path() + "/log/tmpFrame/(Alice Smith)u_alice_66x34.yuv";
        QSignalSpy dclick(s.tile, &CPlayWidget::mouseLDClick);
        QTest::mouseDClick(s.tile, Qt::RightButton, Qt::NoModifier, QPoint(100, 100));
        QCOMPARE(dclick.count(), 0);
        Frame dumped(66, 34, 22);
        QVERIFY(s.feed(&dumped.rec));
        QFile dump(path);
        QVERIFY2(dump.open(QIODevice::ReadOnly), qPrintable(path));
        QCOMPARE(dump.readAll(), bytes(dumped.rec.data, qint64(dumped.bytes.size())));
        QVERIFY(dump.remove());
        QVERIFY(s.feed(&dumped.rec));
        QVERIFY(!QFile::exists(path));
        cfg->setBaseDir(QString());
        // A freed record is dropped by the tile and no longer read by the overlay.
        cfg->addDelPerson(p.get());
        {
            ExpectLog log;
            QTest::ignoreMessage(QtDebugMsg, "m_pPersonInfo had delete");
            QVERIFY(!s.feed(&dumped.rec));
        }
        QVERIFY(s.info()->displayName().isEmpty());
        cfg->testDelPerson(p.get(), true);
        QCOMPARE(s.tile->personInfo(), static_cast<tagPersonInfo*>(nullptr));
    }

    void controlsReachTheHost_data() { rendererRows(); }
    void controlsReachTheHost()
    {
        QFETCH(QString, renderer);
        const bool raster = useRenderer(renderer);
        Gallery g(QSize(1280, 720));
        QVERIFY(QTest::qWaitForWindowExposed(&g.parent));
        auto add = [&](QByteArray id, int n, int status) {
            return KXScreen_AddPerson(
                g.h, id.data(), id.data(), id.data(), n, 0, reinterpret_cast<void*>(quintptr(n)), status);
        };
        QByteArray me("me");
        void* self = add(me, 1, 1);
        void* other = add("u_ann", 2, 1);
        void* invited = add("unjoined_u_ben", 3, 2);
        KXScreen_SetPersonInfo(g.h, self, true, 1, me.data()); // the local user hosts
        pump();
        QDlgPlayInfo* info = recordOf(other)->pWidget->playInfo();
        QDlgPlayInfo* inv = recordOf(invited)->pWidget->playInfo();
        QTRY_VERIFY(info->micButton()->isVisible() && inv->recallButton()->isVisible());
        Recorder& host = g.host();
        clickThroughWindow(info->micButton());
        QTRY_COMPARE(host.count(KXSCREEN_MSG_CLICK_AUDIO, recordOf(other)), 1);
        QCOMPARE(host.last(KXSCREEN_MSG_CLICK_AUDIO).l, uint64_t(2));
        QWidget* more = info->moreButton();
        clickThroughWindow(more);
        QTRY_COMPARE(host.count(KXSCREEN_MSG_CLICK_MORE), 1);
        QCOMPARE(QDlgPlayInfo::unpackClickPos(int(host.last(KXSCREEN_MSG_CLICK_MORE).w)),
            more->mapToGlobal(more->rect().center()));
        QCOMPARE(QDlgPlayInfo::unpackClickPos(QDlgPlayInfo::packClickPos(QPoint(-1280, 200))), QPoint(-1280, 200));
        clickThroughWindow(inv->recallButton());
        QTRY_COMPARE(host.count(KXSCREEN_MSG_RECALL_PERSON, recordOf(invited)), 1);
        // A click beside the controls is the tile's.
        QSignalSpy click(recordOf(other)->pWidget, &CPlayWidget::mouseLClick);
        clickThroughWindow(recordOf(other)->pWidget, QPoint(40, 40));
        QTRY_COMPARE(click.count(), 1);
        KXScreen_SetPersonInfo(g.h, self, true, 0, me.data()); // no longer host
        QTRY_VERIFY(inv->recallButton()->isHidden());
        // Drawn on the CPU, the window holds no GL widget: one would put all of it through GL composition.
        QCOMPARE(g.parent.findChildren<QOpenGLWidget*>().isEmpty(), raster);
    }

    void screenReaderAndKeys_data() { rendererRows(); }
    void screenReaderAndKeys()
    {
        QFETCH(QString, renderer);
        useRenderer(renderer);
        if (!a11yOn())
            QSKIP("Qt's accessibility bridge is off; CTest runs this as tst_tile_a11y");
        kxaccessible::install();
        auto p = person("u_ann", "Ann");
        p->bMute = false;
        p->iRoleType = 2;
        Stage s(p.get(), QSize(640, 360));
        QDlgPlayInfo* info = s.info();
        QAccessibleInterface* tile = QAccessible::queryAccessibleInterface(s.tile);
        QAccessibleInterface* mic = tile->child(0);
        QVERIFY(tile->role() == QAccessible::ListItem && mic->parent()->object() == s.tile);
        QCOMPARE(a11yText(info->moreButton(), QAccessible::Description), QString()); // not its tooltip again
        // Name | description | the microphone control, named for what a click does (the words themselves are
        // the rules test's); each change is announced once, a refresh that changes nothing says nothing.
        const std::vector<std::pair<std::function<void()>, QString>> steps = {
            {[] {}, "Ann|co-host|Mute"}, {[&] { p->bMute = true; }, "Ann|co-host, muted|Unmute"},
            {[&] { p->bPreview = false, p->bSpeaking = true; }, "Ann|co-host, muted, camera off, speaking|Unmute"},
            {[&] { p->bHasMic = false, p->userName = "Ann B"; },
             "Ann B|co-host, no microphone, camera off, speaking|Microphone"},
            {[&] { info->setPlace({true, 3, 8, 1, 2}, p.get()); },
             "Ann B|co-host, no microphone, camera off, speaking, on the stage, 3 of 8, page 1 of 2|Microphone"}};
        auto heard = [&]() {
            return QStringList{a11yText(s.tile), a11yText(s.tile, QAccessible::Description), a11yText(mic->object())};
        };
        QStringList was = heard();
        for (const auto& step : steps) {
            a11yEvents().clear();
            step.first();
            info->refreshDisplay();
            info->refreshDisplay();
            const QStringList now = heard();
            QCOMPARE(now.join('|'), step.second);
            QCOMPARE(a11yCount(s.tile, QAccessible::NameChanged), int(now[0] != was[0]));
            QCOMPARE(a11yCount(s.tile, QAccessible::DescriptionChanged), int(now[1] != was[1]));
            was = now;
        }
        // The keyboard: Return and Space are a double click, Shift+F10 and the menu key "more" at its middle.
        QApplication::setActiveWindow(&s.host);
        s.tile->setFocus();
        QSignalSpy dclick(s.tile, &CPlayWidget::mouseLDClick), more(info, &QDlgPlayInfo::notifyClickMore);
        for (auto k : std::vector<std::pair<Qt::Key, Qt::KeyboardModifier>>{{Qt::Key_Return, Qt::NoModifier},
                 {Qt::Key_Space, Qt::NoModifier}, {Qt::Key_Menu, Qt::NoModifier}, {Qt::Key_F10, Qt::ShiftModifier},
                 {Qt::Key_F10, Qt::NoModifier}})
            QTest::keyClick(s.tile, k.first, k.second);
        QCOMPARE(dclick.count() * 10 + more.count(), 22);
        QWidget* dots = info->moreButton();
        QCOMPARE(QDlgPlayInfo::unpackClickPos(more.at(1).at(1).toInt()), dots->mapToGlobal(dots->rect().center()));
        // The focus ring, along the middle row from the left edge in the skin's accent (a) between lines of its
        // text colour (t), inside the speaking border, in both skins; gone with the focus.
        QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
        for (bool light : {true, false}) {
            cfg->setNewSkin(light);
            info->refreshDisplay();
            QString seen;
            for (bool focus : {true, false}) {
                focus ? s.tile->setFocus() : s.tile->clearFocus();
                const QImage img = s.grab();
                for (int x = 0; x < 30; ++x) {
                    const QColor c = img.pixelColor(x, 180);
                    const QChar k = near(c, cfg->getAccentColor(), 24) ? 'a'
                                    : near(c, cfg->getTextColor(), 24)   ? 't'
                                                                         : ' ';
                    if (k != ' ' && !seen.endsWith(k))
                        seen += k;
                }
                seen += '/';
            }
            QCOMPARE(seen, QString("atat/a/"));
        }
    }

    void pageControlTakesLeftClicks()
    {
        // A page control reports a left press, and only that.
        QWidget parent;
        QMyPageCtrl* ctrl = new QMyPageCtrl(":/pic/pageNext.svg", &parent);
        parent.show();
        ctrl->show();
        QVERIFY(QTest::qWaitForWindowExposed(&parent));
        QSignalSpy spy(ctrl, &QMyPageCtrl::clickPageCtl);
        QTest::mouseClick(ctrl, Qt::RightButton);
        QTest::mouseClick(ctrl, Qt::LeftButton);
        QCOMPARE(spy.count(), 1);
        QCOMPARE(qvariant_cast<QWidget*>(spy.at(0).at(0)), static_cast<QWidget*>(ctrl));
    }
};

QTEST_MAIN(TstTile)
#include "tst_tile.moc"
