#include "qdlgplayinfo.h"

#include "focusring.h"
#include "gallerystate.h"
#include "kxtranslate.h"
#include "modulelog.h"
#include "netweakloading.h"
#include "overlaybutton.h"
#include "overlayicons.h"
#include "personinfo.h"
#include "qkxscreenconfig.h"

#include <QFontMetrics>
#include <QPainter>
#include <QPainterPath>
#include <QResizeEvent>
#include <QStringList>
#include <QtGlobal>
#include <cmath>

namespace {

// Plates and badges sit on the video in both skins: dark and see-through, so
// that white text and icons read on any picture.
const QColor kPlate(0, 0, 0, 128);
const QColor kMoreFill(0, 0, 0, 120);
const QColor kRecallFill(0x2B, 0xA4, 0x71);

const QLatin1String kUnjoinedPrefix("unjoined_");

// "net_level_1" .. "net_level_6", made once: a refresh asks for one each time.
QString netLevelIcon(int level)
{
    static const QString names[] = {
        QStringLiteral("net_level_1"), QStringLiteral("net_level_2"), QStringLiteral("net_level_3"),
        QStringLiteral("net_level_4"), QStringLiteral("net_level_5"), QStringLiteral("net_level_6"),
    };
    return names[qBound(1, level, 6) - 1];
}

QColor withAlpha(QColor c, int alpha)
{
    c.setAlpha(alpha);
    return c;
}

// Qt announces every assignment to a screen reader; only real changes are made.
void setAccessibleTexts(QWidget* w, const QString& name, const QString& description)
{
    if (w->accessibleName() != name)
        w->setAccessibleName(name);
    if (w->accessibleDescription() != description)
        w->setAccessibleDescription(description);
}

// The speaking border's width; the focus ring sits inside it.
int speakingBorder(const kxoverlay::PlayInfoLayout& L)
{
    return qMax(2, L.margin * 3 / 4);
}

} // namespace

QDlgPlayInfo::QDlgPlayInfo(QWidget* parent)
    : QWidget(parent)
{
    // Drawn over the GL picture: no background of our own. Mouse events are
    // not made transparent here (that would hide the controls from the mouse
    // too); what the overlay does not use it ignores, and the tile gets it.
    setAttribute(Qt::WA_NoSystemBackground);
    setAutoFillBackground(false);
    if (parent)
        setGeometry(0, 0, parent->width(), parent->height());

    m_pNetWeakLoading = new NetWeakLoading(this);
    m_pNetWeakLoading->hide();
    // The spinner shows; it has nothing to click.
    m_pNetWeakLoading->setAttribute(Qt::WA_TransparentForMouseEvents);
    connect(m_pNetWeakLoading, &NetWeakLoading::sigTimerOutLoading, this, &QDlgPlayInfo::onNetWeakTimeout);

    m_pBtnMic = new OverlayButton(this);
    m_pBtnMic->setObjectName(QStringLiteral("kxOverlayMic"));
    m_pBtnMic->hide();
    connect(m_pBtnMic, &QAbstractButton::clicked, this, &QDlgPlayInfo::onClickMic);

    m_pBtnMore = new OverlayButton(this);
    m_pBtnMore->setObjectName(QStringLiteral("kxOverlayMore"));
    m_pBtnMore->setIconName(QStringLiteral("more"));
    m_pBtnMore->setFill(kMoreFill);
    m_pBtnMore->hide();
    connect(m_pBtnMore, &QAbstractButton::clicked, this, &QDlgPlayInfo::onClickMore);

    m_pBtnRecall = new OverlayButton(this);
    m_pBtnRecall->setObjectName(QStringLiteral("kxOverlayRecall"));
    m_pBtnRecall->setIconName(QStringLiteral("recall"));
    m_pBtnRecall->setFill(kRecallFill);
    m_pBtnRecall->hide();
    connect(m_pBtnRecall, &QAbstractButton::clicked, this, &QDlgPlayInfo::onClickRecall);

    retranslate();
    rebuild();
}

