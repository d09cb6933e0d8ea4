// Display order of the roster: the full reordering, the quick move to the
// head, the order check of the gallery timer and the insertion on arrival.
#include "displayorder.h"

#include <QtTest>

#include <algorithm>
#include <numeric>

using namespace kxorder;

Q_DECLARE_METATYPE(kxorder::OrderItem)

namespace {

// Remote participant showing video (stream status 2 is a live stream).
OrderItem video(qint64 jt)
{
    OrderItem p;
    p.preview = true;
    p.streamStatus = 2;
    p.joinTime = jt;
    return p;
}

// Remote participant with video off.
OrderItem noVideo(qint64 jt)
{
    OrderItem p;
    p.preview = false;
    p.streamStatus = 0;
    p.joinTime = jt;
    return p;
}

// Video switched on, but no stream yet (status 0).
OrderItem waiting(qint64 jt)
{
    OrderItem p = video(jt);
    p.streamStatus = 0;
    return p;
}

// Video flag just changed; preview and status tell the new state.
OrderItem changed(qint64 jt, bool preview, int status)
{
    OrderItem p;
    p.preview = preview;
    p.streamStatus = status;
    p.joinTime = jt;
    p.videoStatusChange = true;
    return p;
}

OrderItem self(qint64 jt)
{
    OrderItem p = noVideo(jt);
    p.self = true;
    return p;
}

OrderItem host(qint64 jt)
{
    OrderItem p = noVideo(jt);
    p.role = 1;
    return p;
}

OrderItem selfHost(qint64 jt)
{
    OrderItem p = self(jt);
    p.role = 1;
    return p;
}

OrderItem shareRecord(qint64 jt)
{
    OrderItem p = video(jt);
    p.shareRecord = true;
    return p;
}

OrderItem sharer(qint64 jt)
{
    OrderItem p = noVideo(jt);
    p.sharingUser = true;
    return p;
}

OrderItem unjoined(qint64 jt)
{
    OrderItem p = noVideo(jt);
    p.unjoined = true;
    return p;
}

} // namespace

class TestDisplayOrder : public QObject
{
    Q_OBJECT

private slots:
    void order_data();
    void order();
    void joinTimeRewrites_data();
    void joinTimeRewrites();
    void flagsAfterWalk();
    void reportedIndices();
    void everyoneKeptOnce();
    void changeToHead_data();
    void changeToHead();
    void needOrder_data();
    void needOrder();
    void arrival_data();
    void arrival();
};

