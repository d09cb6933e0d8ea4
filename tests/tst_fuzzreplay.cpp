// Replays the fuzz target's seeds and every input that once broke the module
// (fuzz/regressions) through the same driver, in every build.
#include "kxfuzzdriver.h"
#include "kxtestkit.h"

#include <QDir>
#include <QFile>

class TstFuzzReplay : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(kxtest::moduleLogOn()); }

    void replay_data()
    {
        QTest::addColumn<QString>("path");
        int n = 0;
        for (const char* sub : {"regressions", "corpus"}) {
            const QDir dir(QStringLiteral(KX_FUZZ_DIR "/") + QLatin1String(sub));
            for (const QString& f : dir.entryList(QDir::Files, QDir::Name)) {
                QTest::newRow(qPrintable(QLatin1String(sub) + QLatin1Char('/') + f)) << dir.filePath(f);
                ++n;
            }
        }
        QVERIFY2(n > 0, "no inputs to replay");
    }

    void replay()
    {
        QFETCH(QString, path);
        QFile f(path);
        QVERIFY(f.open(QIODevice::ReadOnly));
        const QByteArray bytes = f.readAll();
        const auto* data = reinterpret_cast<const uint8_t*>(bytes.constData());
        const QString broken = kxfuzz::runOne(data, size_t(bytes.size()));
        QVERIFY2(broken.isEmpty(), qPrintable(path + QStringLiteral(": ") + broken));
    }
};

QTEST_MAIN(TstFuzzReplay)
#include "tst_fuzzreplay.moc"
