// Runs the reference host (kxhost) the way a person would and checks what it
// shows and what it reports: a headless run in every layout with decoded video
// (and one with synthetic pictures), the default meeting, the scripted
// scenario, and the stream-quality loop between the gallery's requests and
// the layers the host's media engine receives and decodes.
#include <QDir>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <algorithm>
#include <iterator>

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

// The hue most coloured sample points of a tile in the screenshot have; -1
// if none does or if more than a fifth of the points are black.
// Samples lie in a central band that a portrait picture fills too, away from
// the tile's edge controls and labels; the hue is that of the largest group of
// points within a few degrees of each other, so that the moving test pattern
// does not count.
int tileHue(const QImage& img, const QRect& tile)
{
    QVector<int> hues;
    int lit = 0, n = 0;
    for (int j = 0; j < 12; ++j)
        for (int i = 0; i < 12; ++i) {
            const QPoint pt(tile.x() + tile.width() * (36 + 28 * i / 11) / 100, tile.y() + tile.height() * (10 + 80 * j / 11) / 100);
            if (!img.rect().contains(pt))
                continue;
            const QColor c = img.pixelColor(pt);
            ++n;
            lit += qMax(c.red(), qMax(c.green(), c.blue())) > 48 ? 1 : 0;
            if (c.hsvSaturation() > 70 && c.value() > 60)
                hues.append(c.hsvHue());
        }
    int best = 0, hue = -1;
    for (int h : hues) {
        const int near = int(std::count_if(hues.begin(), hues.end(), [h](int o) { return hueDistance(h, o) <= 6; }));
        if (hues.size() > n / 4 && near > best) {
            best = near;
            hue = h;
        }
    }
    return lit >= 0.8 * n ? hue : -1;
}

QRect rectOf(const QJsonValue& v)
{
    const QJsonArray a = v.toArray();
    return QRect(a.at(0).toInt(), a.at(1).toInt(), a.at(2).toInt(), a.at(3).toInt());
}

qint64 num(const QJsonObject& o, const char* key) { return qint64(o.value(QLatin1String(key)).toDouble()); }

QJsonObject person(const QJsonObject& state, const QString& name)
{
    for (const QJsonValue& v : state.value("people").toArray())
        if (v.toObject().value("name").toString() == name)
            return v.toObject();
    return QJsonObject();
}

// A host driven line by line through --control.
struct HostControl
{
    QProcess proc;
    void send(const QString& line)
    {
        proc.write(line.toUtf8() + '\n');
        proc.waitForBytesWritten(1000);
    }
    // The host's state as it answers "state"; empty if it does not answer.
    QJsonObject state()
    {
        send("state");
        while (proc.canReadLine() || proc.waitForReadyRead(10000)) {
            const QByteArray line = proc.canReadLine() ? proc.readLine().trimmed() : QByteArray();
            if (line.startsWith("STATE "))
                return QJsonDocument::fromJson(line.mid(6)).object();
        }
        return QJsonObject();
    }
};

// The size of the participant's layer for a stream type (2, 3 or 4).
QSize layerSize(const QJsonObject& person, int streamType)
{
    const QJsonObject l = person.value("layers").toArray().at(streamType - 2).toObject();
    return QSize(l.value("width").toInt(), l.value("height").toInt());
}

// The pictures reaching the participant's tile are those of the layer its stream type asks for.
bool receives(const QJsonObject& person, int streamType)
{
    return num(person, "streamType") == streamType && num(person, "layer") == streamType - 2 &&
           QSize(int(num(person, "width")), int(num(person, "height"))) == layerSize(person, streamType);
}

