// The tile information overlay: what it draws in each participant state (by
// screenshots checked pixel by pixel, also saved for a look), its controls as
// the host receives them, the weak-network spinner, and that clicks beside the
// controls still reach the tile.
//
// Runs under a display with OpenGL (Xvfb + llvmpipe is enough).
#include "cplaywidget.h"
#include "kxscreenhandle.h"
#include "kxscreenmod2.h"
#include "kxtesthelpers.h"
#include "netweakloading.h"
#include "overlayicons.h"
#include "personinfo.h"
#include "qdlgmain.h"
#include "qdlgplayinfo.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"

#include <QAbstractButton>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTranslator>
#include <QtTest>
#include <memory>
#include <thread>

static void initModuleResources()
{
    Q_INIT_RESOURCE(kxscreenmod);
    Q_INIT_RESOURCE(translations);
}

using namespace kxtest;

namespace {

const QColor kVideoBlue(0, 0, 255); // I420 (32, 240, 118), BT.709 limited range

QString artifactDir()
{
    QString dir = qEnvironmentVariable("KX_TEST_ARTIFACTS");
    if (dir.isEmpty())
        dir = QDir::tempPath();
    QDir().mkpath(dir);
    return dir;
}

void save(const QImage& image, const QString& name)
{
    const QString path = artifactDir() + QStringLiteral("/overlay_") + name + QStringLiteral(".png");
    QVERIFY2(image.save(path), qPrintable(path));
}

bool near(const QColor& a, const QColor& b, int tol)
{
    return qAbs(a.red() - b.red()) <= tol && qAbs(a.green() - b.green()) <= tol && qAbs(a.blue() - b.blue()) <= tol;
}

// Pixels of r that differ from ref by more than tol in some channel.
int countUnlike(const QImage& img, const QRect& r, const QColor& ref, int tol = 40)
{
    int n = 0;
    const QRect box = r.intersected(img.rect());
    for (int y = box.top(); y <= box.bottom(); ++y)
        for (int x = box.left(); x <= box.right(); ++x)
            n += near(img.pixelColor(x, y), ref, tol) ? 0 : 1;
    return n;
}

int countLike(const QImage& img, const QRect& r, const QColor& ref, int tol = 40)
{
    const QRect box = r.intersected(img.rect());
    return box.width() * box.height() - countUnlike(img, box, ref, tol);
}

std::unique_ptr<tagPersonInfo> makePerson(const QString& id, const QString& name)
{
    auto p = std::make_unique<tagPersonInfo>();
    p->userID = id;
    p->userName = name;
    if (id.startsWith(QLatin1String("unjoined_"))) {
        p->bPreview = false;
        p->bMute = false;
    }
    return p;
}

// One tile inside a host window, as the gallery places it.
struct Stage
{
    QWidget host;
    CPlayWidget* tile = nullptr;

    Stage(tagPersonInfo* p, QSize size)
    {
        host.resize(size + QSize(40, 40));
        tile = new CPlayWidget(&host);
        tile->setGeometry(20, 20, size.width(), size.height());
        tile->setPersonData(p, true);
        host.show();
        tile->showTile();
    }
    QDlgPlayInfo* info() const { return tile->playInfo(); }
    bool ready() { return QTest::qWaitForWindowExposed(&host) && info()->size() == tile->size(); }
    // A solid frame from a host thread, under the frame lock, as the export does.
    bool feed(const Frame& f)
    {
        bool ok = false;
        std::thread t([&]() {
            std::lock_guard<std::recursive_mutex> lock(QKXScreenConfig::getInstance()->frameLock());
            ok = tile->PlayOneFrame(&f.rec);
        });
        t.join();
        return ok;
    }
    // Attached, shown and one blue picture drawn under the overlay.
    bool showVideo(tagPersonInfo* p, int w = 640, int h = 360)
    {
        p->eStreamStatus = 2; // what the gallery sets with the first frame
        if (!ready())
            return false;
        if (!QTest::qWaitFor([&]() { return !tile->isChangeTag(); }, 2000))
            return false;
        Frame f(w, h, 32, 240, 118);
        const int before = tile->paintedFrames();
        if (!feed(f))
            return false;
        return QTest::qWaitFor([&]() { return !info()->isNoVideo() && tile->paintedFrames() > before; }, 3000);
    }
    QImage grab()
    {
        QCoreApplication::processEvents();
        return tile->grab().toImage().convertToFormat(QImage::Format_RGB32);
    }
};

// Clicks w where a user would: through the window, so the toolkit picks the
// widget under the cursor.
void clickThroughWindow(QWidget* w, QPoint pos = QPoint(-1, -1))
{
    if (pos.x() < 0)
        pos = w->rect().center();
    QWidget* win = w->window();
    QTest::mouseClick(win->windowHandle(), Qt::LeftButton, Qt::NoModifier, w->mapTo(win, pos));
}

struct Gallery
{
    QWidget host;
    void* h = nullptr;