void TestDisplayOrder::order_data()
{
    QTest::addColumn<QVector<OrderItem>>("roster");
    QTest::addColumn<bool>("focus");
    QTest::addColumn<QVector<int>>("expected");

    QTest::newRow("empty") << QVector<OrderItem>() << false << QVector<int>();
    QTest::newRow("video before no video, each by join time")
        << QVector<OrderItem>{noVideo(1), video(5), video(3), noVideo(0)} << false
        << QVector<int>{2, 1, 3, 0};
    // The full walk counts status 0 as no stream even with the video flag on.
    QTest::newRow("video on but no stream yet")
        << QVector<OrderItem>{waiting(1), video(2)} << false << QVector<int>{1, 0};
    QTest::newRow("status 1 is no video")
        << QVector<OrderItem>{[] { OrderItem p = video(1); p.streamStatus = 1; return p; }(), video(2)}
        << false << QVector<int>{1, 0};
    QTest::newRow("share record first, sharing user next")
        << QVector<OrderItem>{video(1), sharer(5), shareRecord(9), noVideo(0)} << false
        << QVector<int>{2, 1, 0, 3};
    QTest::newRow("share record first in focus mode too")
        << QVector<OrderItem>{self(4), video(1), host(3), shareRecord(9), sharer(5)} << true
        << QVector<int>{3, 4, 0, 2, 1};
    QTest::newRow("host then self in an ordinary layout")
        << QVector<OrderItem>{video(1), self(2), host(3), noVideo(0)} << false
        << QVector<int>{2, 1, 0, 3};
    QTest::newRow("self then host in a focus layout")
        << QVector<OrderItem>{video(1), self(2), host(3), noVideo(0)} << true
        << QVector<int>{1, 2, 0, 3};
    QTest::newRow("host heads ahead of earlier video")
        << QVector<OrderItem>{video(0), video(1), host(9)} << false << QVector<int>{2, 0, 1};
    QTest::newRow("host without self, focus layout")
        << QVector<OrderItem>{video(1), host(3)} << true << QVector<int>{1, 0};
    QTest::newRow("self without host")
        << QVector<OrderItem>{video(1), noVideo(0), self(2)} << false << QVector<int>{2, 0, 1};
    QTest::newRow("self without host, focus layout")
        << QVector<OrderItem>{video(1), self(2)} << true << QVector<int>{1, 0};
    // Joined after the one already showing video, yet the change puts it last.
    QTest::newRow("video just turned on goes behind")
        << QVector<OrderItem>{video(10), changed(1, true, 0), video(20)} << false
        << QVector<int>{0, 2, 1};
    QTest::newRow("video just turned off heads the no-video group")
        << QVector<OrderItem>{noVideo(10), noVideo(20), changed(30, false, 0), video(5)} << false
        << QVector<int>{3, 2, 0, 1};
    QTest::newRow("changed with status 1 counts as off")
        << QVector<OrderItem>{video(5), noVideo(10), changed(1, true, 1)} << false
        << QVector<int>{0, 2, 1};
    // Placed in roster order, not by join time.
    QTest::newRow("two changes in a row")
        << QVector<OrderItem>{video(10), changed(2, true, 2), changed(1, true, 2)} << false
        << QVector<int>{0, 1, 2};
    QTest::newRow("unjoined last in arrival order")
        << QVector<OrderItem>{unjoined(5), video(9), unjoined(1), noVideo(3), unjoined(3)} << false
        << QVector<int>{1, 3, 0, 2, 4};
    QTest::newRow("unjoined behind the share record's group too")
        << QVector<OrderItem>{unjoined(0), shareRecord(1), self(2)} << false << QVector<int>{1, 2, 0};
    // The second host goes in front of the first (step taken after the heads).
    QTest::newRow("two hosts")
        << QVector<OrderItem>{video(1), host(5), host(3), self(2)} << false
        << QVector<int>{2, 1, 3, 0};
    QTest::newRow("two hosts, focus layout")
        << QVector<OrderItem>{video(1), host(5), host(3), self(2)} << true
        << QVector<int>{2, 3, 1, 0};
    QTest::newRow("two hosts behind the share record")
        << QVector<OrderItem>{shareRecord(0), host(1), host(2), video(0)} << false
        << QVector<int>{0, 2, 1, 3};
    // A host who is the local user ends second, behind whoever leads.
    QTest::newRow("host who is self")
        << QVector<OrderItem>{video(1), video(2), selfHost(0)} << false << QVector<int>{0, 2, 1};
    QTest::newRow("host who is self, focus layout")
        << QVector<OrderItem>{noVideo(1), video(2), selfHost(0)} << true << QVector<int>{1, 2, 0};
    QTest::newRow("host who is self with one other")
        << QVector<OrderItem>{selfHost(0), video(1)} << false << QVector<int>{1, 0};
    QTest::newRow("host who is self alone") << QVector<OrderItem>{selfHost(0)} << false << QVector<int>{0};
    QTest::newRow("host who is self behind the sharing user")
        << QVector<OrderItem>{video(1), selfHost(0), sharer(3)} << false << QVector<int>{2, 1, 0};
    QTest::newRow("self is the second host")
        << QVector<OrderItem>{host(1), video(2), selfHost(3)} << false << QVector<int>{0, 2, 1};
    QTest::newRow("self is the second host, alone with the first")
        << QVector<OrderItem>{host(1), selfHost(3)} << false << QVector<int>{1, 0};
}

void TestDisplayOrder::order()
{
    QFETCH(QVector<OrderItem>, roster);
    QFETCH(bool, focus);
    QFETCH(QVector<int>, expected);
    const OrderResult res = displayOrder(roster, focus);
    QCOMPARE(res.order, expected);
}

void TestDisplayOrder::joinTimeRewrites_data()
{
    QTest::addColumn<QVector<OrderItem>>("roster");
    QTest::addColumn<QVector<qint64>>("joinTime");

    QTest::newRow("on: last video + 1")
        << QVector<OrderItem>{video(10), changed(1, true, 2), video(20)}
        << QVector<qint64>{10, 21, 20};
    QTest::newRow("on with no video list: unchanged")
        << QVector<OrderItem>{noVideo(5), changed(7, true, 2)} << QVector<qint64>{5, 7};
    QTest::newRow("two changes in a row")
        << QVector<OrderItem>{video(10), changed(2, true, 2), changed(1, true, 2)}
        << QVector<qint64>{10, 11, 12};
    QTest::newRow("off: first no video - 1")
        << QVector<OrderItem>{noVideo(20), noVideo(10), changed(30, false, 0)}
        << QVector<qint64>{20, 10, 9};
    QTest::newRow("off twice: the later goes in front of the earlier")
        << QVector<OrderItem>{noVideo(20), changed(30, false, 0), changed(40, false, 0)}
        << QVector<qint64>{20, 19, 18};
    QTest::newRow("off with no no-video list: unchanged")
        << QVector<OrderItem>{video(3), changed(30, false, 0)} << QVector<qint64>{3, 30};
    QTest::newRow("nobody changed: nothing rewritten")
        << QVector<OrderItem>{video(3), noVideo(1), self(0), host(7)} << QVector<qint64>{3, 1, 0, 7};
}

