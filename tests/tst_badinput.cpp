// Every export with every kind of bad argument: the documented answer and log
// line, and nothing changed in the gallery. Run in the sanitizer build, a
// refused argument that is read anyway shows up as a report there.
#include "cplaywidget.h"
#include "kxscreenhandle.h"
#include "kxscreeninternal.h"
#include "kxscreenmod2.h"
#include "kxgallerytest.h"
#include "kxtesthelpers.h"
#include "personinfo.h"
#include "platform.h"
#include "qdlgmain.h"
#include "qdlgscreen.h"
#include "qkxscreenconfig.h"

#include <QDirIterator>
#include <QPointer>
#include <QTemporaryDir>
#include <QWidget>
#include <QtTest>
#include <climits>
#include <functional>
#include <limits>
#include <thread>

using namespace kxtest;

namespace {

// A base directory whose settings turn the every-frame dump on, with the dump
// directory in place.
bool prepareDumpBase(const QString& base)
{
    if (!QDir().mkpath(base + QStringLiteral("/log/tmpFrame")) || !QDir().mkpath(base + QStringLiteral("/user_data")))
        return false;
    QFile ini(base + QStringLiteral("/user_data/sys_ver.ini"));
    return ini.open(QIODevice::WriteOnly) && ini.write("[version]\ncache_frame1=true\n") > 0;
}

// Runs f on a thread of its own, as a host's media or signalling thread would.
template <typename F> auto onHostThread(F f) -> decltype(f())
{
    decltype(f()) result{};
    std::thread t([&]() { result = f(); });
    t.join();
    return result;
}

// What a refused call must leave alone.
struct Snapshot
{
    struct Rec
    {
        tagPersonInfo* p;
        QString userID, userName;
        bool bSelf, bMute, bHasMic, bPreview, bAllLook, bLockLook, bNetWeak;
        int iRoleType, iVolume, iNetLevel, m_iStatus, iStreamType, eStreamStatus, iWidth, iHeight;
        qint64 headKey;
        CPlayWidget* pWidget;
        QByteArray picture;
        bool operator==(const Rec& o) const
        {
            return p == o.p && userID == o.userID && userName == o.userName && bSelf == o.bSelf
                   && bMute == o.bMute && bHasMic == o.bHasMic && bPreview == o.bPreview && bAllLook == o.bAllLook
                   && bLockLook == o.bLockLook && bNetWeak == o.bNetWeak && iRoleType == o.iRoleType
                   && iVolume == o.iVolume && iNetLevel == o.iNetLevel && m_iStatus == o.m_iStatus
                   && iStreamType == o.iStreamType && eStreamStatus == o.eStreamStatus && iWidth == o.iWidth
                   && iHeight == o.iHeight && headKey == o.headKey && pWidget == o.pWidget && picture == o.picture;
        }
    };
    QVector<Rec> roster;
    int mode = 0;
    int page = 0;
    tagPersonInfo* focus = nullptr;
    QStringList subtitles;
    double dpi1 = 0, dpi2 = 0;
    bool newSkin = false, localShare = false, sharePause = false, subtitleOpen = false, primary = false;
    bool joinFinished = false;
    QString watermark;
    QRect geometry;
    bool visible = false;
    QWidget* parent = nullptr;
    int notices = 0;
    int liveHandles = 0;

    static Snapshot take(void* h, const QVector<void*>& handles)
    {
        Snapshot s;
        QDlgScreen* c = controllerOf(h);
        QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
        for (tagPersonInfo* p : c->persons()) {
            Rec r{p, p->userID, p->userName, p->bSelf, p->bMute, p->bHasMic, p->bPreview, p->bAllLook,
                  p->bLockLook, p->bNetWeak, p->iRoleType, p->iVolume, p->iNetLevel, p->m_iStatus, p->iStreamType,
                  p->eStreamStatus, p->iWidth, p->iHeight, p->headImage.cacheKey(), p->pWidget, QByteArray()};
            if (p->m_pBufYuv420p && p->iWidth > 0)
                r.picture = QByteArray(reinterpret_cast<const char*>(p->m_pBufYuv420p), (p->iWidth & ~7) * p->iHeight);
            s.roster.append(r);
        }
        s.mode = cfg->curScreenMode();
        s.page = c->pageIndex();
        s.focus = c->focusPerson();
        s.subtitles = c->subtitles();
        s.dpi1 = cfg->dpi1();
        s.dpi2 = cfg->dpi2();
        s.newSkin = cfg->isNewSkin();
        s.localShare = cfg->m_bLocalShare;
        s.sharePause = cfg->m_bSharePause;
        s.subtitleOpen = cfg->m_bSubtitleOpen;
        s.primary = cfg->m_bPrimaryScreen.load();
        s.joinFinished = c->isJoinMeetingFinish();
        s.watermark = cfg->m_qstrShareWatermark;
        QDlgMain* dlg = static_cast<KXScreenHandle*>(h)->pMainDlg;
        s.geometry = dlg->geometry();
        s.visible = dlg->isVisible();
        s.parent = dlg->parentWidget();
        // Video start and stop requests come from the gallery's timers, not
        // from calls; everything else a refused call must not cause.
        for (const HostMsg& m : Recorder::at(0).all())
            s.notices += (m.msg == KXSCREEN_MSG_REMOTE_VIDEO_CLOSE || m.msg == KXSCREEN_MSG_REMOTE_VIDEO_OPEN) ? 0 : 1;
        for (void* hp : handles)
            s.liveHandles += kxplatform::isReadable(hp, sizeof(ST_KXPlayHdl)) ? 1 : 0;
        return s;
    }
    QString diff(const Snapshot& o) const
    {
        QStringList d;
        if (roster.size() != o.roster.size())
            d << QStringLiteral("roster size %1 -> %2").arg(roster.size()).arg(o.roster.size());
        else
            for (int i = 0; i < roster.size(); ++i)
                if (!(roster.at(i) == o.roster.at(i)))
                    d << QStringLiteral("participant %1 (%2)").arg(i).arg(roster.at(i).userName);
        if (mode != o.mode) d << QStringLiteral("mode %1 -> %2").arg(mode).arg(o.mode);
        if (page != o.page) d << QStringLiteral("page");
        if (focus != o.focus) d << QStringLiteral("focus");
        if (subtitles != o.subtitles) d << QStringLiteral("subtitles");
        if (dpi1 != o.dpi1 || dpi2 != o.dpi2) d << QStringLiteral("dpi");
        if (newSkin != o.newSkin) d << QStringLiteral("skin");
        if (localShare != o.localShare || sharePause != o.sharePause || watermark != o.watermark || primary != o.primary)
            d << QStringLiteral("share state");
        if (subtitleOpen != o.subtitleOpen) d << QStringLiteral("subtitle switch");
        if (joinFinished != o.joinFinished) d << QStringLiteral("join state");
        if (geometry != o.geometry || visible != o.visible || parent != o.parent) d << QStringLiteral("window");
        if (notices != o.notices) d << QStringLiteral("host notified %1 -> %2").arg(notices).arg(o.notices);
        if (liveHandles != o.liveHandles) d << QStringLiteral("live handles %1 -> %2").arg(liveHandles).arg(o.liveHandles);
        return d.join(QStringLiteral(", "));
    }
};

// Bad inputs tried, per export, for the summary at the end.
QMap<QString, int>& tally()
{
    static QMap<QString, int> t;
    return t;
}

typedef std::function<qint64(void* h)> ScreenCall;
typedef std::function<qint64(void* h, void* hPlay)> PlayCall;

} // namespace

