// The external screen: one participant or the share, full screen on a second
// display, chosen by the host or automatically.
#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "dlgextscreen.h"
#include "modulelog.h"
#include "personinfo.h"
#include "qdlgpicinpic.h"
#include "qkxscreenconfig.h"
#include "subtitleband.h"

#include <QGuiApplication>
#include <QScreen>

bool QDlgScreen::extOpen(int iScreen)
{
    const QList<QScreen*> screens = QGuiApplication::screens();
    if (iScreen < 0 || iScreen >= screens.size()) {
        KXWARN << QStringLiteral("[ScreenMod]KXScreenExt_Open refused: no screen %1 (there are %2)")
                      .arg(iScreen).arg(screens.size());
        return false;
    }
    if (!m_pExtScreen) {
        m_pExtScreen = new QDlgExtScreen(this);
        // The window has closed itself already: what it leaves behind goes.
        connect(m_pExtScreen, &QDlgExtScreen::closedByScreen, this, &QDlgScreen::extReset);
        connect(m_pExtScreen, &QDlgExtScreen::notifyClickExtPlayWidget, this, &QDlgScreen::onNotifyClickExtPlayWidget);
        adoptTile(m_pExtScreen->tile());
        // The captions there start with what is being said now.
        SubtitleBand* band = m_pExtScreen->subtitleBand();
        for (const kxsubtitle::SentenceStore::Sentence& t : m_pSubtitleBand->store().sentences())
            band->addSentence(t.bFinal ? 1 : 0, t.index, t.name, t.text);
        band->setOpen(m_bSubtitleOpen);
        // Host threads read the tile to hand it the frames of the participant
        // it shows; the window lives as long as the gallery.
        m_pExtTile.store(m_pExtScreen->tile(), std::memory_order_release);
    }
    KXLOG << "extOpen on screen" << iScreen << screens.at(iScreen)->name() << screens.at(iScreen)->geometry();
    m_pExtScreen->openOn(screens.at(iScreen));
    if (!extTakeShares())
        reposPlayWnd(); // who is shown there, and the streams that follow
    return true;
}

void QDlgScreen::extClose()
{
    if (!extIsOpen())
        return;
    KXLOG << "extClose";
    m_pExtScreen->closeWindow();
    extReset();
}

void QDlgScreen::extReset()
{
    // However the window closed (by the host, by its screen going away, with
    // the gallery), nothing of it stays: it shows nobody, and the shares kept
    // for it come into the gallery, as shares that arrive.
    if (!m_pExtScreen)
        return;
    KXLOG << "external screen closed, kept shares coming back:" << m_extShares.size();
    m_pExtScreen->setPerson(nullptr);
    takeBackExtShares();
    reposPlayWnd();
}

bool QDlgScreen::extIsOpen() const
{
    return m_pExtScreen && m_pExtScreen->isOpen();
}

QWidget* QDlgScreen::extWidget() const
{
    return extIsOpen() ? m_pExtScreen : nullptr;
}

void QDlgScreen::extSetUserID(const QString& userID)
{
    KXLOG << "extSetUserID:" << userID;
    m_qstrExtChosen = userID;
    reposPlayWnd();
}

QString QDlgScreen::extShownUserID() const
{
    tagPersonInfo* p = extIsOpen() ? m_pExtScreen->person() : nullptr;
    return p ? p->userID : QString();
}

bool QDlgScreen::extShows(const tagPersonInfo* p) const
{
    return p && extIsOpen() && m_pExtScreen->person() == p;
}

