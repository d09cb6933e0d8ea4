// The exports as a host calls them: handle checks, routing to the gallery,
// host notifications, lifecycle.
#include "kxscreenhandle.h"
#include "kxscreeninternal.h"
#include "kxscreenmod2.h"
#include "kxgallerytest.h"
#include "kxtesthelpers.h"
#include "cplaywidget.h"
#include "personinfo.h"
#include "qdlgmain.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"

#include <QTemporaryDir>
#include <QWidget>
#include <QtTest>
#include <functional>
#include <thread>

using namespace kxtest;

namespace {

// One per-participant export, called with a given play handle.
typedef std::function<int(void* h, void* hPlay)> PersonCall;

} // namespace

Q_DECLARE_METATYPE(PersonCall)

class TstExports : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void init();
    void cleanup();

    void badModuleHandles();
    void badPlayHandles_data();
    void badPlayHandles();
    void reusedAddressWorks();
    void addPersonFromHostThread();
    void unjoinedDefaults();
    void shareDeleteEndsShareFirst();
    void exportsReachTheGallery();
    void twoGalleriesBothNotified();
    void skinBeforeInit_data();
    void skinBeforeInit();
    void mainDialogRefusesClose();
    void moveWindowPlacesTheGallery();
    void settingsReadAtInit();

private:
    QWidget* m_host = nullptr;
    void* m_h = nullptr;
    QTemporaryDir m_dir;
};

void TstExports::initTestCase()
{
    QVERIFY(m_dir.isValid());
}

void TstExports::init()
{
    Recorder::at(0).clear();
    Recorder::at(1).clear();
    m_host = new QWidget;
    m_host->resize(1280, 720);
    m_host->show();
    m_h = KXScreen_Init(m_host, m_dir.path().toUtf8().constData(), recorder0);
    QVERIFY(m_h);
    QVERIFY(isValidScreenHandle(m_h));
}

void TstExports::cleanup()
{
    KXScreen_Release(m_h);
    m_h = nullptr;
    delete m_host;
    m_host = nullptr;
    QCoreApplication::processEvents();
}

void TstExports::badModuleHandles()
{
    int foreign = 42;
    QByteArray id("u1");
    QByteArray name("Name");
    for (void* bad : {static_cast<void*>(nullptr), static_cast<void*>(&foreign)}) {
        QVERIFY(!KXScreen_AddPerson(bad, id.data(), id.data(), name.data(), 1, 0, nullptr, 1));
        QCOMPARE(KXScreen_SetCurMode(bad, 5), 0);
        QCOMPARE(KXScreen_GetCurMode(bad), 0);
        QCOMPARE(KXScreen_SetParent(bad, m_host), 0);
        QCOMPARE(KXScreen_JoinMeetingFinish(bad), 0);
        QCOMPARE(KXScreen_SetDPIs(bad, 2.0, 2.0), 0);
        QCOMPARE(KXScreen_IsIconic(bad), 0);
        QVERIFY(!KXScreen_GetPicInPicWidgetPtr(bad));
        QVERIFY(!KXScreen_GetShareUserID(bad));
        QVERIFY(KXScreen_GetShareWgtPos(bad).isNull());
        KXScreen_Release(bad); // ignored, no crash
    }
    QCOMPARE(QKXScreenConfig::getInstance()->dpi1(), 1.0);

    // A released handle is as dead as a foreign one.
    void* h2 = KXScreen_Init(m_host, "", recorder1);
    QVERIFY(h2);
    KXScreen_Release(h2);
    QVERIFY(!isValidScreenHandle(h2));
    QVERIFY(!KXScreen_AddPerson(h2, id.data(), id.data(), name.data(), 1, 0, nullptr, 1));
    QCOMPARE(KXScreen_SetCurMode(h2, 5), 0);
    // The two that skip the handle check still answer.
    QCOMPARE(KXScreen_SetIsNewSkin(nullptr, false), 1);
    QCOMPARE(KXScreen_SetMeetingRoomMinimized(nullptr, false), 1);
}

