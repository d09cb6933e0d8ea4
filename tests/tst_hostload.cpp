// A host that loads the shared library at run time and resolves the exports
// by name, as a meeting client does, then drives a gallery through them only.
#include "kxscreenmod2.h"

#include <QLibrary>
#include <QMutex>
#include <QWidget>
#include <QtTest>
#include <thread>

namespace {
QMutex g_lock;
QVector<unsigned int> g_msgs;
int hostFunction(unsigned int msg, uint64_t, uint64_t)
{
    QMutexLocker lock(&g_lock);
    g_msgs.append(msg);
    return 0;
}
int received(unsigned int m)
{
    QMutexLocker lock(&g_lock);
    return g_msgs.count(m);
}
} // namespace

class TstHostLoad : public QObject
{
    Q_OBJECT
    QLibrary m_lib{QStringLiteral(KX_LIBRARY_PATH)};
    template <typename T> T fn(const char* name) { return reinterpret_cast<T>(m_lib.resolve(name)); }

private slots:
    // Which symbols the library exports is checked against the public header
    // (exported_symbols); here a host resolves what it needs and drives a gallery
    // (what released handles answer: tst_badinput's sweep).
    void driveAGallery()
    {
        QVERIFY2(m_lib.load(), qPrintable(m_lib.errorString()));
        QWidget window;
        window.resize(1280, 720);
        window.show();
        QCOMPARE(fn<PFN_KXScreen_SetIsNewSkin>("KXScreen_SetIsNewSkin")(nullptr, true), 1);
        void* h = fn<PFN_KXScreen_Init>("KXScreen_Init")(&window, "", hostFunction);
        QVERIFY(h);
        auto add = fn<PFN_KXScreen_AddPerson>("KXScreen_AddPerson");
        auto play = fn<PFN_KXScreen_PlayFrame>("KXScreen_PlayFrame");
        std::vector<void*> handles;
        std::thread([&]() {
            for (QByteArray id : {"user0", "user1", "user2"})
                handles.push_back(add(h, id.data(), id.data(), id.data(), 100, 0, nullptr, 1));
        }).join();
        QCOMPARE(fn<PFN_KXScreen_JoinMeetingFinish>("KXScreen_JoinMeetingFinish")(h), 1);
        std::vector<uint8_t> pic(640 * 360 * 3 / 2, 128);
        KxCloudRTCVideoFrameQT frame{0, pic.data(), uint32_t(pic.size()), 640, 360};
        // Three in the grid: the ordinary stream for each, once their frames arrive.
        QTRY_VERIFY_WITH_TIMEOUT((std::thread([&]() { for (void* p : handles) play(h, p, &frame); }).join(),
                                  received(KXSCREEN_MSG_STREAM_NORMAL) >= 3), 10000);
        QVERIFY(received(KXSCREEN_MSG_REMOTE_VIDEO_OPEN) >= 3);
        QCOMPARE(fn<PFN_KXScreen_SetCurMode>("KXScreen_SetCurMode")(h, KXSCREEN_LAYOUT_SPEAKER_BOTTOM), 1);
        QTRY_COMPARE(fn<PFN_KXScreen_GetCurMode>("KXScreen_GetCurMode")(h), int(KXSCREEN_LAYOUT_SPEAKER_BOTTOM));
        QCOMPARE(fn<PFN_KXScreen_DelPerson>("KXScreen_DelPerson")(h, handles[2]), 1);
        fn<PFN_KXScreen_Release>("KXScreen_Release")(h);
    }
};

QTEST_MAIN(TstHostLoad)
#include "tst_hostload.moc"
