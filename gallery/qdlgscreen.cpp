#include "qdlgscreen.h"

#include "cplaywidget.h"
#include "kxsync.h"
#include "modulelog.h"
#include "pagingrules.h"
#include "personinfo.h"
#include "qdlgpicinpic.h"
#include "qkxscreenconfig.h"
#include "qmypagectrl.h"
#include "subtitleband.h"
#include "subtitleplacement.h"

#include <QCloseEvent>
#include <QKeyEvent>
#include <QLabel>
#include <QResizeEvent>
#include <QTimer>
#include <QWheelEvent>
#include <limits>

// The controller's form: its object name and start size. The tiles and the
// page controls are made in code because their number and images are fixed.
struct QDlgScreen::Form
{
    void setupUi(QDialog* dlg)
    {
        if (dlg->objectName().isEmpty())
            dlg->setObjectName(QStringLiteral("QDlgScreen"));
        dlg->resize(200, 200);
    }
};

QDlgScreen::QDlgScreen(QWidget* parent)
    : QDialog(parent)
    , ui(new Form)
    , m_minJoinTime(std::numeric_limits<qint64>::max())
    , m_maxJoinTime(0)
{
    ui->setupUi(this);
    m_pPicInPic = new QDlgPicInPic(this);
    // The host holds the window too (GetPicInPicWidgetPtr) and may show, hide
    // or move it itself: the filter keeps the video bookkeeping right.
    m_pPicInPic->installEventFilter(this);
    m_pWhiteBoard = new QLabel(this);
    m_pWhiteBoard->setObjectName(QStringLiteral("whiteBoardArea"));
    m_pWhiteBoard->setAlignment(Qt::AlignHCenter | Qt::AlignBottom);
    m_pWhiteBoard->setStyleSheet(QStringLiteral("QLabel#whiteBoardArea{background-color:#F4F4F2;color:#55585E;padding-bottom:12px;}"));
    m_pWhiteBoard->hide();
    InitPlayWidget();
    setWindowFlags(Qt::FramelessWindowHint | Qt::Widget);
    setFocusPolicy(Qt::StrongFocus);

    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const QString dir = cfg->m_qstrImgDir;
    m_pPageNext = new QMyPageCtrl(dir + QStringLiteral("pageNext.svg"), this);
    m_pStripNext = new QMyPageCtrl(dir + QStringLiteral("pageNext.svg"), this);
    m_pPagePre = new QMyPageCtrl(dir + QStringLiteral("pagePre.svg"), this);
    m_pStripPre = new QMyPageCtrl(dir + QStringLiteral("pagePre.svg"), this);
    m_pPageDown = new QMyPageCtrl(dir + QStringLiteral("pageDown.svg"), this);
    m_pPageUp = new QMyPageCtrl(dir + QStringLiteral("pageUp.svg"), this);
    m_pCtrlLShow = new QMyPageCtrl(dir + (cfg->m_bNewIcon ? QStringLiteral("leftShow-2x_new.svg")
                                                          : QStringLiteral("leftShow-2x.png")), this);
    m_pCtrlRHide = new QMyPageCtrl(dir + (cfg->m_bNewIcon ? QStringLiteral("rightHide-2x_new.svg")
                                                          : QStringLiteral("rightHide-2x.png")), this);
    connect(cfg, SIGNAL(clickPageCtl(QWidget*)), this, SLOT(onClickPageCtl(QWidget*)));
    m_pSubtitleBand = new SubtitleBand(this);
    m_pSubtitleBand->setOpen(cfg->m_bSubtitleOpen);

    // Every export that changes the gallery reaches it through these: direct
    // when the host calls on the interface thread, queued from any other.
    connect(cfg, &QKXScreenConfig::modSignalMove, this, &QDlgScreen::onModMove);
    connect(cfg, &QKXScreenConfig::modSignalAllLook, this, &QDlgScreen::onModAllLook);
    connect(cfg, &QKXScreenConfig::modSignalLookLock, this, &QDlgScreen::onModLookLock);
    connect(cfg, &QKXScreenConfig::modSignalPreviewMute, this, &QDlgScreen::onModPreview);
    connect(cfg, &QKXScreenConfig::modSignalDelPerson, this, &QDlgScreen::onModDelPerson);
    connect(cfg, &QKXScreenConfig::modSignalMeetingMode, this, &QDlgScreen::onMeetingMode);
    connect(cfg, &QKXScreenConfig::modSignalScreenToolbar, this, &QDlgScreen::onModScreenToolbar);
    connect(cfg, &QKXScreenConfig::modSignalAudioMute, this, &QDlgScreen::onModAudioMute);
    connect(cfg, &QKXScreenConfig::modSignalPersonInfo, this, &QDlgScreen::onModPersonInfo);
    connect(cfg, &QKXScreenConfig::modSignalVolume, this, &QDlgScreen::onModVolume);
    connect(cfg, &QKXScreenConfig::modSignalAddPerson, this, &QDlgScreen::onModAddPerson);
    // The frame path emits this from the interface thread only, on the turn
    // after the frame (see playFrame).
    connect(cfg, &QKXScreenConfig::playFrameUpdateUI, this, &QDlgScreen::onPlayFrameUpdateUI);
    connect(cfg, &QKXScreenConfig::modSignalFocusByUserID, this, &QDlgScreen::onModFocusByUserID);
    connect(cfg, &QKXScreenConfig::modSignalSwitchMode, this, &QDlgScreen::onModSwitchMode);
    connect(cfg, &QKXScreenConfig::notifyUpdatePersonInfo, this, &QDlgScreen::onNotifyUpdateUserInfo);
    connect(cfg, &QKXScreenConfig::modSignalMoreInHide, this, &QDlgScreen::onModMoreInHide);
    connect(cfg, &QKXScreenConfig::modSignalSetScreenMode, this, &QDlgScreen::onModSetScreenMode);
    connect(cfg, &QKXScreenConfig::modSignalJoinMeetingFinish, this, &QDlgScreen::onModJoinMeetingFinish);
    connect(cfg, &QKXScreenConfig::notifyClickExtPlayWidget, this, &QDlgScreen::onNotifyClickExtPlayWidget);
    connect(cfg, &QKXScreenConfig::notifyPicInPicOne, this, &QDlgScreen::onSetPicInPicOne);
    connect(cfg, &QKXScreenConfig::notifyPicInPicMutil, this, &QDlgScreen::onSetPicInPicMutil);
    connect(cfg, &QKXScreenConfig::notifyPicInPicChangePage, this, &QDlgScreen::onPicInPicChangePage);
    connect(cfg, &QKXScreenConfig::notifyClickPicInPicPlayWidget, this, &QDlgScreen::onClickPicInPicPlayWidget);
    connect(cfg, &QKXScreenConfig::modSignalVoiceActivate, this, &QDlgScreen::onModVoiceActivate);
    connect(cfg, &QKXScreenConfig::modSignalCancelVoiceActivate, this, &QDlgScreen::onModCancelVoiceActivate);
    connect(cfg, &QKXScreenConfig::modSignalSetSpeakList, this, &QDlgScreen::onModSetSpeakList);
    connect(cfg, &QKXScreenConfig::notifyClickAudioCtrl, this, &QDlgScreen::onClickAudioCtl);
    connect(cfg, &QKXScreenConfig::notifyClickMore, this, &QDlgScreen::onClickMore);
    // Exports whose slots the table above does not name.
    connect(cfg, &QKXScreenConfig::modSignalHasMic, this, &QDlgScreen::onModHasMic);
    connect(cfg, &QKXScreenConfig::notifyRecallPerson, this, &QDlgScreen::onRecallPerson);
    connect(cfg, &QKXScreenConfig::modSignalSetSharePause, this, &QDlgScreen::onModSetSharePause);
    connect(cfg, &QKXScreenConfig::modSignalPrimaryScreenChanged, this, &QDlgScreen::onModPrimaryScreenChanged);
    connect(cfg, &QKXScreenConfig::modSignalStartLocalShare, this, &QDlgScreen::onModStartLocalShare);
    connect(cfg, &QKXScreenConfig::modSignalStopLoaclShare, this, &QDlgScreen::onModStopLocalShare);
    connect(cfg, &QKXScreenConfig::modSignalSetShareWatermark, this, &QDlgScreen::onModSetShareWatermark);
    connect(cfg, &QKXScreenConfig::modSignalShareWhiteBoard, this, &QDlgScreen::onModShareWhiteBoard);
    connect(cfg, &QKXScreenConfig::modSignalReposShareWgtPos, this, &QDlgScreen::onModReposShareWgtPos);
    connect(cfg, &QKXScreenConfig::modSignalUpdateNetWeak, this, &QDlgScreen::onModUpdateNetWeak);
    connect(cfg, &QKXScreenConfig::modSignalAddSubtitle, this, &QDlgScreen::onModAddSubtitle);
    connect(cfg, &QKXScreenConfig::modSignalClearSubtitles, this, &QDlgScreen::onModClearSubtitles);
    connect(cfg, &QKXScreenConfig::modSignalOpenSubtitle, this, &QDlgScreen::onModOpenSubtitle);
    connect(cfg, &QKXScreenConfig::modSignalMeetingRoomMinimized, this, &QDlgScreen::onModMeetingRoomMinimized);

    m_pSpeakerTimer = new QTimer(this);
    m_pSpeakerTimer->setSingleShot(true);
    connect(m_pSpeakerTimer, &QTimer::timeout, this, &QDlgScreen::onSpeakerTick);
    m_speakerClock.start();

    initModSlotMap();
    m_minJoinTime = std::numeric_limits<qint64>::max();
    m_maxJoinTime = 0;
}