void TestDisplayOrder::joinTimeRewrites()
{
    QFETCH(QVector<OrderItem>, roster);
    QFETCH(QVector<qint64>, joinTime);
    QCOMPARE(displayOrder(roster, false).joinTime, joinTime);
}

void TestDisplayOrder::flagsAfterWalk()
{
    // The flag is consumed for host, self and the changed participants; the
    // sharing user's and the unjoined participant's flags are left as they are.
    OrderItem h = host(1);
    h.videoStatusChange = true;
    OrderItem s = self(2);
    s.videoStatusChange = true;
    OrderItem sh = sharer(3);
    sh.videoStatusChange = true;
    OrderItem u = unjoined(4);
    u.videoStatusChange = true;
    const QVector<OrderItem> roster{h, s, sh, u, changed(5, true, 2), video(6)};
    const OrderResult res = displayOrder(roster, false);
    QCOMPARE(res.videoStatusChange, (QVector<bool>{false, false, true, true, false, false}));
    QCOMPARE(res.changed, QVector<int>{4});
}

void TestDisplayOrder::reportedIndices()
{
    const QVector<OrderItem> roster{video(1), host(2), self(3), host(4), shareRecord(5), sharer(6)};
    const OrderResult res = displayOrder(roster, false);
    QCOMPARE(res.hostIndex, 1);
    QCOMPARE(res.secondHostIndex, 3);
    QCOMPARE(res.selfIndex, 2);
    QCOMPARE(res.shareIndex, 4);
    QCOMPARE(res.sharingUserIndex, 5);

    const OrderResult none = displayOrder(QVector<OrderItem>{video(1)}, false);
    QCOMPARE(none.hostIndex, -1);
    QCOMPARE(none.secondHostIndex, -1);
    QCOMPARE(none.selfIndex, -1);
    QCOMPARE(none.shareIndex, -1);
    QCOMPARE(none.sharingUserIndex, -1);
}

void TestDisplayOrder::everyoneKeptOnce()
{
    // A mixed roster with one of each special kind: the order is a permutation
    // and the groups come in their fixed sequence.
    const QVector<OrderItem> roster{noVideo(8), unjoined(1), video(7), sharer(2), changed(3, true, 2),
                                    self(9),    host(6),     video(4), shareRecord(0), changed(5, false, 0),
                                    noVideo(2), unjoined(0)};
    for (bool focus : {false, true}) {
        const OrderResult res = displayOrder(roster, focus);
        QVector<int> sorted = res.order;
        std::sort(sorted.begin(), sorted.end());
        QVector<int> all(roster.size());
        std::iota(all.begin(), all.end(), 0);
        QCOMPARE(sorted, all);
        // share record, sharing user, host/self, video by join time (changed
        // one last), no video with the just-turned-off one first, unjoined.
        const QVector<int> expected = focus ? QVector<int>{8, 3, 5, 6, 7, 2, 4, 9, 10, 0, 1, 11}
                                            : QVector<int>{8, 3, 6, 5, 7, 2, 4, 9, 10, 0, 1, 11};
        QCOMPARE(res.order, expected);
    }
}

void TestDisplayOrder::changeToHead_data()
{
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("sizeAfter");
    QTest::addColumn<bool>("self");
    QTest::addColumn<int>("role");
    QTest::addColumn<bool>("share");
    QTest::addColumn<bool>("sharing");
    QTest::addColumn<int>("expected");

    QTest::newRow("ordinary participant stays") << 3 << 5 << false << 0 << false << false << -1;
    QTest::newRow("co-host (role 2) stays") << 3 << 5 << false << 2 << false << false << -1;
    QTest::newRow("self already at head") << 0 << 5 << true << 0 << false << false << -1;
    QTest::newRow("host already at head") << 0 << 5 << false << 1 << true << false << -1;
    QTest::newRow("self goes second") << 4 << 5 << true << 0 << false << false << 1;
    QTest::newRow("self goes second with a share") << 4 << 5 << true << 0 << true << false << 1;
    QTest::newRow("self alone after removal") << 1 << 0 << true << 0 << false << false << 0;
    QTest::newRow("self who is host: self rule") << 4 << 5 << true << 1 << false << false << 1;
    QTest::newRow("host without share: head") << 4 << 5 << false << 1 << false << false << 0;
    QTest::newRow("host who shares: behind the share record") << 4 << 5 << false << 1 << true << true << 1;
    QTest::newRow("host not sharing: index 3") << 4 << 5 << false << 1 << true << false << 3;
    QTest::newRow("host not sharing, small roster: appended") << 2 << 2 << false << 1 << true << false << 2;
    QTest::newRow("host not sharing, roster of 3: index 3") << 3 << 3 << false << 1 << true << false << 3;
}