void QDlgPlayInfo::retranslate()
{
    m_pBtnMore->setToolTip(kxTranslate("QDlgPlayInfo", "More"));
    m_pBtnMore->setAccessibleName(kxTranslate("QDlgPlayInfo", "More"));
    m_pBtnRecall->setToolTip(kxTranslate("QDlgPlayInfo", "Call again"));
    m_pBtnRecall->setAccessibleName(kxTranslate("QDlgPlayInfo", "Call again"));
}

void QDlgPlayInfo::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::LanguageChange) {
        retranslate();
        // The record has not changed, its texts have.
        m_bViewValid = false;
        m_bSpokenValid = false;
        rebuild();
    }
}

QDlgPlayInfo::~QDlgPlayInfo() = default;

// ---------------------------------------------------------------------------
// The tile's interface
// ---------------------------------------------------------------------------

void QDlgPlayInfo::setGalleryState(const GalleryState* state)
{
    m_pGallery = state;
}

void QDlgPlayInfo::setPersonInfo(tagPersonInfo* person)
{
    if (person != m_pPersonInfo) {
        m_pPersonInfo = person;
        m_headKey = 0;
        m_headPixmap = QPixmap();
        // A spinner that ran for the previous participant must not spend its
        // budget on this one: hiding restarts the count, the next paint decides.
        m_pNetWeakLoading->stopLoading();
        m_pNetWeakLoading->hide();
    }
    rebuild();
}

tagPersonInfo* QDlgPlayInfo::personInfo() const
{
    return m_pPersonInfo;
}

void QDlgPlayInfo::setVideoRect(int x, int y, int w, int h)
{
    const QRect rc(x, y, w, h);
    if (rc == m_rcVideo)
        return;
    m_rcVideo = rc;
    rebuild();
}

QRect QDlgPlayInfo::videoRect() const
{
    return m_rcVideo;
}

void QDlgPlayInfo::refreshDisplay()
{
    rebuild();
}

void QDlgPlayInfo::setVideoState(bool bNoVideo, bool bForce)
{
    // Called for every rendered frame: nothing but this comparison unless the
    // state flips.
    if (m_bNoVideo == bNoVideo && !bForce)
        return;
    m_bNoVideo = bNoVideo;
    rebuild();
}

bool QDlgPlayInfo::isNoVideo() const
{
    return m_bNoVideo;
}

void QDlgPlayInfo::setPlace(const kxaccess::TilePlace& place, const tagPersonInfo* person)
{
    if (place == m_place && person == m_pPlaceFor)
        return;
    m_place = place;
    m_pPlaceFor = person;
    rebuild();
}

void QDlgPlayInfo::setFocusRing(bool on)
{
    if (on == m_bFocusRing)
        return;
    m_bFocusRing = on;
    rebuild();
}

bool QDlgPlayInfo::openMore()
{
    tagPersonInfo* p = livePerson();
    if (!p || m_pBtnMore->isHidden())
        return false;
    emit notifyClickMore(p, packClickPos(m_pBtnMore->mapToGlobal(m_pBtnMore->rect().center())));
    return true;
}

QString QDlgPlayInfo::displayName() const
{
    const tagPersonInfo* person = livePerson();
    return person ? person->userName : QString();
}

void QDlgPlayInfo::releaseImageCache()
{
    kxoverlay::releaseIcons();
}

int QDlgPlayInfo::packClickPos(const QPoint& global)
{
    // Shifted as unsigned: a negative x would make the signed shift undefined.
    const quint32 packed = (quint32(global.x()) << 16) | (quint32(global.y()) & 0xFFFFu);
    return int(packed);
}

QPoint QDlgPlayInfo::unpackClickPos(int pos)
{
    const quint32 packed = quint32(pos);
    return QPoint(qint16(packed >> 16), qint16(packed & 0xFFFFu));
}

QAbstractButton* QDlgPlayInfo::micButton() const
{
    return m_pBtnMic;
}

QAbstractButton* QDlgPlayInfo::moreButton() const
{
    return m_pBtnMore;
}

