#include "qdlgscreen.h"

#include "galleryaccessible.h"

#include "cplaywidget.h"
#include "dlgextscreen.h"
#include "kxsync.h"
#include "modulelog.h"
#include "pagingrules.h"
#include "personinfo.h"
#include "qdlgpicinpic.h"
#include "qdlgplayinfo.h"
#include "qkxscreenconfig.h"
#include "qmypagectrl.h"
#include "sentencestore.h"
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
    // Before any widget of ours exists: Qt keeps the first interface it makes
    // for a widget, and a screen reader that is already listening makes one
    // for every control that gets its name.
    kxaccessible::install();
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
    for (int i = 0; pageCtrl(i); ++i)
        connect(pageCtrl(i), &QMyPageCtrl::clickPageCtl, this, &QDlgScreen::onClickPageCtl);
    m_pSubtitleBand = new SubtitleBand(this);
    m_pSubtitleBand->setOpen(m_bSubtitleOpen);

    // The floating window's controls and tiles report to this gallery only.
    connect(m_pPicInPic, &QDlgPicInPic::notifyPicInPicOne, this, &QDlgScreen::onSetPicInPicOne);
    connect(m_pPicInPic, &QDlgPicInPic::notifyPicInPicMutil, this, &QDlgScreen::onSetPicInPicMutil);
    connect(m_pPicInPic, &QDlgPicInPic::notifyPicInPicChangePage, this, &QDlgScreen::onPicInPicChangePage);
    connect(m_pPicInPic, &QDlgPicInPic::notifyClickPicInPicPlayWidget, this, &QDlgScreen::onClickPicInPicPlayWidget);
    for (int i = 0; m_pPicInPic->tile(i); ++i)
        adoptTile(m_pPicInPic->tile(i));
    // Queued: a reordering runs after the current event, never nested inside
    // the code that asked for it (which may still hold records the relayout's
    // notifications let the host remove).
    connect(this, &QDlgScreen::notifyDisplayOrder, this, &QDlgScreen::onDisplayOrder, Qt::QueuedConnection);
    // A new gallery starts in the layout the host set last.
    m_iCurMode = cfg->startMode();
    m_bMeetingRoomMinimized = cfg->m_bMeetingRoomMinimized.load();

    m_pSpeakerTimer = new QTimer(this);
    m_pSpeakerTimer->setSingleShot(true);
    connect(m_pSpeakerTimer, &QTimer::timeout, this, &QDlgScreen::onSpeakerTick);
    m_speakerClock.start();

    initModSlotMap();
    initAccess();
    m_minJoinTime = std::numeric_limits<qint64>::max();
    m_maxJoinTime = 0;
}

QDlgScreen::~QDlgScreen()
{
    stopTimers();
    releasePlayWidget();
    // Its tiles' records go with the gallery; the filter must not see the
    // window's last events after this point.
    m_pPicInPic->removeEventFilter(this);
    delete m_pPicInPic;
    m_pPicInPic = nullptr;
    delete ui;
}

void QDlgScreen::InitPlayWidget()
{
    for (int i = 0; i < 9; ++i) {
        auto* tile = new CPlayWidget(this);
        if (i < 8)
            m_mapPlay.insert(tile, nullptr);
        else
            m_pFocusPlayWidget = tile;
        connect(tile, &CPlayWidget::mouseLDClick, this, &QDlgScreen::onLeftBtnDBClick);
        connect(tile, &CPlayWidget::notifyPlayStatusChange, this, &QDlgScreen::onPlayStatusChange);
        connect(tile, &CPlayWidget::mouseLClick, this, &QDlgScreen::onPlayWidgetLBtnClick);
        adoptTile(tile);
    }
    m_pFocusPlayWidget->setFocusTile(true);
}

