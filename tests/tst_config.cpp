// The configuration, the host callback list and the platform seam.
#include "cabsuimsgcallback.h"
#include "kxscreenmod2.h"
#include "personinfo.h"
#include "platform.h"
#include "qkxscreenconfig.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

namespace {

struct CountingCallback : CAbsUIMsgCallback
{
    QVector<unsigned int> got;
    std::function<void()> onNotify;
    bool UIMsgNotify(unsigned int m, unsigned long long, unsigned long long) override
    {
        got.append(m);
        if (onNotify)
            onNotify();
        return true;
    }
};

void writeFile(const QString& path, const QByteArray& bytes)
{
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(bytes);
}

} // namespace

class TstConfig : public QObject
{
    Q_OBJECT
private slots:
    void deletedRegistry();
    void colours_data();
    void colours();
    void settingsFile_data();
    void settingsFile();
    void callbackListIsCopied();
    void dumpPathStaysInDirectory_data();
    void dumpPathStaysInDirectory();
    void scaleFactorText_data();
    void scaleFactorText();
    void xftDpi_data();
    void xftDpi();
    void liveRegistry();
    void recordDefaults();
};

void TstConfig::deletedRegistry()
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    int a = 0;
    int b = 0;
    QVERIFY(!cfg->testDelPerson(&a, false));
    cfg->addDelPerson(&a);
    QVERIFY(cfg->testDelPerson(&a, false));
    QVERIFY(cfg->testDelPerson(&a, false)); // asking does not erase
    QVERIFY(!cfg->testDelPerson(&b, true));
    QVERIFY(cfg->testDelPerson(&a, true)); // present, and now erased
    QVERIFY(!cfg->testDelPerson(&a, false));
}

void TstConfig::colours_data()
{
    QTest::addColumn<bool>("newSkin");
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    QTest::addColumn<QString>("third");
    QTest::newRow("light") << true << "#FFFFFF" << "#262626" << "#FFFFFF";
    QTest::newRow("dark") << false << "#2A2E36" << "#FFFFFF" << "#0C1017";
}

void TstConfig::colours()
{
    QFETCH(bool, newSkin);
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const bool before = cfg->isNewSkin();
    cfg->setNewSkin(newSkin);
    QTEST(cfg->getBackColor(), "first");
    QTEST(cfg->getTextColor(), "second");
    QTEST(cfg->getScreenColor(), "third");
    cfg->setNewSkin(before);
}

void TstConfig::settingsFile_data()
{
    QTest::addColumn<QByteArray>("contents"); // empty: no file at all
    QTest::addColumn<bool>("cacheFrame");
    QTest::addColumn<bool>("showRes");
    QTest::newRow("both on") << QByteArray("[version]\ncache_frame1=true\nshow_resolution=true\n") << true << true;
    QTest::newRow("resolution only") << QByteArray("[version]\nshow_resolution=1\n") << false << true;
    QTest::newRow("other section") << QByteArray("[other]\ncache_frame1=true\n") << false << false;
    QTest::newRow("missing") << QByteArray() << false << false;
    QTest::newRow("garbage") << QByteArray("\x00\xff\xfe[[[=\n\x01\x02", 10) << false << false;
}

void TstConfig::settingsFile()
{
    QFETCH(QByteArray, contents);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    if (!contents.isEmpty())
        writeFile(dir.path() + "/user_data/sys_ver.ini", contents);
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    cfg->setBaseDir(dir.path());
    cfg->loadSettingsNow();
    QTEST(cfg->cacheEveryFrame(), "cacheFrame");
    QTEST(cfg->showResolution(), "showRes");

    // The same through the detached reader that KXScreen_Init starts.
    cfg->setBaseDir(dir.path());
    cfg->getLoadingParam();
    QFETCH(bool, showRes);
    QTRY_COMPARE(cfg->showResolution(), showRes);
}

void TstConfig::callbackListIsCopied()
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    CountingCallback first;
    CountingCallback second;
    CountingCallback third;
    // The first target removes the second, as a host function that releases
    // another gallery would: the round goes on without it and without harm.
    first.onNotify = [&]() { cfg->removeCallback(&second); };
    cfg->addCallback(&first);
    cfg->addCallback(&second);
    cfg->addCallback(&third);
    cfg->addCallback(&third); // registering twice keeps one entry
    cfg->notifyHost(18, 1, 2);
    QCOMPARE(first.got, QVector<unsigned int>{18});
    QVERIFY(second.got.isEmpty());
    QCOMPARE(third.got, QVector<unsigned int>{18});
    cfg->removeCallback(&first);
    cfg->removeCallback(&third);
    cfg->notifyHost(17, 0, 0);
    QCOMPARE(first.got.size(), 1);
    QCOMPARE(cfg->callbackCount(), 0);
}