    Gallery()
    {
        host.resize(1320, 760);
        host.show();
        h = KXScreen_Init(&host, "", recorder0);
        KXScreen_MoveWindow(h, QRect(20, 20, 1280, 720), KXSCREEN_MOVE_SHOW);
    }
    ~Gallery() { KXScreen_Release(h); }
    QDlgScreen* screen() const { return static_cast<KXScreenHandle*>(h)->pMainDlg->GetDlgScreenPtr(); }
    void* add(const char* id, quintptr userData, int status = 1)
    {
        QByteArray bid(id);
        void* hp = KXScreen_AddPerson(h, bid.data(), bid.data(), bid.data(), 1000 + qint64(userData), 0,
                                      reinterpret_cast<void*>(userData), status);
        return hp;
    }
    static tagPersonInfo* rec(void* hPlay) { return static_cast<ST_KXPlayHdl*>(hPlay)->pPlayData; }
    static QDlgPlayInfo* info(void* hPlay) { return rec(hPlay)->pWidget ? rec(hPlay)->pWidget->playInfo() : nullptr; }
};

} // namespace

class TstOverlay : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();

    void videoKeepsPictureUnderPlate();
    void noVideoShowsHeadImage();
    void noVideoShowsInitial();
    void unjoinedShowsCallStateAndRecall_data();
    void unjoinedShowsCallStateAndRecall();
    void microphoneStates();
    void weakNetworkSpinnerThenWeakest();
    void spinnerRules();
    void skins();
    void smallStripTileStaysReadable();
    void shareCaptionAndBadges();
    void resolutionCorner();
    void clicksBesideControlsReachTheTile();
    void noRepaintPerFrame();
    void imageCacheIsReleased();
    void freedRecordIsNotRead();
    void translationsAreFinished();
    void controlsReachTheHost();
    void netWeakByUserIdChangesIcon();
};

void TstOverlay::initTestCase()
{
    initModuleResources();
}

void TstOverlay::init()
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    cfg->setNewSkin(false);
    cfg->m_bHostOrCoHost = false;
    Recorder::at(0).clear();
}

void TstOverlay::videoKeepsPictureUnderPlate()
{
    auto p = makePerson(QStringLiteral("u_alice"), QStringLiteral("Alice Smith"));
    p->bMute = false;
    p->iVolume = 70;
    p->iNetLevel = 6;
    Stage s(p.get(), QSize(640, 360));
    QVERIFY(s.showVideo(p.get()));
    QDlgPlayInfo* info = s.info();
    QVERIFY(!info->isPlaceholderShown());
    QCOMPARE(info->plateText(), QStringLiteral("Alice Smith"));
    QCOMPARE(info->micIconName(), QStringLiteral("mic_on"));
    QCOMPARE(info->netIconName(), QStringLiteral("net_level_6"));
    QVERIFY(info->micButton()->isVisible());
    QVERIFY(info->moreButton()->isVisible());

    const QImage img = s.grab();
    save(img, QStringLiteral("video_640x360"));
    const kxoverlay::PlayInfoLayout& L = info->layout();
    // The picture stays visible where nothing is drawn over it.
    QVERIFY(near(img.pixelColor(320, 180), kVideoBlue, 8));
    QVERIFY(near(img.pixelColor(320, 60), kVideoBlue, 8));
    // Name, microphone (white capsule with a green level) and network bars.
    QVERIFY(countLike(img, L.name, Qt::white, 60) > 30);
    QVERIFY(countLike(img, L.mic, Qt::white, 60) > 10);
    QVERIFY(countLike(img, L.mic, QColor(0x3D, 0xD6, 0x8C), 40) > 4);
    QVERIFY(countLike(img, L.net, QColor(0x3D, 0xD6, 0x8C), 40) > 10);
    QVERIFY(countUnlike(img, L.more, kVideoBlue, 40) > 20);
    QVERIFY(L.plate.bottom() < 360 && L.plate.left() >= 0);
}

