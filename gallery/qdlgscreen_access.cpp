// The keyboard in the gallery and what screen readers are told of its tiles:
// where each tile stands, where the keyboard goes when a relayout moves its
// participant, the Tab order. The interfaces themselves are in
// galleryaccessible.cpp, the words in accessrules.cpp.
#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "dlgextscreen.h"
#include "galleryaccessible.h"
#include "pagingrules.h"
#include "personinfo.h"
#include "qdlgpicinpic.h"
#include "qdlgplayinfo.h"
#include "qmypagectrl.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QFocusEvent>
#include <QHash>
#include <QKeyEvent>

void QDlgScreen::initAccess()
{
    // Buttons for the keyboard too: Tab reaches them after the tiles.
    for (int i = 0; pageCtrl(i); ++i)
        pageCtrl(i)->setFocusPolicy(Qt::TabFocus);
}

QVector<CPlayWidget*> QDlgScreen::shownTiles() const
{
    QVector<CPlayWidget*> out;
    for (QWidget* w : kxaccessible::readingChildren(this)) {
        auto* t = qobject_cast<CPlayWidget*>(w);
        if (t && t->personInfo())
            out.append(t);
    }
    return out;
}

CPlayWidget* QDlgScreen::tileWithKeyboard() const
{
    // The window's focus widget, also while another window is active: a
    // relayout then keeps it for when the window comes back.
    for (QWidget* w = window()->focusWidget(); w && w != this; w = w->parentWidget()) {
        if (auto* t = qobject_cast<CPlayWidget*>(w))
            return t->parentWidget() == this ? t : nullptr;
    }
    return nullptr;
}

bool QDlgScreen::accessKey(QKeyEvent* event)
{
    if (event->modifiers() & ~Qt::KeypadModifier)
        return false;
    QWidget* fw = window()->focusWidget();
    switch (event->key()) {
    case Qt::Key_PageDown:
        nextPage();
        return true;
    case Qt::Key_PageUp:
        prevPage();
        return true;
    case Qt::Key_Escape:
        leaveKeyboard();
        return true;
    case Qt::Key_Left:
    case Qt::Key_Right: {
        // Through the tiles as they are read; from anywhere else in the
        // gallery to the first (Right) or the last (Left).
        const bool right = event->key() == Qt::Key_Right;
        const QVector<CPlayWidget*> tiles = shownTiles();
        const int at = tiles.indexOf(tileWithKeyboard());
        const int to = at >= 0 ? at + (right ? 1 : -1) : (right ? 0 : tiles.size() - 1);
        if (CPlayWidget* t = tiles.value(to))
            t->setFocus(Qt::OtherFocusReason);
        return true;
    }
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space: {
        auto* ctrl = qobject_cast<QMyPageCtrl*>(fw);
        if (!ctrl || ctrl->parentWidget() != this)
            return false;
        onClickPageCtl(ctrl);
        return true;
    }
    default:
        return false;
    }
}

void QDlgScreen::leaveKeyboard()
{
    // Where Tab goes after the gallery; with nothing there, nowhere.
    QWidget* last = m_tabChain.isEmpty() ? this : m_tabChain.last();
    for (QWidget* w = last->nextInFocusChain(); w && w != last; w = w->nextInFocusChain()) {
        if (w != this && !isAncestorOf(w) && w->window() == window() && (w->focusPolicy() & Qt::TabFocus)
            && w->isVisible() && w->isEnabled()) {
            w->setFocus(Qt::TabFocusReason);
            return;
        }
    }
    if (QWidget* fw = window()->focusWidget())
        fw->clearFocus();
}

void QDlgScreen::focusInEvent(QFocusEvent* event)
{
    // No repaint of the gallery (the base handler's): it draws no focus of
    // its own. Tab into the gallery goes on to its first tile, Shift+Tab out
    // of its first tile goes on past it.
    const Qt::FocusReason reason = event->reason();
    if (m_bFocusForwarding || (reason != Qt::TabFocusReason && reason != Qt::BacktabFocusReason))
        return;
    m_bFocusForwarding = true;
    focusNextPrevChild(reason == Qt::TabFocusReason);
    m_bFocusForwarding = false;
}

bool QDlgScreen::focusNextPrevChild(bool next)
{
    // A relayout that hides the tile with the keyboard would have Qt hand
    // the keyboard to the next widget in the chain at once; the end of the
    // relayout chooses instead (endAccessPass).
    if (m_access.depth > 0)
        return true;
    return QDialog::focusNextPrevChild(next);
}

void QDlgScreen::beginAccessPass()
{
    if (m_access.depth++ > 0)
        return;
    QWidget* fw = window()->focusWidget();
    m_access.inGallery = fw && (fw == this || isAncestorOf(fw));
    m_access.focus = fw;
    CPlayWidget* tile = m_access.inGallery ? tileWithKeyboard() : nullptr;
    m_access.person = tile ? tile->personInfo() : nullptr;
    m_access.serial = m_access.person ? m_access.person->serial : 0;
    m_access.shown.clear();
    if (m_access.inGallery) {
        for (CPlayWidget* t : shownTiles())
            m_access.shown.append(t->personInfo());
    }
}