QDlgScreen::~QDlgScreen()
{
    if (m_iCheckTimerId)
        killTimer(m_iCheckTimerId);
    m_iCheckTimerId = 0;
    if (m_iVideoMuteTimerId)
        killTimer(m_iVideoMuteTimerId);
    m_iVideoMuteTimerId = 0;
    releasePlayWidget();
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    // Drop the configuration's references to our widgets.
    if (cfg->m_pFocusPlayWidget == m_pFocusPlayWidget)
        cfg->m_pFocusPlayWidget = nullptr;
    cfg->m_pMaxPlayWidget = nullptr;
    cfg->m_pSecondBigPlayWidget = nullptr;
    cfg->m_pBigPlayWidget = nullptr;
    // Its tiles' records go with the gallery; the filter must not see the
    // window's last events after this point.
    m_pPicInPic->removeEventFilter(this);
    delete m_pPicInPic;
    m_pPicInPic = nullptr;
    delete ui;
}

void QDlgScreen::InitPlayWidget()
{
    for (int i = 0; i < 8; ++i) {
        auto* tile = new CPlayWidget(this);
        m_mapPlay.insert(tile, nullptr);
        connect(tile, &CPlayWidget::mouseLDClick, this, &QDlgScreen::onLeftBtnDBClick);
        connect(tile, &CPlayWidget::notifyPlayStatusChange, this, &QDlgScreen::onPlayStatusChange);
        connect(tile, &CPlayWidget::mouseLClick, this, &QDlgScreen::onPlayWidgetLBtnClick);
    }
    m_pFocusPlayWidget = new CPlayWidget(this);
    m_pFocusPlayWidget->setFocusTile(true);
    connect(m_pFocusPlayWidget, &CPlayWidget::mouseLDClick, this, &QDlgScreen::onLeftBtnDBClick);
    connect(m_pFocusPlayWidget, &CPlayWidget::notifyPlayStatusChange, this, &QDlgScreen::onPlayStatusChange);
    connect(m_pFocusPlayWidget, &CPlayWidget::mouseLClick, this, &QDlgScreen::onPlayWidgetLBtnClick);
    QKXScreenConfig::getInstance()->m_pFocusPlayWidget = m_pFocusPlayWidget;
    // Queued: a reordering runs after the current event, never nested inside
    // the code that asked for it (which may still hold records the relayout's
    // notifications let the host remove).
    connect(QKXScreenConfig::getInstance(), &QKXScreenConfig::notifyDisplayOrder, this, &QDlgScreen::onDisplayOrder,
            Qt::QueuedConnection);
}

