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
// above the meeting window and can be dragged.
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
    // user has moved it since it was first shown.
    void placeBeside(const QRect& galleryGlobal);
    bool wasMovedByUser() const { return m_bMoved; }

signals:
    void notifyPicInPicOne();
    void notifyPicInPicMutil(bool bMulti);
    void notifyPicInPicChangePage(bool bNext);
    void notifyClickPicInPicPlayWidget(void* person);

protected:
    void mousePressEvent(QMouseEvent* e) override;
    void mouseMoveEvent(QMouseEvent* e) override;
    void mouseReleaseEvent(QMouseEvent* e) override;
    void reject() override {}
    // A translator was installed or removed: the controls' texts again.
    void changeEvent(QEvent* e) override;

private:
    void relayout();
    void retranslate();

    QVector<CPlayWidget*> m_tiles;
    OverlayButton* m_pToggle = nullptr;
    OverlayButton* m_pPrev = nullptr;
    OverlayButton* m_pNext = nullptr;
    QVector<tagPersonInfo*> m_others;
    tagPersonInfo* m_pOne = nullptr;
    bool m_bSeveral = false;
    int m_iPage = 0;
    bool m_bMoved = false;
    QPoint m_ptDrag; // offset of the press in the window while dragging; null when not
    bool m_bDragging = false;
};

#endif