void TstOverlay::noVideoShowsHeadImage()
{
    auto p = makePerson(QStringLiteral("u_hana"), QStringLiteral("Hana"));
    p->bPreview = false;
    QImage head(120, 90, QImage::Format_RGB32);
    head.fill(QColor(255, 128, 0));
    p->headImage = head;
    Stage s(p.get(), QSize(480, 270));
    QVERIFY(s.ready());
    s.info()->refreshDisplay();
    QVERIFY(s.info()->isPlaceholderShown());
    QVERIFY(s.info()->isHeadImageShown());
    const QImage img = s.grab();
    save(img, QStringLiteral("novideo_headimage"));
    const QRect a = s.info()->layout().avatar;
    QVERIFY(a.width() >= 60);
    QVERIFY(near(img.pixelColor(a.center()), QColor(255, 128, 0), 6));
    // Round: the avatar's corner is the tile's background.
    QVERIFY(near(img.pixelColor(a.topLeft() + QPoint(2, 2)), QColor(0x2A, 0x2E, 0x36), 6));
}

void TstOverlay::noVideoShowsInitial()
{
    auto p = makePerson(QStringLiteral("u_bob"), QStringLiteral("bob"));
    p->eStreamStatus = 0; // video on, no frame yet
    Stage s(p.get(), QSize(480, 270));
    QVERIFY(s.ready());
    QDlgPlayInfo* info = s.info();
    QVERIFY(info->isPlaceholderShown());
    QCOMPARE(info->initialText(), QStringLiteral("B"));
    // The colour comes from the user ID alone: the same on every run and
    // machine, and the same on the share of this participant's screen.
    QCOMPARE(info->discColor(), QColor(0x8B, 0x5C, 0xF6));
    QCOMPARE(kxoverlay::discColor(QStringLiteral("sharescreen_u_bob")), info->discColor());
    const QImage img = s.grab();
    save(img, QStringLiteral("novideo_initial"));
    const QRect a = info->layout().avatar;
    QVERIFY(near(img.pixelColor(a.left() + a.width() / 8, a.center().y()), info->discColor(), 8));
    QVERIFY(countLike(img, a, Qt::white, 40) > 40); // the letter
}

void TstOverlay::unjoinedShowsCallStateAndRecall_data()
{
    QTest::addColumn<bool>("host");
    QTest::newRow("host") << true;
    QTest::newRow("attendee") << false;
}

void TstOverlay::unjoinedShowsCallStateAndRecall()
{
    QFETCH(bool, host);
    QKXScreenConfig::getInstance()->m_bHostOrCoHost = host;
    auto p = makePerson(QStringLiteral("unjoined_carol"), QStringLiteral("Carol"));
    p->m_iStatus = 2;
    Stage s(p.get(), QSize(480, 270));
    QVERIFY(s.ready());
    QDlgPlayInfo* info = s.info();
    QVERIFY(info->isPlaceholderShown());
    QCOMPARE(info->statusText(), QStringLiteral("No answer"));
    QCOMPARE(info->recallButton()->isVisible(), host);
    QVERIFY(!info->micButton()->isVisible());
    QVERIFY(!info->moreButton()->isVisible());
    const QImage img = s.grab();
    save(img, host ? QStringLiteral("unjoined_host") : QStringLiteral("unjoined_attendee"));
    QVERIFY(countLike(img, info->layout().status, Qt::white, 60) > 30);
    if (!host)
        return;
    const QRect r = info->recallButton()->geometry();
    QVERIFY(countLike(img, r, QColor(0x2B, 0xA4, 0x71), 30) > r.width() * r.height() / 3);
    QVERIFY(!r.intersects(info->layout().status));
    const QStringList words = {QStringLiteral("Calling\u2026"), QStringLiteral("No answer"), QStringLiteral("Declined"),
                               QStringLiteral("Busy"), QStringLiteral("Hung up"), QStringLiteral("Call failed")};
    for (int status = 1; status <= 6; ++status) {
        p->m_iStatus = status;
        info->refreshDisplay();
        QCOMPARE(info->statusText(), words.at(status - 1));
        QCOMPARE(info->recallButton()->isHidden(), status == 1); // nothing to recall while ringing
    }
}