void TstExports::badPlayHandles_data()
{
    QTest::addColumn<PersonCall>("call");
    QTest::addColumn<bool>("checksReleased"); // PlayFrame and Preview look up released handles first
    static Frame frame(64, 36);
    static QImage image(8, 8, QImage::Format_RGB32);
    QTest::newRow("PlayFrame") << PersonCall([](void* h, void* p) { return KXScreen_PlayFrame(h, p, &frame.rec); }) << true;
    QTest::newRow("Preview") << PersonCall([](void* h, void* p) { return KXScreen_Preview(h, p, false); }) << true;
    QTest::newRow("SetMute") << PersonCall([](void* h, void* p) { return KXScreen_SetMute(h, p, 0); }) << false;
    QTest::newRow("SetHasMic") << PersonCall([](void* h, void* p) { return KXScreen_SetHasMic(h, p, false); }) << false;
    QTest::newRow("SetPersonInfo") << PersonCall([](void* h, void* p) {
        QByteArray n("Mallory");
        return KXScreen_SetPersonInfo(h, p, true, 1, n.data());
    }) << false;
    QTest::newRow("SetPersonHeadImg") << PersonCall([](void* h, void* p) { return KXScreen_SetPersonHeadImg(h, p, &image); }) << false;
    QTest::newRow("SetUnjoinedPersonInfo") << PersonCall([](void* h, void* p) {
        QByteArray n("Mallory");
        return KXScreen_SetUnjoinedPersonInfo(h, p, n.data(), 3, image);
    }) << false;
    QTest::newRow("SetVolume") << PersonCall([](void* h, void* p) { return KXScreen_SetVolume(h, p, 77); }) << false;
    QTest::newRow("AllLook") << PersonCall([](void* h, void* p) { return KXScreen_AllLook(h, p, 1); }) << false;
    QTest::newRow("LockLook") << PersonCall([](void* h, void* p) { return KXScreen_LockLook(h, p, 1); }) << false;
    QTest::newRow("MoreInHide") << PersonCall([](void* h, void* p) { return KXScreen_MoreInHide(h, p); }) << false;
    QTest::newRow("DelPerson") << PersonCall([](void* h, void* p) { return KXScreen_DelPerson(h, p); }) << false;
    QTest::newRow("SetDefStreamType") << PersonCall([](void* h, void* p) { return KXScreen_SetDefStreamType(h, p); }) << false;
}

void TstExports::badPlayHandles()
{
    QFETCH(PersonCall, call);
    QFETCH(bool, checksReleased);
    ModuleLogOn logOn;
    QByteArray id("u1");
    QByteArray name("Alice");
    void* live = KXScreen_AddPerson(m_h, id.data(), id.data(), name.data(), 10, 0, nullptr, 1);
    QVERIFY(live);
    QTRY_COMPARE(controllerOf(m_h)->persons().size(), 1);
    tagPersonInfo* rec = recordOf(live);
    const QString nameBefore = rec->userName;
    const bool muteBefore = rec->bMute;
    const bool previewBefore = rec->bPreview;
    const int volumeBefore = rec->iVolume;

    // Null handle.
    QTest::ignoreMessage(QtDebugMsg, "hPlay == nullptr");
    QCOMPARE(call(m_h, nullptr), 0);

    // A handle the module never issued: never read.
    ST_KXPlayHdl forged;
    forged.pPlayData = rec;
    QTest::ignoreMessage(QtDebugMsg, "IsBadReadPtr(pPlay, sizeof(ST_KXPlayHdl))");
    QCOMPARE(call(m_h, &forged), 0);

    // A released handle.
    void* gone = KXScreen_AddPerson(m_h, id.data(), id.data(), name.data(), 11, 0, nullptr, 1);
    QVERIFY(gone);
    QCOMPARE(KXScreen_DelPerson(m_h, gone), 1);
    QTest::ignoreMessage(QtDebugMsg, checksReleased ? "iter != pScreen->mapHadDelPlay.end()"
                                                    : "IsBadReadPtr(pPlay, sizeof(ST_KXPlayHdl))");
    QCOMPARE(call(m_h, gone), 0);

    QCoreApplication::processEvents();
    QCOMPARE(rec->userName, nameBefore);
    QCOMPARE(rec->bMute, muteBefore);
    QCOMPARE(rec->bPreview, previewBefore);
    QCOMPARE(rec->iVolume, volumeBefore);
    QVERIFY(!rec->bAllLook && !rec->bLockLook);
    QCOMPARE(controllerOf(m_h)->persons().size(), 1);
    QCOMPARE(controllerOf(m_h)->persons().first(), rec);
}

