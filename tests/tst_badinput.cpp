// The bad-input sweep: every export with every kind of bad handle, from the
// interface thread and from a host thread, answers as documented (the log line
// where it names the reason) and changes nothing; then null strings and
// images, refused frames, implausible scale factors, extreme join times and
// hostile names in the frame dump (odd and huge frame sizes: tst_tile). In the sanitizer build a refused argument
// that is read anyway shows up as a report.
#include "kxtestkit.h"
#include "subtitleband.h"

#include <QDirIterator>
#include <QPointer>
#include <QTemporaryDir>
#include <climits>
#include <limits>

using namespace kxtest;

namespace {
typedef std::function<qint64(void* h, void* hPlay)> Call;
Frame g_frame(64, 36);
QImage g_image(8, 8, QImage::Format_RGB32);
QByteArray g_id("u1"), g_name("Mallory"), g_text("hello");
} // namespace

Q_DECLARE_METATYPE(Call)

class TstBadInput : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY(moduleLogOn());
        g.reset(new Gallery(QSize(960, 540), 3));
        QCOMPARE(KXScreen_SetDPIs(g->h, 16.0, 1.0), 1); // the largest factor accepted
        QCOMPARE(KXScreen_SetDPIs(g->h, 1.5, 2.0), 1);  // and what the sweep must leave alone
        // Released after the live one exists, so that the live one cannot sit at its address.
        m_released = KXScreen_Init(&g->parent, "", hostFunctionFor(1));
        KXScreen_Release(m_released);
        m_alice = g->handles.at(0);
        m_gone = g->handles.at(2);
        // A second gallery: its play handles are not this one's, nor the other
        // way round. Made before a handle is deleted, so that none of its
        // handles sits at the deleted one's address.
        m_other.reset(new Gallery(QSize(320, 180), 1, true, 2));
        QCOMPARE(KXScreen_DelPerson(g->h, m_gone), 1);
        QCOMPARE(g->feed(64, 36), 2);
        m_forgedScreen.pMainDlg = static_cast<KXScreenHandle*>(g->h)->pMainDlg;
        m_forgedScreen.callback = hostFunctionFor(0);
        m_forgedPlay.pPlayData = recordOf(m_alice);
        m_forgedFake.pPlayData = &m_fakeRecord;
    }

    void cleanupTestCase()
    {
        m_other.reset();
        g.reset();
    }
    void init() { settle(); g->host().clear(); }
    void sweep_data()
    {
        if (!g) // -datatags lists the rows without running initTestCase first
            initTestCase();
        // Each export, first with every kind of bad module handle (a live play
        // handle where one is needed), then, for those that take a play handle,
        // the live module handle with every kind of bad play handle.
        QTest::addColumn<Call>("call");
        QTest::addColumn<quintptr>("screen");
        QTest::addColumn<quintptr>("play");
        QTest::addColumn<qint64>("expected");
        QTest::addColumn<QString>("line"); // the log line naming the reason; empty: not checked
        struct Export
        {
            const char* name;
            Call call;
            int play; // 0 no play handle, 1 takes one, 2 and names a released one as such
            qint64 answer = 0;
        };
        QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
        const Export exports[] = {
            {"Release", [](void* h, void*) { KXScreen_Release(h); return qint64(0); }, 0},
            {"SetParent", [this](void* h, void*) { return qint64(KXScreen_SetParent(h, &g->parent)); }, 0},
            {"AddPerson", [](void* h, void*) { return qint64(quintptr(KXScreen_AddPerson(h, g_id.data(), g_id.data(), g_name.data(), 5, 0, nullptr, 1))); }, 0},
            {"DelPerson", [](void* h, void* p) { return qint64(KXScreen_DelPerson(h, p)); }, 1},
            {"PlayFrame", [](void* h, void* p) { return qint64(KXScreen_PlayFrame(h, p, &g_frame.rec)); }, 2},
            {"Preview", [](void* h, void* p) { return qint64(KXScreen_Preview(h, p, false)); }, 2},
            {"SetMute", [](void* h, void* p) { return qint64(KXScreen_SetMute(h, p, 0)); }, 1},
            {"SetHasMic", [](void* h, void* p) { return qint64(KXScreen_SetHasMic(h, p, false)); }, 1},
            {"SetPersonInfo", [](void* h, void* p) { return qint64(KXScreen_SetPersonInfo(h, p, true, 1, g_name.data())); }, 1},
            {"SetPersonHeadImg", [](void* h, void* p) { return qint64(KXScreen_SetPersonHeadImg(h, p, &g_image)); }, 1},
            {"SetUnjoinedPersonInfo", [](void* h, void* p) { return qint64(KXScreen_SetUnjoinedPersonInfo(h, p, g_name.data(), 3, g_image)); }, 1},
            {"SetVolume", [](void* h, void* p) { return qint64(KXScreen_SetVolume(h, p, 90)); }, 1},
            {"AllLook", [](void* h, void* p) { return qint64(KXScreen_AllLook(h, p, 1)); }, 1},
            {"LockLook", [](void* h, void* p) { return qint64(KXScreen_LockLook(h, p, 1)); }, 1},
            {"MoreInHide", [](void* h, void* p) { return qint64(KXScreen_MoreInHide(h, p)); }, 1},
            {"SetDefStreamType", [](void* h, void* p) { return qint64(KXScreen_SetDefStreamType(h, p)); }, 1},
            {"GetAllLookUserID", [](void* h, void*) { return qint64(quintptr(KXScreen_GetAllLookUserID(h))); }, 0},
            {"GetLockLookUserID", [](void* h, void*) { return qint64(quintptr(KXScreen_GetLockLookUserID(h))); }, 0},
            {"GetShareUserID", [](void* h, void*) { return qint64(quintptr(KXScreen_GetShareUserID(h))); }, 0},
            {"FocusByUserID", [](void* h, void*) { return qint64(KXScreen_FocusByUserID(h, g_id.data())); }, 0},
            {"SetVoiceActivateByUserID", [](void* h, void*) { return qint64(KXScreen_SetVoiceActivateByUserID(h, g_id.data())); }, 0},
            {"CancelVoiceActivate", [](void* h, void*) { return qint64(KXScreen_CancelVoiceActivate(h)); }, 0},
            {"SetCurSpeakPerson", [](void* h, void*) { return qint64(KXScreen_SetCurSpeakPerson(h, g_id.data())); }, 0},
            {"UpdateNetWeak", [](void* h, void*) { return qint64(KXScreen_UpdateNetWeak(h, "u1", true, 1)); }, 0},
            {"SetCurMode", [](void* h, void*) { return qint64(KXScreen_SetCurMode(h, 5)); }, 0},
            {"GetCurMode", [](void* h, void*) { return qint64(KXScreen_GetCurMode(h)); }, 0},
            {"JoinMeetingFinish", [](void* h, void*) { return qint64(KXScreen_JoinMeetingFinish(h)); }, 0},
            {"IsIconic", [](void* h, void*) { return qint64(KXScreen_IsIconic(h)); }, 0},
            {"ChangePrimaryScreen", [](void* h, void*) { return qint64(KXScreen_ChangePrimaryScreen(h, false)); }, 0},
            {"StartLocalShare", [](void* h, void*) { return qint64(KXScreen_StartLocalShare(h, 1, true)); }, 0},
            {"StopLocalShare", [](void* h, void*) { return qint64(KXScreen_StopLocalShare(h)); }, 0},
            {"SetSharePaush", [](void* h, void*) { return qint64(KXScreen_SetSharePaush(h, true)); }, 0},
            {"ShareWhiteBoard", [](void* h, void*) { return qint64(KXScreen_ShareWhiteBoard(h, "u1", true, true)); }, 0},
            {"ReposShareWgtForAnnonate", [](void* h, void*) { return qint64(KXScreen_ReposShareWgtForAnnonate(h)); }, 0},
            {"IsUserShare", [](void* h, void*) { return qint64(KXScreen_IsUserShare(h)); }, 0},
            {"ShowPicInPic", [](void* h, void*) { return qint64(KXScreen_ShowPicInPic(h, true)); }, 0},
            {"GetPicInPicWidgetPtr", [](void* h, void*) { return qint64(quintptr(KXScreen_GetPicInPicWidgetPtr(h))); }, 0},
            {"AddSentence", [](void* h, void*) { return qint64(KXScreen_AddSentence(h, 1, 0, g_name.data(), g_text.data())); }, 0},
            {"ClearSubtitles", [](void* h, void*) { return qint64(KXScreen_ClearSubtitles(h)); }, 0},
            {"OpenSubtitle", [](void* h, void*) { return qint64(KXScreen_OpenSubtitle(h, true)); }, 0},
            {"SetDPIs", [](void* h, void*) { return qint64(KXScreen_SetDPIs(h, 2.5, 3.5)); }, 0},
            {"MoveWindow", [](void* h, void*) { return qint64(KXScreen_MoveWindow(h, QRect(5, 5, 300, 200), KXSCREEN_MOVE_HIDE)); }, 0},
            {"SetShareWatermark", [](void* h, void*) { return qint64(KXScreen_SetShareWatermark(h, "secret", true)); }, 0},
            {"GetShareWgtPos", [](void* h, void*) { return qint64(KXScreen_GetShareWgtPos(h).isNull() ? 0 : 1); }, 0},
            {"ChangeShowPage", [](void* h, void*) { return qint64(KXScreen_ChangeShowPage(h, true)); }, 0},
            {"Ext_Open", [](void* h, void*) { return qint64(KXScreenExt_Open(h, 0)); }, 0},
            {"Ext_Close", [](void* h, void*) { return qint64(KXScreenExt_Close(h)); }, 0},
            {"Ext_IsOpen", [](void* h, void*) { return qint64(KXScreenExt_IsOpen(h)); }, 0},
            {"Ext_SetUserID", [](void* h, void*) { return qint64(KXScreenExt_SetUserID(h, g_id.data())); }, 0},
            {"Ext_GetUserID", [](void* h, void*) { return qint64(quintptr(KXScreenExt_GetUserID(h))); }, 0},
            {"Ext_GetWidgetPtr", [](void* h, void*) { return qint64(quintptr(KXScreenExt_GetWidgetPtr(h))); }, 0},
            // No handle check by design: they answer 1; called with the values in force.
            {"SetIsNewSkin", [cfg](void* h, void*) { return qint64(KXScreen_SetIsNewSkin(h, cfg->isNewSkin())); }, 0, 1},
            {"SetMeetingRoomMinimized", [cfg](void* h, void*) { return qint64(KXScreen_SetMeetingRoomMinimized(h, cfg->m_bMeetingRoomMinimized.load())); }, 0, 1},
        };
        const std::pair<const char*, void*> screens[] = {
            {"null", nullptr}, {"forged", &m_forgedScreen}, {"released", m_released}, {"garbage", reinterpret_cast<void*>(0x18)},
            {"misaligned", static_cast<char*>(g->h) + 1}, {"a play handle", m_alice}};
        const QString unreadable = QStringLiteral("IsBadReadPtr(pPlay, sizeof(ST_KXPlayHdl))");
        const std::pair<const char*, void*> plays[] = {
            {"null", nullptr}, {"forged, live record", &m_forgedPlay}, {"forged, fake record", &m_forgedFake},
            {"a record address", recordOf(m_alice)}, {"inside a live handle", static_cast<char*>(m_alice) + 8},
            {"garbage", reinterpret_cast<void*>(~quintptr(0) - 15)}, {"the module handle", g->h}, {"released", m_gone},
            {"another gallery's", m_other->handles.at(0)}};
        for (const Export& e : exports) {
            for (const auto& s : screens) { // a release names a handle it does not know
                const bool named = qstrcmp(e.name, "Release") == 0 && (s.second == &m_forgedScreen || s.second == m_released);
                QTest::addRow("%s, %s module handle", e.name, s.first) << e.call << quintptr(s.second) << quintptr(m_alice) << e.answer
                                                                      << (named ? QString::asprintf("[ScreenMod]KXScreen_Release unknown handle: %p", s.second) : QString());
            }
            for (int k = 0; e.play && k < 9; ++k) {
                const QString line = k == 0 ? QStringLiteral("hPlay == nullptr")
                                     : (k == 7 && e.play == 2) ? QStringLiteral("iter != pScreen->mapHadDelPlay.end()") : unreadable;
                QTest::addRow("%s, %s play handle", e.name, plays[k].first) << e.call << quintptr(g->h) << quintptr(plays[k].second) << qint64(0) << line;
            }
            if (e.play)
                QTest::addRow("%s, this play handle through another gallery", e.name)
                    << e.call << quintptr(m_other->h) << quintptr(m_alice) << qint64(0) << unreadable;
        }
        // Then bad arguments with good handles.
        auto bad = [&](const QString& name, Call c, const QString& line) {
            QTest::newRow(qPrintable(name)) << c << quintptr(g->h) << quintptr(m_alice) << qint64(0) << line;
        };
        bad("SetPersonHeadImg, null image", [](void* h, void* p) { return qint64(KXScreen_SetPersonHeadImg(h, p, nullptr)); }, "pImage == nullptr");
        bad("PlayFrame, null frame record", [](void* h, void* p) { return qint64(KXScreen_PlayFrame(h, p, nullptr)); }, "pWin32Frame == nullptr");
        // Refused frames: exactly the bytes the record declares exist, so that a
        // read past them shows; where the sides alone refuse it, a few stand in.
        auto frame = [&](const char* name, int w, int h, bool nullData, int length, const char* reason) {
            const uint32_t len = uint32_t(length < 0 ? 16 : length);
            bad(QStringLiteral("PlayFrame, %1").arg(name), [=](void* s, void* p) {
                std::vector<uint8_t> bytes(len);
                KxCloudRTCVideoFrameQT f{0, nullData ? nullptr : bytes.data(), len, w, h};
                return qint64(KXScreen_PlayFrame(s, p, &f));
            }, QStringLiteral("[ScreenMod]PlayFrame refused: %1 ,userName: P0 ,size: %2 x %3 ,length: %4").arg(reason).arg(w).arg(h).arg(len));
        };
        frame("zero width", 0, 36, false, -1, "width not positive");
        frame("negative height", 64, -36, false, -1, "height not positive");
        frame("most negative", INT_MIN, INT_MIN, false, -1, "width not positive");
        frame("46341 square", 46341, 46341, false, -1, "side above 16384 pixels");
        frame("one huge row", INT_MAX, 1, false, -1, "side above 16384 pixels");
        frame("null data", 64, 36, true, -1, "null data");
        frame("1920x1080 over 64 bytes", 1920, 1080, false, 64, "length smaller than the picture");
        frame("63x35 one byte short", 63, 35, false, 63 * 35 + 2 * 32 * 18 - 1, "length smaller than the picture");
        // Implausible scale factors: they multiply every tile's viewport into integer pixels.
        const double inf = std::numeric_limits<double>::infinity();
        const std::pair<double, double> factors[] = {{std::numeric_limits<double>::quiet_NaN(), 1.0}, {1.0, inf}, {-inf, 1.0}, {0.0, 1.0},
            {1.0, -1.25}, {16.5, 1.0}, {1.0, 100.0}, {std::numeric_limits<double>::max(), 1.0}, {-std::numeric_limits<double>::denorm_min(), 1.0}};
        for (const auto& d : factors)
            bad(QString::asprintf("SetDPIs %g, %g", d.first, d.second), [d](void* h, void*) { return qint64(KXScreen_SetDPIs(h, d.first, d.second)); },
                "[ScreenMod]KXScreen_SetDPIs refused: a factor is not between 0 and 16");
    }

    void sweep()
    {
        QFETCH(Call, call);
        QFETCH(quintptr, screen);
        QFETCH(quintptr, play);
        QFETCH(qint64, expected);
        QFETCH(QString, line);
        ExpectLog log;
        for (bool hostThread : {false, true}) {
            const QString before = state();
            if (!line.isEmpty())
                QTest::ignoreMessage(line.contains("PlayFrame refused:") ? QtWarningMsg : QtDebugMsg, qPrintable(line));
            auto run = [&]() { return call(reinterpret_cast<void*>(screen), reinterpret_cast<void*>(play)); };
            const qint64 r = hostThread ? onHostThread(run) : run();
            settle();
            QVERIFY2(r == expected, qPrintable(QStringLiteral("answered %1 on the %2 thread").arg(r).arg(hostThread ? "host" : "interface")));
            QCOMPARE(state(), before);
        }
        QVERIFY(isValidScreenHandle(g->h));
    }

    void nullStringsAndImages()
    {
        // Null strings are the empty string, as documented.
        void* anon = KXScreen_AddPerson(g->h, nullptr, nullptr, nullptr, 40, 0, nullptr, 1);
        void* anon2 = onHostThread([this]() { return KXScreen_AddPerson(g->h, nullptr, nullptr, nullptr, 41, 0, nullptr, 1); });
        pump();
        QCOMPARE(g->screen()->persons().size(), 4);
        QCOMPARE(recordOf(anon)->userID + recordOf(anon)->userName + recordOf(anon)->qstrExtra, QString());
        QCOMPARE(KXScreen_SetPersonInfo(g->h, m_alice, false, 0, nullptr), 1); // a null name leaves the name alone
        QCOMPARE(KXScreen_SetUnjoinedPersonInfo(g->h, anon, nullptr, 2, g_image), 1);
        QCOMPARE(KXScreen_UpdateNetWeak(g->h, nullptr, true, 2), 1); // the empty ID names the anonymous ones
        pump();
        QCOMPARE(recordOf(m_alice)->userName, QStringLiteral("P0"));
        QCOMPARE(recordOf(anon)->m_iStatus, 2);
        QVERIFY(recordOf(anon)->bNetWeak || recordOf(anon2)->bNetWeak);
        QVERIFY(!recordOf(m_alice)->bNetWeak);
        // (Null IDs for focus, voice activation and the speaker: the chaos run.)
        QCOMPARE(KXScreen_ShareWhiteBoard(g->h, nullptr, false, false) + KXScreen_AddSentence(g->h, 1, 0, nullptr, nullptr), 2);
        pump();
        QCOMPARE(g->screen()->subtitles().last(), QStringLiteral(": "));
        // A null image by reference clears the head (a null pointer: the sweep).
        QCOMPARE(KXScreen_SetPersonHeadImg(g->h, anon, &g_image), 1);
        QCOMPARE(KXScreen_SetUnjoinedPersonInfo(g->h, anon, g_name.data(), 1, QImage()), 1);
        QVERIFY(recordOf(anon)->headImage.isNull());
        // Init with a null directory and a null host function: a gallery that works and tells nobody.
        void* quiet = KXScreen_Init(nullptr, nullptr, nullptr);
        void* q = KXScreen_AddPerson(quiet, g_id.data(), g_id.data(), g_id.data(), 1, 0, nullptr, 1);
        pump();
        QCOMPARE(KXScreen_SetDefStreamType(quiet, q), 1);
        KXScreen_Release(quiet);
        QCOMPARE(KXScreen_DelPerson(g->h, anon) + KXScreen_DelPerson(g->h, anon2), 2);
    }

    void interfaceCallsFromAHostThread()
    {
        ExpectLog log;
        const QString before = state();
        QTest::ignoreMessage(QtWarningMsg, "[ScreenMod]KXScreen_Init must be called on the interface thread of a QApplication");
        QVERIFY(!onHostThread([this]() { return KXScreen_Init(&g->parent, "", hostFunctionFor(1)); }));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("KXScreen_Get.*UserID refused: it belongs on the interface"));
        for (auto query : {KXScreen_GetAllLookUserID, KXScreen_GetLockLookUserID, KXScreen_GetShareUserID})
            QVERIFY(!onHostThread([&]() { return query(g->h); }));
        QVERIFY(onHostThread([this]() { return KXScreen_GetShareWgtPos(g->h); }).isNull());
        QCOMPARE(onHostThread([this]() { return KXScreen_IsIconic(g->h); }), 0);
        settle();
        QCOMPARE(state(), before);
        // Reparenting from a host thread is refused; releasing happens on the
        // interface thread when it next pumps, never on the host's.
        void* h = KXScreen_Init(&g->parent, "", hostFunctionFor(1));
        void* p = addFromHost(h, 1, 50).first();
        QPointer<QDlgMain> dlg = static_cast<KXScreenHandle*>(h)->pMainDlg;
        QCOMPARE(onHostThread([&]() { return KXScreen_SetParent(h, &m_other->parent); }), 0);
        QCOMPARE(dlg->parentWidget(), &g->parent);
        QTest::ignoreMessage(QtDebugMsg, "[ScreenMod]KXScreen_Release from a host thread: released when the interface thread pumps");
        onHostThread([&]() { KXScreen_Release(h); return 0; });
        QTRY_VERIFY(dlg.isNull());
        QVERIFY(!isLiveScreenHandle(h) && !alive(p));
    }

    void extremeJoinTimes()
    {
        // The ordering moves a participant one step before or after another:
        // at the ends of the 64-bit range it must stop, not wrap.
        Gallery x(QSize(640, 360), 0, true, 1);
        auto add = [&](QByteArray id, qint64 join) { return KXScreen_AddPerson(x.h, id.data(), id.data(), id.data(), join, 0, nullptr, 1); };
        add("first", LLONG_MIN);
        void* pLast = add("last", LLONG_MAX);
        void* pOff = add("off", 5);
        void* pOn = add("on", 6);
        auto frame = [&](void* p) { onHostThread([&]() { return KXScreen_PlayFrame(x.h, p, &g_frame.rec); }); pump(); };
        auto reorder = [&]() { KXScreen_FocusByUserID(x.h, const_cast<char*>("")); settle(); };
        frame(pLast);
        QTRY_COMPARE(recordOf(pLast)->eStreamStatus, 2);
        KXScreen_Preview(x.h, pOn, false);
        reorder();
        KXScreen_Preview(x.h, pOff, false); // goes before "first", the earliest possible
        reorder();
        QCOMPARE(recordOf(pOff)->joinTime, LLONG_MIN);
        KXScreen_Preview(x.h, pOn, true); // and its first frame: after "last", the latest possible
        frame(pOn);
        QTRY_COMPARE(recordOf(pOn)->eStreamStatus, 2);
        settle();
        QCOMPARE(recordOf(pOn)->joinTime, LLONG_MAX);
        reorder();
        const QVector<tagPersonInfo*> order = x.screen()->persons();
        QVERIFY(order.indexOf(recordOf(pLast)) < order.indexOf(recordOf(pOn)));
    }

    void dump_data()
    {
        // The every-frame dump (the settings read on the thread Init starts
        // turn it on) with hostile names, and lengths that say more
        // or less than the picture holds (the length is only for the dump).
        QTest::addColumn<QByteArray>("id");
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("baseName"); // the host's base directory, inside a scratch root
        QTest::addColumn<uint>("length");      // 0: the picture's own
        QTest::newRow("plain") << QByteArray("u9") << QByteArray("Dora") << "base" << 0u;
        QTest::newRow("climbing name") << QByteArray("u9") << QByteArray("../../../../tmp/x") << "base" << 0u;
        QTest::newRow("climbing id") << QByteArray("../../..") << QByteArray("Dora") << "base" << 0u;
        QTest::newRow("absolute id") << QByteArray("/etc/passwd") << QByteArray("/") << "base" << 0u;
        QTest::newRow("backslashes") << QByteArray("..\\..\\x") << QByteArray("c:\\windows") << "base" << 0u;
        QTest::newRow("dots only") << QByteArray("..") << QByteArray(".") << "base" << 0u;
        QTest::newRow("control characters") << QByteArray("a\nb\r\x01") << QByteArray("\t..\x7f") << "base" << 0u;
        QTest::newRow("placeholders") << QByteArray("%1%2/%3") << QByteArray("%5%4..") << "base" << 0u;
        QTest::newRow("invalid utf-8") << QByteArray("\xff\xfe/..") << QByteArray("\xc3\x28/..") << "base" << 0u;
        QTest::newRow("base with placeholders") << QByteArray("..") << QByteArray("../..") << "q%3%2" << 0u;
        QTest::newRow("length past the picture") << QByteArray("u5") << QByteArray("Len") << "base" << 0xffffffffu;
        QTest::newRow("length twice the picture") << QByteArray("u5") << QByteArray("Len") << "base" << 2u * 34 * 18;
        QTest::newRow("length of one byte: refused") << QByteArray("u5") << QByteArray("Len") << "base" << 1u;
    }

    void dump()
    {
        QFETCH(QByteArray, id);
        QFETCH(QByteArray, name);
        QFETCH(QString, baseName);
        QFETCH(uint, length);
        QTemporaryDir root;
        const QString base = root.path() + '/' + baseName;
        QFile ini(base + "/user_data/sys_ver.ini"); // settings that turn the every-frame dump on
        QVERIFY(QDir().mkpath(base + "/log/tmpFrame") && QDir().mkpath(base + "/user_data") && ini.open(QIODevice::WriteOnly));
        QVERIFY(ini.write("[version]\ncache_frame1=true\n") > 0 && ini.flush());
        QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
        Frame earlier(34, 18, 7), f(34, 18, 99);
        earlier.rec.length = f.rec.length = length ? length : f.rec.length;
        {
            Gallery x(QSize(320, 180), 0, true, 1, base.toUtf8());
            QTRY_VERIFY(cfg->cacheEveryFrame());
            void* p = KXScreen_AddPerson(x.h, id.data(), id.data(), name.data(), 1, 0, nullptr, 1);
            onHostThread([&]() { return KXScreen_PlayFrame(x.h, p, &earlier.rec) + KXScreen_PlayFrame(x.h, p, &f.rec); });
        }
        cfg->setBaseDir(QString());
        cfg->loadSettingsNow();
        // Exactly one file under the scratch root, in the dump directory,
        // holding the last picture (one file per participant and size) and
        // nothing read past it.
        QStringList files;
        QDirIterator it(root.path(), QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (it.hasNext())
            files << it.next();
        files.removeAll(base + "/user_data/sys_ver.ini");
        // Shorter than its picture: refused before anything is read or written.
        const bool refused = f.rec.length < f.bytes.size();
        QVERIFY2(files.size() == (refused ? 0 : 1), qPrintable(files.join(';')));
        if (refused)
            return;
        QCOMPARE(QFileInfo(files.first()).absolutePath(), QFileInfo(base + "/log/tmpFrame").absoluteFilePath());
        QVERIFY(files.first().endsWith("_34x18.yuv"));
        QFile dump(files.first());
        QVERIFY(dump.open(QIODevice::ReadOnly));
        QCOMPARE(dump.readAll(), QByteArray(reinterpret_cast<const char*>(f.bytes.data()), int(f.bytes.size())));
    }

private:
    // Queued work only: the gallery's own timers would change it by themselves.
    static void settle()
    {
        for (int i = 0; i < 3; ++i)
            QCoreApplication::sendPostedEvents();
    }
    QString state() const;

    std::unique_ptr<Gallery> g;
    std::unique_ptr<Gallery> m_other;
    void* m_released = nullptr; // a module handle released before the tests
    void* m_alice = nullptr;
    void* m_gone = nullptr;     // a play handle released before the tests
    // Never issued by the module: memory the test owns.
    KXScreenHandle m_forgedScreen;
    ST_KXPlayHdl m_forgedPlay, m_forgedFake;
    tagPersonInfo m_fakeRecord;
};

