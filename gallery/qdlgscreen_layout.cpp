// Layout passes and mode switching. The rectangles come from the pure
// geometry functions; the passes bind participants to tiles and apply them.
#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "layoutgeometry.h"
#include "modulelog.h"
#include "netweakloading.h"
#include "pagingrules.h"
#include "personinfo.h"
#include "qdlgpicinpic.h"
#include "qdlgplayinfo.h"
#include "qkxscreenconfig.h"

#include <QLabel>

bool QDlgScreen::IsFocusMode(int mode)
{
    return kxpaging::isFocusMode(mode);
}

bool QDlgScreen::Is6CurOr8CurMode() const
{
    return kxpaging::is6CutOr8CutMode(curMode());
}

void QDlgScreen::hideAllPlayWnd()
{
    for (auto it = m_mapPlay.constBegin(); it != m_mapPlay.constEnd(); ++it)
        it.key()->hide();
    if (m_pFocusPlayWidget)
        m_pFocusPlayWidget->hide();
}

CPlayWidget* QDlgScreen::getCurSelPlayWidgetPtr()
{
    if (!m_pCurSelPlayWidget && !m_mapPlay.isEmpty())
        m_pCurSelPlayWidget = m_mapPlay.firstKey();
    return m_pCurSelPlayWidget;
}

bool QDlgScreen::setMeetingMode(int mode)
{
    KXLOG << "[ScreenMod]setMeetingMode:" << mode << m_layouts.home();
    if (curMode() == 9 && mode != 9) {
        // Whatever leaves the full view ends it.
        m_pMaxPlayWnd = nullptr;
        m_layouts.end(LayoutMemory::FullView);
    }
    if (!getCurSelPlayWidgetPtr())
        return false;
    setCurMode(mode);
    if (mode != 9) {
        KXLOG << "notifyDisplayOrder";
        emit notifyDisplayOrder(false);
    } else {
        reposPlayWnd();
    }
    return true;
}

void QDlgScreen::onMeetingMode(int mode)
{
    // The host's choice holds now and is the layout to come back to when
    // whatever is under way (a share, a look) ends.
    m_layouts.choose(mode);
    m_iPageIdx = 0;
    setMeetingMode(mode);
    if (mode == 1 && m_pAllLookPerson && m_pAllLookPerson->pWidget)
        m_pAllLookPerson->pWidget->playInfo()->refreshDisplay();
}

void QDlgScreen::onModSetScreenMode(int mode)
{
    // The host's choice. A value that is no layout is shown as the grid and
    // reported as such; the layout is applied before the export returns
    // (the reordering follows on the next turn), also before the local user
    // has finished joining; and a gallery made later starts in it.
    if (mode < 1 || mode > 9) {
        KXWARN << "[ScreenMod]KXScreen_SetCurMode:" << mode << "is not a layout (1 to 9), the grid is shown";
        mode = 1;
    }
    QKXScreenConfig::getInstance()->setStartMode(mode);
    onMeetingMode(mode);
    if (mode != 9)
        reposPlayWnd();
}

void QDlgScreen::onModSwitchMode()
{
    if (m_vecPerson.size() <= 1) {
        KXLOG << "onModSwitchMode,vecPerson.size()<=1";
        return;
    }
    const int cur = curMode();
    int next;
    if (cur == 1) {
        next = 5;
    } else if (cur == 5) {
        next = 1;
    } else {
        // Back to the layout to return to, never to full screen; from that
        // layout itself, to the grid.
        next = m_layouts.home() == 9 ? 5 : m_layouts.home();
        if (next == cur)
            next = 1;
    }
    onMeetingMode(next);
}

QVector<QDlgScreen::TileShowMark> QDlgScreen::markTilesBeforePass() const
{
    QVector<TileShowMark> marks;
    marks.reserve(m_mapPlay.size() + 1);
    for (auto it = m_mapPlay.constBegin(); it != m_mapPlay.constEnd(); ++it)
        marks.append({it.key(), it.key()->showCount(), it.key()->isVisible()});
    if (m_pFocusPlayWidget)
        marks.append({m_pFocusPlayWidget, m_pFocusPlayWidget->showCount(), m_pFocusPlayWidget->isVisible()});
    return marks;
}