void TstOverlay::microphoneStates()
{
    auto p = makePerson(QStringLiteral("u_mia"), QStringLiteral("Mia"));
    p->bMute = false;
    p->iVolume = 100;
    Stage s(p.get(), QSize(640, 360));
    QVERIFY(s.showVideo(p.get()));
    QDlgPlayInfo* info = s.info();
    const QRect mic = info->layout().mic;
    const QColor green(0x3D, 0xD6, 0x8C);
    QVERIFY(countLike(s.grab(), mic, green, 40) > 10);

    p->bMute = true;
    info->refreshDisplay();
    QCOMPARE(info->micIconName(), QStringLiteral("mic_off"));
    const QImage muted = s.grab();
    save(muted, QStringLiteral("muted"));
    QCOMPARE(countLike(muted, mic, green, 40), 0); // no level while muted
    QVERIFY(countLike(muted, mic, QColor(0xF5, 0x48, 0x4A), 50) > 10);

    p->bHasMic = false;
    info->refreshDisplay();
    QCOMPARE(info->micIconName(), QStringLiteral("mic_none"));
}

void TstOverlay::weakNetworkSpinnerThenWeakest()
{
    auto p = makePerson(QStringLiteral("u_nick"), QStringLiteral("Nick"));
    p->iNetLevel = 0;
    Stage s(p.get(), QSize(640, 360));
    QVERIFY(s.showVideo(p.get()));
    QDlgPlayInfo* info = s.info();
    NetWeakLoading* spinner = info->netWeakLoading();
    QTRY_VERIFY(spinner->isVisible());
    QVERIFY(spinner->isLoading());
    QCOMPARE(spinner->pos(), QPoint((640 - spinner->width()) / 2, (360 - spinner->height()) / 2));
    QVERIFY(info->netIconName().isEmpty());
    const QImage waiting = s.grab();
    save(waiting, QStringLiteral("weak_network_waiting"));
    QVERIFY(countUnlike(waiting, spinner->geometry(), kVideoBlue, 40) > 40);

    // The test spins it by hand from zero instead of waiting 15 s.
    spinner->stopLoading();
    QSignalSpy timeout(spinner, &NetWeakLoading::sigTimerOutLoading);
    for (int i = 0; i < 249; ++i)
        spinner->onTick();
    QCOMPARE(timeout.count(), 0);
    QVERIFY(spinner->isVisible());
    spinner->onTick();
    QCOMPARE(timeout.count(), 1);
    QVERIFY(!spinner->isVisible());
    QCOMPARE(p->iNetLevel, -1);
    QVERIFY(p->bNetWeak);
    QCOMPARE(info->netIconName(), QStringLiteral("net_level_1"));
    const QImage weakest = s.grab();
    save(weakest, QStringLiteral("weak_network_timed_out"));
    QVERIFY(countLike(weakest, info->layout().net, QColor(0xF5, 0x48, 0x4A), 50) > 4);
    QVERIFY(!spinner->isVisible()); // a repaint does not bring it back
}