void QDlgScreen::adoptTile(CPlayWidget* tile)
{
    QDlgPlayInfo* overlay = tile->playInfo();
    if (!overlay)
        return;
    overlay->setGalleryState(&m_state);
    connect(overlay, &QDlgPlayInfo::notifyClickAudioCtrl, this, &QDlgScreen::onClickAudioCtl);
    connect(overlay, &QDlgPlayInfo::notifyClickMore, this, &QDlgScreen::onClickMore);
    connect(overlay, &QDlgPlayInfo::notifyRecallPerson, this, &QDlgScreen::onRecallPerson);
    connect(tile, &CPlayWidget::zoomChanged, this, [this](CPlayWidget* t) {
        // Zoomed: the large stream; fitted again: what the layout gives it.
        tagPersonInfo* p = t->personInfo();
        if (!isHasPerson(p))
            return;
        if (t->isZoomed())
            setPersonStreamType(p, 4);
        else
            reposPlayWnd();
    });
}

void QDlgScreen::runFromHost(Work kind, tagPersonInfo* person, std::function<void()> f, qint64 sub,
                             const QString& name)
{
    if (kxsync::onInterfaceThread())
        f();
    else
        queueFromHost(kind, person, std::move(f), sub, name);
}

void QDlgScreen::queueFromHost(Work kind, tagPersonInfo* person, std::function<void()> f, qint64 sub,
                               const QString& name)
{
    kxwork::PendingWork::Key key;
    key.kind = kind;
    key.sub = sub;
    key.name = name;
    kxwork::PendingWork::Policy policy;
    if (person) {
        // The serial is read while the record is certainly alive (the caller
        // holds it); when the work runs, only this gallery's books are asked.
        const quint64 serial = person->serial;
        key.target = person;
        key.serial = serial;
        f = [this, person, serial, f = std::move(f)]() {
            if (!mayRunFor(person, serial)) {
                KXLOG << "testDelPerson: queued work dropped, the participant has left, pPerson:"
                      << static_cast<void*>(person);
                return;
            }
            f();
        };
    }
    if (kind == WorkCaption) {
        // A caption revised while it waits keeps its line; no more wait than
        // the captions keep.
        policy.inPlace = true;
        policy.cap = kxsubtitle::SentenceStore::kMaxSentences;
    }
    if (m_pending.put(key, std::move(f), policy))
        kxsync::post(this, [this]() { drainQueued(); });
}

void QDlgScreen::dropQueued(Work kind)
{
    m_pending.drop(kind);
}

void QDlgScreen::drainQueued()
{
    // Work queued meanwhile (also by what runs here) asks for a drain of its own.
    for (std::function<void()>& f : m_pending.takeAll()) {
        if (m_bRetired)
            return;
        f();
    }
}

void QDlgScreen::stopTimers()
{
    if (m_iCheckTimerId)
        killTimer(m_iCheckTimerId);
    m_iCheckTimerId = 0;
    if (m_iVideoMuteTimerId)
        killTimer(m_iVideoMuteTimerId);
    m_iVideoMuteTimerId = 0;
}

void QDlgScreen::retire()
{
    if (m_bRetired)
        return;
    KXLOG << "[ScreenMod]gallery retired:" << static_cast<void*>(this);
    m_bRetired = true;
    m_pending.takeAll();
    stopTimers();
    m_pSpeakerTimer->stop();
    m_bPicInPicOwnChange = true;
    m_pPicInPic->hide();
    m_bPicInPicOwnChange = false;
    if (m_pExtScreen)
        m_pExtScreen->closeWindow();
    if (parentWidget())
        parentWidget()->hide();
    hide();
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
    QDialog::resizeEvent(event);
}

void QDlgScreen::keyPressEvent(QKeyEvent* event)
{
    if (!accessKey(event))
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

void QDlgScreen::onModMoveParent(QWidget* parent)
{
    QWidget* dlg = parentWidget();
    if (!dlg)
        return;
    dlg->setParent(parent);
    dlg->show();
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
    if (m_pExtScreen)
        m_pExtScreen->subtitleBand()->addSentence(iType, iIndex, name, text);
}

void QDlgScreen::onModClearSubtitles()
{
    m_pSubtitleBand->clear();
    if (m_pExtScreen)
        m_pExtScreen->subtitleBand()->clear();
}

void QDlgScreen::onModOpenSubtitle(bool bOpen)
{
    m_bSubtitleOpen = bOpen;
    m_pSubtitleBand->setOpen(bOpen);
    if (m_pExtScreen)
        m_pExtScreen->subtitleBand()->setOpen(bOpen);
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
    g.mode = curMode();
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