Q_DECLARE_METATYPE(ScreenCall)
Q_DECLARE_METATYPE(PlayCall)

class TstBadInput : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void badModuleHandle_data();
    void badModuleHandle();
    void releaseWithBadHandles();
    void badPlayHandle_data();
    void badPlayHandle();
    void nullStrings();
    void nullImage();
    void frames_data();
    void frames();
    void interfaceCallsFromAHostThread();
    void widgetCallsFromAHostThread();
    void extremeJoinTimes();
    void implausibleScaleFactors_data();
    void implausibleScaleFactors();
    void dumpStaysInItsDirectory_data();
    void dumpStaysInItsDirectory();
    void dumpReadsOnlyThePicture();

private:
    void settle() const;
    Snapshot snap() const { return Snapshot::take(m_h, m_handles); }

    QTemporaryDir m_dir;
    QWidget* m_host = nullptr;
    void* m_h = nullptr;
    void* m_released = nullptr;      // a module handle released before the tests
    void* m_alice = nullptr;         // live participants
    void* m_bob = nullptr;
    void* m_gone = nullptr;          // a play handle released before the tests
    QVector<void*> m_handles;
    // Never issued by the module: memory the test owns.
    KXScreenHandle m_forgedScreen;
    ST_KXPlayHdl m_forgedPlay;
    ST_KXPlayHdl m_forgedPlayFake;
    tagPersonInfo m_fakeRecord;
};

void TstBadInput::settle() const
{
    // Queued work only: the gallery's own timers would change it by themselves.
    for (int i = 0; i < 3; ++i)
        QCoreApplication::sendPostedEvents();
}

void TstBadInput::initTestCase()
{
    QVERIFY(m_dir.isValid());
    m_host = new QWidget;
    m_host->resize(1000, 600);
    m_host->show();
    m_h = KXScreen_Init(m_host, m_dir.path().toUtf8().constData(), recorder0);
    QVERIFY(m_h);
    // Released after the live one exists, so that the live one cannot sit
    // at its address.
    m_released = KXScreen_Init(m_host, "", recorder1);
    QVERIFY(m_released);
    KXScreen_Release(m_released);
    KXScreen_MoveWindow(m_h, QRect(0, 0, 960, 540), KXSCREEN_MOVE_SHOW);
    QByteArray a("u1"), an("Alice"), b("u2"), bn("Bob"), g("u3"), gn("Gone");
    m_alice = KXScreen_AddPerson(m_h, a.data(), a.data(), an.data(), 10, 0, reinterpret_cast<void*>(0xa11ce), 1);
    m_bob = KXScreen_AddPerson(m_h, b.data(), b.data(), bn.data(), 20, 0, reinterpret_cast<void*>(0xb0b), 1);
    m_gone = KXScreen_AddPerson(m_h, g.data(), g.data(), gn.data(), 30, 0, nullptr, 1);
    QVERIFY(m_alice && m_bob && m_gone);
    QTRY_COMPARE(controllerOf(m_h)->persons().size(), 3);
    QCOMPARE(KXScreen_DelPerson(m_h, m_gone), 1);
    QTRY_COMPARE(controllerOf(m_h)->persons().size(), 2);
    QCOMPARE(KXScreen_JoinMeetingFinish(m_h), 1);
    Frame f(64, 36, 77);
    QCOMPARE(KXScreen_PlayFrame(m_h, m_alice, &f.rec), 1);
    QCOMPARE(KXScreen_PlayFrame(m_h, m_bob, &f.rec), 1);
    QCoreApplication::processEvents();
    m_handles = {m_alice, m_bob};

    // A forged module handle that points at the live dialog, and forged play
    // handles that point at a live record and at a record of the test's own.
    m_forgedScreen.pMainDlg = static_cast<KXScreenHandle*>(m_h)->pMainDlg;
    m_forgedScreen.callback = recorder0;
    m_forgedPlay.pPlayData = recordOf(m_alice);
    m_forgedPlayFake.pPlayData = &m_fakeRecord;
}

void TstBadInput::cleanupTestCase()
{
    KXScreen_Release(m_h);
    delete m_host;
    QStringList lines;
    int total = 0;
    for (auto it = tally().constBegin(); it != tally().constEnd(); ++it) {
        lines << QStringLiteral("%1=%2").arg(it.key()).arg(it.value());
        total += it.value();
    }
    qInfo("bad inputs tried: %d over %d exports: %s", total, tally().size(), qPrintable(lines.join(QLatin1Char(' '))));
}

void TstBadInput::init()
{
    settle();
    Recorder::at(0).clear();
}

// ---------------------------------------------------------------------------
// Module handles