void TstOverlay::spinnerRules()
{
    auto p = makePerson(QStringLiteral("u_olga"), QStringLiteral("Olga"));
    p->iNetLevel = 0;
    Stage s(p.get(), QSize(480, 270));
    QVERIFY(s.ready());
    NetWeakLoading* spinner = s.info()->netWeakLoading();
    QTRY_VERIFY(spinner->isVisible());
    save(s.grab(), QStringLiteral("weak_network_no_video"));
    spinner->stopLoading(); // ticked by hand from here on
    auto shownAfter = [&](auto change) {
        change();
        s.info()->refreshDisplay();
        QCoreApplication::processEvents();
        return spinner->isVisible();
    };
    // Only for a remote participant with video on, no level yet, not a share.
    QVERIFY(!shownAfter([&] { p->bSelf = true; }));
    QVERIFY(shownAfter([&] { p->bSelf = false; }));
    QVERIFY(!shownAfter([&] { p->bPreview = false; }));
    QVERIFY(shownAfter([&] { p->bPreview = true; }));
    QVERIFY(!shownAfter([&] { p->userID = QStringLiteral("sharescreen_u_olga"); }));
    QVERIFY(shownAfter([&] { p->userID = QStringLiteral("u_olga"); }));

    // A level arrives after 200 ticks: hidden, and the count starts again.
    QSignalSpy timeout(spinner, &NetWeakLoading::sigTimerOutLoading);
    for (int i = 0; i < 200; ++i)
        spinner->onTick();
    QVERIFY(!shownAfter([&] { p->iNetLevel = 4; }));
    QCOMPARE(spinner->elapsed(), 0);
    for (int i = 0; i < 249; ++i)
        spinner->onTick();
    QCOMPARE(timeout.count(), 0);
    // A hidden spinner still times out once; the level has arrived meanwhile,
    // so nothing changes.
    spinner->onTick();
    QCOMPARE(timeout.count(), 1);
    QCOMPARE(p->iNetLevel, 4);
    QVERIFY(!p->bNetWeak);
    QVERIFY(!spinner->isVisible());
    QCOMPARE(s.info()->netIconName(), QStringLiteral("net_level_4"));

    // The local user's own wait ends without the weak flag.
    auto self = makePerson(QStringLiteral("u_me"), QStringLiteral("Me"));
    self->bSelf = true;
    self->iNetLevel = 0;
    QDlgPlayInfo info;
    info.setPersonInfo(self.get());
    info.onNetWeakTimeout();
    QCOMPARE(self->iNetLevel, -1);
    QVERIFY(!self->bNetWeak);
    QCOMPARE(info.netIconName(), QStringLiteral("net_level_1"));
}

void TstOverlay::skins()
{
    auto p = makePerson(QStringLiteral("unjoined_sky"), QStringLiteral("Sky"));
    p->m_iStatus = 1;
    Stage s(p.get(), QSize(480, 270));
    QVERIFY(s.ready());
    const QRect side(460, 120, 16, 30); // right edge, beside everything drawn
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const QImage dark = s.grab();
    save(dark, QStringLiteral("skin_dark"));
    QCOMPARE(countUnlike(dark, side, QColor(cfg->getBackColor()), 2), 0);
    QVERIFY(countLike(dark, s.info()->layout().status, QColor(cfg->getTextColor()), 60) > 20);

    cfg->setNewSkin(true);
    s.info()->refreshDisplay();
    const QImage light = s.grab();
    save(light, QStringLiteral("skin_light"));
    QCOMPARE(countUnlike(light, side, QColor(cfg->getBackColor()).darker(105), 2), 0);
    QVERIFY(countLike(light, s.info()->layout().status, QColor(cfg->getTextColor()), 60) > 20);
}

void TstOverlay::smallStripTileStaysReadable()
{
    auto p = makePerson(QStringLiteral("u_eve"), QStringLiteral("Eve Long"));
    p->iNetLevel = 3;
    Stage s(p.get(), QSize(320, 180));
    QVERIFY(s.showVideo(p.get()));
    QDlgPlayInfo* info = s.info();
    const kxoverlay::PlayInfoLayout& L = info->layout();
    QVERIFY(L.fontPx >= 11);
    QVERIFY(L.iconPx >= 16);
    QCOMPARE(info->plateText(), QStringLiteral("Eve Long"));
    QVERIFY(info->micButton()->isVisible());
    QVERIFY(info->micButton()->width() >= 16);
    const QImage img = s.grab();
    save(img, QStringLiteral("strip_320x180"));
    QVERIFY(countLike(img, L.name, Qt::white, 60) > 20);
    QVERIFY(countLike(img, L.net, QColor(0xFF, 0xC5, 0x3D), 50) > 4);
    QVERIFY(near(img.pixelColor(160, 90), kVideoBlue, 8));

    // A long name is shortened, not cut off by the tile's edge.
    p->userName = QStringLiteral("Maximiliane Alexandra von Oberhausen-Lichtenstein");
    info->refreshDisplay();
    QVERIFY(info->plateText().endsWith(QChar(0x2026)));
    QVERIFY(L.plate.right() < 320);
}

