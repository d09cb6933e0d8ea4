// Runs the reference host (kxhost) the way a person would and checks what it
// shows and what it reports: the default meeting and the scripted scenario
// headless, and the stream-quality loop between the gallery's requests and
// the layers the host's media engine receives and decodes. (Where each layout
// puts its tiles: tst_gallery and tst_rules; what a tile draws: tst_tile.)
#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <algorithm>

namespace {

int hueDistance(int a, int b)
{
    const int d = qAbs(a - b) % 360;
    return qMin(d, 360 - d);
}

void startHost(QProcess& p, const QStringList& args)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_LOGGING_RULES", "kxscreen.debug=false");
    p.setProcessEnvironment(env);
    p.start(KXHOST_PATH, args);
}

// The hue of most coloured sample points of a tile in the screenshot; -1 if
// none has one or if more than a fifth of the points are black. Samples lie in
// a central band that a portrait picture fills too, away from the tile's edge
// controls and labels; the hue is that of the largest group of points within
// a few degrees of each other, so that the moving test pattern does not count.
int tileHue(const QImage& img, const QRect& tile)
{
    QVector<int> hues;
    int lit = 0;
    for (int j = 0; j < 12; ++j)
        for (int i = 0; i < 12; ++i) {
            const QColor c = img.pixelColor(tile.x() + tile.width() * (36 + 28 * i / 11) / 100,
                                            tile.y() + tile.height() * (10 + 80 * j / 11) / 100);
            lit += qMax(c.red(), qMax(c.green(), c.blue())) > 48 ? 1 : 0;
            if (c.hsvSaturation() > 70 && c.value() > 60)
                hues.append(c.hsvHue());
        }
    int best = 0, hue = -1;
    for (int h : hues) {
        const int near = int(std::count_if(hues.begin(), hues.end(), [h](int o) { return hueDistance(h, o) <= 6; }));
        if (hues.size() > 36 && near > best)
            best = near, hue = h;
    }
    return lit >= 0.8 * 144 ? hue : -1;
}

qint64 num(const QJsonObject& o, const char* key) { return qint64(o.value(QLatin1String(key)).toDouble()); }

QJsonObject person(const QJsonObject& state, const QString& name)
{
    for (const QJsonValue& v : state.value("people").toArray())
        if (v.toObject().value("name").toString() == name)
            return v.toObject();
    return QJsonObject();
}

// The size of the participant's layer for a stream type (2, 3 or 4).
QSize layerSize(const QJsonObject& person, int streamType)
{
    const QJsonObject l = person.value("layers").toArray().at(streamType - 2).toObject();
    return QSize(l.value("width").toInt(), l.value("height").toInt());
}

// The pictures reaching the participant's tile are those of the layer its stream type asks for.
bool receives(const QJsonObject& p, int streamType)
{
    return num(p, "streamType") == streamType && num(p, "layer") == streamType - 2
           && QSize(int(num(p, "width")), int(num(p, "height"))) == layerSize(p, streamType);
}

} // namespace