void TstBadInput::badModuleHandle_data()
{
    QTest::addColumn<ScreenCall>("call");
    QTest::addColumn<qint64>("expected");
    static Frame frame(64, 36);
    static QImage image(8, 8, QImage::Format_RGB32);
    static QByteArray id("u1"), name("Mallory"), text("hello");
    // Each call with a live play handle where one is needed: only the module
    // handle is wrong.
    void** alice = &m_alice;
    QWidget** host = &m_host;
    auto row = [](const char* n, ScreenCall c, qint64 e = 0) { QTest::newRow(n) << c << e; };
    row("SetParent", [host](void* h) { return qint64(KXScreen_SetParent(h, *host)); });
    row("AddPerson", [](void* h) {
        return qint64(quintptr(KXScreen_AddPerson(h, id.data(), id.data(), name.data(), 5, 0, nullptr, 1)));
    });
    row("DelPerson", [alice](void* h) { return qint64(KXScreen_DelPerson(h, *alice)); });
    row("PlayFrame", [alice](void* h) { return qint64(KXScreen_PlayFrame(h, *alice, &frame.rec)); });
    row("Preview", [alice](void* h) { return qint64(KXScreen_Preview(h, *alice, false)); });
    row("SetMute", [alice](void* h) { return qint64(KXScreen_SetMute(h, *alice, 0)); });
    row("SetHasMic", [alice](void* h) { return qint64(KXScreen_SetHasMic(h, *alice, false)); });
    row("SetPersonInfo", [alice](void* h) { return qint64(KXScreen_SetPersonInfo(h, *alice, true, 1, name.data())); });
    row("SetPersonHeadImg", [alice](void* h) { return qint64(KXScreen_SetPersonHeadImg(h, *alice, &image)); });
    row("SetUnjoinedPersonInfo", [alice](void* h) {
        return qint64(KXScreen_SetUnjoinedPersonInfo(h, *alice, name.data(), 3, image));
    });
    row("SetVolume", [alice](void* h) { return qint64(KXScreen_SetVolume(h, *alice, 90)); });
    row("AllLook", [alice](void* h) { return qint64(KXScreen_AllLook(h, *alice, 1)); });
    row("LockLook", [alice](void* h) { return qint64(KXScreen_LockLook(h, *alice, 1)); });
    row("MoreInHide", [alice](void* h) { return qint64(KXScreen_MoreInHide(h, *alice)); });
    row("GetAllLookUserID", [](void* h) { return qint64(quintptr(KXScreen_GetAllLookUserID(h))); });
    row("GetLockLookUserID", [](void* h) { return qint64(quintptr(KXScreen_GetLockLookUserID(h))); });
    row("GetShareUserID", [](void* h) { return qint64(quintptr(KXScreen_GetShareUserID(h))); });
    row("FocusByUserID", [](void* h) { return qint64(KXScreen_FocusByUserID(h, id.data())); });
    row("SetVoiceActivateByUserID", [](void* h) { return qint64(KXScreen_SetVoiceActivateByUserID(h, id.data())); });
    row("CancelVoiceActivate", [](void* h) { return qint64(KXScreen_CancelVoiceActivate(h)); });
    row("SetCurSpeakPerson", [](void* h) { return qint64(KXScreen_SetCurSpeakPerson(h, id.data())); });
    row("UpdateNetWeak", [](void* h) { return qint64(KXScreen_UpdateNetWeak(h, "u1", true, 1)); });
    row("SetCurMode", [](void* h) { return qint64(KXScreen_SetCurMode(h, 5)); });
    row("GetCurMode", [](void* h) { return qint64(KXScreen_GetCurMode(h)); });
    row("JoinMeetingFinish", [](void* h) { return qint64(KXScreen_JoinMeetingFinish(h)); });
    row("IsIconic", [](void* h) { return qint64(KXScreen_IsIconic(h)); });
    row("ChangePrimaryScreen", [](void* h) { return qint64(KXScreen_ChangePrimaryScreen(h, true)); });
    row("StartLocalShare", [](void* h) { return qint64(KXScreen_StartLocalShare(h, 1, true)); });
    row("StopLocalShare", [](void* h) { return qint64(KXScreen_StopLocalShare(h)); });
    row("SetSharePaush", [](void* h) { return qint64(KXScreen_SetSharePaush(h, true)); });
    row("ShareWhiteBoard", [](void* h) { return qint64(KXScreen_ShareWhiteBoard(h, "u1", true, true)); });
    row("ReposShareWgtForAnnonate", [](void* h) { return qint64(KXScreen_ReposShareWgtForAnnonate(h)); });
    row("IsUserShare", [](void* h) { return qint64(KXScreen_IsUserShare(h)); });
    row("ShowPicInPic", [](void* h) { return qint64(KXScreen_ShowPicInPic(h, true)); });
    row("GetPicInPicWidgetPtr", [](void* h) { return qint64(quintptr(KXScreen_GetPicInPicWidgetPtr(h))); });
    row("AddSentence", [](void* h) { return qint64(KXScreen_AddSentence(h, 1, 0, name.data(), text.data())); });
    row("ClearSubtitles", [](void* h) { return qint64(KXScreen_ClearSubtitles(h)); });
    row("OpenSubtitle", [](void* h) { return qint64(KXScreen_OpenSubtitle(h, true)); });
    row("SetDPIs", [](void* h) { return qint64(KXScreen_SetDPIs(h, 2.5, 3.5)); });
    row("MoveWindow", [](void* h) { return qint64(KXScreen_MoveWindow(h, QRect(5, 5, 300, 200), KXSCREEN_MOVE_HIDE)); });
    row("SetShareWatermark", [](void* h) { return qint64(KXScreen_SetShareWatermark(h, QStringLiteral("secret"), true)); });
    row("GetShareWgtPos", [](void* h) { return qint64(KXScreen_GetShareWgtPos(h).isNull() ? 0 : 1); });
    row("ChangeShowPage", [](void* h) { return qint64(KXScreen_ChangeShowPage(h, true)); });
    row("SetDefStreamType", [alice](void* h) { return qint64(KXScreen_SetDefStreamType(h, *alice)); });
    // No handle check, by design: they answer 1 whatever the handle. Called
    // with the values already in force, so that nothing changes either.
    row("SetIsNewSkin", [](void* h) { return qint64(KXScreen_SetIsNewSkin(h, QKXScreenConfig::getInstance()->isNewSkin())); }, 1);
    row("SetMeetingRoomMinimized", [](void* h) {
        return qint64(KXScreen_SetMeetingRoomMinimized(h, QKXScreenConfig::getInstance()->m_bMeetingRoomMinimized.load()));
    }, 1);
}

