#ifndef KX_QDLGPLAYINFO_H
#define KX_QDLGPLAYINFO_H

#include "accessrules.h"
#include "playinfolayout.h"

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QPoint>
#include <QRect>
#include <QRegion>
#include <QStringList>
#include <QWidget>

struct GalleryState;
struct tagPersonInfo;
class NetWeakLoading;
class OverlayButton;
class QAbstractButton;

// What is drawn over one video tile: the participant's name with the
// microphone state and speaking level and the network level; while there is no
// picture, the head image or the name's initial; for an invited participant
// the call state and, for the host, a recall control; look badges, the share
// caption and the video resolution. The layout is kxoverlay::layoutPlayInfo.
//
// A child of the tile that covers it whole. Its controls (microphone, "more",
// recall) are child widgets; every other mouse event is ignored here and so
// goes on to the tile, which makes clicks and double clicks of it.
//
// The overlay repaints when it is told that something changed
// (refreshDisplay, the video state, the video rectangle, its size), never per
// video frame. The record may be freed while the overlay still points at it:
// every read goes through livePerson().
//
// Its controls report to the gallery the tile belongs to (the signals below,
// connected by that gallery), and what it shows of the gallery as a whole
// (the share's watermark and pause, the local user's share, the host's
// rights) it reads from that gallery's state.
class QDlgPlayInfo : public QWidget
{
    Q_OBJECT
public:
    explicit QDlgPlayInfo(QWidget* parent = nullptr);
    ~QDlgPlayInfo() override;

    // The state of the gallery the tile belongs to (not owned; outlives the
    // overlay). Without one the overlay shows no gallery-wide marks.
    void setGalleryState(const GalleryState* state);

    // The participant shown (not owned); null shows nothing.
    void setPersonInfo(tagPersonInfo* person);
    tagPersonInfo* personInfo() const;

    // Where the video lies inside the tile, in the tile's pixels.
    void setVideoRect(int x, int y, int w, int h);
    QRect videoRect() const;

    // Lays out and repaints from the participant's current state.
    void refreshDisplay();

    // "No picture yet" (true) or "a frame was drawn" (false). Repaints only
    // when the flag changes, unless bForce: the tile calls this per frame.
    void setVideoState(bool bNoVideo, bool bForce);
    bool isNoVideo() const;

    // Keep what is drawn in an image and paint from it while nothing shown
    // changes. Over a tile that paints on the CPU every new picture repaints
    // the overlay above it too; its content then only has to be laid over the
    // picture again, not drawn.
    void setCacheContent(bool on);

    // Where the tile stands in the gallery that shows it, for the
    // participant it showed then: part of what a screen reader hears while
    // the tile still shows that participant.
    void setPlace(const kxaccess::TilePlace& place, const tagPersonInfo* person);
    // The tile has the keyboard focus: the focus ring is drawn.
    void setFocusRing(bool on);
    bool isFocusRingShown() const { return m_view.focusRing; }
    // "More" from the keyboard: reported as a click in the middle of the
    // control. False when the tile shows no "more" control.
    bool openMore();

    // The participant's name (empty when nothing is attached).
    QString displayName() const;
    // Drops the images shared by every overlay (the last participant has left).
    static void releaseImageCache();

    // The "more" position handed to the host: the global click position packed
    // as (x << 16) | (y & 0xFFFF) in 32 bits. The host takes x back as the
    // signed upper 16 bits and y as the signed lower 16 bits, so positions on
    // screens left of or above the primary one survive as negative values.
    static int packClickPos(const QPoint& global);
    static QPoint unpackClickPos(int pos);