void QDlgScreen::hideTilesNotShownByPass(const QVector<TileShowMark>& marks)
{
    for (const TileShowMark& m : marks) {
        if (m.tile->showCount() == m.showCount) {
            m.tile->hide();
        } else if (m.wasVisible) {
            // A turning weak-network spinner starts its 15-second budget
            // again whenever its tile is hidden, and every relayout used to
            // hide every tile: a kept tile whose spinner turns is still
            // hidden and shown, so that the spinner lasts as long as before.
            NetWeakLoading* spinner = m.tile->playInfo() ? m.tile->playInfo()->netWeakLoading() : nullptr;
            if (spinner && spinner->isVisible()) {
                m.tile->hide();
                m.tile->show();
            }
        }
    }
}

void QDlgScreen::reposPlayWnd()
{
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    // The tiles are not hidden before the pass any more. The pass shows the
    // tiles it uses (showTile) and the sweep after it hides every other one,
    // so visibility, geometry and bindings end as a pass after hideAllPlayWnd
    // left them, and nothing between here and the sweep asks a tile whether
    // it is visible. A tile that keeps its participant and its place is not
    // touched: hiding and showing it again repainted its picture and its
    // overlay and composed the window, for the same pixels.
    const QVector<TileShowMark> marks = markTilesBeforePass();
    beginAccessPass();
    beginPassSweep();
    int mode = curMode();
    if (mode < 1 || mode > 9) {
        mode = 1;
        setCurMode(1);
    }
    // The floating window and the whiteboard area belong to the stage
    // layouts; a window hidden on request comes back with the next layout.
    if (m_bPicInPicUserHidden && mode != m_iPicInPicHiddenMode)
        m_bPicInPicUserHidden = false;
    if (!usesPicInPic(mode))
        releasePicInPic();
    if (mode != 4)
        m_pWhiteBoard->hide();
    testShowPageButton(nullptr);

    switch (mode) {
    case 9:
        reposMeetingSignalFull();
        break;
    case 5:
    case 6:
    case 7:
        reLayoutSpeaker(mode);
        break;
    case 8:
        reLayoutSpeaker4();
        break;
    case 1:
        reAddFocusPersonToPlayMap();
        reLayoutEqualCut();
        testShowPageButton(nullptr);
        break;
    case 2:
    case 3:
    case 4: {
        if (mode != 4)
            reAddFocusPersonToPlayMap();
        auto pass = m_mapModeSlot.value(mode);
        (this->*pass)();
        break;
    }
    default:
        KXLOG << "[ScreenMod]curScreenMode:" << mode;
        break;
    }
    if (usesPicInPic(mode))
        placePicInPic();
    hideTilesNotShownByPass(marks);
    endPassSweep();
    endAccessPass();

    if (m_pCurSelPlayWidget && !m_pCurSelPlayWidget->isVisible())
        m_pCurSelPlayWidget = nullptr;
    testHideMoreMenu();
    placeSubtitleBand();
    updateExtScreen();
    restartVideoMuteTimer();
    NotifyShareWgtPos();
    CheckShareWgtPosChanged();
    if (m_bPicInPicShownInPass) {
        m_bPicInPicShownInPass = false;
        cfg->notifyHost(26, 0, 0);
    }
    // The gallery is repainted around its tiles. A tile and its overlay
    // repaint themselves when the pass changed them (shown, moved, resized,
    // another participant, another overlay state); repainting them here as
    // well redrew every overlay after each relayout, for the same pixels.
    QRegion around(rect());
    for (const TileShowMark& m : marks) {
        if (m.tile->isVisible())
            around -= m.tile->geometry();
    }
    update(around);
}

void QDlgScreen::reLayoutEqualCut()
{
    const int n = m_vecPerson.size();
    if (n < 1)
        return;
    const int type = getCurPageStreamType();
    // The display-order flag is consumed by exactly one grid pass.
    const bool bOrderFlag = m_bDisplayOrderFlag;
    m_bDisplayOrderFlag = false;
    const int W = width();
    const int H = height();

    auto it = m_mapPlay.begin();
    for (int i = 0; i < 6; ++i) {
        const int k = m_iPageIdx * 6 + i;
        if (it == m_mapPlay.end() || k >= n)
            break;
        tagPersonInfo* person = m_vecPerson.at(k);
        CPlayWidget* tile = it.key();
        if (it.value() != person)
            bindTile(it, person, !bOrderFlag);
        else
            tile->playInfo()->refreshDisplay();
        ++it;
        if (tile) {
            const QRect rc = kxlayout::equalCutRect(W, H, n, i);
            // The tile goes straight to its cell. Passing it through the whole
            // gallery first would be invisible but would reallocate its
            // framebuffer twice on every relayout.
            tile->setGeometry(rc);
            tile->showTile();
            raiseInPass(tile);
            KXLOG << "show playWidget:" << tile << ", rcTmp:" << rc << ", iMeetCount:" << n;
        }
        setPersonStreamType(person, type);
        releasePlayWidgetByPersonInfo(person);
    }
    for (auto m = m_mapPlay.constBegin(); m != m_mapPlay.constEnd(); ++m)
        KXLOG << "m_mapPlay, pWidget:" << m.key() << ",widget rect:" << m.key()->geometry() << ",person:" << m.value();
    resetLastNotUsePlayWidget(it);
    for (tagPersonInfo* p : qAsConst(m_vecPerson))
        KXLOG << "equalCut Mode userName:" << p->userName << ",pWidget:" << p->pWidget;
}

