// Pages and the eight page controls.
#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "modulelog.h"
#include "pagingrules.h"
#include "qkxscreenconfig.h"
#include "qmypagectrl.h"

namespace {
// Page turns closer together than this are one turn (a wheel notch often
// arrives as several events).
constexpr qint64 kPageTurnDebounceMs = 80;
} // namespace

bool QDlgScreen::nextPage()
{
    if (Is6CurOr8CurMode())
        return false;
    if (m_timePageTurn.isValid() && m_timePageTurn.elapsed() < kPageTurnDebounceMs)
        return false;
    m_timePageTurn.start();
    const int pages = kxpaging::pageCount(curMode(), m_vecPerson.size());
    if (m_iPageIdx + 1 >= pages)
        return true;
    resetStreamTick();
    ++m_iPageIdx;
    reposPlayWnd();
    return true;
}

bool QDlgScreen::prevPage()
{
    if (Is6CurOr8CurMode())
        return false;
    if (m_timePageTurn.isValid() && m_timePageTurn.elapsed() < kPageTurnDebounceMs)
        return false;
    m_timePageTurn.start();
    --m_iPageIdx;
    if (m_iPageIdx >= 0) {
        resetStreamTick();
        reposPlayWnd();
    } else {
        m_iPageIdx = 0;
    }
    return true;
}

int QDlgScreen::shownPageCount() const
{
    // Full screen without its tile is laid out as the grid.
    const int mode = kxpaging::normalizedMode(curMode());
    return kxpaging::shownPageCount(mode == 9 && !m_pMaxPlayWnd ? 1 : mode, m_vecPerson.size());
}

int QDlgScreen::shownPage() const
{
    // The layouts that do not page keep whatever index the grid left.
    return qMin(m_iPageIdx, shownPageCount() - 1);
}

int QDlgScreen::setPage(int page)
{
    // The way of the page controls (the order-check window starts again, the
    // relayout asks for the page's streams and resumes its video, the rest
    // stops five seconds later), without their debounce: that one is for
    // wheel notches, a host's request is deliberate. The speaker layouts may
    // take the index back when the strip has nobody for it.
    const int target = qBound(0, page, shownPageCount() - 1);
    if (target != m_iPageIdx) {
        resetStreamTick();
        m_iPageIdx = target;
        reposPlayWnd();
    }
    return shownPage();
}

void QDlgScreen::onClickPageCtl(QWidget* ctrl)
{
    if (!ctrl)
        return;
    if (ctrl == m_pPagePre || ctrl == m_pStripPre || ctrl == m_pPageUp) {
        prevPage();
    } else if (ctrl == m_pPageNext || ctrl == m_pStripNext || ctrl == m_pPageDown) {
        nextPage();
    } else if (ctrl == m_pCtrlLShow) {
        m_bStripHidden = false;
        reposPlayWnd();
    } else if (ctrl == m_pCtrlRHide) {
        m_bStripHidden = true;
        reposPlayWnd();
    }
}

void QDlgScreen::testPrevPageForDelPerson()
{
    m_iPageIdx = kxpaging::pageAfterDelete(m_iPageIdx, m_vecPerson.size());
}

unsigned QDlgScreen::pageCtrlBit(const QWidget* ctrl) const
{
    for (int i = 0; i < 8; ++i) {
        if (pageCtrl(i) == ctrl)
            return 1u << i;
    }
    return 0;
}

void QDlgScreen::beginPassSweep()
{
    m_bInPassSweep = true;
    m_uPageCtrlShown = 0;
    m_raisedInPass.clear();
    for (int i = 0; i < 8; ++i) {
        if (pageCtrl(i) && pageCtrl(i)->isVisible())
            m_uPageCtrlShown |= 1u << i;
    }
}

void QDlgScreen::raiseInPass(QWidget* w)
{
    if (m_bInPassSweep)
        m_raisedInPass.append(w);
    else
        w->raise();
}