QAbstractButton* QDlgPlayInfo::recallButton() const
{
    return m_pBtnRecall;
}

QStringList QDlgPlayInfo::badgeIcons() const
{
    QStringList names;
    for (const kxoverlay::PlayInfoBadge& b : m_view.layout.badges)
        names.append(b.iconName);
    return names;
}

// ---------------------------------------------------------------------------
// Reading the record
// ---------------------------------------------------------------------------

tagPersonInfo* QDlgPlayInfo::livePerson() const
{
    // The tile keeps handing us its last record after a detach; the record may
    // have been freed since, so ask the registry before touching it.
    if (!m_pPersonInfo || QKXScreenConfig::getInstance()->testDelPerson(m_pPersonInfo, false))
        return nullptr;
    return m_pPersonInfo;
}

QDlgPlayInfo::View QDlgPlayInfo::makeView(const tagPersonInfo* p) const
{
    View v;
    v.newSkin = QKXScreenConfig::getInstance()->isNewSkin();
    v.spinner = wantsSpinner(p);
    v.focusRing = m_bFocusRing && p;
    kxoverlay::PlayInfoInput in;
    in.size = size();
    in.video = m_rcVideo;
    in.font = font();
    in.placeholder = false;
    if (!p) {
        v.layout = layoutFor(in);
        return v;
    }
    const QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    static const GalleryState kNoGallery;
    const GalleryState& gallery = m_pGallery ? *m_pGallery : kNoGallery;
    v.share = p->isShareScreen();
    v.unjoined = p->userID.startsWith(kUnjoinedPrefix);
    // No picture: video off, nothing drawn by the tile yet, or frames stopped.
    v.placeholder = !p->bPreview || m_bNoVideo || p->eStreamStatus != 2;

    const bool person = !v.share && !v.unjoined;
    if (person) {
        if (!p->bHasMic)
            v.micIcon = QStringLiteral("mic_none");
        else if (p->bMute)
            v.micIcon = QStringLiteral("mic_off");
        else
            v.micIcon = QStringLiteral("mic_on");
        // Below a few per cent the fill would be a flickering line.
        v.level = (p->bHasMic && !p->bMute && p->iVolume >= 4) ? qMin(p->iVolume, 100) : 0;

        // 0: no figure yet (the spinner may be waiting), -1: waiting abandoned.
        if (p->bNetWeak || p->iNetLevel < 0)
            v.netIcon = QStringLiteral("net_level_1");
        else if (p->iNetLevel > 0)
            v.netIcon = netLevelIcon(qMin(p->iNetLevel, 6));
    }

    v.initial = kxoverlay::initialOf(p->userName);
    if (v.initial.isEmpty()) {
        QString id = p->userID;
        if (p->isShareScreen())
            id = tagPersonInfo::sharerOf(id);
        else if (id.startsWith(kUnjoinedPrefix))
            id = id.mid(kUnjoinedPrefix.size());
        v.initial = kxoverlay::initialOf(id);
    }
    v.disc = kxoverlay::discColor(p->userID);
    if (!v.share) {
        v.headImage = p->headImage;
        v.headKey = v.headImage.cacheKey();
    }

    if (v.share) {
        in.plateText = p->userName.isEmpty() ? kxTranslate("QDlgPlayInfo", "Shared screen")
                                             : kxTranslate("QDlgPlayInfo", "%1's screen").arg(p->userName);
        in.shareIcon = true;
    } else {
        in.plateText = p->userName;
    }
    in.placeholder = v.placeholder;
    in.mic = !v.micIcon.isEmpty();
    in.net = !v.netIcon.isEmpty();
    in.more = person;
    if (p->bAllLook) {
        in.badgeIcons.append(QStringLiteral("all_look"));
        in.badgeTexts.append(kxTranslate("QDlgPlayInfo", "Everyone watching"));
    }
    if (p->bLockLook) {
        in.badgeIcons.append(QStringLiteral("lock_look"));
        in.badgeTexts.append(kxTranslate("QDlgPlayInfo", "View locked"));
    }
    if (p->bPinned) {
        in.badgeIcons.append(QStringLiteral("pin"));
        in.badgeTexts.append(kxTranslate("QDlgPlayInfo", "Pinned"));
    }
    v.speaking = p->bSpeaking;
    if (v.share) {
        if (gallery.showWatermark)
            v.watermark = gallery.watermark;
        v.paused = gallery.sharePause;
    } else {
        v.sharingBanner = p->bSelf && gallery.localShare;
    }
    // The size fields are written under the frame lock on the host's thread; a
    // stale read here only shows the previous size until the next refresh.
    if (cfg->showResolution() && !v.placeholder && p->iWidth > 0 && p->iHeight > 0)
        in.resolution = QStringLiteral("%1\u00D7%2").arg(p->iWidth).arg(p->iHeight);
    if (v.unjoined) {
        in.status = kxaccess::callStateText(p->m_iStatus, kxTranslate);
        // Recalling is the host's (or co-host's) decision, and pointless while
        // the call is still ringing.
        in.recall = gallery.hostOrCoHost && p->m_iStatus != 1;
        in.recallText = kxTranslate("QDlgPlayInfo", "Call again");
    }
    v.layout = layoutFor(in);

    kxaccess::TileFacts& f = v.facts;
    f.kind = v.share ? kxaccess::TileFacts::Share
                     : v.unjoined ? kxaccess::TileFacts::Invited : kxaccess::TileFacts::Person;
    f.name = p->userName;
    f.callState = p->m_iStatus;
    f.role = p->iRoleType;
    f.self = p->bSelf;
    f.hasMic = p->bHasMic;
    f.muted = p->bMute;
    f.cameraOff = !p->bPreview;
    f.speaking = v.speaking;
    f.weakNetwork = v.netIcon == QLatin1String("net_level_1");
    f.lockLook = p->bLockLook;
    f.allLook = p->bAllLook;
    f.pinned = p->bPinned;
    f.paused = v.paused;
    f.sharing = v.sharingBanner;
    if (m_pPlaceFor == p)
        f.place = m_place;
    return v;
}