void TstOverlay::shareCaptionAndBadges()
{
    auto p = makePerson(QStringLiteral("sharescreen_u_dave"), QStringLiteral("Dave"));
    p->bAllLook = true;
    p->bLockLook = true;
    Stage s(p.get(), QSize(960, 540));
    QVERIFY(s.ready());
    QDlgPlayInfo* info = s.info();
    // Before the first frame: the share icon on the sharer's colour.
    QVERIFY(info->isPlaceholderShown());
    const QImage waiting = s.grab();
    save(waiting, QStringLiteral("share_waiting"));
    QVERIFY(countLike(waiting, info->layout().avatar, Qt::white, 60) > 40);
    QVERIFY(s.showVideo(p.get(), 1280, 720));
    QCOMPARE(info->plateText(), QStringLiteral("Dave's screen"));
    QCOMPARE(info->badgeIcons(), (QStringList{QStringLiteral("all_look"), QStringLiteral("lock_look")}));
    QVERIFY(!info->micButton()->isVisible());
    QVERIFY(!info->moreButton()->isVisible());
    QVERIFY(!info->netWeakLoading()->isVisible());
    const QImage img = s.grab();
    save(img, QStringLiteral("share_caption_badges"));
    const kxoverlay::PlayInfoLayout& L = info->layout();
    QVERIFY(countLike(img, L.shareIcon, Qt::white, 60) > 10);
    QVERIFY(countLike(img, L.name, Qt::white, 60) > 40);
    for (const kxoverlay::PlayInfoBadge& b : L.badges) {
        QVERIFY(!b.text.isEmpty()); // room for the words on a big tile
        QVERIFY(countLike(img, b.icon, Qt::white, 60) > 10);
    }
}

void TstOverlay::resolutionCorner()
{
    QTemporaryDir dir;
    QVERIFY(QDir().mkpath(dir.path() + QStringLiteral("/user_data")));
    QFile ini(dir.path() + QStringLiteral("/user_data/sys_ver.ini"));
    QVERIFY(ini.open(QIODevice::WriteOnly));
    ini.write("[version]\nshow_resolution=true\n");
    ini.close();
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const QString before = cfg->baseDir();
    cfg->setBaseDir(dir.path());
    cfg->loadSettingsNow();
    QVERIFY(cfg->showResolution());

    auto p = makePerson(QStringLiteral("u_res"), QStringLiteral("Res"));
    Stage s(p.get(), QSize(640, 360));
    QVERIFY(s.showVideo(p.get(), 1280, 720));
    s.info()->refreshDisplay();
    QCOMPARE(s.info()->resolutionText(), QStringLiteral("1280\u00D7720"));
    const QRect r = s.info()->layout().resolution;
    QVERIFY(r.right() > 540 && r.bottom() > 300); // bottom-right corner
    const QImage img = s.grab();
    save(img, QStringLiteral("resolution_corner"));
    QVERIFY(countLike(img, r, Qt::white, 60) > 30);

    cfg->setBaseDir(before);
    cfg->loadSettingsNow();
    s.info()->refreshDisplay();
    QVERIFY(s.info()->resolutionText().isEmpty());
}

void TstOverlay::clicksBesideControlsReachTheTile()
{
    auto p = makePerson(QStringLiteral("u_ray"), QStringLiteral("Ray"));
    Stage s(p.get(), QSize(640, 360));
    QVERIFY(s.showVideo(p.get()));
    QSignalSpy click(s.tile, &CPlayWidget::mouseLClick);
    QSignalSpy dclick(s.tile, &CPlayWidget::mouseLDClick);
    QSignalSpy audio(QKXScreenConfig::getInstance(), &QKXScreenConfig::notifyClickAudioCtrl);

    clickThroughWindow(s.tile, QPoint(320, 180));
    QTRY_COMPARE(click.count(), 1);
    QCOMPARE(audio.count(), 0);

    clickThroughWindow(s.info()->micButton());
    QCOMPARE(audio.count(), 1);
    QCOMPARE(audio.at(0).at(0).value<void*>(), static_cast<void*>(p.get()));
    QVERIFY(!click.wait(450)); // longer than the tile's single-click timer

    QWidget* win = s.tile->window();
    QTest::mouseDClick(win->windowHandle(), Qt::LeftButton, Qt::NoModifier, s.tile->mapTo(win, QPoint(200, 100)));
    QTRY_COMPARE(dclick.count(), 1);
    QCOMPARE(click.count(), 1);
}