// Everything a refused call must leave alone, as text.
QString TstBadInput::state() const
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    QDlgScreen* c = g->screen();
    QStringList s;
    for (tagPersonInfo* p : c->persons() + m_other->screen()->persons()) {
        const quint16 picture = p->m_pBufYuv420p ? qChecksum(reinterpret_cast<const char*>(p->m_pBufYuv420p),
                                                             uint((p->iWidth & ~7) * p->iHeight)) : 0;
        s << QStringLiteral("%1 %2 %3%4%5%6%7%8%9").arg(quintptr(p)).arg(p->userID, p->userName).arg(p->bSelf).arg(p->bMute)
                 .arg(p->bHasMic).arg(p->bPreview).arg(p->bAllLook).arg(p->bLockLook)
             + QStringLiteral(" %1 %2 %3 %4 %5 %6 %7x%8 %9").arg(p->iRoleType).arg(p->iVolume).arg(p->iNetLevel).arg(p->m_iStatus)
                   .arg(p->iStreamType).arg(p->eStreamStatus).arg(p->iWidth).arg(p->iHeight).arg(p->headImage.cacheKey())
             + QStringLiteral(" %1 %2 %3").arg(quintptr(static_cast<CPlayWidget*>(p->pWidget))).arg(picture).arg(p->bNetWeak);
    }
    int notices = 0;
    for (const HostMsg& m : g->host().all()) // video stop and start come from timers
        notices += m.msg == KXSCREEN_MSG_REMOTE_VIDEO_CLOSE || m.msg == KXSCREEN_MSG_REMOTE_VIDEO_OPEN ? 0 : 1;
    QDlgMain* dlg = static_cast<KXScreenHandle*>(g->h)->pMainDlg;
    s << QStringLiteral("mode %1 page %2 focus %3 dpi %4 %5 skin %6 share %7%8%9 %10").arg(c->curMode()).arg(c->pageIndex())
             .arg(quintptr(c->focusPerson())).arg(cfg->dpi1()).arg(cfg->dpi2()).arg(cfg->isNewSkin()).arg(c->state().localShare)
             .arg(c->state().sharePause).arg(c->isPrimaryScreen()).arg(c->state().watermark)
      << QStringLiteral("subtitles %1 %2 joined %3 window %4,%5 %6x%7 %8 %9 notices %10")
             .arg(c->subtitles().join('|')).arg(c->subtitleBand()->isOpen()).arg(c->isJoinMeetingFinish()).arg(dlg->x()).arg(dlg->y())
             .arg(dlg->width()).arg(dlg->height()).arg(dlg->isVisible()).arg(quintptr(dlg->parentWidget())).arg(notices)
      << QStringLiteral("live %1").arg(alive(m_alice) + alive(g->handles.at(1)));
    return s.join('\n');
}

QTEST_MAIN(TstBadInput)
#include "tst_badinput.moc"