void TstBadInput::badModuleHandle()
{
    QFETCH(ScreenCall, call);
    QFETCH(qint64, expected);
    struct Kind
    {
        const char* name;
        void* h;
    };
    const Kind kinds[] = {
        {"null", nullptr},
        {"never issued (forged, pointing at the live dialog)", &m_forgedScreen},
        {"released", m_released},
        {"garbage", reinterpret_cast<void*>(quintptr(0x18))},
        {"misaligned", reinterpret_cast<char*>(m_h) + 1},
        {"a play handle", m_alice},
    };
    for (const Kind& k : kinds) {
        for (bool hostThread : {false, true}) {
            const Snapshot before = snap();
            const qint64 r = hostThread ? onHostThread([&]() { return call(k.h); }) : call(k.h);
            settle();
            const QString where = QStringLiteral("%1 handle, %2 thread").arg(QLatin1String(k.name),
                                                                          hostThread ? "host" : "interface");
            QVERIFY2(r == expected, qPrintable(QStringLiteral("%1: answered %2").arg(where).arg(r)));
            const QString changed = before.diff(snap());
            QVERIFY2(changed.isEmpty(), qPrintable(where + QStringLiteral(" changed: ") + changed));
            ++tally()[QLatin1String(QTest::currentDataTag())];
        }
    }
    QVERIFY(isValidScreenHandle(m_h));
}

void TstBadInput::releaseWithBadHandles()
{
    ModuleLogOn logOn;
    const Snapshot before = snap();
    KXScreen_Release(nullptr);
    const QString forged = QStringLiteral("[ScreenMod]KXScreen_Release unknown handle: %1")
                               .arg(QString::asprintf("%p", static_cast<void*>(&m_forgedScreen)));
    QTest::ignoreMessage(QtDebugMsg, qPrintable(forged));
    KXScreen_Release(&m_forgedScreen);
    const QString released = QStringLiteral("[ScreenMod]KXScreen_Release unknown handle: %1")
                                 .arg(QString::asprintf("%p", m_released));
    QTest::ignoreMessage(QtDebugMsg, qPrintable(released));
    KXScreen_Release(m_released);
    KXScreen_Release(m_alice); // a play handle
    settle();
    QVERIFY(isValidScreenHandle(m_h));
    QCOMPARE(before.diff(snap()), QString());
    tally()[QStringLiteral("Release")] += 4;
}

// ---------------------------------------------------------------------------
// Play handles

void TstBadInput::badPlayHandle_data()
{
    QTest::addColumn<PlayCall>("call");
    QTest::addColumn<bool>("looksUpReleased"); // PlayFrame and Preview name a released handle as such
    static Frame frame(64, 36);
    static QImage image(8, 8, QImage::Format_RGB32);
    static QByteArray name("Mallory");
    auto row = [](const char* n, PlayCall c, bool released = false) { QTest::newRow(n) << c << released; };
    row("PlayFrame", [](void* h, void* p) { return qint64(KXScreen_PlayFrame(h, p, &frame.rec)); }, true);
    row("Preview", [](void* h, void* p) { return qint64(KXScreen_Preview(h, p, false)); }, true);
    row("DelPerson", [](void* h, void* p) { return qint64(KXScreen_DelPerson(h, p)); });
    row("SetMute", [](void* h, void* p) { return qint64(KXScreen_SetMute(h, p, 0)); });
    row("SetHasMic", [](void* h, void* p) { return qint64(KXScreen_SetHasMic(h, p, false)); });
    row("SetPersonInfo", [](void* h, void* p) { return qint64(KXScreen_SetPersonInfo(h, p, true, 1, name.data())); });
    row("SetPersonHeadImg", [](void* h, void* p) { return qint64(KXScreen_SetPersonHeadImg(h, p, &image)); });
    row("SetUnjoinedPersonInfo", [](void* h, void* p) {
        return qint64(KXScreen_SetUnjoinedPersonInfo(h, p, name.data(), 4, image));
    });
    row("SetVolume", [](void* h, void* p) { return qint64(KXScreen_SetVolume(h, p, 99)); });
    row("AllLook", [](void* h, void* p) { return qint64(KXScreen_AllLook(h, p, 1)); });
    row("LockLook", [](void* h, void* p) { return qint64(KXScreen_LockLook(h, p, 1)); });
    row("MoreInHide", [](void* h, void* p) { return qint64(KXScreen_MoreInHide(h, p)); });
    row("SetDefStreamType", [](void* h, void* p) { return qint64(KXScreen_SetDefStreamType(h, p)); });
}

void TstBadInput::badPlayHandle()
{
    QFETCH(PlayCall, call);
    QFETCH(bool, looksUpReleased);
    ModuleLogOn logOn;
    const char* const unreadable = "IsBadReadPtr(pPlay, sizeof(ST_KXPlayHdl))";
    struct Kind
    {
        const char* name;
        void* hPlay;
        const char* line;
    };
    const Kind kinds[] = {
        {"null", nullptr, "hPlay == nullptr"},
        {"never issued (forged, pointing at a live record)", &m_forgedPlay, unreadable},
        {"never issued (forged, pointing at a fake record)", &m_forgedPlayFake, unreadable},
        {"a record address", recordOf(m_alice), unreadable},
        {"inside a live handle", reinterpret_cast<char*>(m_alice) + 8, unreadable},
        {"garbage", reinterpret_cast<void*>(~quintptr(0) - 15), unreadable},
        {"the module handle", m_h, unreadable},
        {"released", m_gone, looksUpReleased ? "iter != pScreen->mapHadDelPlay.end()" : unreadable},
    };
    for (const Kind& k : kinds) {
        for (bool hostThread : {false, true}) {
            const Snapshot before = snap();
            QTest::ignoreMessage(QtDebugMsg, k.line);
            const qint64 r = hostThread ? onHostThread([&]() { return call(m_h, k.hPlay); }) : call(m_h, k.hPlay);
            settle();
            const QString where = QStringLiteral("%1 play handle, %2 thread").arg(QLatin1String(k.name),
                                                                               hostThread ? "host" : "interface");
            QVERIFY2(r == 0, qPrintable(QStringLiteral("%1: answered %2").arg(where).arg(r)));
            const QString changed = before.diff(snap());
            QVERIFY2(changed.isEmpty(), qPrintable(where + QStringLiteral(" changed: ") + changed));
            ++tally()[QLatin1String(QTest::currentDataTag())];
        }
    }
    // A play handle is good only for the gallery that issued it: another
    // gallery refuses it as unreadable, both ways round, and neither changes.
    void* other = KXScreen_Init(m_host, "", recorder1);
    QVERIFY(other);
    QByteArray id("olga"), n("Olga");
    void* olga = KXScreen_AddPerson(other, id.data(), id.data(), n.data(), 5, 0, nullptr, 1);
    QVERIFY(olga);
    settle();
    const Snapshot before = snap();
    const Snapshot otherBefore = Snapshot::take(other, {olga});
    for (bool hostThread : {false, true}) {
        for (const auto& pair : {qMakePair(m_h, olga), qMakePair(other, m_alice)}) {
            QTest::ignoreMessage(QtDebugMsg, unreadable);
            const qint64 r = hostThread ? onHostThread([&]() { return call(pair.first, pair.second); })
                                        : call(pair.first, pair.second);
            QCOMPARE(r, qint64(0));
        }
    }
    settle();
    QCOMPARE(before.diff(snap()), QString());
    QCOMPARE(otherBefore.diff(Snapshot::take(other, {olga})), QString());
    QCOMPARE(KXScreen_DelPerson(other, olga), 1);
    KXScreen_Release(other);
    settle();
}