void TstExports::reusedAddressWorks()
{
    QByteArray id("u1");
    QByteArray name("Alice");
    // Kept in a vector reserved up front: bookkeeping that allocates between
    // the release and the next add would take the freed block itself.
    std::vector<void*> released;
    released.reserve(256);
    void* reused = nullptr;
    // The allocator usually hands a just-freed block back; when it does, the
    // new handle must be accepted although its address was released before.
    for (int i = 0; i < 200 && !reused; ++i) {
        void* p = KXScreen_AddPerson(m_h, id.data(), id.data(), name.data(), i, 0, nullptr, 1);
        QVERIFY(p);
        if (std::find(released.begin(), released.end(), p) != released.end()) {
            reused = p;
            break;
        }
        QCOMPARE(KXScreen_DelPerson(m_h, p), 1);
        released.push_back(p);
    }
    if (!reused)
        QSKIP("the allocator never reused a released handle address (sanitizer quarantine)");
    QVERIFY(!static_cast<KXScreenHandle*>(m_h)->hadDelPlay(reused));
    Frame frame(64, 36);
    QCOMPARE(KXScreen_Preview(m_h, reused, true), 1);
    QCOMPARE(KXScreen_SetMute(m_h, reused, 0), 1);
    QTRY_VERIFY(controllerOf(m_h)->persons().contains(recordOf(reused)));
    QCOMPARE(KXScreen_PlayFrame(m_h, reused, &frame.rec), 1);
}

void TstExports::addPersonFromHostThread()
{
    QDlgScreen* screen = controllerOf(m_h);
    void* hPlay = nullptr;
    Qt::HANDLE hostThread = nullptr;
    std::thread host([&]() {
        hostThread = QThread::currentThreadId();
        QByteArray id("u7");
        QByteArray name("Zoë");
        hPlay = KXScreen_AddPerson(m_h, id.data(), id.data(), name.data(), 5, 3, reinterpret_cast<void*>(0x77), 2);
    });
    host.join();
    QVERIFY(hPlay);
    QVERIFY(hostThread != QThread::currentThreadId());
    // Created on the host thread, but the roster only learns of it on the
    // interface thread.
    QCOMPARE(screen->persons().size(), 0);
    tagPersonInfo* rec = recordOf(hPlay);
    QCOMPARE(rec->userName, QString::fromUtf8("Zoë"));
    QCOMPARE(rec->iExtra, 3);
    QCOMPARE(rec->m_iStatus, 2);
    QCOMPARE(rec->pUserData, reinterpret_cast<void*>(0x77));
    QTRY_COMPARE(screen->persons().size(), 1);
    QCOMPARE(screen->persons().first(), rec);
    QVERIFY(rec->pWidget); // laid out at once
    QVERIFY(rec->pWidget->isVisible());
    // The information-updated notice answers with the handle and the user data.
    QTRY_COMPARE(Recorder::at(0).count(20), 1);
    QCOMPARE(Recorder::at(0).all().first().wParam, reinterpret_cast<uint64_t>(hPlay));
}

void TstExports::unjoinedDefaults()
{
    QByteArray id("unjoined_9");
    QByteArray camera("u9");
    QByteArray name("Invitee");
    void* inv = KXScreen_AddPerson(m_h, id.data(), id.data(), name.data(), 1, 0, nullptr, 1);
    void* cam = KXScreen_AddPerson(m_h, camera.data(), camera.data(), name.data(), 1, 0, nullptr, 1);
    QVERIFY(!recordOf(inv)->bPreview);
    QVERIFY(!recordOf(inv)->bMute);
    QVERIFY(recordOf(cam)->bPreview);
    QVERIFY(recordOf(cam)->bMute);
}

void TstExports::shareDeleteEndsShareFirst()
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    QStringList order;
    auto c1 = connect(cfg, &QKXScreenConfig::modSignalSetSharePause, this,
                      [&](bool b) { order << QStringLiteral("pause:%1").arg(b); }, Qt::DirectConnection);
    auto c2 = connect(cfg, &QKXScreenConfig::modSignalDelPerson, this,
                      [&](void*) { order << QStringLiteral("del"); }, Qt::DirectConnection);
    QByteArray share("sharescreen_u1");
    QByteArray cam("u1");
    QByteArray name("Alice");
    void* s = KXScreen_AddPerson(m_h, share.data(), share.data(), name.data(), 1, 0, nullptr, 1);
    void* c = KXScreen_AddPerson(m_h, cam.data(), cam.data(), name.data(), 1, 0, nullptr, 1);
    QCOMPARE(KXScreen_DelPerson(m_h, c), 1);
    QCOMPARE(order, QStringList{"del"});
    order.clear();
    QCOMPARE(KXScreen_DelPerson(m_h, s), 1);
    QCOMPARE(order, (QStringList{"pause:0", "del"}));
    disconnect(c1);
    disconnect(c2);
}

