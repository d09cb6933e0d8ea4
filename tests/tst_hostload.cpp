// A host that loads the shared library at run time and resolves the exports
// by name, then drives a gallery through them only.
#include "kxscreenmod2.h"

#include <QLibrary>
#include <QMutex>
#include <QWidget>
#include <QtTest>
#include <thread>
#include <vector>

namespace {

QMutex g_lock;
QVector<unsigned int> g_msgs;
QVector<uint64_t> g_wparams;

int hostCallback(unsigned int msg, uint64_t wParam, uint64_t)
{
    QMutexLocker lock(&g_lock);
    g_msgs.append(msg);
    g_wparams.append(wParam);
    return 0;
}

int countMsg(unsigned int m)
{
    QMutexLocker lock(&g_lock);
    return g_msgs.count(m);
}

const char* const kExports[] = {
    "KXScreen_Init", "KXScreen_Release", "KXScreen_SetParent", "KXScreen_AddPerson", "KXScreen_DelPerson",
    "KXScreen_PlayFrame", "KXScreen_Preview", "KXScreen_SetMute", "KXScreen_SetHasMic", "KXScreen_SetPersonInfo",
    "KXScreen_SetPersonHeadImg", "KXScreen_SetUnjoinedPersonInfo", "KXScreen_SetVolume", "KXScreen_AllLook",
    "KXScreen_LockLook", "KXScreen_GetAllLookUserID", "KXScreen_GetLockLookUserID", "KXScreen_GetShareUserID",
    "KXScreen_FocusByUserID", "KXScreen_SetVoiceActivateByUserID", "KXScreen_CancelVoiceActivate",
    "KXScreen_SetCurSpeakPerson", "KXScreen_SetCurMode", "KXScreen_GetCurMode", "KXScreen_MoreInHide",
    "KXScreen_MoveWindow", "KXScreen_JoinMeetingFinish", "KXScreen_ChangePrimaryScreen", "KXScreen_StartLocalShare",
    "KXScreen_StopLocalShare", "KXScreen_SetShareWatermark", "KXScreen_SetSharePaush", "KXScreen_ShareWhiteBoard",
    "KXScreen_ReposShareWgtForAnnonate", "KXScreen_GetShareWgtPos", "KXScreen_IsUserShare", "KXScreen_UpdateNetWeak",
    "KXScreen_ShowPicInPic", "KXScreen_GetPicInPicWidgetPtr", "KXScreen_IsIconic", "KXScreen_AddSentence",
    "KXScreen_ClearSubtitles", "KXScreen_OpenSubtitle", "KXScreen_SetDPIs", "KXScreen_SetIsNewSkin",
    "KXScreen_SetMeetingRoomMinimized",
};

} // namespace

class TstHostLoad : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void everyExportResolves();
    void internalOperationsAreNotExported();
    void driveAGallery();
    void cleanupTestCase();

private:
    template <typename T>
    T fn(const char* name)
    {
        return reinterpret_cast<T>(m_lib.resolve(name));
    }
    QLibrary m_lib;
};

void TstHostLoad::initTestCase()
{
    m_lib.setFileName(QStringLiteral(KX_LIBRARY_PATH));
    QVERIFY2(m_lib.load(), qPrintable(m_lib.errorString()));
}

void TstHostLoad::everyExportResolves()
{
    for (const char* name : kExports)
        QVERIFY2(m_lib.resolve(name), name);
}

void TstHostLoad::internalOperationsAreNotExported()
{
    QVERIFY(!m_lib.resolve("KXScreen_ChangeShowPage"));
    QVERIFY(!m_lib.resolve("KXScreen_SetDefStreamType"));
    QVERIFY(!m_lib.resolve("isValidScreenHandle"));
}

void TstHostLoad::driveAGallery()
{
    auto setSkin = fn<PFN_KXScreen_SetIsNewSkin>("KXScreen_SetIsNewSkin");
    auto init = fn<PFN_KXScreen_Init>("KXScreen_Init");
    auto release = fn<PFN_KXScreen_Release>("KXScreen_Release");
    auto addPerson = fn<PFN_KXScreen_AddPerson>("KXScreen_AddPerson");
    auto delPerson = fn<PFN_KXScreen_DelPerson>("KXScreen_DelPerson");
    auto playFrame = fn<PFN_KXScreen_PlayFrame>("KXScreen_PlayFrame");
    auto joinFinish = fn<PFN_KXScreen_JoinMeetingFinish>("KXScreen_JoinMeetingFinish");
    auto setMode = fn<PFN_KXScreen_SetCurMode>("KXScreen_SetCurMode");
    auto getMode = fn<PFN_KXScreen_GetCurMode>("KXScreen_GetCurMode");
    auto setMute = fn<PFN_KXScreen_SetMute>("KXScreen_SetMute");

    QWidget window;
    window.resize(1280, 720);
    window.show();
    QCOMPARE(setSkin(nullptr, true), 1);
    void* h = init(&window, "", hostCallback);
    QVERIFY(h);

    // Participants and frames from the host's own threads.
    std::vector<void*> handles(3, nullptr);
    std::thread joiner([&]() {
        for (int i = 0; i < 3; ++i) {
            QByteArray id = QByteArray("user") + QByteArray::number(i);
            QByteArray name = QByteArray("Person ") + QByteArray::number(i);
            handles[i] = addPerson(h, id.data(), id.data(), name.data(), 100 + i, 0, nullptr, 1);
        }
    });
    joiner.join();
    for (void* p : handles)
        QVERIFY(p);
    QCOMPARE(joinFinish(h), 1);

    const int w = 640;
    const int hgt = 360;
    std::vector<uint8_t> pic(w * hgt * 3 / 2, 128);
    KxCloudRTCVideoFrameQT frame{};
    frame.data = pic.data();
    frame.length = uint32_t(pic.size());
    frame.width = w;
    frame.height = hgt;
    int delivered = 0;
    QTRY_VERIFY_WITH_TIMEOUT(([&]() {
        std::thread media([&]() {
            for (void* p : handles)
                delivered += playFrame(h, p, &frame);
        });
        media.join();
        return countMsg(KXSCREEN_MSG_STREAM_NORMAL) >= 3;
    }()), 10000);
    QVERIFY(delivered > 0);
    // Three participants in the grid: the ordinary stream for each.
    QCOMPARE(countMsg(KXSCREEN_MSG_REMOTE_VIDEO_OPEN) >= 3, true);

    QCOMPARE(setMode(h, KXSCREEN_LAYOUT_SPEAKER_BOTTOM), 1);
    QTRY_COMPARE(getMode(h), int(KXSCREEN_LAYOUT_SPEAKER_BOTTOM));
    QCOMPARE(setMute(h, handles[0], 1), 1);
    QCOMPARE(delPerson(h, handles[2]), 1);
    QCOMPARE(delPerson(h, handles[2]), 0); // released
    QCOMPARE(playFrame(h, handles[2], &frame), 0);
    release(h);
    QCOMPARE(setMode(h, 1), 0);
}

void TstHostLoad::cleanupTestCase()
{
    // The library stays loaded until the process ends, as in a real host.
}

QTEST_MAIN(TstHostLoad)
#include "tst_hostload.moc"