void TstOverlay::noRepaintPerFrame()
{
    auto p = makePerson(QStringLiteral("u_sam"), QStringLiteral("Sam"));
    Stage s(p.get(), QSize(480, 270));
    QVERIFY(s.showVideo(p.get()));
    QCoreApplication::processEvents();
    const int paints = s.info()->paintCount();
    Frame f(640, 360, 32, 240, 118);
    for (int i = 0; i < 5; ++i) {
        const int drawn = s.tile->paintedFrames();
        QVERIFY(s.feed(f));
        QTRY_VERIFY(s.tile->paintedFrames() > drawn);
    }
    QCoreApplication::processEvents();
    QCOMPARE(s.info()->paintCount(), paints);
    // A state change repaints.
    s.info()->setVideoState(true, false);
    QTRY_VERIFY(s.info()->paintCount() > paints);
}

void TstOverlay::imageCacheIsReleased()
{
    auto p = makePerson(QStringLiteral("u_tom"), QStringLiteral("Tom"));
    p->bMute = false;
    Stage s(p.get(), QSize(480, 270));
    QVERIFY(s.showVideo(p.get()));
    s.grab();
    QVERIFY(kxoverlay::cachedIconCount() > 0);
    QDlgPlayInfo::releaseImageCache();
    QCOMPARE(kxoverlay::cachedIconCount(), 0);
    s.info()->refreshDisplay();
    const QImage img = s.grab();
    QVERIFY(kxoverlay::cachedIconCount() > 0);
    QVERIFY(countLike(img, s.info()->layout().mic, Qt::white, 60) > 10); // rendered afresh
}

void TstOverlay::freedRecordIsNotRead()
{
    auto p = makePerson(QStringLiteral("u_una"), QStringLiteral("Una"));
    Stage s(p.get(), QSize(480, 270));
    QVERIFY(s.showVideo(p.get()));
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    QSignalSpy audio(cfg, &QKXScreenConfig::notifyClickAudioCtrl);
    cfg->addDelPerson(p.get());
    s.info()->refreshDisplay();
    QCoreApplication::processEvents();
    QVERIFY(s.info()->displayName().isEmpty());
    QVERIFY(!s.info()->micButton()->isVisible());
    emit static_cast<QAbstractButton*>(s.info()->micButton())->clicked();
    QCOMPARE(audio.count(), 0);
    cfg->testDelPerson(p.get(), true);
    s.tile->setPersonData(nullptr, false);
}

void TstOverlay::translationsAreFinished()
{
    QTranslator en;
    QVERIFY(en.load(QStringLiteral(":/i18n/KXScreenMod_en.qm")));
    for (const char* src : {"Calling\u2026", "No answer", "Declined", "Busy", "Hung up", "Call failed", "Not joined",
                            "Call again", "More", "Muted", "Unmuted", "No microphone", "%1's screen",
                            "Shared screen", "Everyone watching", "View locked"})
        QVERIFY2(!en.translate("QDlgPlayInfo", src).isEmpty(), src);
    QCOMPARE(en.translate("QDlgPopupScreen", "dialog"), QStringLiteral("Dialog"));
}

