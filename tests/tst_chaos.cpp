// Chaos: four host threads call the exports at once, decoded by the fuzz
// driver from seeded bytes, with live, released and never-issued handles,
// while the interface thread pumps, checks the gallery and makes interface
// calls of its own (fuzz/kxfuzzdriver.h).
//
//   KX_CHAOS_OPS=100000   calls in total (default: a short run for CI)
//   KX_CHAOS_SEED=12345   the seed to replay; "random" picks one and prints it
//   KX_CHAOS_SEEDS=3      how many consecutive seeds to run
#include "kxfuzzdriver.h"
#include "kxtestkit.h"

#include <QDateTime>

class TstChaos : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { QVERIFY(kxtest::moduleLogOn()); }
    void chaos()
    {
        const QByteArray env = qgetenv("KX_CHAOS_SEED");
        // "KXSCHAOS"
        quint64 seed = 0x4b58534348414f53ull;
        if (env == "random")
            seed = quint64(QDateTime::currentMSecsSinceEpoch()) * 0x9e3779b97f4a7c15ull;
        else if (!env.isEmpty())
            seed = env.toULongLong();
        const QByteArray opsEnv = qgetenv("KX_CHAOS_OPS");
        const int ops = opsEnv.isEmpty() ? 16000 : opsEnv.toInt();
        for (int i = 0; i < qMax(1, qEnvironmentVariableIntValue("KX_CHAOS_SEEDS")); ++i) {
            // Printed first, so that a crash report still carries the seed.
            qInfo("chaos: KX_CHAOS_SEED=%llu KX_CHAOS_OPS=%d", static_cast<unsigned long long>(seed + i), ops);
            const QString broken = kxfuzz::runChaos(seed + i, qMax(1, ops), 4);
            QVERIFY2(broken.isEmpty(), qPrintable(broken));
        }
    }
};

QTEST_MAIN(TstChaos)
#include "tst_chaos.moc"
