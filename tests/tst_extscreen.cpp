// The external screen through its exports, on an X server with two screens.
#include "kxtestkit.h"
#include "cplaywidget.h"
#include "dlgextscreen.h"
#include "layoutgeometry.h"
#include "qdlgplayinfo.h"
#include "subtitleband.h"

#include <QScreen>

using namespace kxtest;

namespace {

void* addShare(void* h, QByteArray id)
{
    return onHostThread([&]() { return KXScreen_AddPerson(h, id.data(), id.data(), id.data(), 9000, 0, nullptr, 1); });
}

QString extUser(void* h) { return QString::fromLocal8Bit(KXScreenExt_GetUserID(h)); }
CPlayWidget* extTile(void* h) { return KXScreenExt_GetWidgetPtr(h)->findChild<CPlayWidget*>(); }

} // namespace

class TstExtScreen : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase()
    {
        QVERIFY(moduleLogOn());
        QCOMPARE(QGuiApplication::screens().size(), 2);
    }

    void showsOneParticipantOrAShareOnTheSecondScreen()
    {
        Gallery g(QSize(1280, 720), 3);
        QDlgScreen* s = g.screen();
        // No such screen.
        QCOMPARE(KXScreenExt_Open(g.h, 2), 0);
        QVERIFY(!KXScreenExt_GetWidgetPtr(g.h));
        QCOMPARE(KXScreenExt_Open(g.h, 1) + KXScreenExt_IsOpen(g.h), 2);
        pump();
        QWidget* w = KXScreenExt_GetWidgetPtr(g.h);
        QScreen* second = QGuiApplication::screens().at(1);
        QVERIFY(w && w->isVisible() && w->windowHandle()->screen() == second);
        QCOMPARE(w->geometry(), second->geometry());
        // Automatic: nobody speaks and nothing is shared, so the gallery's focus.
        QCOMPARE(extUser(g.h), s->getFoucsPerson()->userID);
        // It follows the stage speaker, after the stage's hold, in the grid too.
        s->setSpeakerHoldTimes(200, 400);
        KXScreen_SetCurSpeakPerson(g.h, const_cast<char*>("u1"));
        pump();
        QVERIFY(extUser(g.h) != "u1");
        QTRY_COMPARE(extUser(g.h), QString("u1"));
        // Captions there too while it shows what the meeting looks at, over its video.
        KXScreen_OpenSubtitle(g.h, true);
        KXScreen_AddSentence(g.h, 1, 1, const_cast<char*>("P0"), const_cast<char*>("Hello there"));
        SubtitleBand* band = w->findChild<SubtitleBand*>();
        QTRY_VERIFY(band->isVisible() && extTile(g.h)->geometry().contains(band->geometry()));
        // The host's choice: in both places, from one copy of each frame.
        QCOMPARE(KXScreenExt_SetUserID(g.h, "u2"), 1);
        pump();
        QCOMPARE(extUser(g.h), QString("u2"));
        QVERIFY(!band->isVisible());
        Frame f = Frame::blocks(640, 360);
        QCOMPARE(onHostThread([&]() { return KXScreen_PlayFrame(g.h, g.handles.at(2), &f.rec); }), 1);
        pump();
        QCOMPARE(g.host().lastStream(g.rec(2)), int(KXSCREEN_MSG_STREAM_LARGE));
        for (CPlayWidget* tile : QVector<CPlayWidget*>{extTile(g.h), g.rec(2)->pWidget}) {
            QTRY_VERIFY2(!tile->isPictureOutOfDate(), tile == g.rec(2)->pWidget ? "gallery" : "external");
            const QImage img = tile->grabFramebuffer();
            const QRect video = kxlayout::shareStageRect(img.width(), img.height());
            const QString wrong = blocksWrong(img, video, img.height() * 3 / 5, 24);
            QVERIFY2(wrong.isEmpty(), qPrintable(wrong));
        }
        // A click there makes that participant the gallery's focus.
        emit qobject_cast<QDlgExtScreen*>(KXScreenExt_GetWidgetPtr(g.h))->notifyClickExtPlayWidget(g.rec(1));
        QTRY_COMPARE(s->persons().first(), g.rec(1));
        // Closed (its screen going away: the next test), then opened on the first screen.
        QCOMPARE(KXScreenExt_Close(g.h) + KXScreenExt_Open(g.h, 0) + KXScreenExt_Close(g.h), 3);
        // A share kept for the external screen (it takes one the gallery shows): there, not in the gallery.
        QCOMPARE(KXScreenExt_Open(g.h, 1) + KXScreenExt_SetUserID(g.h, nullptr), 2);
        void* share = addShare(g.h, "sharescreen_u1");
        QTRY_COMPARE(g.mode(), 4);
        KXScreen_ChangePrimaryScreen(g.h, true);
        QTRY_COMPARE(extUser(g.h), QString("sharescreen_u1"));
        QCOMPARE(g.mode(), 1);
        QCOMPARE(s->persons().size(), 3);
        QCOMPARE(s->extShares().value(0), recordOf(share));
        QCOMPARE(onHostThread([&]() { return KXScreen_PlayFrame(g.h, share, &f.rec); }), 1);
        // Removed by the host: freed, and the screen goes back to the focus.
        QCOMPARE(KXScreen_DelPerson(g.h, share), 1);
        pump();
        QVERIFY(s->extShares().isEmpty());
        QTRY_COMPARE(extUser(g.h), s->getFoucsPerson()->userID);
        // The primary screen again: the share comes into the gallery.
        share = addShare(g.h, "sharescreen_u0");
        QTRY_COMPARE(s->extShares().value(0), recordOf(share));
        g.host().clear();
        KXScreen_ChangePrimaryScreen(g.h, false);
        QTRY_COMPARE(g.mode(), 4);
        QTRY_COMPARE(s->focusPerson(), recordOf(share));
        QCOMPARE(g.host().count(KXSCREEN_MSG_SHARE_TIP, recordOf(share)), 1);
    }

    void keptSharesComeBackHoweverItCloses()
    {
        // Closed by the host, by its screen going away or with the gallery:
        // the shares kept for the window come into the gallery, and nothing
        // of the window is left for the gallery or a gallery made later.
        for (int how = 0; how < 3; ++how) {
            Gallery g(QSize(1280, 720), 2);
            QDlgScreen* s = g.screen();
            QCOMPARE(KXScreenExt_Open(g.h, 1) + KXScreen_ChangePrimaryScreen(g.h, true), 2);
            void* a = addShare(g.h, "sharescreen_u0");
            addShare(g.h, "sharescreen_u1");
            pump();
            QCOMPARE(s->extShares().size(), 2);
            // A kept share is drawn there as a share is: its picture, no placeholder.
            Frame f = Frame::blocks(640, 360);
            QCOMPARE(onHostThread([&]() { return KXScreen_PlayFrame(g.h, a, &f.rec); }), 1);
            pump();
            QCOMPARE(recordOf(a)->eStreamStatus, 2);
            QTRY_VERIFY(!extTile(g.h)->isPictureOutOfDate() && !extTile(g.h)->playInfo()->isPlaceholderShown());
            if (how == 2) {
                QPointer<QWidget> w = KXScreenExt_GetWidgetPtr(g.h);
                KXScreen_Release(g.h);
                pump();
                QVERIFY(w.isNull());
                Gallery next(QSize(1280, 720), 1);
                KXScreen_ChangePrimaryScreen(next.h, true);
                addShare(next.h, "sharescreen_u0");
                pump();
                QCOMPARE(next.screen()->persons().size(), 2);
                continue;
            }
            if (how == 0)
                KXScreenExt_Close(g.h);
            else
                emit qApp->screenRemoved(QGuiApplication::screens().at(1));
            pump();
            QVERIFY(s->extShares().isEmpty() && !KXScreenExt_IsOpen(g.h));
            QCOMPARE(g.mode(), 4);
            QCOMPARE(s->persons().size(), 4);
            addShare(g.h, "sharescreen_u2");
            pump();
            QCOMPARE(s->persons().size(), 5);
        }
    }
};

QTEST_MAIN(TstExtScreen)
#include "tst_extscreen.moc"