const kxoverlay::PlayInfoLayout& QDlgPlayInfo::layoutFor(const kxoverlay::PlayInfoInput& in) const
{
    // A pure function of its input: the same input gives the same layout.
    if (!m_bLayoutCached || !(in == m_layoutInput)) {
        m_layoutCached = kxoverlay::layoutPlayInfo(in);
        m_layoutInput = in;
        m_bLayoutCached = true;
    }
    return m_layoutCached;
}

bool QDlgPlayInfo::View::sameAs(const View& o) const
{
    return placeholder == o.placeholder && share == o.share && speaking == o.speaking && unjoined == o.unjoined
        && watermark == o.watermark && paused == o.paused && sharingBanner == o.sharingBanner
        && micIcon == o.micIcon
        && netIcon == o.netIcon && initial == o.initial && disc == o.disc && level == o.level
        && spinner == o.spinner && newSkin == o.newSkin && headKey == o.headKey && focusRing == o.focusRing
        && layout == o.layout;
}

void QDlgPlayInfo::rebuild()
{
    const tagPersonInfo* p = livePerson();
    View view = makeView(p);
    publishWords(view.facts, p != nullptr);
    // Every relayout refreshes the overlays of the tiles it keeps. When
    // nothing that the paint or the controls read has changed, the overlay on
    // screen is already right: repainting it would redraw the same pixels and
    // make the window compose again. (The tooltips follow the microphone icon,
    // the spinner follows the paint, and both are part of the comparison; a
    // change of pixel ratio repaints the whole window by itself.)
    if (m_bViewValid && view.sameAs(m_view))
        return;
    m_view = view;
    m_bViewValid = true;
    const kxoverlay::PlayInfoLayout& L = m_view.layout;

    if (!L.mic.isEmpty()) {
        // The click target is the plate's full height around the icon.
        const QRect target(L.mic.center().x() - L.plateH / 2 + 1, L.plate.top(), L.plateH, L.plateH);
        m_pBtnMic->setGeometry(target);
        m_pBtnMic->setIconPx(L.iconPx);
        m_pBtnMic->setIconName(m_view.micIcon);
        m_pBtnMic->setLevel(m_view.level);
        const QString tip = !p->bHasMic ? kxTranslate("QDlgPlayInfo", "No microphone")
                            : p->bMute  ? kxTranslate("QDlgPlayInfo", "Muted")
                                        : kxTranslate("QDlgPlayInfo", "Unmuted");
        m_pBtnMic->setToolTip(tip);
        m_pBtnMic->show();
    } else {
        m_pBtnMic->hide();
    }

    if (!L.more.isEmpty()) {
        m_pBtnMore->setGeometry(L.more);
        m_pBtnMore->setIconPx(L.iconPx);
        m_pBtnMore->show();
    } else {
        m_pBtnMore->hide();
    }

    if (!L.recall.isEmpty()) {
        m_pBtnRecall->setGeometry(L.recall);
        m_pBtnRecall->setIconPx(L.iconPx);
        m_pBtnRecall->setTextPx(L.fontPx);
        m_pBtnRecall->setText(L.recallText);
        m_pBtnRecall->show();
    } else {
        m_pBtnRecall->hide();
    }
    redraw();
}