void QDlgScreen::endPassSweep()
{
    m_bInPassSweep = false;
    for (int i = 0; i < 8; ++i) {
        if (pageCtrl(i) && !(m_uPageCtrlShown & (1u << i)))
            pageCtrl(i)->hide();
    }
    // Each raise moves a widget to the top of its siblings. The pass raises
    // the same widgets in the same order on every relayout: when the
    // siblings already stand in the order those raises would leave, raising
    // again would only repaint them. Otherwise the raises are made as the
    // pass asked for them.
    QList<QObject*> order = children();
    for (QWidget* w : qAsConst(m_raisedInPass)) {
        order.removeOne(w);
        order.append(w);
    }
    if (order != children()) {
        for (QWidget* w : qAsConst(m_raisedInPass))
            w->raise();
    }
    m_raisedInPass.clear();
}

void QDlgScreen::testShowPageButton(const QRect* rcSmall)
{
    QMyPageCtrl* all[] = {m_pPagePre, m_pPageNext, m_pStripPre, m_pStripNext,
                          m_pPageDown, m_pPageUp, m_pCtrlRHide, m_pCtrlLShow};
    for (QMyPageCtrl* c : all) {
        if (!c)
            continue;
        // During a relayout the hiding waits for its end (reposPlayWnd), and
        // then spares the controls shown again meanwhile: hiding and showing
        // a control repainted it and asked the window system where the
        // cursor is, on every relayout.
        if (m_bInPassSweep)
            m_uPageCtrlShown &= ~pageCtrlBit(c);
        else
            c->hide();
    }
    if (!m_pPagePre || !m_pPageNext || !m_pStripPre || !m_pStripNext || !m_pPageDown || !m_pPageUp
        || !m_pCtrlRHide || !m_pCtrlLShow)
        return;

    const int mode = curMode();
    const int n = m_vecPerson.size();
    const int W = width();
    const int H = height();
    const int rh = rcSmall ? rcSmall->height() : 0;
    const kxpaging::PageButtons show =
        kxpaging::visibleButtons(mode, n, m_iPageIdx, m_bStripHidden, rcSmall != nullptr);

    auto showRaise = [this](QWidget* w, bool b) {
        if (b) {
            w->show();
            raiseInPass(w);
            m_uPageCtrlShown |= pageCtrlBit(w);
        }
    };

    if (mode == 1) {
        // Positions come from the resize handler.
        showRaise(m_pPagePre, show.pagePre);
        showRaise(m_pPageNext, show.pageNext);
        return;
    }
    if (!rcSmall)
        return;
    switch (mode) {
    case 5:
        // Down is aligned by the width of Up, not its own.
        m_pPageUp->move(W - m_pPageUp->width(), (rh - m_pPageUp->height()) / 2);
        m_pPageDown->move(W - m_pPageUp->width(), H - rh / 2 - m_pPageDown->height() / 2);
        if (show.ctrlRHide) {
            m_pCtrlRHide->move(m_pFocusPlayWidget->x() + m_pFocusPlayWidget->width() - m_pCtrlRHide->width(),
                               (H - m_pCtrlRHide->height()) / 2);
            KXLOG << "m_pCtrlRHide->pos:" << m_pCtrlRHide->pos() << ",focusPos:" << m_pFocusPlayWidget->pos()
                  << ",focusWidth:" << m_pFocusPlayWidget->width();
        }
        showRaise(m_pCtrlRHide, show.ctrlRHide);
        showRaise(m_pCtrlLShow, show.ctrlLShow);
        showRaise(m_pPageUp, show.pageUp);
        showRaise(m_pPageDown, show.pageDown);
        break;
    case 6:
        m_pStripPre->move(0, (H - rh) + (rh - m_pStripPre->height()) / 2);
        m_pStripNext->move(W - m_pStripNext->width(), (H - rh) + (rh - m_pStripNext->height()) / 2);
        showRaise(m_pStripPre, show.stripPre);
        showRaise(m_pStripNext, show.stripNext);
        break;
    case 7:
        m_pStripPre->move(0, (rh - m_pStripPre->height()) / 2);
        m_pStripNext->move(W - m_pStripNext->width(), (rh - m_pStripNext->height()) / 2);
        showRaise(m_pStripPre, show.stripPre);
        showRaise(m_pStripNext, show.stripNext);
        break;
    case 8:
        m_pStripPre->move(0, rcSmall->top() + (rh - m_pStripPre->height()) / 2);
        m_pStripNext->move(W - m_pStripNext->width(), rcSmall->top() + (rh - m_pStripNext->height()) / 2);
        showRaise(m_pStripPre, show.stripPre);
        showRaise(m_pStripNext, show.stripNext);
        break;
    default:
        break;
    }
}