void QDlgScreen::endAccessPass()
{
    if (--m_access.depth > 0)
        return;
    placeTilesForReaders();
    updateTabChain();
    const int mode = curMode();
    CPlayWidget* stage = IsFocusMode(mode) ? m_pFocusPlayWidget : mode == 9 ? m_pMaxPlayWnd : nullptr;
    const tagPersonInfo* onStage = stage && stage->isVisibleTo(this) ? stage->personInfo() : nullptr;
    const bool stageChanged = onStage && onStage != m_pStagePerson;
    m_pStagePerson = onStage;
    if (!m_access.inGallery)
        return;

    // Where the keyboard goes: to the new stage when it changed; else it
    // stays with its participant while shown; else (its participant or the
    // control it was on went) to the first tile that came with the pass.
    QWidget* fw = m_access.focus;
    tagPersonInfo* person = isCurrentPerson(m_access.person, m_access.serial) ? m_access.person : nullptr;
    const QVector<CPlayWidget*> tiles = shownTiles();
    CPlayWidget* target = stageChanged ? stage : nullptr;
    for (CPlayWidget* t : tiles) {
        if (!target && person && t->personInfo() == person)
            target = t;
    }
    if (target && fw && (target == fw || target->isAncestorOf(fw)) && target->personInfo() == m_access.person)
        return; // where it was, with whom it was
    if (!target && !m_access.person && fw && fw->isVisible())
        return; // the gallery itself, or a control still shown
    for (CPlayWidget* t : tiles) {
        if (!target && !m_access.shown.contains(t->personInfo()))
            target = t;
    }
    if (!target)
        target = tiles.value(0);
    if (!target) {
        setFocus(Qt::OtherFocusReason);
        return;
    }
    // The tile kept the keyboard but shows someone else now: Qt sends no
    // focus event, and a screen reader would not say who it is.
    const bool kept = target->hasFocus();
    target->setFocus(Qt::OtherFocusReason);
    if (kept) {
        QAccessibleEvent event(target, QAccessible::Focus);
        QAccessible::updateAccessibility(&event);
    }
}

void QDlgScreen::placeTilesForReaders()
{
    const int mode = curMode();
    const int n = m_vecPerson.size();
    const bool paged = mode == 1 || (mode >= 5 && mode <= 8);
    const int pages = paged ? kxpaging::pageCount(mode, n) : 1;
    CPlayWidget* stage = IsFocusMode(mode) ? m_pFocusPlayWidget : mode == 9 ? m_pMaxPlayWnd : nullptr;
    QVector<CPlayWidget*> tiles;
    for (auto it = m_mapPlay.constBegin(); it != m_mapPlay.constEnd(); ++it)
        tiles.append(it.key());
    tiles.append(m_pFocusPlayWidget);
    for (int i = 0; m_pPicInPic->tile(i); ++i)
        tiles.append(m_pPicInPic->tile(i));
    if (m_pExtScreen)
        tiles.append(m_pExtScreen->tile());
    // Places in the display order of the participants on show: one walk of
    // the roster, over when all are found (early, for the first pages).
    QHash<const tagPersonInfo*, int> position;
    for (CPlayWidget* t : qAsConst(tiles)) {
        if (t->personInfo() && !t->isHidden())
            position.insert(t->personInfo(), 0);
    }
    for (int i = 0, wanted = position.size(); i < n && wanted > 0; ++i) {
        auto it = position.find(m_vecPerson.at(i));
        if (it != position.end() && it.value() == 0) {
            it.value() = i + 1;
            --wanted;
        }
    }
    for (CPlayWidget* t : qAsConst(tiles)) {
        tagPersonInfo* p = t->personInfo();
        kxaccess::TilePlace place;
        if (p && !t->isHidden()) {
            place.position = position.value(p);
            place.count = n;
            // The stage stands apart from the pages; the windows' tiles have
            // no page of the gallery.
            place.stage = t == stage;
            if (t->parentWidget() == this && !place.stage && pages > 1) {
                place.page = m_iPageIdx + 1;
                place.pages = pages;
            }
        }
        t->playInfo()->setPlace(place, p);
    }
}

void QDlgScreen::updateTabChain()
{
    // Each visible tile, then its controls, then the page controls. Hidden
    // widgets stay in the chain, skipped by Tab; the order is set again only
    // when it changed.
    QVector<QWidget*> chain;
    for (QWidget* w : kxaccessible::readingChildren(this)) {
        if (auto* t = qobject_cast<CPlayWidget*>(w)) {
            chain.append(t);
            QDlgPlayInfo* info = t->playInfo();
            chain << info->micButton() << info->moreButton() << info->recallButton();
        } else if (w->focusPolicy() & Qt::TabFocus) {
            chain.append(w);
        }
    }
    if (chain == m_tabChain)
        return;
    m_tabChain = chain;
    QWidget* prev = this;
    for (QWidget* w : qAsConst(chain)) {
        setTabOrder(prev, w);
        prev = w;
    }
}