void QDlgPlayInfo::publishWords(const kxaccess::TileFacts& facts, bool attached)
{
    if (m_bSpokenValid && facts == m_spoken)
        return;
    m_spoken = facts;
    m_bSpokenValid = true;
    // The words belong to the tile this overlay covers: it is what a screen
    // reader lists and what takes the keyboard.
    if (QWidget* tile = parentWidget()) {
        setAccessibleTexts(tile, attached ? kxaccess::tileName(facts, kxTranslate) : QString(),
                           attached ? kxaccess::tileDescription(facts, kxTranslate) : QString());
    }
    setAccessibleTexts(m_pBtnMic, kxaccess::micActionName(facts.hasMic, facts.muted, kxTranslate),
                       kxaccess::micStateText(facts.hasMic, facts.muted, kxTranslate));
}

// ---------------------------------------------------------------------------
// Weak-network spinner
// ---------------------------------------------------------------------------

bool QDlgPlayInfo::wantsSpinner(const tagPersonInfo* p)
{
    return p && !p->bSelf && p->bPreview && p->iNetLevel == 0 && !tagPersonInfo::showsShare(p->userID);
}

void QDlgPlayInfo::syncSpinner(const tagPersonInfo* p)
{
    if (!wantsSpinner(p)) {
        m_pNetWeakLoading->hide();
        return;
    }
    m_pNetWeakLoading->move((width() - m_pNetWeakLoading->width()) / 2,
                            (height() - m_pNetWeakLoading->height()) / 2);
    if (!m_pNetWeakLoading->isVisible()) {
        m_pNetWeakLoading->startLoading();
        m_pNetWeakLoading->showNormal();
        m_pNetWeakLoading->raise();
    }
}

void QDlgPlayInfo::onNetWeakTimeout()
{
    // The spinner also fires 15 s after it was hidden; by then a level may
    // have arrived, and then nothing is changed.
    if (tagPersonInfo* p = livePerson()) {
        if (p->iNetLevel == 0) {
            p->iNetLevel = -1;
            if (!p->bSelf)
                p->bNetWeak = true;
            KXLOG << "[ScreenMod]QDlgPlayInfo net level timed out, userName:" << p->userName;
            rebuild();
        }
    }
    redraw();
    m_pNetWeakLoading->hide();
}

// ---------------------------------------------------------------------------
// Controls
// ---------------------------------------------------------------------------

void QDlgPlayInfo::onClickMic()
{
    tagPersonInfo* p = livePerson();
    if (!p)
        return;
    emit notifyClickAudioCtrl(p);
}