// ---------------------------------------------------------------------------
// Null strings and images: taken as empty, as documented.

void TstBadInput::nullStrings()
{
    QDlgScreen* c = controllerOf(m_h);
    void* anon = KXScreen_AddPerson(m_h, nullptr, nullptr, nullptr, 40, 0, nullptr, 1);
    QVERIFY(anon);
    void* anon2 = onHostThread([this]() { return KXScreen_AddPerson(m_h, nullptr, nullptr, nullptr, 41, 0, nullptr, 1); });
    QVERIFY(anon2);
    QTRY_COMPARE(c->persons().size(), 4);
    QCOMPARE(recordOf(anon)->userID, QString());
    QCOMPARE(recordOf(anon)->userName, QString());
    QCOMPARE(recordOf(anon)->qstrExtra, QString());
    QCOMPARE(static_cast<ST_KXPlayHdl*>(anon2)->userID, QString());
    ++tally()[QStringLiteral("AddPerson")];

    // A null name leaves the name alone.
    const QString aliceName = recordOf(m_alice)->userName;
    QCOMPARE(KXScreen_SetPersonInfo(m_h, m_alice, false, 0, nullptr), 1);
    settle();
    QCOMPARE(recordOf(m_alice)->userName, aliceName);
    ++tally()[QStringLiteral("SetPersonInfo")];
    // An invited participant's null name becomes the empty name.
    QImage head(4, 4, QImage::Format_RGB32);
    head.fill(Qt::green);
    QCOMPARE(KXScreen_SetUnjoinedPersonInfo(m_h, anon, nullptr, 2, head), 1);
    QCOMPARE(recordOf(anon)->userName, QString());
    QCOMPARE(recordOf(anon)->m_iStatus, 2);
    ++tally()[QStringLiteral("SetUnjoinedPersonInfo")];

    // The ID exports with null IDs: the empty ID, which names the anonymous participant.
    QCOMPARE(KXScreen_UpdateNetWeak(m_h, nullptr, true, 2), 1);
    settle();
    QVERIFY(recordOf(anon)->bNetWeak || recordOf(anon2)->bNetWeak);
    QVERIFY(!recordOf(m_alice)->bNetWeak);
    QCOMPARE(KXScreen_FocusByUserID(m_h, nullptr), 1);
    QCOMPARE(KXScreen_SetVoiceActivateByUserID(m_h, nullptr), 1);
    QCOMPARE(KXScreen_SetCurSpeakPerson(m_h, nullptr), 1);
    QCOMPARE(KXScreen_ShareWhiteBoard(m_h, nullptr, false, false), 1);
    QCOMPARE(KXScreen_AddSentence(m_h, 1, 0, nullptr, nullptr), 1);
    settle();
    QCOMPARE(c->subtitles().last(), QStringLiteral(": "));
    QCOMPARE(KXScreen_ClearSubtitles(m_h), 1);
    for (const char* e : {"UpdateNetWeak", "FocusByUserID", "SetVoiceActivateByUserID", "SetCurSpeakPerson",
                          "ShareWhiteBoard", "AddSentence"})
        ++tally()[QLatin1String(e)];
    QCOMPARE(KXScreen_SetShareWatermark(m_h, QString(), false), 1);
    ++tally()[QStringLiteral("SetShareWatermark")];

    // KXScreen_Init with a null directory and a null host function: a gallery
    // that works and tells nobody.
    void* quiet = KXScreen_Init(nullptr, nullptr, nullptr);
    QVERIFY(quiet);
    QByteArray id("q1");
    void* q = KXScreen_AddPerson(quiet, id.data(), id.data(), id.data(), 1, 0, nullptr, 1);
    QVERIFY(q);
    QTRY_COMPARE(controllerOf(quiet)->persons().size(), 1);
    QCOMPARE(KXScreen_SetDefStreamType(quiet, q), 1);
    KXScreen_Release(quiet);
    tally()[QStringLiteral("Init")] += 3;

    QCOMPARE(KXScreen_DelPerson(m_h, anon), 1);
    QCOMPARE(KXScreen_DelPerson(m_h, anon2), 1);
    QTRY_COMPARE(c->persons().size(), 2);
    KXScreen_FocusByUserID(m_h, const_cast<char*>(""));
    KXScreen_CancelVoiceActivate(m_h);
    KXScreen_UpdateNetWeak(m_h, "u1", false, 6);
    settle();
}

void TstBadInput::nullImage()
{
    ModuleLogOn logOn;
    const Snapshot before = snap();
    QTest::ignoreMessage(QtDebugMsg, "pImage == nullptr");
    QCOMPARE(KXScreen_SetPersonHeadImg(m_h, m_alice, nullptr), 0);
    QTest::ignoreMessage(QtDebugMsg, "pImage == nullptr");
    QCOMPARE(onHostThread([this]() { return KXScreen_SetPersonHeadImg(m_h, m_alice, nullptr); }), 0);
    settle();
    QCOMPARE(before.diff(snap()), QString());
    tally()[QStringLiteral("SetPersonHeadImg")] += 2;
    // A null image by reference is an image like any other: it clears the head.
    QImage head(4, 4, QImage::Format_RGB32);
    head.fill(Qt::red);
    QCOMPARE(KXScreen_SetPersonHeadImg(m_h, m_bob, &head), 1);
    QVERIFY(!recordOf(m_bob)->headImage.isNull());
    QCOMPARE(KXScreen_SetUnjoinedPersonInfo(m_h, m_bob, const_cast<char*>("Bob"), 1, QImage()), 1);
    QVERIFY(recordOf(m_bob)->headImage.isNull());
    ++tally()[QStringLiteral("SetUnjoinedPersonInfo")];
}