void TestDisplayOrder::changeToHead()
{
    QFETCH(int, current);
    QFETCH(int, sizeAfter);
    QFETCH(bool, self);
    QFETCH(int, role);
    QFETCH(bool, share);
    QFETCH(bool, sharing);
    QTEST(changeToHeadIndex(current, sizeAfter, self, role, share, sharing), "expected");
}

void TestDisplayOrder::needOrder_data()
{
    QTest::addColumn<QVector<OrderItem>>("roster");
    QTest::addColumn<int>("index");
    QTest::addColumn<bool>("expected");

    QTest::newRow("no video ahead of video") << QVector<OrderItem>{noVideo(1), video(2)} << 0 << true;
    QTest::newRow("video only ahead of it") << QVector<OrderItem>{video(1), noVideo(2)} << 1 << false;
    QTest::newRow("has video itself") << QVector<OrderItem>{video(1), video(2)} << 0 << false;
    // The check treats status 0 with the video flag on as video.
    QTest::newRow("waiting counts as video itself") << QVector<OrderItem>{waiting(1), video(2)} << 0 << false;
    QTest::newRow("waiting behind counts as video") << QVector<OrderItem>{noVideo(1), waiting(2)} << 0 << true;
    QTest::newRow("status 1 behind is no video")
        << QVector<OrderItem>{noVideo(1), [] { OrderItem p = video(2); p.streamStatus = 1; return p; }()}
        << 0 << false;
    QTest::newRow("self never") << QVector<OrderItem>{self(1), video(2)} << 0 << false;
    QTest::newRow("host never") << QVector<OrderItem>{host(1), video(2)} << 0 << false;
    QTest::newRow("sharing user never") << QVector<OrderItem>{sharer(1), video(2)} << 0 << false;
    QTest::newRow("video further back") << QVector<OrderItem>{noVideo(1), noVideo(2), noVideo(3), video(4)} << 1 << true;
    QTest::newRow("last one") << QVector<OrderItem>{video(1), noVideo(2)} << 1 << false;
}

void TestDisplayOrder::needOrder()
{
    QFETCH(QVector<OrderItem>, roster);
    QFETCH(int, index);
    QTEST(kxorder::needOrder(roster, index), "expected");
}

void TestDisplayOrder::arrival_data()
{
    QTest::addColumn<QVector<OrderItem>>("roster");
    QTest::addColumn<qint64>("joinTime");
    QTest::addColumn<int>("expected");

    QTest::newRow("empty roster") << QVector<OrderItem>() << qint64(5) << 0;
    QTest::newRow("only self: in front of self") << QVector<OrderItem>{self(100)} << qint64(500) << 0;
    QTest::newRow("only one remote: behind it whatever the times")
        << QVector<OrderItem>{video(100)} << qint64(1) << 1;
    QTest::newRow("by join time") << QVector<OrderItem>{video(1), video(5), video(10)} << qint64(7) << 2;
    QTest::newRow("earliest goes first") << QVector<OrderItem>{video(1), video(5)} << qint64(0) << 0;
    QTest::newRow("latest appended") << QVector<OrderItem>{video(1), video(5)} << qint64(9) << 2;
    QTest::newRow("equal times keep arrival order")
        << QVector<OrderItem>{video(5), video(5), noVideo(6)} << qint64(5) << 2;
    QTest::newRow("self and host never displaced")
        << QVector<OrderItem>{host(100), self(100), video(50)} << qint64(1) << 2;
    QTest::newRow("host later in the roster skipped")
        << QVector<OrderItem>{video(1), host(100), video(50)} << qint64(10) << 2;
}

void TestDisplayOrder::arrival()
{
    QFETCH(QVector<OrderItem>, roster);
    QFETCH(qint64, joinTime);
    QTEST(arrivalIndex(roster, joinTime), "expected");
}

QTEST_APPLESS_MAIN(TestDisplayOrder)

#include "tst_displayorder.moc"