class TstHost : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY2(QFileInfo::exists(KXHOST_PATH), KXHOST_PATH);
        QVERIFY2(!qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"),
                 "the host needs a display: run under xvfb-run or a Wayland compositor");
        QVERIFY(m_tmp.isValid());
        const QString artifacts = qEnvironmentVariable("KX_TEST_ARTIFACTS");
        m_outDir = artifacts.isEmpty() ? m_tmp.path() : artifacts + "/tst_host";
        QVERIFY(QDir().mkpath(m_outDir));
    }

    void defaultMeeting()
    {
        // The README's run: twelve people, some without video, one invited.
        if (!runHeadless("default", {"4"}))
            return;
        QCOMPARE(m_summary.value("invited").toInt(), 1);
        QCOMPARE(m_summary.value("withVideo").toInt(), 8);
        // The first page of the grid holds the six people whose video came first.
        checkTiles(6);
        // Ordinary tiles: the phone's pictures are upright; the rate measured over
        // the last loop of a clip is that layer's rate.
        QVERIFY(receives(person(m_summary, "Farah"), 3));
        QCOMPARE(layerSize(person(m_summary, "Farah"), 3), QSize(360, 640));
        QVERIFY(receives(person(m_summary, "Bo"), 3));
    }

    void scenario()
    {
        // People come and go, mute, speak and share (from 12 s): a share shows
        // the shared screen big; its picture is light grey.
        if (!runHeadless("scenario", {"14", "--scenario"}))
            return;
        QVERIFY(m_summary.value("sharing").toBool());
        const QJsonArray tiles = m_summary.value("tiles").toArray();
        QVERIFY(std::any_of(tiles.begin(), tiles.end(), [this](const QJsonValue& v) {
            const QRect tile = rectOf(v);
            const QColor c = m_shot.pixelColor(tile.x() + tile.width() / 10, tile.y() + tile.height() / 2);
            return tile.width() > 600 && c.value() > 180 && c.hsvSaturation() < 40;
        }));
    }

    // The gallery asks for a stream type per participant; the host's media engine
    // answers with that frame size; paged-off participants stop being pulled after
    // five seconds and resume when paged back.
    void streamQualityLoopCloses()
    {
        QProcess host;
        startHost(host, {"--participants", "2", "--all-video", "--mode", "1", "--size", "1280x720", "--control"});
        QVERIFY(host.waitForStarted(10000));
        auto send = [&](const QByteArray& line) { host.write(line + '\n'), host.waitForBytesWritten(1000); };
        // The host's state as it answers "state"; empty if it does not answer.
        auto state = [&]() {
            send("state");
            while (host.canReadLine() || host.waitForReadyRead(10000)) {
                const QByteArray line = host.canReadLine() ? host.readLine().trimmed() : QByteArray();
                if (line.startsWith("STATE "))
                    return QJsonDocument::fromJson(line.mid(6)).object();
            }
            return QJsonObject();
        };
        auto remote = [&]() {
            QVector<QJsonObject> out;
            for (const QJsonValue& v : state().value("people").toArray())
                if (!v.toObject().value("self").toBool())
                    out.append(v.toObject());
            return out;
        };
        QVector<QJsonObject> people;
        // Two in the equal grid: the other participant is wanted large.
        QTRY_VERIFY_WITH_TIMEOUT(remote().size() == 1 && receives(remote().at(0), 4), 20000);
        QCOMPARE(layerSize(remote().at(0), 4), QSize(1280, 720));
        // Six: ordinary frames for everyone, including the one who was large.
        send("add 4");
        QTRY_VERIFY_WITH_TIMEOUT(
            (people = remote()).size() == 5
                && std::all_of(people.begin(), people.end(), [](auto& p) { return receives(p, 3); }),
            15000);
        // Nine in the grid: six on the first page, three on the second.
        send("add 3");
        QStringList firstPage, secondPage;
        auto pagesKnown = [&]() {
            firstPage.clear();
            secondPage.clear();
            for (const QJsonValue& v : state().value("people").toArray()) {
                const QJsonObject p = v.toObject();
                if (num(p, "delivered") > 0 && (num(p, "streamType") == 3 || p.value("self").toBool()))
                    firstPage << p.value("name").toString();
                else if (num(p, "delivered") == 0 && num(p, "refused") > 0)
                    secondPage << p.value("name").toString();
            }
            return firstPage.size() == 6 && secondPage.size() == 3;
        };
        QTRY_VERIFY_WITH_TIMEOUT(pagesKnown(), 15000);
        // Page two: its three get tiles and are asked for; the first page's six go
        // off screen and, five seconds later, their video is no longer pulled.
        send("page next");
        auto pulled = [&](const QStringList& names, bool want) {
            const QJsonObject s = state();
            return std::all_of(names.begin(), names.end(),
                               [&](const QString& n) { return person(s, n).value("pulled").toBool() == want; });
        };
        QTRY_VERIFY_WITH_TIMEOUT(pulled(firstPage, false), 15000);
        const QJsonObject s = state();
        for (const QString& n : firstPage) {
            const qint64 after = num(person(s, n), "lastCloseMs") - num(s, "lastPageTurnMs");
            QVERIFY2(after >= 4500 && after <= 12000, qPrintable(QString("%1 stopped after %2 ms").arg(n).arg(after)));
        }
        for (const QString& n : secondPage)
            QVERIFY(person(s, n).value("pulled").toBool() && receives(person(s, n), 3));
        // While the second page's frames keep coming, nothing more is received,
        // decoded or handed over (taken or not) for the first.
        QJsonObject later;
        QTRY_VERIFY_WITH_TIMEOUT((later = state(),
                                  std::all_of(secondPage.begin(), secondPage.end(),
                                              [&](const QString& n) {
                                                  return num(person(later, n), "delivered")
                                                      >= num(person(s, n), "delivered") + 10;
                                              })),
                                 10000);
        for (const QString& n : firstPage)
            for (const char* key : {"bytesReceived", "decoded", "delivered", "refused"})
                QCOMPARE(num(person(later, n), key), num(person(s, n), key));
        // Back to the first page: resumed at once, frames flow again.
        send("page prev");
        auto resumed = [&]() {
            const QJsonObject now = state();
            return std::all_of(firstPage.begin(), firstPage.end(), [&](const QString& n) {
                return person(now, n).value("pulled").toBool()
                       && num(person(now, n), "delivered") >= num(person(later, n), "delivered") + 10;
            });
        };
        QTRY_VERIFY_WITH_TIMEOUT(resumed(), 10000);
        send("quit");
        QVERIFY(host.waitForFinished(15000));
        QCOMPARE(host.exitStatus(), QProcess::NormalExit);
        QCOMPARE(host.exitCode(), 0);
    }