// ---------------------------------------------------------------------------
// Frames

void TstBadInput::frames_data()
{
    QTest::addColumn<int>("w");
    QTest::addColumn<int>("h");
    QTest::addColumn<bool>("nullData");
    QTest::addColumn<int>("length"); // bytes that exist and are declared; -1: a few
    QTest::addColumn<QString>("reason"); // empty: taken
    QTest::newRow("zero width") << 0 << 36 << false << -1 << "width not positive";
    QTest::newRow("zero height") << 64 << 0 << false << -1 << "height not positive";
    QTest::newRow("zero both") << 0 << 0 << false << -1 << "width not positive";
    QTest::newRow("negative width") << -64 << 36 << false << -1 << "width not positive";
    QTest::newRow("negative height") << 64 << -36 << false << -1 << "height not positive";
    QTest::newRow("most negative") << INT_MIN << INT_MIN << false << -1 << "width not positive";
    QTest::newRow("46341 square") << 46341 << 46341 << false << -1 << "side above 16384 pixels";
    QTest::newRow("int max") << INT_MAX << INT_MAX << false << -1 << "side above 16384 pixels";
    QTest::newRow("int max wide, one row") << INT_MAX << 1 << false << -1 << "side above 16384 pixels";
    QTest::newRow("one column, int max tall") << 1 << INT_MAX << false << -1 << "side above 16384 pixels";
    QTest::newRow("32767 square") << 32767 << 32767 << false << -1 << "side above 16384 pixels";
    QTest::newRow("null data") << 64 << 36 << true << -1 << "null data";
    QTest::newRow("null data, zero size") << 0 << 0 << true << -1 << "null data";
    QTest::newRow("1920x1080 over 64 bytes") << 1920 << 1080 << false << 64 << "length smaller than the picture";
    QTest::newRow("63x35 one byte short") << 63 << 35 << false << 63 * 35 + 2 * 32 * 18 - 1
                                          << "length smaller than the picture";
    QTest::newRow("odd 63x35") << 63 << 35 << false << 0 << "";
    QTest::newRow("odd 1x1") << 1 << 1 << false << 0 << "";
    QTest::newRow("odd 7x3") << 7 << 3 << false << 0 << "";
    QTest::newRow("odd 641x359") << 641 << 359 << false << 0 << "";
    QTest::newRow("huge 7680x4320") << 7680 << 4320 << false << 0 << "";
}

void TstBadInput::frames()
{
    QFETCH(int, w);
    QFETCH(int, h);
    QFETCH(bool, nullData);
    QFETCH(int, length);
    QFETCH(QString, reason);
    ModuleLogOn logOn;
    tagPersonInfo* rec = recordOf(m_alice);
    QVERIFY(rec->pWidget);
    if (!reason.isEmpty()) {
        // Exactly the bytes the record declares exist, so that a read past
        // them is caught; where the sides alone refuse it, a few stand in.
        std::vector<uint8_t> bytes(length < 0 ? 16 : length);
        KxCloudRTCVideoFrameQT f{};
        f.data = nullData ? nullptr : bytes.data();
        f.length = uint32_t(bytes.size());
        f.width = w;
        f.height = h;
        for (bool hostThread : {false, true}) {
            const Snapshot before = snap();
            QTest::ignoreMessage(QtDebugMsg, qPrintable(QStringLiteral("[ScreenMod]PlayFrame refused: %1 ,userName: Alice ,size: %2 x %3 ,length: %4")
                                                            .arg(reason).arg(w).arg(h).arg(f.length)));
            const int r = hostThread ? onHostThread([&]() { return KXScreen_PlayFrame(m_h, m_alice, &f); })
                                     : KXScreen_PlayFrame(m_h, m_alice, &f);
            settle();
            QCOMPARE(r, 0);
            QCOMPARE(before.diff(snap()), QString());
            ++tally()[QStringLiteral("PlayFrame")];
        }
        // No frame record at all.
        QTest::ignoreMessage(QtDebugMsg, "pWin32Frame == nullptr");
        QCOMPARE(KXScreen_PlayFrame(m_h, m_alice, nullptr), 0);
        return;
    }
    // Odd and huge sizes are pictures like any other: copied whole, rows cut
    // to a multiple of 8.
    Frame f(w, h, 201, 90, 160);
    const int r = onHostThread([&]() { return KXScreen_PlayFrame(m_h, m_alice, &f.rec); });
    QCOMPARE(r, 1);
    QCOMPARE(rec->iWidth, w);
    QCOMPARE(rec->iHeight, h);
    QCOMPARE(rec->iAlignedWidth, w & ~7);
    const int a = w & ~7;
    if (a > 0) {
        QCOMPARE(int(rec->m_pBufYuv420p[0]), 201);
        QCOMPARE(int(rec->m_pBufYuv420p[qint64(a) * h - 1]), 201);
        QCOMPARE(int(rec->m_pBufYuv420p[qint64(a) * h]), 90);
    }
    QCoreApplication::processEvents();
    ++tally()[QStringLiteral("PlayFrame")];
    // Back to an ordinary picture.
    Frame normal(64, 36, 77);
    QCOMPARE(KXScreen_PlayFrame(m_h, m_alice, &normal.rec), 1);
}

// ---------------------------------------------------------------------------
// Interface exports called where they do not belong