void TstOverlay::controlsReachTheHost()
{
    Gallery g;
    QVERIFY(QTest::qWaitForWindowExposed(&g.host));
    void* self = g.add("me", 1);
    void* other = g.add("u_ann", 2);
    void* invited = g.add("unjoined_u_ben", 3, 2);
    QByteArray me("me");
    KXScreen_SetPersonInfo(g.h, self, true, 1, me.data()); // the local user hosts
    QTRY_VERIFY(QKXScreenConfig::getInstance()->m_bHostOrCoHost);
    QTRY_VERIFY(Gallery::info(other) && Gallery::info(other)->micButton()->isVisible());
    QDlgPlayInfo* info = Gallery::info(other);
    QTRY_VERIFY(Gallery::info(invited) && Gallery::info(invited)->recallButton()->isVisible());
    save(g.host.grab().toImage(), QStringLiteral("gallery_host"));

    Recorder& host = Recorder::at(0);
    const quint64 rec = reinterpret_cast<quintptr>(Gallery::rec(other));
    clickThroughWindow(info->micButton());
    QTRY_COMPARE(host.count(0), 1);
    for (const HostMsg& m : host.all()) {
        if (m.msg == 0)
            QVERIFY(m.wParam == rec && m.lParam == 2);
    }

    for (const QPoint pt : {QPoint(3, 5), QPoint(1919, 1079), QPoint(-1280, 200), QPoint(300, -40)})
        QCOMPARE(QDlgPlayInfo::unpackClickPos(QDlgPlayInfo::packClickPos(pt)), pt);
    QCOMPARE(QDlgPlayInfo::packClickPos(QPoint(3, 5)), (3 << 16) | 5);
    QWidget* more = info->moreButton();
    clickThroughWindow(more);
    QTRY_COMPARE(host.count(1), 1);
    for (const HostMsg& m : host.all()) {
        if (m.msg == 1) {
            QCOMPARE(QDlgPlayInfo::unpackClickPos(int(m.wParam)), more->mapToGlobal(more->rect().center()));
            QCOMPARE(m.lParam, uint64_t(2));
        }
    }

    clickThroughWindow(Gallery::info(invited)->recallButton());
    QTRY_COMPARE(host.count(24, Gallery::rec(invited)), 1);
    for (const HostMsg& m : host.all()) {
        if (m.msg == 24)
            QCOMPARE(m.lParam, uint64_t(3));
    }

    // What the host reports reaches the tile.
    KXScreen_SetMute(g.h, other, 0);
    KXScreen_SetVolume(g.h, other, 80);
    QTRY_COMPARE(info->micLevel(), 80);
    QCOMPARE(info->micIconName(), QStringLiteral("mic_on"));
    QImage head(64, 64, QImage::Format_RGB32);
    head.fill(Qt::darkCyan);
    KXScreen_SetPersonHeadImg(g.h, other, &head);
    QTRY_VERIFY(info->isHeadImageShown());

    // No longer host: the recall control goes.
    KXScreen_SetPersonInfo(g.h, self, true, 0, me.data());
    QTRY_VERIFY(Gallery::info(invited)->recallButton()->isHidden());
}

void TstOverlay::netWeakByUserIdChangesIcon()
{
    Gallery g;
    QVERIFY(QTest::qWaitForWindowExposed(&g.host));
    void* other = g.add("u_net", 5);
    QTRY_VERIFY(Gallery::info(other) && Gallery::info(other)->isVisible());
    QDlgPlayInfo* info = Gallery::info(other);
    CPlayWidget* tile = Gallery::rec(other)->pWidget;
    QCOMPARE(info->netIconName(), QStringLiteral("net_level_6"));
    const QImage six = tile->grab().toImage();

    KXScreen_UpdateNetWeak(g.h, "u_net", false, 2);
    QTRY_COMPARE(info->netIconName(), QStringLiteral("net_level_2"));
    const QImage two = tile->grab().toImage();
    const QRect net = info->layout().net;
    int changed = 0;
    for (int y = net.top(); y <= net.bottom(); ++y)
        for (int x = net.left(); x <= net.right(); ++x)
            changed += six.pixel(x, y) != two.pixel(x, y) ? 1 : 0;
    QVERIFY(changed > 10);

    KXScreen_UpdateNetWeak(g.h, "u_net", true, 5); // weak wins over the level
    QTRY_COMPARE(info->netIconName(), QStringLiteral("net_level_1"));
    KXScreen_UpdateNetWeak(g.h, "u_net", false, 0); // unknown again: wait for it
    QTRY_VERIFY(info->netWeakLoading()->isVisible());
    QVERIFY(info->netIconName().isEmpty());
}

QTEST_MAIN(TstOverlay)
#include "tst_overlay.moc"