void QDlgScreen::reLayout6Cut()
{
    reLayoutBigAndSmall(6, &kxlayout::sixCutRect, true);
}

void QDlgScreen::reLayout8Cut()
{
    reLayoutBigAndSmall(8, &kxlayout::eightCutRect, false);
}

void QDlgScreen::reLayoutBigAndSmall(int slotCount, QRect (*rectOf)(int, int, int, int, int), bool bSixCut)
{
    const int n = m_vecPerson.size();
    const int W = width();
    const int H = height();
    const bool bOrderFlag = m_bDisplayOrderFlag;
    int type = getCurPageStreamType();
    tagPersonInfo* p = nullptr;
    auto it = m_mapPlay.begin();
    for (int i = 0; i < slotCount; ++i) {
        if (it == m_mapPlay.end())
            break;
        CPlayWidget* tile = nullptr;
        // Pages of six in both: a page index left by another layout is
        // honoured, although these layouts do not page themselves.
        const int k = m_iPageIdx * 6 + i;
        if (k < n) {
            p = m_vecPerson.at(k);
            if (it.value() != p)
                bindTile(it, p, !bOrderFlag);
            else
                it.key()->playInfo()->refreshDisplay();
            tile = it.key();
            ++it;
        }
        if (tile) {
            const QRect rc = rectOf(W, H, n, i, 1);
            type = (i == 0) ? 4 : 2;
            tile->setGeometry(rc);
            tile->showTile();
            if (!bSixCut)
                KXLOG << "show playWidget:" << tile;
        }
        // Past the end of the roster the last participant's type is asked again.
        if (p) {
            if (bSixCut)
                KXLOG << "[ScreenMod]userName:" << p->userName << ",iStreamType:" << type;
            setPersonStreamType(p, type);
            releasePlayWidgetByPersonInfo(p);
        }
    }
    resetLastNotUsePlayWidget(it);
}

void QDlgScreen::getFoucsStartPos(int& start, int& end)
{
    const kxpaging::FocusRange r =
        kxpaging::focusStartPos(m_iPageIdx, m_vecPerson.indexOf(m_pFocusPerson), m_vecPerson.size());
    m_iPageIdx = r.pageIdx;
    start = r.start;
    end = r.end;
}

void QDlgScreen::reLayoutSpeaker(int mode)
{
    if (m_vecPerson.isEmpty())
        return;
    // Focus participant: the big tile.
    if (!bindFocusTile(false, true))
        return;
    setPersonStreamType(m_pFocusPerson, 4);
    releasePlayWidgetByPersonInfo(m_pFocusPerson);

    const int n = m_vecPerson.size();
    const int W = width();
    const int H = height();
    const kxlayout::SpeakerGeometry geo = kxlayout::speakerGeometry(mode, W, H, n, m_bStripHidden);
    if (n <= 1) {
        m_pFocusPlayWidget->setGeometry(geo.single);
        m_pFocusPlayWidget->showTile();
        return;
    }
    m_pFocusPlayWidget->setGeometry(geo.big);
    m_pFocusPlayWidget->showTile();
    KXLOG << "userID:" << m_pFocusPerson->userID << ",userName:" << m_pFocusPerson->userName;
    const QRect rcSmall(0, 0, geo.smallSize.width(), geo.smallSize.height());
    testShowPageButton(&rcSmall);

    int start = 0;
    int end = 0;
    getFoucsStartPos(start, end);
    const int slotCount = end - m_iPageIdx * 6;
    auto it = m_mapPlay.begin();
    int placed = 0;
    int offset = 0;
    int seen = 0;
    while (placed < slotCount) {
        if (it == m_mapPlay.end() || start + offset >= n)
            break;
        tagPersonInfo* p = m_vecPerson.at(start + offset);
        if (p == m_pFocusPerson) {
            ++offset;
            continue;
        }
        if (++seen > 6)
            break;
        if (it.value() != p)
            bindTile(it, p, false);
        CPlayWidget* tile = it.key();
        ++it;
        KXLOG << "[ScreenMod]userName:" << p->userName << ",pPlayWidget:" << tile << p->pWidget;
        setPersonStreamType(p, 2);
        if (tile) {
            const QRect rc = kxlayout::speakerSmallRect(mode, W, H, n, geo, placed);
            tile->setGeometry(rc);
            tile->showTile();
            KXLOG << "xxx userName:" << p->userName << ",rcSmall:" << rc;
        }
        ++offset;
        ++placed;
    }
    resetLastNotUsePlayWidget(it);
}