    // --- what is on show now, for diagnostics and tests ---------------------
    NetWeakLoading* netWeakLoading() const { return m_pNetWeakLoading; }
    QAbstractButton* micButton() const;
    QAbstractButton* moreButton() const;
    QAbstractButton* recallButton() const;
    bool isPlaceholderShown() const { return m_view.placeholder; }
    bool isSpeakingShown() const { return m_view.speaking; }
    QString watermarkShown() const { return m_view.watermark; }
    bool isPausedShown() const { return m_view.paused; }
    bool isSharingBannerShown() const { return m_view.sharingBanner; }
    bool isHeadImageShown() const { return m_view.placeholder && !m_view.headImage.isNull(); }
    QString micIconName() const { return m_view.micIcon; }
    QString netIconName() const { return m_view.netIcon; }
    int micLevel() const { return m_view.level; }
    QString plateText() const { return m_view.layout.nameText; }
    QString statusText() const { return m_view.layout.statusText; }
    QString resolutionText() const { return m_view.layout.resolutionText; }
    QString initialText() const { return m_view.initial; }
    QColor discColor() const { return m_view.disc; }
    QStringList badgeIcons() const;
    const kxoverlay::PlayInfoLayout& layout() const { return m_view.layout; }
    // Paints that drew the content, and paints that only laid kept content
    // over a new picture (setCacheContent).
    int paintCount() const { return m_iPaintCount; }
    int composeCount() const { return m_iComposeCount; }

signals:
    // A control of the overlay was clicked for this participant: the
    // microphone, "more" (with the packed global click position) or recall.
    void notifyClickAudioCtrl(void* person);
    void notifyClickMore(void* person, int pos);
    void notifyRecallPerson(void* person);

public slots:
    // The spinner gave up waiting for a network level.
    void onNetWeakTimeout();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    // A translator was installed or removed: every text is made again.
    void changeEvent(QEvent* event) override;

private slots:
    void onClickMic();
    void onClickMore();
    void onClickRecall();

private:
    // Everything a paint needs, taken from the record by rebuild().
    struct View
    {
        bool placeholder = false;
        bool share = false;
        bool speaking = false;
        bool unjoined = false;
        // Over a share: the watermark text (empty: none) and the paused
        // marker; over the local user while sharing: the sharing banner.
        QString watermark;
        bool paused = false;
        bool sharingBanner = false;
        QString micIcon;
        QString netIcon;
        QString initial;
        QColor disc;
        QImage headImage;
        int level = 0;
        kxoverlay::PlayInfoLayout layout;
        // Further inputs of a paint: the spinner wanted, the skin's colours,
        // which head image.
        bool spinner = false;
        bool newSkin = false;
        qint64 headKey = 0;
        bool focusRing = false;
        // What is drawn, as a screen reader gets it (not painted).
        kxaccess::TileFacts facts;

        // Everything a paint or the placing of the controls reads is equal.
        bool sameAs(const View& o) const;
    };

    // The participant, or null when none is set or its record has been freed.
    tagPersonInfo* livePerson() const;
    // Reads the record, lays the overlay out, places the controls, repaints.
    void rebuild();
    // Names and describes the tile and the microphone control from the facts
    // on show, when they changed.
    void publishWords(const kxaccess::TileFacts& facts, bool attached);
    // The texts that do not follow the record: the controls' tool tips and names.
    void retranslate();
    View makeView(const tagPersonInfo* person) const;
    // kxoverlay::layoutPlayInfo, remembered for the last input: the layout
    // measures text, and most refreshes lay out what was laid out before.
    const kxoverlay::PlayInfoLayout& layoutFor(const kxoverlay::PlayInfoInput& in) const;
    // Shows, moves or hides the weak-network spinner for the record as it is now.
    void syncSpinner(const tagPersonInfo* person);
    static bool wantsSpinner(const tagPersonInfo* person);
    // Repaints because what is shown changed.
    void redraw();
    void paintContent(QPainter& painter);
    // Where paintContent drew: the pixels a kept image has to lay again.
    QRegion contentRegion() const;
    QPixmap headPixmap(const QImage& image, int d);
    void paintPlaceholder(QPainter& painter);
    void paintWatermark(QPainter& painter);
    void paintCentreNotice(QPainter& painter, const QString& icon, const QString& text);

    tagPersonInfo* m_pPersonInfo = nullptr;
    const GalleryState* m_pGallery = nullptr;
    QRect m_rcVideo;
    bool m_bNoVideo = true;
    NetWeakLoading* m_pNetWeakLoading = nullptr;
    OverlayButton* m_pBtnMic = nullptr;
    OverlayButton* m_pBtnMore = nullptr;
    OverlayButton* m_pBtnRecall = nullptr;
    View m_view;
    bool m_bViewValid = false; // m_view has been laid out and drawn once
    mutable bool m_bLayoutCached = false;
    mutable kxoverlay::PlayInfoInput m_layoutInput;
    mutable kxoverlay::PlayInfoLayout m_layoutCached;
    // The round head image, for this overlay's participant only.
    qint64 m_headKey = 0;
    int m_headSize = 0;
    qreal m_headDpr = 0;
    QPixmap m_headPixmap;
    int m_iPaintCount = 0;
    int m_iComposeCount = 0;
    bool m_bCacheContent = false;
    bool m_bContentDirty = true;
    QImage m_content;
    QRegion m_contentRegion;
    kxaccess::TilePlace m_place;
    const tagPersonInfo* m_pPlaceFor = nullptr; // compared only
    bool m_bFocusRing = false;
    kxaccess::TileFacts m_spoken; // the facts the tile's words were made from
    bool m_bSpokenValid = false;
};

#endif
