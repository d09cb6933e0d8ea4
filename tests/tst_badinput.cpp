// The bad-input sweep: the exports with every kind of bad handle, from the
// interface thread and from a host thread, answer as documented (the log line
// where it names the reason) and change nothing; then null strings and
// images, refused frames, implausible scale factors and hostile names in the
// frame dump. In the sanitizer build a refused argument
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

// An export's answer as a number: pointers and rectangles answer 1 when set.
qint64 answer(int v) { return v; }
qint64 answer(const void* p) { return p ? 1 : 0; }
qint64 answer(const QRect& r) { return r.isNull() ? 0 : 1; }

// An export called with a module handle only, or with a play handle too.
template <typename R, typename... A, typename... V> Call screen(R (*f)(void*, A...), V... v)
{
    return [=](void* h, void*) { return answer(f(h, v...)); };
}
template <typename R, typename... A, typename... V> Call play(R (*f)(void*, void*, A...), V... v)
{
    return [=](void* h, void* p) { return answer(f(h, p, v...)); };
}
// Rows of the sweep's table: the export's name, the call, and whether it takes
// a play handle (0 no, 1 yes, 2 and names a released one as such).
#define SCREEN(f, ...) {#f, screen(KXScreen_##f, ##__VA_ARGS__), 0}
#define EXT(f, ...) {"Ext_" #f, screen(KXScreenExt_##f, ##__VA_ARGS__), 0}
#define PLAY(f, kind, ...) {#f, play(KXScreen_##f, ##__VA_ARGS__), kind}
} // namespace

Q_DECLARE_METATYPE(Call)

namespace {
struct Export
{
    const char* name;
    Call call;
    int play; // 0 no play handle, 1 takes one, 2 and names a released one as such
    qint64 answer = 0;
};
// While alive, the module's lines as a host that turned its debug lines off
// (kxscreen.debug=false) gets them, as "<QtMsgType digit><text>".
std::mutex g_heardLock;
QStringList g_heard;
QtMessageHandler g_next = nullptr;
struct Quiet
{
    const bool was = detail::category().isDebugEnabled();
    Quiet()
    {
        detail::category().setEnabled(QtDebugMsg, false);
        g_heard.clear();
        g_next = qInstallMessageHandler(heard);
    }
    ~Quiet() { qInstallMessageHandler(g_next), detail::category().setEnabled(QtDebugMsg, was); }
    static void heard(QtMsgType t, const QMessageLogContext& c, const QString& m)
    {
        std::lock_guard<std::mutex> lock(g_heardLock);
        if (qstrcmp(c.category, "kxscreen") == 0)
            g_heard << QString::number(t) + m;
        else
            g_next(t, c, m);
    }
    static bool has(const QString& text) { return !g_heard.filter(text).isEmpty(); }
};
// The export a row or table entry names: "SetMute, ..." is KXScreen_SetMute, "Ext_Open" KXScreenExt_Open.
QString exportName(const QString& tag)
{
    const QString n = tag.section(QRegularExpression("[ ,]"), 0, 0);
    return n.startsWith("Ext_") ? "KXScreen" + n : "KXScreen_" + n;
}
} // namespace

