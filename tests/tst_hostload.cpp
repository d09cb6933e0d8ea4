// A host that loads the shared library at run time and resolves the exports
// by name, as a meeting client does, then drives a gallery through them only,
// and unloads the library again.
#include "kxscreenmod2.h"

#include <QElapsedTimer>
#include <QLibrary>
#include <QMutex>
#include <QSettings>
#include <QTemporaryDir>
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
    void unloadWhileTheSettingsAreRead()
    {
        // Init reads the settings file on a thread of its own; the host
        // releases the gallery and unloads the library at once, while that
        // thread still reads a settings file large enough to take a while.
        // (First: nothing another gallery left pending may run meanwhile.)
        QTemporaryDir dir;
        QFile ini(dir.path() + "/user_data/sys_ver.ini");
        QVERIFY(QDir().mkpath(dir.path() + "/user_data") && ini.open(QIODevice::WriteOnly));
        ini.write("[version]\ncache_frame1=false\n");
        for (int i = 0; i < 200000; ++i)
            ini.write("[group" + QByteArray::number(i) + "]\nkey=a value that takes a moment to read\n");
        ini.close();
        // How long a read takes, on a copy (the toolkit keeps a file it has read).
        QVERIFY(ini.copy(dir.path() + "/copy.ini"));
        QElapsedTimer reading;
        reading.start();
        QVERIFY(
            !QSettings(dir.path() + "/copy.ini", QSettings::IniFormat).value("version/cache_frame1", true).toBool());
        const qint64 readMs = reading.elapsed();
        QVERIFY2(m_lib.load(), qPrintable(m_lib.errorString()));
        QWidget window;
        void* h = fn<PFN_KXScreen_Init>("KXScreen_Init")(&window, dir.path().toLocal8Bit().constData(), hostFunction);
        QVERIFY(h);
        fn<PFN_KXScreen_Release>("KXScreen_Release")(h);
        QVERIFY2(m_lib.unload(), qPrintable(m_lib.errorString()));
        // Whatever the reading thread still had to do is done by now (it cannot
        // be watched: its code went with the library); the process lives on.
        QTest::qWait(int(2 * readMs + 200));
        QVERIFY(!m_lib.isLoaded());
    }

    // Which symbols the library exports is checked against the public header
    // (exported_symbols); here a host resolves what it needs and drives a gallery
    // (what released handles answer: tst_badinput's sweep).
    void driveAGallery()
    {
        // Loaded again after the unload above.
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
        auto feed = [&]() { std::thread([&]() { for (void* p : handles) play(h, p, &frame); }).join(); };
        QTRY_VERIFY_WITH_TIMEOUT((feed(), received(KXSCREEN_MSG_STREAM_NORMAL) >= 3), 10000);
        QVERIFY(received(KXSCREEN_MSG_REMOTE_VIDEO_OPEN) >= 3);
        QCOMPARE(fn<PFN_KXScreen_SetCurMode>("KXScreen_SetCurMode")(h, KXSCREEN_LAYOUT_SPEAKER_BOTTOM), 1);
        QTRY_COMPARE(fn<PFN_KXScreen_GetCurMode>("KXScreen_GetCurMode")(h), int(KXSCREEN_LAYOUT_SPEAKER_BOTTOM));
        QCOMPARE(fn<PFN_KXScreen_DelPerson>("KXScreen_DelPerson")(h, handles[2]), 1);
        fn<PFN_KXScreen_Release>("KXScreen_Release")(h);
    }

};

QTEST_MAIN(TstHostLoad)
#include "tst_hostload.moc"