void QDlgScreen::initModSlotMap()
{
    // The layout pass of each mode; reposPlayWnd dispatches through it.
    m_mapModeSlot.insert(1, &QDlgScreen::reLayoutEqualCut);
    m_mapModeSlot.insert(2, &QDlgScreen::reLayout6Cut);
    m_mapModeSlot.insert(3, &QDlgScreen::reLayout8Cut);
    m_mapModeSlot.insert(4, &QDlgScreen::reLayoutPicinPic);
    m_mapModeSlot.insert(8, &QDlgScreen::reLayoutSpeaker4);
    m_mapModeSlot.insert(9, &QDlgScreen::reposMeetingSignalFull);
}

QMyPageCtrl* QDlgScreen::pageCtrl(int index) const
{
    switch (index) {
    case 0: return m_pPageNext;
    case 1: return m_pStripNext;
    case 2: return m_pPagePre;
    case 3: return m_pStripPre;
    case 4: return m_pPageDown;
    case 5: return m_pPageUp;
    case 6: return m_pCtrlLShow;
    case 7: return m_pCtrlRHide;
    default: return nullptr;
    }
}

bool QDlgScreen::event(QEvent* e)
{
    // Work posted from a host thread (kxsync::post) runs here.
    return kxsync::handle(e) || QDialog::event(e);
}