class TstBadInput : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY(moduleLogOn());
        g.reset(new Gallery(QSize(960, 540), 3));
        // the largest factor accepted
        QCOMPARE(KXScreen_SetDPIs(g->h, 16.0, 1.0), 1);
        // and what the sweep must leave alone
        QCOMPARE(KXScreen_SetDPIs(g->h, 1.5, 2.0), 1);
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
    void init()
    {
        settle();
        g->host().clear();
    }

    void sweep_data()
    {
        // -datatags lists the rows without running initTestCase first
        if (!g)
            initTestCase();
        // Each export, first with every kind of bad module handle (a live play
        // handle where one is needed), then, for those that take a play handle,
        // the live module handle with every kind of bad play handle.
        QTest::addColumn<Call>("call");
        QTest::addColumn<quintptr>("screen");
        QTest::addColumn<quintptr>("play");
        QTest::addColumn<qint64>("expected");
        // the log line naming the reason; empty: not checked
        QTest::addColumn<QString>("line");
        QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
        QByteArray& id = g_id;
        // Exports whose handle checks are their own, and one for each shared
        // checking path: the module-wide signal (SetCurMode), the participant's
        // signal (SetMute) and call (AllLook), the user ID query, the external
        // screen. (Every export's answer to bad handles: the fuzz driver.)
        const Export exports[] = {
            {"Release",
             [](void* h, void*) {
                 KXScreen_Release(h);
                 return qint64(0);
             },
             0},
            SCREEN(SetParent, &g->parent),
            SCREEN(AddPerson, id.data(), id.data(), g_name.data(), qint64(5), 0, nullptr, 1),
            PLAY(DelPerson, 1),
            PLAY(PlayFrame, 2, &g_frame.rec),
            PLAY(Preview, 2, false),
            PLAY(SetMute, 1, 0),
            PLAY(SetPersonHeadImg, 1, &g_image),
            PLAY(SetUnjoinedPersonInfo, 1, g_name.data(), 3, g_image),
            PLAY(AllLook, 1, 1),
            SCREEN(GetAllLookUserID),
            SCREEN(GetLockLookUserID),
            SCREEN(GetShareUserID),
            SCREEN(SetPage, 1),
            SCREEN(GetPage),
            SCREEN(GetPageCount),
            SCREEN(SetCurMode, 5),
            SCREEN(GetCurMode),
            SCREEN(JoinMeetingFinish),
            SCREEN(IsIconic),
            SCREEN(IsUserShare),
            SCREEN(ShowPicInPic, true),
            SCREEN(GetPicInPicWidgetPtr),
            SCREEN(AddSentence, 1, 0, g_name.data(), g_text.data()),
            SCREEN(SetDPIs, 2.5, 3.5),
            SCREEN(GetShareWgtPos),
            SCREEN(ChangeShowPage, true),
            EXT(Open, 0),
            EXT(IsOpen),
            EXT(Close),
            EXT(SetUserID, g_id.data()),
            EXT(GetUserID),
            EXT(GetWidgetPtr),
            // No handle check by design: they answer 1; called with the values in force.
            {"GetVersion", [](void*, void*) { return qint64(KXScreen_GetVersion() != nullptr); }, 0, 1},
            {"GetRenderer", [](void*, void*) { return qint64(KXScreen_GetRenderer() != nullptr); }, 0, 1},
            {"SetIsNewSkin", [cfg](void* h, void*) { return qint64(KXScreen_SetIsNewSkin(h, cfg->isNewSkin())); }, 0,
             1},
            {"SetMeetingRoomMinimized",
             [cfg](void* h, void*) {
                 return qint64(KXScreen_SetMeetingRoomMinimized(h, cfg->m_bMeetingRoomMinimized));
             },
             0, 1},
        };
        m_exports.assign(std::begin(exports), std::end(exports));
        const std::pair<const char*, void*> screens[] = {
            {"null", nullptr}, {"forged", &m_forgedScreen}, {"released", m_released},
            {"garbage", reinterpret_cast<void*>(0x18)}, {"misaligned", static_cast<char*>(g->h) + 1},
            {"a play handle", m_alice}};
        const QString unreadable = QStringLiteral("IsBadReadPtr(pPlay, sizeof(ST_KXPlayHdl))");
        const std::pair<const char*, void*> plays[] = {
            {"null", nullptr}, {"forged, live record", &m_forgedPlay}, {"forged, fake record", &m_forgedFake},
            {"a record address", recordOf(m_alice)}, {"inside a live handle", static_cast<char*>(m_alice) + 8},
            {"garbage", reinterpret_cast<void*>(~quintptr(0) - 15)}, {"the module handle", g->h},
            {"released", m_gone}, {"another gallery's", m_other->handles.at(0)}};
        for (const Export& e : exports) {
            // a release names a handle it does not know
            for (const auto& s : screens) {
                const bool named
                    = qstrcmp(e.name, "Release") == 0 && (s.second == &m_forgedScreen || s.second == m_released);
                QTest::addRow("%s, %s module handle", e.name, s.first)
                    << e.call << quintptr(s.second) << quintptr(m_alice) << e.answer
                    << (named ? QString::asprintf("[ScreenMod]KXScreen_Release unknown handle: %p", s.second)
                              : QString());
            }
            for (int k = 0; e.play && k < 9; ++k) {
                const QString line = k == 0                     ? QStringLiteral("hPlay == nullptr")
                                     : (k == 7 && e.play == 2) ? QStringLiteral("iter != pScreen->mapHadDelPlay.end()")
                                                                : unreadable;
                QTest::addRow("%s, %s play handle", e.name, plays[k].first)
                    << e.call << quintptr(g->h) << quintptr(plays[k].second) << qint64(0) << line;
            }
            if (e.play)
                QTest::addRow("%s, this play handle through another gallery", e.name)
                    << e.call << quintptr(m_other->h) << quintptr(m_alice) << qint64(0) << unreadable;
        }
        // Then bad arguments with good handles.
        auto bad = [&](const QString& name, Call c, const QString& line) {
            QTest::newRow(qPrintable(name)) << c << quintptr(g->h) << quintptr(m_alice) << qint64(0) << line;
        };
        bad("SetPersonHeadImg, null image", play(KXScreen_SetPersonHeadImg, nullptr), "pImage == nullptr");
        bad("PlayFrame, null frame record", play(KXScreen_PlayFrame, nullptr), "pWin32Frame == nullptr");
        // Refused frames (why, by the frame checks' table in tst_rules): exactly
        // the bytes the record declares exist, so that a read past them shows.
        auto frame = [&](const char* name, int w, int h, bool nullData, uint32_t len, const char* reason) {
            bad(QStringLiteral("PlayFrame, %1").arg(name), [=](void* s, void* p) {
                std::vector<uint8_t> bytes(len);
                KxCloudRTCVideoFrameQT f{0, nullData ? nullptr : bytes.data(), len, w, h};
                return qint64(KXScreen_PlayFrame(s, p, &f));
            }, QStringLiteral("[ScreenMod]KXScreen_PlayFrame refused: %1 (%2x%3, length %4), userName: P0")
                   .arg(reason).arg(w).arg(h).arg(len));
        };
        frame("46341 square", 46341, 46341, false, 16, "side above 16384 pixels");
        frame("null data", 64, 36, true, 16, "null data");
        frame("63x35 one byte short", 63, 35, false, 63 * 35 + 2 * 32 * 18 - 1, "length smaller than the picture");
        // Implausible scale factors: they multiply every tile's viewport into integer pixels.
        const double inf = std::numeric_limits<double>::infinity(), nan = std::numeric_limits<double>::quiet_NaN();
        for (const auto& d : {std::make_pair(nan, 1.0), {1.0, -inf}, {0.0, 1.0}, {16.5, 1.0}})
            bad(QString::asprintf("SetDPIs %g, %g", d.first, d.second), screen(KXScreen_SetDPIs, d.first, d.second),
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
            // From the host thread as a host with the debug lines off hears it: every refusal still heard.
            std::unique_ptr<Quiet> quiet(hostThread ? new Quiet : nullptr);
            if (!line.isEmpty() && !hostThread)
                QTest::ignoreMessage(line.contains("PlayFrame refused:") ? QtWarningMsg : QtDebugMsg, qPrintable(line));
            auto run = [&]() { return call(reinterpret_cast<void*>(screen), reinterpret_cast<void*>(play)); };
            const qint64 r = hostThread ? onHostThread(run) : run();
            settle();
            QVERIFY2(r == expected, qPrintable(QStringLiteral("answered %1 on a %2 thread").arg(r).arg(hostThread)));
            QCOMPARE(state(), before);
        }
        const bool silent = expected != 0 || !qstrcmp(QTest::currentDataTag(), "Release, null module handle");
        QVERIFY2(g_heard.filter(QRegularExpression("^0")).isEmpty(), qPrintable(g_heard.join('\n')));
        QVERIFY2(silent || Quiet::has(exportName(QTest::currentDataTag()) + " refused: "), "refused unheard");
        QVERIFY(isValidScreenHandle(g->h));
    }

    void nullStringsAndImages()
    {
        // Null strings are the empty string, as documented.
        void* anon = KXScreen_AddPerson(g->h, nullptr, nullptr, nullptr, 40, 0, nullptr, 1);
        void* anon2
            = onHostThread([this]() { return KXScreen_AddPerson(g->h, nullptr, nullptr, nullptr, 41, 0, nullptr, 1); });
        pump();
        QCOMPARE(g->screen()->persons().size(), 4);
        QCOMPARE(recordOf(anon)->userID + recordOf(anon)->userName + recordOf(anon)->qstrExtra, QString());
        // a null name leaves the name alone
        QCOMPARE(KXScreen_SetPersonInfo(g->h, m_alice, false, 0, nullptr), 1);
        QCOMPARE(KXScreen_SetUnjoinedPersonInfo(g->h, anon, nullptr, 2, g_image), 1);
        // the empty ID: the first without one
        QCOMPARE(KXScreen_UpdateNetWeak(g->h, nullptr, true, 2), 1);
        pump();
        QCOMPARE(recordOf(m_alice)->userName, QStringLiteral("P0"));
        QCOMPARE(recordOf(anon)->m_iStatus, 2);
        QVERIFY(recordOf(anon)->bNetWeak && !recordOf(anon2)->bNetWeak && !recordOf(m_alice)->bNetWeak);
        QCOMPARE(KXScreen_ShareWhiteBoard(g->h, nullptr, false, false)
                     + KXScreen_AddSentence(g->h, 1, 0, nullptr, nullptr),
                 2);
        pump();
        QCOMPARE(g->screen()->subtitles().last(), QStringLiteral(": "));
        // A null image by reference clears the head (a null pointer: the sweep).
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
        QTest::ignoreMessage(QtWarningMsg,
                             "[ScreenMod]KXScreen_Init must be called on the interface thread of a QApplication");
        QVERIFY(!onHostThread([this]() { return KXScreen_Init(&g->parent, "", hostFunctionFor(1)); }));
        settle();
        QCOMPARE(state(), before);
        // Releasing from a host thread happens on the interface thread when it
        // next pumps, never on the host's (the other exports: threadTags).
        void* h = KXScreen_Init(&g->parent, "", hostFunctionFor(1));
        void* p = addFromHost(h, 1, 50).first();
        QPointer<QDlgMain> dlg = static_cast<KXScreenHandle*>(h)->pMainDlg;
        QTest::ignoreMessage(QtDebugMsg, QRegularExpression("KXScreen_Release from a host thread: released when"));
        onHostThread([&]() { KXScreen_Release(h); return 0; });
        QTRY_VERIFY(dlg.isNull());
        QVERIFY(!isLiveScreenHandle(h) && !alive(p));
    }

    void dump_data()
    {
        // The every-frame dump (turned on by the settings Init reads) with
        // hostile names, and lengths that say more or less than the picture
        // holds (the length is only for the dump).
        QTest::addColumn<QByteArray>("id");
        QTest::addColumn<QByteArray>("name");
        // the host's base directory, inside a scratch root
        QTest::addColumn<QString>("baseName");
        // 0: the picture's own
        QTest::addColumn<uint>("length");
        QTest::newRow("climbing name and id") << QByteArray("../../..") << QByteArray("../../tmp/x") << "base" << 0u;
        QTest::newRow("invalid utf-8, placeholders") << QByteArray("\xff\xfe\\..%1") << QByteArray("\xc3\x28/..%2")
                                                     << "q%3%2" << 0u;
        QTest::newRow("length past the picture") << QByteArray("u5") << QByteArray("Len") << "base" << 0xffffffffu;
        QTest::newRow("length of one byte: refused") << QByteArray("u5") << QByteArray("Len") << "base" << 1u;
    }
    void dump()
    {
        QFETCH(QByteArray, id);
        QFETCH(QByteArray, name);
        QFETCH(QString, baseName);
        QFETCH(uint, length);
        QTemporaryDir root;
        const QString base = root.path() + '/' + baseName, dir = base + "/log/tmpFrame";
        // settings that turn the every-frame dump on
        QFile ini(base + "/user_data/sys_ver.ini");
        QVERIFY(QDir().mkpath(dir) && QDir().mkpath(base + "/user_data") && ini.open(QIODevice::WriteOnly));
        QVERIFY(ini.write("[version]\ncache_frame1=true\n") > 0 && ini.flush());
        QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
        Frame earlier(34, 18, 7), f(34, 18, 99);
        earlier.rec.length = f.rec.length = length ? length : f.rec.length;
        {
            Gallery x(QSize(320, 180), 0, true, 1, base.toUtf8());
            QTRY_VERIFY(cfg->cacheEveryFrame());
            void* p = KXScreen_AddPerson(x.h, id.data(), id.data(), name.data(), 1, 0, nullptr, 1);
            onHostThread(
                [&]() { return KXScreen_PlayFrame(x.h, p, &earlier.rec) + KXScreen_PlayFrame(x.h, p, &f.rec); });
        }
        cfg->setBaseDir(QString());
        cfg->loadSettingsNow();
        // One file under the scratch root besides the settings, in the dump
        // directory, holding the last picture (one file per participant and
        // size) and nothing read past it; none for a frame shorter than its picture.
        QStringList files;
        QDirIterator it(root.path(), QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (it.hasNext())
            files << QFileInfo(it.next()).absoluteFilePath();
        files.removeAll(QFileInfo(ini).absoluteFilePath());
        const bool refused = f.rec.length < f.bytes.size();
        QVERIFY2(files.size() == (refused ? 0 : 1), qPrintable(files.join(';')));
        if (refused)
            return;
        QCOMPARE(QFileInfo(files.first()).absolutePath(), QFileInfo(dir).absoluteFilePath());
        QVERIFY(files.first().endsWith("_34x18.yuv"));
        QFile dump(files.first());
        QVERIFY(dump.open(QIODevice::ReadOnly));
        QCOMPARE(dump.readAll(), QByteArray(reinterpret_cast<const char*>(f.bytes.data()), int(f.bytes.size())));
    }

    void threadTags()
    {
        // The header's thread tag of each export against what the export does when a host thread calls it
        // with good handles: [interface] ones are refused, with a warning heard with debug lines off.
        QFile header(QFINDTESTDATA("../include/kxscreenmod2.h"));
        QVERIFY(header.open(QIODevice::ReadOnly));
        QMap<QString, bool> tagged; // export: [interface]
        bool iface = false;
        const QRegularExpression re("\\[(interface|any thread)\\]|KXSCREEN_API[^(;]* (KXScreen\\w+)\\(");
        auto it = re.globalMatch(header.readAll());
        while (it.hasNext()) {
            const QRegularExpressionMatch m = it.next();
            m.captured(2).isEmpty() ? void(iface = m.captured(1) == "interface") : void(tagged[m.captured(2)] = iface);
        }
        if (m_exports.empty())
            QSKIP("the calls are the sweep's: run it first");
        Gallery x(QSize(320, 180), 1, true, 1);
        std::vector<Export> calls = m_exports;
        std::rotate(calls.begin(), calls.begin() + 1, calls.end()); // the release last
        QStringList unchecked = tagged.keys(true); // every [interface] export is called
        unchecked.removeOne("KXScreen_Init");      // interfaceCallsFromAHostThread
        for (const Export& e : calls) {
            const QString name = exportName(e.name);
            if (!tagged.contains(name))
                continue; // not exported
            unchecked.removeOne(name);
            void* p = KXScreen_AddPerson(x.h, g_id.data(), g_id.data(), g_name.data(), 9, 0, nullptr, 1);
            Quiet quiet;
            const qint64 r = onHostThread([&]() { return e.call(x.h, p); });
            const bool refused = Quiet::has(name + " refused: it belongs on the interface thread");
            QVERIFY2(refused == tagged[name] && (r == 0 || !refused), qPrintable(name));
        }
        QCOMPARE(unchecked, QStringList());
        KXScreen_SetDPIs(g->h, 1.5, 2.0);
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
    // a module handle released before the tests
    void* m_released = nullptr;
    std::vector<Export> m_exports; // the sweep's table
    void* m_alice = nullptr;
    // a play handle released before the tests
    void* m_gone = nullptr;
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
    QString s;
    QDebug d(&s);
    for (tagPersonInfo* p : c->persons() + m_other->screen()->persons()) {
        const char* picture = reinterpret_cast<const char*>(p->m_pBufYuv420p);
        d << p << p->userID << p->userName << p->bSelf.load() << p->bMute << p->bHasMic << p->bPreview.load()
          << p->bAllLook << p->bLockLook << p->iRoleType << p->iVolume << p->iNetLevel << p->m_iStatus << p->iStreamType
          << p->eStreamStatus << p->iWidth.load() << p->iHeight.load() << p->headImage.cacheKey()
          << static_cast<CPlayWidget*>(p->pWidget) << p->bNetWeak
          << (picture ? qChecksum(picture, uint((p->iWidth & ~7) * p->iHeight)) : 0) << "\n";
    }
    int notices = 0;
    // video stop and start come from timers
    for (const HostMsg& m : g->host().all())
        notices += m.msg == KXSCREEN_MSG_REMOTE_VIDEO_CLOSE || m.msg == KXSCREEN_MSG_REMOTE_VIDEO_OPEN ? 0 : 1;
    QDlgMain* dlg = static_cast<KXScreenHandle*>(g->h)->pMainDlg;
    d << c->curMode() << c->pageIndex() << c->focusPerson() << cfg->dpi1() << cfg->dpi2() << cfg->isNewSkin()
      << c->state().localShare << c->state().sharePause << c->isPrimaryScreen()
      << c->state().watermark << c->subtitles() << c->subtitleBand()->isOpen() << c->isJoinMeetingFinish()
      << dlg->geometry() << dlg->isVisible() << dlg->parentWidget() << notices << alive(m_alice)
      << alive(g->handles.at(1));
    return s;
}

QTEST_MAIN(TstBadInput)
#include "tst_badinput.moc"