void QDlgPlayInfo::onClickMore()
{
    tagPersonInfo* p = livePerson();
    if (!p)
        return;
    emit notifyClickMore(p, packClickPos(m_pBtnMore->lastClickGlobal()));
}

void QDlgPlayInfo::onClickRecall()
{
    tagPersonInfo* p = livePerson();
    // The role may have changed since the button was laid out.
    if (!p || !m_pGallery || !m_pGallery->hostOrCoHost)
        return;
    emit notifyRecallPerson(p);
}

// ---------------------------------------------------------------------------
// Painting
// ---------------------------------------------------------------------------

void QDlgPlayInfo::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    rebuild();
}

void QDlgPlayInfo::setCacheContent(bool on)
{
    m_bCacheContent = on;
    m_content = QImage();
    redraw();
}

void QDlgPlayInfo::redraw()
{
    m_bContentDirty = true;
    update();
}

QPixmap QDlgPlayInfo::headPixmap(const QImage& image, int d)
{
    const qreal dpr = devicePixelRatioF();
    if (m_headKey == image.cacheKey() && m_headSize == d && qFuzzyCompare(m_headDpr, dpr) && !m_headPixmap.isNull())
        return m_headPixmap;
    const int side = qMax(1, qRound(d * dpr));
    QImage round(side, side, QImage::Format_ARGB32_Premultiplied);
    round.fill(Qt::transparent);
    {
        // Cover the circle, cropping the longer side around the centre.
        const QImage scaled = image.scaled(side, side, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
        QPainter painter(&round);
        painter.setRenderHint(QPainter::Antialiasing);
        QPainterPath circle;
        circle.addEllipse(QRectF(0, 0, side, side));
        painter.setClipPath(circle);
        painter.drawImage(QPoint((side - scaled.width()) / 2, (side - scaled.height()) / 2), scaled);
    }
    m_headPixmap = QPixmap::fromImage(round);
    m_headPixmap.setDevicePixelRatio(dpr);
    m_headKey = image.cacheKey();
    m_headSize = d;
    m_headDpr = dpr;
    return m_headPixmap;
}

void QDlgPlayInfo::paintPlaceholder(QPainter& painter)
{
    const QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const kxoverlay::PlayInfoLayout& L = m_view.layout;
    QColor back(cfg->getBackColor());
    // The light skin's tile colour is the screen's own white: a shade darker
    // keeps the tile's edge visible.
    if (cfg->isNewSkin())
        back = back.darker(105);
    painter.fillRect(rect(), back);

    if (L.avatar.isEmpty())
        return;
    const int d = L.avatar.width();
    // While the weak-network spinner turns in the middle, the avatar under it
    // is dimmed and has no letter, so that the spinner reads as one shape.
    const bool spinning = !m_pNetWeakLoading->isHidden();
    // An invited participant is not here yet: drawn a little faded.
    painter.setOpacity(m_view.unjoined ? 0.8 : 1.0);
    if (!m_view.headImage.isNull()) {
        painter.drawPixmap(L.avatar, headPixmap(m_view.headImage, d));
        if (spinning) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(QColor(0, 0, 0, 110));
            painter.drawEllipse(QRectF(L.avatar));
        }
    } else if (spinning) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_view.disc.darker(130));
        painter.drawEllipse(QRectF(L.avatar));
    } else {
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_view.disc);
        painter.drawEllipse(QRectF(L.avatar));
        if (m_view.share) {
            const int px = qMax(12, d / 2);
            const QRect r(L.avatar.center().x() - px / 2 + 1, L.avatar.center().y() - px / 2 + 1, px, px);
            painter.drawPixmap(r, kxoverlay::icon(QStringLiteral("share"), px, devicePixelRatioF()));
        } else if (!m_view.initial.isEmpty()) {
            QFont f = font();
            f.setPixelSize(qMax(8, d * 42 / 100));
            f.setWeight(QFont::DemiBold);
            painter.setFont(f);
            painter.setPen(Qt::white);
            painter.drawText(L.avatar, Qt::AlignCenter, m_view.initial);
        }
    }
    painter.setOpacity(1.0);

    if (!L.status.isEmpty()) {
        painter.setFont(L.font);
        painter.setPen(withAlpha(QColor(cfg->getTextColor()), 210));
        painter.drawText(L.status, Qt::AlignHCenter | Qt::AlignVCenter, L.statusText);
    }
}

