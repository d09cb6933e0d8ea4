// A host that loads the shared library at run time and resolves the exports
// by name, as a meeting client does, and unloads it again. (Which symbols the
// library exports: exported_symbols; a host that loads it and drives a whole
// meeting through them: tst_host, with the reference host.)
#include "kxscreenmod2.h"

#include <QElapsedTimer>
#include <QLibrary>
#include <QSettings>
#include <QTemporaryDir>
#include <QWidget>
#include <QtTest>

namespace {
int hostFunction(unsigned int, uint64_t, uint64_t) { return 0; }
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
        // thread still reads a settings file large enough to take a while:
        // no code of the library may run after the unload.
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
};

QTEST_MAIN(TstHostLoad)
#include "tst_hostload.moc"