// The headless runs: layout, meeting size, video tiles expected; mode 0 rows
// are the README's default meeting and the scripted scenario.
struct LayoutRun
{
    const char* name;
    int mode, people, tiles;
    bool synthetic;
};
// Equal grid and full screen (which shows the grid until a tile is maximised):
// one tile each, up to six a page. Six-cut: 6. Eight-cut: 8. Speaker layouts
// and picture-in-picture: the speaker and up to six in the strip. Two
// speakers: two big tiles and up to six small ones.
const LayoutRun kLayoutRuns[] = {
    {"1 equal grid, 4 people", 1, 4, 4, false},
    {"2 six-cut, 12 people", 2, 12, 6, false},
    {"3 eight-cut, 12 people", 3, 12, 8, false},
    {"4 share stage, 12 people", 4, 12, 1, false},
    {"5 speaker, strip right, 5 people", 5, 5, 5, false},
    {"6 speaker, strip bottom, 12 people", 6, 12, 7, false},
    {"7 speaker, strip top, 3 people", 7, 3, 3, false},
    {"8 two speakers, 12 people", 8, 12, 8, false},
    {"9 full screen, 2 people", 9, 2, 2, false},
    {"1 equal grid, synthetic pictures", 1, 4, 4, true},
    {"default", 0, 11, 6, false},
    {"scenario", 0, 12, 0, false},
};

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

    void headless_data()
    {
        QTest::addColumn<int>("row");
        for (int row = 0; row < int(std::size(kLayoutRuns)); ++row)
            QTest::newRow(kLayoutRuns[row].name) << row;
    }

    // One headless run (--screenshot, --after, --summary-json) at a time, so
    // that the pictures of one do not wait for another's: it must exit
    // cleanly with its summary and screenshot.
    void headless()
    {
        QFETCH(int, row);
        const LayoutRun& l = kLayoutRuns[row];
        const QString name = l.mode ? QString("layout%1").arg(row) : QString(l.name);
        const QString shotFile = m_outDir + "/" + name + ".png", jsonFile = m_outDir + "/" + name + ".json";
        QStringList args{"--size", "1280x720", "--screenshot", shotFile, "--summary-json", jsonFile, "--after"};
        if (l.mode)
            args << "3" << "--all-video" << "--mode" << QString::number(l.mode) << "--participants" << QString::number(l.people)
                 << (l.synthetic ? QStringList{"--synthetic"} : QStringList());
        else
            args << (name == "default" ? QStringList{"4"} : QStringList{"14", "--scenario"});
        QFile::remove(shotFile);
        QFile::remove(jsonFile);
        QProcess host;
        startHost(host, args);
        QVERIFY(host.waitForFinished(90000));
        const QByteArray out = host.readAllStandardOutput();
        QCOMPARE(host.exitStatus(), QProcess::NormalExit);
        QVERIFY2(host.exitCode() == 0, out.constData());
        QVERIFY2(out.contains("frames delivered:") && out.contains("saved by the gallery's choice of streams:"), out.constData());
        QFile f(jsonFile);
        QVERIFY2(f.open(QIODevice::ReadOnly), qPrintable(jsonFile));
        const QJsonObject summary = QJsonDocument::fromJson(f.readAll()).object();
        QVERIFY(num(summary, "framesDelivered") > 0);
        const QImage shot(shotFile);
        QVERIFY2(!shot.isNull(), qPrintable(shotFile));
        QCOMPARE(summary.value("participants").toInt(), l.people);
        const QJsonObject messages = summary.value("messages").toObject();
        QVERIFY(messages.value("2").toInt() + messages.value("3").toInt() + messages.value("4").toInt() > 0);
        if (name == "default") {
            // The README's run: twelve people, some without video, one invited.
            QCOMPARE(summary.value("invited").toInt(), 1);
            QCOMPARE(summary.value("withVideo").toInt(), 8);
            QVERIFY(messages.value("3").toInt() > 0);
            // The first page of the grid holds the six people whose video came first.
            checkTiles("default", summary, shot, l.tiles);
            // Ordinary tiles: the phone's pictures are upright; the rate measured over
            // the last loop of a clip is that layer's rate.
            QVERIFY(receives(person(summary, "Farah"), 3));
            QCOMPARE(layerSize(person(summary, "Farah"), 3), QSize(360, 640));
            const QJsonObject bo = person(summary, "Bo");
            QVERIFY(receives(bo, 3));
            const double rate = bo.value("layers").toArray().at(1)["bytesPerSecond"].toDouble();
            QVERIFY2(qAbs(num(bo, "bytesPerSecond") - rate) < rate / 5, qPrintable(QString::number(rate)));
            return;
        }
        if (name == "scenario") {
            // People come and go (a guest joined at 3 s), mute, speak and share (from
            // 12 s): a share shows the shared screen big; its picture is light grey.
            QVERIFY(summary.value("sharing").toBool());
            const QJsonArray tiles = summary.value("tiles").toArray();
            QVERIFY(std::any_of(tiles.begin(), tiles.end(), [&shot](const QJsonValue& v) {
                const QRect tile = rectOf(v);
                const QColor c = shot.pixelColor(tile.x() + tile.width() / 10, tile.y() + tile.height() / 2);
                return tile.width() > 600 && c.value() > 180 && c.hsvSaturation() < 40;
            }));
            return;
        }
        QCOMPARE(summary.value("mode").toInt(), l.mode);
        // Never more than a client that pulls every large stream all the time.
        const QJsonObject t = summary.value("traffic").toObject();
        QVERIFY(num(t, "pixelsPerSecond") > 0 && num(t, "pixelsPerSecond") <= num(t, "naivePixelsPerSecond"));
        QVERIFY(num(t, "bytesPerSecond") <= num(t, "naiveBytesPerSecond"));
        QCOMPARE(num(t, "bytesPerSecond") > 0, !l.synthetic);
        checkTiles(QTest::currentDataTag(), summary, shot, l.tiles);
    }

    // The gallery asks for a stream type per participant; the host's media engine
    // answers with that frame size; paged-off participants stop being pulled after
    // five seconds and resume when paged back.
    void streamQualityLoopCloses()
    {
        HostControl host;
        startHost(host.proc, {"--participants", "2", "--all-video", "--mode", "1", "--size", "1280x720", "--control"});
        QVERIFY(host.proc.waitForStarted(10000));
        auto remote = [&]() {
            QVector<QJsonObject> out;
            for (const QJsonValue& v : host.state().value("people").toArray())
                if (!v.toObject().value("self").toBool())
                    out.append(v.toObject());
            return out;
        };
        auto allRemote = [&](int type, int count) {
            const QVector<QJsonObject> people = remote();
            return people.size() == count &&
                   std::all_of(people.begin(), people.end(), [type](const QJsonObject& p) { return receives(p, type); });
        };
        // Two in the equal grid: the other participant is wanted large.
        QTRY_VERIFY_WITH_TIMEOUT(allRemote(4, 1), 20000);
        QCOMPARE(layerSize(remote().at(0), 4), QSize(1280, 720));
        // Six: ordinary tiles, so ordinary frames, for everyone including the one
        // who was large (and the phone's and the odd camera's ordinary sizes).
        host.send("add 4");
        QTRY_VERIFY_WITH_TIMEOUT(allRemote(3, 5), 15000);
        // The speaker layout with a strip along the bottom: small frames for the
        // strip, large for a remote speaker (the local user is the speaker here).
        host.send("mode 6");
        auto stripSmall = [&]() {
            int small = 0;
            for (const QJsonObject& p : remote()) {
                if (!receives(p, 2) && !receives(p, 4))
                    return false;
                small += receives(p, 2) ? 1 : 0;
            }
            return small >= 4;
        };
        QTRY_VERIFY_WITH_TIMEOUT(stripSmall(), 15000);
        // Nine in the grid: six on the first page, three on the second.
        host.send("mode 1");
        host.send("add 3");
        QStringList firstPage, secondPage;
        auto pagesKnown = [&]() {
            firstPage.clear();
            secondPage.clear();
            for (const QJsonValue& v : host.state().value("people").toArray()) {
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
        host.send("page next");
        auto pulled = [&](const QStringList& names, bool want) {
            const QJsonObject s = host.state();
            return std::all_of(names.begin(), names.end(),
                               [&](const QString& n) { return person(s, n).value("pulled").toBool() == want; });
        };
        QTRY_VERIFY_WITH_TIMEOUT(pulled(firstPage, false), 15000);
        const QJsonObject s = host.state();
        const qint64 turned = num(s, "lastPageTurnMs");
        QVERIFY(turned > 0);
        for (const QString& n : firstPage) {
            const qint64 after = num(person(s, n), "lastCloseMs") - turned;
            QVERIFY2(after >= 4500 && after <= 12000, qPrintable(QString("%1 stopped %2 ms after the page turn").arg(n).arg(after)));
        }
        for (const QString& n : secondPage)
            QVERIFY(person(s, n).value("pulled").toBool() && receives(person(s, n), 3));
        // Nothing received, decoded or handed over for the first page any more;
        // the second page's frames keep coming.
        // (Timing is what is under test here, hence the plain wait.)
        QTest::qWait(1000);
        const QJsonObject later = host.state();
        for (const QString& n : firstPage) // bytes received, pictures decoded, frames handed over (taken or not)
            for (const char* key : {"bytesReceived", "decoded", "delivered", "refused"})
                QCOMPARE(num(person(later, n), key), num(person(s, n), key));
        for (const QString& n : secondPage)
            QVERIFY(num(person(later, n), "delivered") >= num(person(s, n), "delivered") + 5);
        // Back to the first page: resumed at once, frames flow again.
        host.send("page prev");
        auto resumed = [&]() {
            const QJsonObject now = host.state();
            return std::all_of(firstPage.begin(), firstPage.end(), [&](const QString& n) {
                return person(now, n).value("pulled").toBool() &&
                       num(person(now, n), "delivered") >= num(person(later, n), "delivered") + 10;
            });
        };
        QTRY_VERIFY_WITH_TIMEOUT(resumed(), 10000);
        host.send("quit");
        QVERIFY(host.proc.waitForFinished(15000));
        QCOMPARE(host.proc.exitStatus(), QProcess::NormalExit);
        QCOMPARE(host.proc.exitCode(), 0);
    }

private:
    // Every tile on screen shows video: not black, and in the colour of exactly one
    // participant, a different one in each tile.
    void checkTiles(const QString& name, const QJsonObject& summary, const QImage& shot, int expectedTiles)
    {
        const QJsonArray tiles = summary.value("tiles").toArray();
        QCOMPARE(tiles.size(), expectedTiles);
        QMap<QString, int> hueOf; // participants with video, by name
        for (const QJsonValue& v : summary.value("people").toArray()) {
            const QJsonObject p = v.toObject();
            if (p.value("video").toBool() && !p.value("share").toBool())
                hueOf[p.value("name").toString()] = QColor(p.value("colour").toString()).hsvHue();
        }
        QSet<QString> seen;
        for (const QJsonValue& v : tiles) {
            const QRect tile = rectOf(v);
            const int hue = tileHue(shot, tile);
            QString best;
            int bestDistance = 360;
            for (auto it = hueOf.cbegin(); it != hueOf.cend(); ++it)
                if (hueDistance(it.value(), hue) < bestDistance) {
                    bestDistance = hueDistance(it.value(), hue);
                    best = it.key();
                }
            QVERIFY2(hue >= 0 && bestDistance <= 10, qPrintable(QString("%1: tile %2,%3 has hue %4, nearest %5 at %6")
                                                                    .arg(name).arg(tile.x()).arg(tile.y()).arg(hue).arg(best).arg(bestDistance)));
            QVERIFY2(!seen.contains(best), qPrintable(name + ": two tiles show " + best));
            seen.insert(best);
        }
    }

    QTemporaryDir m_tmp;
    QString m_outDir;
};

QTEST_GUILESS_MAIN(TstHost)
#include "tst_host.moc"