void QDlgPlayInfo::paintEvent(QPaintEvent* event)
{
    if (!m_bCacheContent) {
        QPainter painter(this);
        paintContent(painter);
        return;
    }
    const qreal dpr = devicePixelRatioF();
    if (m_bContentDirty || m_content.size() != size() * dpr || !qFuzzyCompare(m_content.devicePixelRatio(), dpr)) {
        m_content = QImage(size() * dpr, QImage::Format_ARGB32_Premultiplied);
        m_content.setDevicePixelRatio(dpr);
        m_content.fill(Qt::transparent);
        QPainter painter(&m_content);
        paintContent(painter);
        m_contentRegion = contentRegion();
        m_bContentDirty = false;
    } else {
        ++m_iComposeCount;
    }
    QPainter painter(this);
    for (const QRect& r : event->region() & m_contentRegion)
        painter.drawImage(r, m_content, QRectF(r.x() * dpr, r.y() * dpr, r.width() * dpr, r.height() * dpr));
}

QRegion QDlgPlayInfo::contentRegion() const
{
    if (!livePerson())
        return QRegion();
    if (m_view.placeholder || !m_view.watermark.isEmpty() || m_view.paused || m_view.sharingBanner)
        return rect();
    const kxoverlay::PlayInfoLayout& L = m_view.layout;
    QRegion r;
    // A pixel around each shape, for its antialiased edge.
    auto add = [&r](const QRect& shape) {
        if (!shape.isEmpty())
            r += shape.adjusted(-1, -1, 1, 1);
    };
    for (const kxoverlay::PlayInfoBadge& b : L.badges)
        add(b.rect);
    add(L.plate);
    add(L.resolution);
    add(L.status);
    if (m_view.speaking) {
        const int w = speakingBorder(L) + 1;
        r += QRegion(rect()) - rect().adjusted(w, w, -w, -w);
    }
    if (m_view.focusRing)
        r += kxoverlay::focusRingRegion(rect(), speakingBorder(L) + 2, 3);
    return r & rect();
}