void TstBadInput::interfaceCallsFromAHostThread()
{
    ModuleLogOn logOn;
    const Snapshot before = snap();
    QTest::ignoreMessage(QtWarningMsg, "[ScreenMod]KXScreen_Init must be called on the interface thread of a QApplication");
    QVERIFY(!onHostThread([this]() { return KXScreen_Init(m_host, "", recorder1); }));
    for (int i = 0; i < 3; ++i)
        QTest::ignoreMessage(QtDebugMsg, "[ScreenMod]user ID queries belong on the interface thread");
    QVERIFY(!onHostThread([this]() { return KXScreen_GetAllLookUserID(m_h); }));
    QVERIFY(!onHostThread([this]() { return KXScreen_GetLockLookUserID(m_h); }));
    QVERIFY(!onHostThread([this]() { return KXScreen_GetShareUserID(m_h); }));
    QVERIFY(onHostThread([this]() { return KXScreen_GetShareWgtPos(m_h); }).isNull());
    QCOMPARE(onHostThread([this]() { return KXScreen_IsIconic(m_h); }), 0);
    settle();
    QCOMPARE(before.diff(snap()), QString());
    for (const char* e : {"Init", "GetAllLookUserID", "GetLockLookUserID", "GetShareUserID", "GetShareWgtPos", "IsIconic"})
        ++tally()[QLatin1String(e)];
}

void TstBadInput::widgetCallsFromAHostThread()
{
    // Widgets live on the interface thread. A host that reparents or releases
    // the gallery from another thread gets that done on the interface thread
    // when it next pumps, never on its own.
    QWidget other;
    other.resize(500, 300);
    other.show();
    void* h = KXScreen_Init(m_host, "", recorder1);
    QVERIFY(h);
    QByteArray id("w1"), name("W");
    void* p = KXScreen_AddPerson(h, id.data(), id.data(), name.data(), 1, 0, nullptr, 1);
    QTRY_COMPARE(controllerOf(h)->persons().size(), 1);
    QPointer<QDlgMain> dlg = static_cast<KXScreenHandle*>(h)->pMainDlg;
    QCOMPARE(onHostThread([&]() { return KXScreen_SetParent(h, &other); }), 1);
    QTRY_COMPARE(dlg->parentWidget(), &other);
    QVERIFY(dlg->isVisible());
    QCOMPARE(dlg->thread(), QThread::currentThread());

    QTest::ignoreMessage(QtWarningMsg, "[ScreenMod]KXScreen_Release called off the interface thread; released when it pumps");
    onHostThread([&]() {
        KXScreen_Release(h);
        return 0;
    });
    QTRY_VERIFY(dlg.isNull());
    QVERIFY(!isLiveScreenHandle(h));
    QVERIFY(!kxplatform::isReadable(p, sizeof(ST_KXPlayHdl)));
    ++tally()[QStringLiteral("SetParent")];
    ++tally()[QStringLiteral("Release")];
}

// ---------------------------------------------------------------------------
// Join times are the host's 64-bit values: the ordering moves a participant
// one step before or after another, which must stop at the ends of the range.

void TstBadInput::extremeJoinTimes()
{
    QWidget host;
    host.resize(640, 360);
    host.show();
    void* h = KXScreen_Init(&host, "", recorder1);
    QVERIFY(h);
    QByteArray first("first"), last("last"), off("off"), on("on"), name("N");
    void* pFirst = KXScreen_AddPerson(h, first.data(), first.data(), name.data(), LLONG_MIN, 0, nullptr, 1);
    void* pLast = KXScreen_AddPerson(h, last.data(), last.data(), name.data(), LLONG_MAX, 0, nullptr, 1);
    void* pOff = KXScreen_AddPerson(h, off.data(), off.data(), name.data(), 5, 0, nullptr, 1);
    void* pOn = KXScreen_AddPerson(h, on.data(), on.data(), name.data(), 6, 0, nullptr, 1);
    QTRY_COMPARE(controllerOf(h)->persons().size(), 4);
    QCOMPARE(KXScreen_JoinMeetingFinish(h), 1);
    // "last" shows video: it heads the video group with the latest join time.
    Frame f(64, 36);
    QCOMPARE(onHostThread([&]() { return KXScreen_PlayFrame(h, pLast, &f.rec); }), 1);
    QCoreApplication::processEvents();
    QTRY_COMPARE(recordOf(pLast)->eStreamStatus, 2);
    // "on" turns video off, and the order takes note.
    QCOMPARE(KXScreen_Preview(h, pOn, false), 1);
    QCOMPARE(KXScreen_FocusByUserID(h, const_cast<char*>("")), 1);
    settle();
    // "off" turns video off: it goes before "first", the earliest possible.
    QCOMPARE(KXScreen_Preview(h, pOff, false), 1);
    QCOMPARE(KXScreen_FocusByUserID(h, const_cast<char*>("")), 1);
    settle();
    QCOMPARE(recordOf(pOff)->joinTime, LLONG_MIN);
    // "on" turns video on again and its first frame arrives: it goes after
    // "last", the latest possible.
    QCOMPARE(KXScreen_Preview(h, pOn, true), 1);
    onHostThread([&]() { return KXScreen_PlayFrame(h, pOn, &f.rec); });
    QCoreApplication::processEvents();
    QTRY_COMPARE(recordOf(pOn)->eStreamStatus, 2);
    settle();
    QCOMPARE(recordOf(pOn)->joinTime, LLONG_MAX);
    // Ordered again, nobody wrapped around to the other end.
    QCOMPARE(KXScreen_FocusByUserID(h, const_cast<char*>("")), 1);
    settle();
    const QVector<tagPersonInfo*> order = controllerOf(h)->persons();
    QCOMPARE(order.indexOf(recordOf(pLast)) < order.indexOf(recordOf(pOn)), true);
    QCOMPARE(order.indexOf(recordOf(pOff)) < order.indexOf(recordOf(pFirst)) || recordOf(pOff)->joinTime == LLONG_MIN, true);
    KXScreen_Release(h);
    tally()[QStringLiteral("AddPerson")] += 2;
}

// ---------------------------------------------------------------------------
// Scale factors multiply every tile's viewport into integer pixels.

void TstBadInput::implausibleScaleFactors_data()
{
    QTest::addColumn<double>("dpi1");
    QTest::addColumn<double>("dpi2");
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    QTest::newRow("not a number") << nan << 1.0;
    QTest::newRow("infinite") << 1.0 << inf;
    QTest::newRow("minus infinite") << -inf << 1.0;
    QTest::newRow("zero") << 0.0 << 1.0;
    QTest::newRow("negative") << 1.0 << -1.25;
    QTest::newRow("huge") << 4.6e165 << 1.0;
    QTest::newRow("largest") << std::numeric_limits<double>::max() << 1.0;
    QTest::newRow("denormal") << std::numeric_limits<double>::denorm_min() * -1 << 1.0;
}

