#ifndef KX_QDLGPICINPIC_H
#define KX_QDLGPICINPIC_H

#include <QDialog>
#include <QPoint>
#include <QVector>

class CPlayWidget;
class OverlayButton;
struct tagPersonInfo;

// The floating picture-in-picture window: the participants who are not on the
// gallery's stage (layouts 4 and 9), in a small frameless window that stays
// above the meeting window (where the platform lets a window do that), can
// be dragged to any screen, resized by its corner and closed.
//
// Nothing here needs to know where the window is on the screen: a Wayland
// compositor places and moves top-level windows itself (the drag is handed
// to it), and resizing works in the window's own coordinates.
//
// It has a pool of four tiles of its own and two states: "one" (a single
// tile) and "several" (up to four tiles in a column, paged). Its controls and
// tiles report through its signals to the gallery that owns it, which decides
// who is shown and binds the records (setParticipants), since a record's tile
// pointer is the controller's to set.
class QDlgPicInPic : public QDialog
{
    Q_OBJECT
public:
    explicit QDlgPicInPic(QWidget* parent = nullptr);
    ~QDlgPicInPic() override;

    // Shows others (one page of them, or the one chosen) in the tiles.
    void setParticipants(const QVector<tagPersonInfo*>& others, tagPersonInfo* one);
    // Who is in a tile now, in tile order.
    QVector<tagPersonInfo*> shownPersons() const;
    // Forgets a participant that is about to be freed.
    void dropPerson(tagPersonInfo* person);
    // Lets every tile go (the gallery leaves the layouts that use the window).
    void clear();
    bool isTile(const CPlayWidget* tile) const;
    CPlayWidget* tile(int i) const { return m_tiles.value(i); }

    bool isSeveral() const { return m_bSeveral; }
    void setSeveral(bool bSeveral);
    int pageIndex() const { return m_iPage; }
    int pageCount() const;
    void setPageIndex(int page);

    // Opens at the gallery's top-right corner (global rectangle), unless the
    // user has moved it since it was first shown. Where the platform does not
    // let a window place itself, the compositor decides.
    void placeBeside(const QRect& galleryGlobal);
    bool wasMovedByUser() const { return m_bMoved; }
    // The width of "one" the person chose (the tiles follow it).
    int oneWidth() const { return m_iOneWidth; }

signals:
    void notifyPicInPicOne();
    void notifyPicInPicMutil(bool bMulti);
    void notifyPicInPicChangePage(bool bNext);
    void notifyClickPicInPicPlayWidget(void* person);

protected:
    bool eventFilter(QObject* watched, QEvent* e) override;
    void moveEvent(QMoveEvent* e) override;
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void reject() override {}
    // A translator was installed or removed: the controls' texts again.
    void changeEvent(QEvent* e) override;

private:
    void relayout();
    void retranslate();
    // The grip is dragged: x and y in the window's own coordinates.
    void resizeTo(const QPoint& corner);

    QVector<CPlayWidget*> m_tiles;
    OverlayButton* m_pToggle = nullptr;
    OverlayButton* m_pPrev = nullptr;
    OverlayButton* m_pNext = nullptr;
    OverlayButton* m_pClose = nullptr;
    OverlayButton* m_pGrip = nullptr;
    QVector<tagPersonInfo*> m_others;
    tagPersonInfo* m_pOne = nullptr;
    bool m_bSeveral = false;
    int m_iPage = 0;
    bool m_bMoved = false;
    QPoint m_ptDrag; // offset of the press in the window while dragging; null when not
    bool m_bDragging = false;
    bool m_bSystemMove = false; // the window system drags it, since the last press
    QPoint m_ptGrip;            // the grip's press, from the window's bottom-right corner
    int m_iOneWidth;
};

#endif