void TstExports::exportsReachTheGallery()
{
    QDlgScreen* screen = controllerOf(m_h);
    QByteArray id("u1");
    QByteArray name("Alice");
    void* p = KXScreen_AddPerson(m_h, id.data(), id.data(), name.data(), 1, 0, nullptr, 1);
    tagPersonInfo* rec = recordOf(p);
    QTRY_COMPARE(screen->persons().size(), 1);

    // From a host thread: everything arrives when the interface thread pumps.
    std::thread host([&]() {
        QByteArray newName("Alice B");
        QCOMPARE(KXScreen_SetMute(m_h, p, 0), 1);
        QCOMPARE(KXScreen_SetHasMic(m_h, p, false), 1);
        QCOMPARE(KXScreen_SetVolume(m_h, p, 55), 1);
        QCOMPARE(KXScreen_SetPersonInfo(m_h, p, true, 2, newName.data()), 1);
        QCOMPARE(KXScreen_UpdateNetWeak(m_h, "u1", true, 2), 1);
        QCOMPARE(KXScreen_SetCurMode(m_h, 6), 1);
        QCOMPARE(KXScreen_Preview(m_h, p, false), 1);
    });
    host.join();
    QTRY_COMPARE(QKXScreenConfig::getInstance()->curScreenMode(), 6);
    QTRY_COMPARE(rec->userName, QString("Alice B"));
    QVERIFY(!rec->bMute);
    QVERIFY(!rec->bHasMic);
    QCOMPARE(rec->iVolume, 55);
    QVERIFY(rec->bSelf);
    QCOMPARE(rec->iRoleType, 2);
    QVERIFY(rec->bNetWeak);
    QCOMPARE(rec->iNetLevel, 2);
    QVERIFY(!rec->bPreview);
    QCOMPARE(rec->eStreamStatus, 1);
    QVERIFY(QKXScreenConfig::getInstance()->m_bHostOrCoHost);
    QCOMPARE(KXScreen_GetCurMode(m_h), 6);
    KXScreen_SetCurMode(m_h, 1);
    QTRY_COMPARE(KXScreen_GetCurMode(m_h), 1);

    // Direct exports on the interface thread answer at once.
    QImage head(16, 16, QImage::Format_RGB32);
    head.fill(Qt::red);
    QCOMPARE(KXScreen_SetPersonHeadImg(m_h, p, &head), 1);
    QCOMPARE(rec->headImage.pixel(0, 0), QColor(Qt::red).rgb());
    QCOMPARE(KXScreen_SetPersonHeadImg(m_h, p, nullptr), 0);
    QCOMPARE(KXScreen_SetUnjoinedPersonInfo(m_h, p, id.data(), 3, head), 1);
    QCOMPARE(rec->m_iStatus, 3);
    QCOMPARE(KXScreen_SetDPIs(m_h, 1.25, 1.5), 1);
    QCOMPARE(QKXScreenConfig::getInstance()->dpi1(), 1.25);
    QCOMPARE(QKXScreenConfig::getInstance()->dpi2(), 1.5);
    KXScreen_SetDPIs(m_h, 1.0, 1.0);
    QCOMPARE(KXScreen_SetParent(m_h, m_host), 1);
    QCOMPARE(KXScreen_IsIconic(m_h), 0);
    QVERIFY(KXScreen_GetPicInPicWidgetPtr(m_h));
    QCOMPARE(QString(KXScreen_GetShareUserID(m_h)), QString());
    QCOMPARE(KXScreen_IsUserShare(m_h), 0);
    KXScreen_StartLocalShare(m_h, 1, true);
    QCOMPARE(KXScreen_IsUserShare(m_h), 1);
    KXScreen_StopLocalShare(m_h);
    QCOMPARE(KXScreen_IsUserShare(m_h), 0);
    QByteArray sname("Bob");
    QByteArray text("hello");
    QCOMPARE(KXScreen_AddSentence(m_h, 1, 0, sname.data(), text.data()), 1);
    QCOMPARE(screen->subtitles(), QStringList{"Bob: hello"});
    QCOMPARE(KXScreen_ClearSubtitles(m_h), 1);
    QVERIFY(screen->subtitles().isEmpty());
}