private:
    static QRect rectOf(const QJsonValue& v)
    {
        const QJsonArray a = v.toArray();
        return QRect(a.at(0).toInt(), a.at(1).toInt(), a.at(2).toInt(), a.at(3).toInt());
    }

    // A headless run (--screenshot, --after, --summary-json) that must exit
    // cleanly with its summary and screenshot, both kept in m_summary, m_shot.
    bool runHeadless(const QString& name, const QStringList& args)
    {
        const QString shotFile = m_outDir + "/" + name + ".png", jsonFile = m_outDir + "/" + name + ".json";
        QFile::remove(shotFile);
        QFile::remove(jsonFile);
        QProcess host;
        startHost(host,
                  QStringList{"--size", "1280x720", "--screenshot", shotFile, "--summary-json", jsonFile, "--after"}
                      + args);
        [&]() {
            QVERIFY(host.waitForFinished(90000));
            const QByteArray out = host.readAllStandardOutput();
            QVERIFY2(host.exitStatus() == QProcess::NormalExit && host.exitCode() == 0, out.constData());
            QVERIFY2(out.contains("frames delivered:") && out.contains("saved by the gallery's choice of streams:"),
                     out.constData());
            QFile f(jsonFile);
            QVERIFY2(f.open(QIODevice::ReadOnly), qPrintable(jsonFile));
            m_summary = QJsonDocument::fromJson(f.readAll()).object();
            m_shot = QImage(shotFile);
            QVERIFY2(!m_shot.isNull() && num(m_summary, "framesDelivered") > 0, qPrintable(shotFile));
            const QJsonObject msgs = m_summary.value("messages").toObject();
            QVERIFY(msgs.value("2").toInt() + msgs.value("3").toInt() + msgs.value("4").toInt() > 0);
        }();
        return !QTest::currentTestFailed();
    }

    // Every tile on screen shows video: not black, and in the colour of exactly one
    // participant, a different one in each tile.
    void checkTiles(int expectedTiles)
    {
        const QJsonArray tiles = m_summary.value("tiles").toArray();
        QCOMPARE(tiles.size(), expectedTiles);
        // participants with video, by name
        QMap<QString, int> hueOf;
        for (const QJsonValue& v : m_summary.value("people").toArray()) {
            const QJsonObject p = v.toObject();
            if (p.value("video").toBool() && !p.value("share").toBool())
                hueOf[p.value("name").toString()] = QColor(p.value("colour").toString()).hsvHue();
        }
        QSet<QString> seen;
        for (const QJsonValue& v : tiles) {
            const int hue = tileHue(m_shot, rectOf(v));
            QString best;
            for (auto it = hueOf.cbegin(); it != hueOf.cend(); ++it)
                if (best.isEmpty() || hueDistance(it.value(), hue) < hueDistance(hueOf.value(best), hue))
                    best = it.key();
            QVERIFY2(hue >= 0 && hueDistance(hueOf.value(best), hue) <= 10,
                     qPrintable(QString("tile at %1,%2 has hue %3").arg(rectOf(v).x()).arg(rectOf(v).y()).arg(hue)));
            QVERIFY2(!seen.contains(best), qPrintable("two tiles show " + best));
            seen.insert(best);
        }
    }

    QTemporaryDir m_tmp;
    QString m_outDir;
    QJsonObject m_summary;
    QImage m_shot;
};

QTEST_GUILESS_MAIN(TstHost)
#include "tst_host.moc"