void QDlgScreen::reLayoutSpeaker4()
{
    if (m_vecPerson.isEmpty())
        return;
    if (!bindFocusTile(true, false))
        return;
    m_pFocusPerson->bFocusMark = true;
    setPersonStreamType(m_pFocusPerson, 4);
    releasePlayWidgetByPersonInfo(m_pFocusPerson);

    const int n = m_vecPerson.size();
    const int W = width();
    const int H = height();
    if (n <= 1) {
        m_pFocusPlayWidget->setGeometry(kxlayout::speaker4Geometry(W, H, n, 0, 0).single);
        m_pFocusPlayWidget->showTile();
        return;
    }

    auto it = m_mapPlay.begin();
    tagPersonInfo* second = m_vecPerson.at(0) == m_pFocusPerson ? m_vecPerson.value(1) : m_vecPerson.at(0);
    CPlayWidget* secondTile = nullptr;
    if (second && it != m_mapPlay.end()) {
        secondTile = it.key();
        second->pWidget = secondTile;
        it.value() = second;
        secondTile->setPersonData(second, false);
        setPersonStreamType(second, 4);
        ++it;
    }
    QVector<tagPersonInfo*> list = m_vecPerson;
    list.removeOne(second);
    list.removeOne(m_pFocusPerson);
    const kxlayout::Speaker4Geometry geo = kxlayout::speaker4Geometry(W, H, n, list.size(), m_iPageIdx);
    m_pFocusPlayWidget->setGeometry(geo.bigLeft);
    m_pFocusPlayWidget->showTile();
    if (secondTile) {
        secondTile->setGeometry(geo.bigRight);
        secondTile->showTile();
    }
    if (n > 2) {
        for (int i = 0; i < 6; ++i) {
            const int k = m_iPageIdx * 6 + i;
            if (it == m_mapPlay.end() || k >= list.size())
                break;
            tagPersonInfo* p = list.at(k);
            bindTile(it, p, false);
            CPlayWidget* tile = it.key();
            ++it;
            setPersonStreamType(p, 2);
            if (tile && i < geo.small.size()) {
                tile->setGeometry(geo.small.at(i));
                tile->showTile();
                raiseInPass(tile);
                KXLOG << "xxx userName:" << p->userName << ",rcSmall:" << geo.small.at(i);
            }
        }
    }
    testShowPageButton(&geo.strip);
    resetLastNotUsePlayWidget(it);
    for (auto m = m_mapPlay.constBegin(); m != m_mapPlay.constEnd(); ++m)
        KXLOG << "pPlayWidget:" << m.key() << ",value:" << m.value();
    for (auto m = m_mapPlay.constBegin(); m != m_mapPlay.constEnd(); ++m) {
        if (m.value() && m.value()->pWidget)
            KXLOG << "[ScreenMod]pPerson:" << m.value() << "pPlayWidget:" << m.value()->pWidget << ",key:" << m.key()
                  << ",userName:" << m.value()->userName;
    }
}

void QDlgScreen::reposMeetingSignalFull()
{
    if (!m_pMaxPlayWnd) {
        reAddFocusPersonToPlayMap();
        reLayoutEqualCut();
        return;
    }
    const QRect rc = kxlayout::make169Rect(QRect(0, 0, width(), height()), rect());
    m_pMaxPlayWnd->setGeometry(rc);
    m_pMaxPlayWnd->showTile();
    tagPersonInfo* p = getPersonInfoByPlayWidgetPtr(m_pMaxPlayWnd);
    if (p) {
        setPersonStreamType(p, 4);
        p->bAttached = true;
    }
    KXLOG << "xxxxxx pPerson,m_pMaxPlayWnd isVisable:" << p << m_pMaxPlayWnd << m_pMaxPlayWnd->isVisible();
}