void QDlgScreen::timerEvent(QTimerEvent* event)
{
    const int id = event->timerId();
    if (id == 0)
        return;
    if (id == m_iCheckTimerId) {
        onCheckTimer();
    } else if (id == m_iVideoMuteTimerId) {
        onVideoMuteTimer();
    }
    // Any other id is a check timer orphaned by resetAll: it keeps ticking and
    // is ignored until the controller goes away.
}

void QDlgScreen::resizeEvent(QResizeEvent* event)
{
    const int W = width();
    const int H = height();
    const int m = QKXScreenConfig::getInstance()->dpiScale(24);
    if (m_pPagePre)
        m_pPagePre->move(m, (H - m_pPagePre->height()) / 2);
    if (m_pPageNext)
        m_pPageNext->move(W - m_pPageNext->width() - m, (H - (m_pPagePre ? m_pPagePre->height() : 0)) / 2);
    if (m_pCtrlLShow)
        m_pCtrlLShow->move(W - m_pCtrlLShow->width(), (H - m_pCtrlLShow->height()) / 2);
    if (m_pCtrlRHide)
        m_pCtrlRHide->move(W - m_pCtrlRHide->width() - W / 6 + 2, (H - m_pCtrlRHide->height()) / 2);
    reposPlayWnd();
    QKXScreenConfig::getInstance()->m_rcDest = geometry();
    QDialog::resizeEvent(event);
}

void QDlgScreen::keyPressEvent(QKeyEvent* event)
{
    onKey(event->key());
}

void QDlgScreen::onKey(int key)
{
    // Up turns to the next page, Down to the previous one.
    if (key == Qt::Key_Up)
        nextPage();
    else if (key == Qt::Key_Down)
        prevPage();
}

void QDlgScreen::wheelEvent(QWheelEvent* event)
{
    const int turn = kxpaging::wheelPageTurn(event->angleDelta());
    if (turn > 0)
        nextPage();
    else if (turn < 0)
        prevPage();
    event->accept();
}

void QDlgScreen::onWheel(int delta)
{
    if (delta >= 1)
        prevPage();
    else if (delta < 0)
        nextPage();
}

void QDlgScreen::closeEvent(QCloseEvent* event)
{
    // The gallery goes away with its main dialog only.
    event->ignore();
}

void QDlgScreen::onModMove(QRect rect, int flags)
{
    QWidget* dlg = parentWidget();
    if (!dlg)
        return;
    KXLOG << "onModMove rect:" << rect << ",flags:" << flags;
    dlg->setGeometry(rect);
    if (flags == 1) {
        dlg->hide();
    } else {
        dlg->show();
        if (flags == 2)
            dlg->raise();
    }
}

void QDlgScreen::onModScreenToolbar(QRect rect, bool bShow)
{
    KXLOG << "onModScreenToolbar rect:" << rect << ",bShow:" << bShow;
}

void QDlgScreen::onModJoinMeetingFinish()
{
    setJoinMeetingFinish();
}

void QDlgScreen::onModAddSubtitle(int iType, int iIndex, QString name, QString text)
{
    m_pSubtitleBand->addSentence(iType, iIndex, name, text);
}

void QDlgScreen::onModClearSubtitles()
{
    m_pSubtitleBand->clear();
}

void QDlgScreen::onModOpenSubtitle(bool bOpen)
{
    QKXScreenConfig::getInstance()->m_bSubtitleOpen = bOpen;
    m_pSubtitleBand->setOpen(bOpen);
}

QStringList QDlgScreen::subtitles() const
{
    QStringList lines;
    for (const kxsubtitle::SentenceStore::Sentence& s : m_pSubtitleBand->store().sentences())
        lines.append(s.name + QStringLiteral(": ") + s.text);
    return lines;
}

void QDlgScreen::placeSubtitleBand()
{
    kxsubtitle::GalleryState g;
    g.mode = QKXScreenConfig::getInstance()->curScreenMode();
    // Full screen without its tile falls back to the equal-cut pass.
    if (g.mode == 9 && !m_pMaxPlayWnd)
        g.mode = 1;
    g.W = width();
    g.H = height();
    g.n = m_vecPerson.size();
    g.pageIdx = m_iPageIdx;
    g.stripHidden = m_bStripHidden;
    for (int i = 0; pageCtrl(i); ++i) {
        if (pageCtrl(i)->isVisibleTo(this))
            g.controls.append(pageCtrl(i)->geometry());
    }
    m_pSubtitleBand->setArea(kxsubtitle::bandArea(g));
}