void QDlgPlayInfo::paintContent(QPainter& painter)
{
    ++m_iPaintCount;
    const tagPersonInfo* p = livePerson();
    // The network area's one moving part: decided on every paint from the
    // record as it is now.
    syncSpinner(p);
    if (!p) {
        // Freed since the last layout: draw nothing and offer nothing to click.
        m_pBtnMic->hide();
        m_pBtnMore->hide();
        m_pBtnRecall->hide();
        return;
    }

    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const kxoverlay::PlayInfoLayout& L = m_view.layout;
    const qreal dpr = devicePixelRatioF();
    const qreal radius = L.radius;

    if (m_view.placeholder)
        paintPlaceholder(painter);
    // Over the picture, under the controls: the watermark must not hide who
    // shares, and the notices sit in the middle where the eye goes.
    if (!m_view.watermark.isEmpty())
        paintWatermark(painter);
    if (m_view.paused)
        paintCentreNotice(painter, QStringLiteral("pause"), kxTranslate("QDlgPlayInfo", "Sharing paused"));
    else if (m_view.sharingBanner)
        paintCentreNotice(painter, QStringLiteral("share"), kxTranslate("QDlgPlayInfo", "You are sharing"));

    for (const kxoverlay::PlayInfoBadge& b : L.badges) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(kPlate);
        painter.drawRoundedRect(QRectF(b.rect), radius, radius);
        painter.drawPixmap(b.icon, kxoverlay::icon(b.iconName, L.iconPx, dpr));
        if (!b.text.isEmpty()) {
            painter.setFont(L.font);
            painter.setPen(Qt::white);
            painter.drawText(b.text, Qt::AlignLeft | Qt::AlignVCenter, b.label);
        }
    }

    if (!L.plate.isEmpty()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(kPlate);
        painter.drawRoundedRect(QRectF(L.plate), radius, radius);
        if (!L.shareIcon.isEmpty())
            painter.drawPixmap(L.shareIcon, kxoverlay::icon(QStringLiteral("share"), L.iconPx, dpr));
        if (!L.name.isEmpty()) {
            painter.setFont(L.font);
            painter.setPen(Qt::white);
            painter.drawText(L.name, Qt::AlignLeft | Qt::AlignVCenter, L.nameText);
        }
        if (!L.net.isEmpty())
            painter.drawPixmap(L.net, kxoverlay::icon(m_view.netIcon, L.iconPx, dpr));
    }

    if (!L.resolution.isEmpty()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(kPlate);
        painter.drawRoundedRect(QRectF(L.resolution), radius, radius);
        painter.setFont(L.smallFont);
        painter.setPen(Qt::white);
        painter.drawText(L.resolution, Qt::AlignCenter, L.resolutionText);
    }

    if (m_view.speaking) {
        // Who is talking, at a glance: the whole tile framed in the skin's
        // accent, thick enough to see on a small strip tile.
        const int w = speakingBorder(L);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(QColor(QKXScreenConfig::getInstance()->getAccentColor()), w));
        painter.drawRect(QRectF(rect()).adjusted(w / 2.0, w / 2.0, -w / 2.0, -w / 2.0));
    }
    // The keyboard is here: a ring inside the speaking border, apart from it.
    if (m_view.focusRing)
        kxoverlay::paintFocusRing(painter, rect(), speakingBorder(L) + 2, 3, radius * 2 + 2);
}

void QDlgPlayInfo::paintWatermark(QPainter& painter)
{
    // The text repeated on diagonal lines over the whole tile, light and
    // half transparent, so that a photo of any part of the screen carries it.
    painter.save();
    QFont f = font();
    f.setPixelSize(qBound(12, height() / 14, 28));
    painter.setFont(f);
    painter.setPen(QColor(255, 255, 255, 72));
    const QFontMetrics fm(f);
    const int stepX = fm.horizontalAdvance(m_view.watermark) + 3 * fm.height();
    const int stepY = 4 * fm.height();
    painter.translate(width() / 2.0, height() / 2.0);
    painter.rotate(-30);
    // After the rotation the tile's corners lie within its diagonal of the centre.
    const int reach = int(std::hypot(width(), height()) / 2) + stepX;
    for (int y = -reach, row = 0; y <= reach; y += stepY, ++row) {
        for (int x = -reach + (row % 2) * stepX / 2; x <= reach; x += stepX)
            painter.drawText(x, y, m_view.watermark);
    }
    painter.restore();
}

void QDlgPlayInfo::paintCentreNotice(QPainter& painter, const QString& icon, const QString& text)
{
    const kxoverlay::PlayInfoLayout& L = m_view.layout;
    const QFontMetrics fm(L.font);
    const int iconPx = L.iconPx * 2;
    const int w = qMin(width() - 2 * L.margin, iconPx + L.gap * 3 + fm.horizontalAdvance(text) + 4 * L.padH);
    const int h = iconPx + 2 * L.padH;
    const QRect plate(QRect(0, 0, w, h).translated((width() - w) / 2, (height() - h) / 2));
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0, 0, 0, 170));
    painter.drawRoundedRect(QRectF(plate), L.radius * 2, L.radius * 2);
    const QRect iconRect(plate.left() + 2 * L.padH, plate.top() + L.padH, iconPx, iconPx);
    painter.drawPixmap(iconRect, kxoverlay::icon(icon, iconPx, devicePixelRatioF()));
    painter.setFont(L.font);
    painter.setPen(Qt::white);
    painter.drawText(plate.adjusted(iconPx + 2 * L.padH + L.gap * 2, 0, -L.padH, 0), Qt::AlignLeft | Qt::AlignVCenter, text);
}