void TstConfig::dumpPathStaysInDirectory_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("id");
    QTest::newRow("plain") << "Alice" << "u1";
    QTest::newRow("slashes") << "../../etc" << "a/../../b";
    QTest::newRow("backslashes") << "..\\..\\x" << "c:\\temp";
    QTest::newRow("control") << QString("a\nb") << QString("\t..");
}

void TstConfig::dumpPathStaysInDirectory()
{
    QFETCH(QString, name);
    QFETCH(QString, id);
    const QString base = "/tmp/kxbase";
    const QString path = QKXScreenConfig::dumpFilePath(base, name, id, 640, 360);
    const QString clean = QDir::cleanPath(path);
    QVERIFY2(clean.startsWith(base + "/log/tmpFrame/"), qPrintable(clean));
    QCOMPARE(QFileInfo(clean).absolutePath(), base + "/log/tmpFrame");
    QVERIFY(clean.endsWith("_640x360.yuv"));
    if (QTest::currentDataTag() == QByteArray("plain"))
        QCOMPARE(path, QString("/tmp/kxbase/log/tmpFrame/(Alice)u1_640x360.yuv"));
}

void TstConfig::scaleFactorText_data()
{
    QTest::addColumn<float>("primary");
    QTest::addColumn<float>("other");
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("96 dpi") << 1.0f << 1.0f << QByteArray("1;1");
    QTest::newRow("120 dpi") << 1.25f << 1.0f << QByteArray("1.25;1");
    QTest::newRow("144 dpi") << 1.5f << 1.0f << QByteArray("1.5;1");
    QTest::newRow("two monitors") << 1.75f << 2.0f << QByteArray("1.75;2");
}

void TstConfig::scaleFactorText()
{
    QFETCH(float, primary);
    QFETCH(float, other);
    QTEST(kxplatform::scaleFactorsText(primary, other), "text");
}

void TstConfig::xftDpi_data()
{
    QTest::addColumn<QByteArray>("resources");
    QTest::addColumn<int>("dpi");
    QTest::newRow("absent") << QByteArray("Xft.antialias:\t1\n") << 96;
    QTest::newRow("120") << QByteArray("Xft.antialias:\t1\nXft.dpi:\t120\nXft.hinting:\t1\n") << 120;
    QTest::newRow("fraction") << QByteArray("Xft.dpi: 143.9\n") << 144;
    QTest::newRow("garbage value") << QByteArray("Xft.dpi:\tabc\n") << 96;
    QTest::newRow("similar key") << QByteArray("Xft.dpix:\t200\n") << 96;
}

void TstConfig::xftDpi()
{
    QFETCH(QByteArray, resources);
    QTEST(kxplatform::parseXftDpi(resources.constData()), "dpi");
    QCOMPARE(kxplatform::parseXftDpi(nullptr), 96);
}

void TstConfig::liveRegistry()
{
    ST_KXPlayHdl hdl;
    tagPersonInfo rec;
    hdl.pPlayData = &rec;
    QVERIFY(!kxplatform::isReadable(&hdl, sizeof(ST_KXPlayHdl)));
    kxplatform::registerLive(&hdl, sizeof(ST_KXPlayHdl));
    kxplatform::registerLive(&rec, sizeof(ST_PersonInfo));
    QVERIFY(kxplatform::isReadable(&hdl, sizeof(ST_KXPlayHdl)));
    // A record handed in where a play handle belongs is not a play handle.
    QVERIFY(!kxplatform::isReadable(&rec, sizeof(ST_KXPlayHdl)));
    void* got = nullptr;
    QVERIFY(!kxplatform::readPlayData(&rec, &got));
    QVERIFY(kxplatform::readPlayData(&hdl, &got));
    QCOMPARE(got, static_cast<void*>(&rec));
    kxplatform::unregisterLive(&hdl);
    kxplatform::unregisterLive(&rec);
    got = nullptr;
    QVERIFY(!kxplatform::readPlayData(&hdl, &got));
    QVERIFY(!got);
    QVERIFY(!kxplatform::isReadable(nullptr, 1));
}

void TstConfig::recordDefaults()
{
    tagPersonInfo p;
    QVERIFY(p.bMute);
    QVERIFY(p.bHasMic);
    QVERIFY(p.bPreview);
    QVERIFY(p.bStreamTypeChange);
    QCOMPARE(p.iNetLevel, 6);
    QCOMPARE(p.m_iStatus, 1);
    QCOMPARE(p.eStreamStatus, 0);
    QCOMPARE(p.iStreamType, 0);
    QVERIFY(!p.pWidget);
    QVERIFY(!p.m_pBufYuv420p);
    QVERIFY(p.headImage.isNull());
    p.userID = "sharescreen_u1";
    QVERIFY(p.isShareScreen());
    p.userID = "Sharescreen_u1"; // the prefixes are case-sensitive
    QVERIFY(!p.isShareScreen());
    p.userID = "unjoined_7";
    QVERIFY(p.isUnjoined());
}

QTEST_GUILESS_MAIN(TstConfig)
#include "tst_config.moc"