void TstExports::twoGalleriesBothNotified()
{
    QWidget host2;
    host2.resize(640, 360);
    host2.show();
    void* h2 = KXScreen_Init(&host2, "", recorder1);
    QVERIFY(h2);
    QByteArray id("u1");
    QByteArray name("Alice");
    void* p = KXScreen_AddPerson(m_h, id.data(), id.data(), name.data(), 1, 0, reinterpret_cast<void*>(0x1234), 1);
    QTRY_COMPARE(controllerOf(m_h)->persons().size(), 1);
    // The second gallery does not take in the first one's participant.
    QCOMPARE(controllerOf(h2)->persons().size(), 0);
    Recorder::at(0).clear();
    Recorder::at(1).clear();
    QCOMPARE(KXScreen_SetDefStreamType(m_h, p), 1);
    // One participant in the grid: the large stream, announced to every host function.
    QCOMPARE(Recorder::at(0).count(4, recordOf(p)), 1);
    QCOMPARE(Recorder::at(1).count(4, recordOf(p)), 1);
    QCOMPARE(Recorder::at(1).all().first().lParam, uint64_t(0x1234));

    KXScreen_Release(h2);
    Recorder::at(0).clear();
    Recorder::at(1).clear();
    QCOMPARE(KXScreen_SetDefStreamType(m_h, p), 1);
    QCOMPARE(Recorder::at(0).count(4), 1);
    QCOMPARE(Recorder::at(1).all().size(), 0);
}

void TstExports::skinBeforeInit_data()
{
    QTest::addColumn<bool>("newSkin");
    QTest::addColumn<QString>("sheet");
    QTest::newRow("light") << true << "QDlgMain{background: #F7F7F7;}";
    QTest::newRow("dark") << false << "QDlgMain{background: rgb(12,16,23);}";
}

void TstExports::skinBeforeInit()
{
    QFETCH(bool, newSkin);
    QCOMPARE(KXScreen_SetIsNewSkin(nullptr, newSkin), 1);
    void* h = KXScreen_Init(m_host, "", recorder1);
    QTEST(static_cast<KXScreenHandle*>(h)->pMainDlg->styleSheet(), "sheet");
    KXScreen_Release(h);
    KXScreen_SetIsNewSkin(nullptr, false);
}

void TstExports::mainDialogRefusesClose()
{
    ModuleLogOn logOn;
    QDlgMain* dlg = static_cast<KXScreenHandle*>(m_h)->pMainDlg;
    QVERIFY(dlg->isVisible());
    QTest::ignoreMessage(QtDebugMsg, "[APP]closeEvent ignore");
    QVERIFY(!dlg->close());
    QVERIFY(dlg->isVisible());
    // Escape does not hide it either, on the dialog or on the gallery inside.
    QTest::keyClick(dlg, Qt::Key_Escape);
    QTest::keyClick(dlg->GetDlgScreenPtr(), Qt::Key_Escape);
    QVERIFY(dlg->isVisible());
    QVERIFY(dlg->GetDlgScreenPtr()->isVisible());
    QVERIFY(isValidScreenHandle(m_h));
}

void TstExports::moveWindowPlacesTheGallery()
{
    QDlgMain* dlg = static_cast<KXScreenHandle*>(m_h)->pMainDlg;
    const QRect target(40, 30, 960, 540);
    std::thread host([&]() { KXScreen_MoveWindow(m_h, target, KXSCREEN_MOVE_SHOW); });
    host.join();
    QTRY_COMPARE(dlg->geometry(), target);
    QCOMPARE(dlg->parentWidget(), m_host);
    // The controller follows through the dialog's resize handler.
    QTRY_COMPARE(controllerOf(m_h)->geometry(), QRect(0, 0, 960, 540));
    KXScreen_MoveWindow(m_h, target, KXSCREEN_MOVE_HIDE);
    QTRY_VERIFY(!dlg->isVisible());
    KXScreen_MoveWindow(m_h, QRect(0, 0, 320, 180), KXSCREEN_MOVE_RAISE);
    QTRY_VERIFY(dlg->isVisible());
    QCOMPARE(controllerOf(m_h)->size(), QSize(320, 180));
}

void TstExports::settingsReadAtInit()
{
    QTemporaryDir dir;
    QDir().mkpath(dir.path() + "/user_data");
    QFile f(dir.path() + "/user_data/sys_ver.ini");
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write("[version]\nshow_resolution=true\n");
    f.close();
    QKXScreenConfig::getInstance()->setBaseDir(QString());
    QKXScreenConfig::getInstance()->loadSettingsNow();
    QVERIFY(!QKXScreenConfig::getInstance()->showResolution());
    void* h = KXScreen_Init(m_host, dir.path().toUtf8().constData(), recorder1);
    QTRY_VERIFY(QKXScreenConfig::getInstance()->showResolution());
    QCOMPARE(QKXScreenConfig::getInstance()->baseDir(), dir.path());
    KXScreen_Release(h);
}

QTEST_MAIN(TstExports)
#include "tst_exports.moc"