tagPersonInfo* QDlgScreen::extChoice() const
{
    // The host's choice while that participant is here; else the share, the
    // one speaking, the gallery's focus.
    tagPersonInfo* aside = m_extShares.value(0);
    if (!m_qstrExtChosen.isEmpty()) {
        if (aside && aside->userID == m_qstrExtChosen)
            return aside;
        if (tagPersonInfo* p = findPersonByUserID(m_qstrExtChosen))
            return p;
    }
    if (aside)
        return aside;
    for (tagPersonInfo* p : m_vecPerson) {
        if (p->isShareScreen())
            return p;
    }
    // The speaker as the stage takes it, with the same hold: a projector that
    // cut to every voice would be hard to watch.
    for (const QString& id : {m_speakerHold.stage(), m_qstrAciveUserID}) {
        tagPersonInfo* p = id.isEmpty() ? nullptr : findPersonByUserID(id);
        if (p && !p->bSelf)
            return p;
    }
    return m_pFocusPerson ? m_pFocusPerson : getFoucsPerson();
}

void QDlgScreen::updateExtScreen()
{
    if (!extIsOpen())
        return;
    tagPersonInfo* p = extChoice();
    if (m_pExtScreen->person() != p)
        KXLOG << "external screen shows:" << (p ? p->userName : QString());
    m_pExtScreen->setPerson(p);
    // Captions when it shows what the meeting looks at (the share, the stage,
    // the automatic choice), not a participant the host put there for itself.
    m_pExtScreen->setCaptionsShown(p && (p->isShareScreen() || m_qstrExtChosen.isEmpty() || p == m_pFocusPerson
                                         || p->userID == m_qstrAciveUserID));
    // Full screen on a large display: the large stream, whatever its tile
    // in the gallery asks for (a share is never asked to switch).
    if (p && !p->isShareScreen() && p->iStreamType != 4)
        setPersonStreamType(p, 4);
}

void QDlgScreen::onNotifyClickExtPlayWidget(void* person)
{
    auto* p = static_cast<tagPersonInfo*>(person);
    if (!testLivePerson(p, "onNotifyClickExtPlayWidget"))
        return;
    // The gallery's focus follows what the room looks at.
    onModFocusByUserID(p->userID);
}

void QDlgScreen::onModPrimaryScreenChanged(bool bPrimary)
{
    KXLOG << "onModPrimaryScreenChanged bPrimary:" << bPrimary;
    m_bPrimaryScreen = bPrimary;
    if (!bPrimary)
        takeBackExtShares();
    else
        extTakeShares();
}

bool QDlgScreen::extTakeShares()
{
    // The external screen becomes the shares' screen while they are on: each
    // leaves the gallery as a share that ends (the layout from before comes
    // back), and comes back as one that arrives when it stops being so.
    if (!testIsShareInExtMode())
        return false;
    QVector<tagPersonInfo*> shares;
    for (tagPersonInfo* p : qAsConst(m_vecPerson)) {
        if (p->isShareScreen())
            shares.append(p);
    }
    if (shares.isEmpty())
        return false;
    KXLOG << "external screen takes the shares:" << shares.size();
    if (curMode() == 9 && m_pMaxPlayWnd && shares.contains(getPersonInfoByPlayWidgetPtr(m_pMaxPlayWnd)))
        endFullView();
    for (tagPersonInfo* p : qAsConst(shares)) {
        m_pPicInPic->dropPerson(p);
        if (p == m_pFocusPerson)
            reAddFocusPersonToPlayMap();
        RemovePersonFromPlayMap(p);
        detachFromTiles(p);
        p->pWidget = nullptr;
        m_vecPerson.removeAll(p);
        m_layouts.end(LayoutMemory::Share, p->userID);
        m_extShares.append(p);
    }
    m_pSharePerson = nullptr;
    m_bShareScanDue = true;
    m_bHasShare = false;
    testResetPreFocus();
    applyLayouts();
    reposPlayWnd();
    return true;
}

void QDlgScreen::takeBackExtShares()
{
    // Each comes into the gallery as a share that arrives. The host may call
    // back in from the share's tip: the list is taken first.
    const QVector<tagPersonInfo*> kept = m_extShares;
    m_extShares.clear();
    for (tagPersonInfo* p : kept) {
        if (extShows(p))
            m_pExtScreen->setPerson(nullptr);
        if (isOwnedPerson(p) && !QKXScreenConfig::getInstance()->testDelPerson(p, false))
            onModAddPerson(p);
    }
}
