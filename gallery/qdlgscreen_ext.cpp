// The external screen: one participant or the share, full screen on a second
// display, chosen by the host or automatically.
#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "dlgextscreen.h"
#include "modulelog.h"
#include "personinfo.h"
#include "qkxscreenconfig.h"

#include <QGuiApplication>
#include <QScreen>

bool QDlgScreen::extOpen(int iScreen)
{
    const QList<QScreen*> screens = QGuiApplication::screens();
    if (iScreen < 0 || iScreen >= screens.size()) {
        KXLOG << "extOpen: no screen" << iScreen << "of" << screens.size();
        return false;
    }
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    if (!m_pExtScreen) {
        m_pExtScreen = new QDlgExtScreen(this);
        connect(m_pExtScreen, &QDlgExtScreen::closedByScreen, this, &QDlgScreen::extClose);
        // Host threads read the tile to hand it the frames of the participant
        // it shows; the window lives as long as the gallery.
        m_pExtTile.store(m_pExtScreen->tile(), std::memory_order_release);
    }
    KXLOG << "extOpen on screen" << iScreen << screens.at(iScreen)->name() << screens.at(iScreen)->geometry();
    m_pExtScreen->openOn(screens.at(iScreen));
    cfg->m_pExtScreen = m_pExtScreen;
    reposPlayWnd(); // who is shown there, and the streams that follow
    return true;
}

void QDlgScreen::extClose()
{
    if (!extIsOpen())
        return;
    KXLOG << "extClose";
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    m_pExtScreen->closeWindow();
    m_pExtScreen->setPerson(nullptr);
    if (cfg->m_pExtScreen == m_pExtScreen)
        cfg->m_pExtScreen = nullptr;
    cfg->m_bExtScreenShowing = false;
    cfg->m_extUserID.clear();
    // A share kept for the external screen has nowhere else to be shown.
    if (m_pExtSharePerson)
        onModPrimaryScreenChanged(false);
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
    tagPersonInfo* aside = m_pExtSharePerson;
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
    for (const QString& id : {m_qstrSpeakingUserID, m_speakerHold.stage(), QKXScreenConfig::getInstance()->m_qstrAciveUserID}) {
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
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    tagPersonInfo* p = extChoice();
    if (m_pExtScreen->person() != p)
        KXLOG << "external screen shows:" << (p ? p->userName : QString());
    m_pExtScreen->setPerson(p);
    cfg->m_extUserID = p ? p->userID : QString();
    cfg->m_bExtScreenShowing = p != nullptr;
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
    if (bPrimary)
        return;
    // A share kept for the external screen comes into the gallery, as a
    // share that arrives.
    tagPersonInfo* p = m_pExtSharePerson.exchange(nullptr);
    if (p) {
        if (extShows(p))
            m_pExtScreen->setPerson(nullptr);
        onModAddPerson(p);
    }
}