void TstBadInput::implausibleScaleFactors()
{
    QFETCH(double, dpi1);
    QFETCH(double, dpi2);
    ModuleLogOn logOn;
    QCOMPARE(KXScreen_SetDPIs(m_h, 1.5, 2.0), 1);
    const Snapshot before = snap();
    QTest::ignoreMessage(QtDebugMsg, "[ScreenMod]KXScreen_SetDPIs refused: a factor is not between 0 and 16");
    QCOMPARE(KXScreen_SetDPIs(m_h, dpi1, dpi2), 0);
    QTest::ignoreMessage(QtDebugMsg, "[ScreenMod]KXScreen_SetDPIs refused: a factor is not between 0 and 16");
    QCOMPARE(onHostThread([&]() { return KXScreen_SetDPIs(m_h, dpi1, dpi2); }), 0);
    settle();
    QCOMPARE(before.diff(snap()), QString());
    // The tiles still paint with the factors in force.
    QCoreApplication::processEvents();
    QCOMPARE(KXScreen_SetDPIs(m_h, 1.0, 1.0), 1);
    tally()[QStringLiteral("SetDPIs")] += 2;
}

// ---------------------------------------------------------------------------
// The frame dump

void TstBadInput::dumpStaysInItsDirectory_data()
{
    QTest::addColumn<QByteArray>("id");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("baseName"); // the host's base directory, inside a scratch root
    QTest::newRow("plain") << QByteArray("u9") << QByteArray("Dora") << "base";
    QTest::newRow("climbing name") << QByteArray("u9") << QByteArray("../../../../tmp/x") << "base";
    QTest::newRow("climbing id") << QByteArray("../../..") << QByteArray("Dora") << "base";
    QTest::newRow("absolute id") << QByteArray("/etc/passwd") << QByteArray("/") << "base";
    QTest::newRow("backslashes") << QByteArray("..\\..\\x") << QByteArray("c:\\windows") << "base";
    QTest::newRow("dots only") << QByteArray("..") << QByteArray(".") << "base";
    QTest::newRow("control characters") << QByteArray("a\nb\r\x01") << QByteArray("\t..\x7f") << "base";
    QTest::newRow("placeholders") << QByteArray("%1%2/%3") << QByteArray("%5%4..") << "base";
    QTest::newRow("invalid utf-8") << QByteArray("\xff\xfe/..") << QByteArray("\xc3\x28/..") << "base";
    // A base directory that itself holds placeholder text: the name and ID
    // must not be substituted into it.
    QTest::newRow("base with placeholders") << QByteArray("id") << QByteArray("name") << "b%2a%3se";
    QTest::newRow("base with placeholders, climbing") << QByteArray("..") << QByteArray("../..") << "q%3%2";
}

void TstBadInput::dumpStaysInItsDirectory()
{
    QFETCH(QByteArray, id);
    QFETCH(QByteArray, name);
    QFETCH(QString, baseName);
    QTemporaryDir root;
    QVERIFY(root.isValid());
    const QString base = root.path() + QLatin1Char('/') + baseName;
    QVERIFY(prepareDumpBase(base));
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const QString oldBase = cfg->baseDir();
    void* h = KXScreen_Init(m_host, base.toUtf8().constData(), recorder1);
    QVERIFY(h);
    QTRY_VERIFY(cfg->cacheEveryFrame());
    void* p = KXScreen_AddPerson(h, id.data(), id.data(), name.data(), 1, 0, nullptr, 1);
    QVERIFY(p);
    Frame f(34, 18, 99);
    onHostThread([&]() { return KXScreen_PlayFrame(h, p, &f.rec); });
    KXScreen_Release(h);
    cfg->setBaseDir(oldBase);
    cfg->loadSettingsNow();

    // Exactly one file was written under the scratch root, in the dump directory.
    QStringList files;
    QDirIterator it(root.path(), QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << it.next();
    files.removeAll(base + QStringLiteral("/user_data/sys_ver.ini"));
    QVERIFY2(files.size() == 1, qPrintable(files.join(QLatin1Char(';'))));
    const QFileInfo dump(files.first());
    QCOMPARE(dump.absolutePath(), QFileInfo(base + QStringLiteral("/log/tmpFrame")).absoluteFilePath());
    QVERIFY2(dump.fileName().endsWith(QStringLiteral("_34x18.yuv")), qPrintable(dump.fileName()));
    QCOMPARE(dump.size(), qint64(f.bytes.size()));
    ++tally()[QStringLiteral("PlayFrame (dump)")];
}

void TstBadInput::dumpReadsOnlyThePicture()
{
    // A record whose length says more than its picture holds: the dump writes
    // the picture and reads nothing past it; one that says less is refused.
    QTemporaryDir root;
    QVERIFY(root.isValid());
    const QString base = root.path();
    QVERIFY(prepareDumpBase(base));
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const QString oldBase = cfg->baseDir();
    void* h = KXScreen_Init(m_host, base.toUtf8().constData(), recorder1);
    QVERIFY(h);
    QTRY_VERIFY(cfg->cacheEveryFrame());
    QByteArray id("u5"), name("Len");
    void* p = KXScreen_AddPerson(h, id.data(), id.data(), name.data(), 1, 0, nullptr, 1);
    const QString path = base + QStringLiteral("/log/tmpFrame/(Len)u5_30x20.yuv");
    for (uint32_t length : {0xffffffffu, 30u * 20u * 2u, 1u}) {
        QFile::remove(path);
        Frame f(30, 20, 55);
        f.rec.length = length;
        onHostThread([&]() { return KXScreen_PlayFrame(h, p, &f.rec); });
        QFile dump(path);
        if (length < f.bytes.size()) {
            // Shorter than its picture: refused before anything is read.
            QVERIFY(!dump.exists());
        } else {
            QVERIFY2(dump.open(QIODevice::ReadOnly), qPrintable(path));
            QCOMPARE(dump.readAll(), QByteArray(reinterpret_cast<const char*>(f.bytes.data()), int(f.bytes.size())));
        }
        ++tally()[QStringLiteral("PlayFrame (dump)")];
    }
    KXScreen_Release(h);
    cfg->setBaseDir(oldBase);
    cfg->loadSettingsNow();
}

QTEST_MAIN(TstBadInput)
#include "tst_badinput.moc"
