#ifndef KX_LAYOUTMEMORY_H
#define KX_LAYOUTMEMORY_H

#include <QString>
#include <QVector>

// The layout a person chose, kept while things that take the gallery over
// for a while come and go, in whatever order they come and go.
//
// Each of them is a cause with a key (a share by its ID; the others have one
// of a kind) and wants a layout of its own, given the layout under it: a
// share and the whiteboard the stage (4), the floating window a layout that
// shows it (4, or 9 if that is under it), a full view of one tile 9, a look
// a layout with a big tile (5, unless one is under it already). The layout
// shown is what the causes want, the later over the earlier, on top of the
// layout the person had before the first of them; when the last one ends
// that layout comes back.
//
// A layout chosen while causes are under way (the host's KXScreen_SetCurMode,
// say) is shown at once and becomes the one to come back to: the causes under
// way no longer decide the layout, though their ends are still followed.
//
// Shares are also the stage's: the one the person chose while it is here,
// else the first to arrive of those still here.
class LayoutMemory
{
public:
    enum Cause { Share, WhiteBoard, PicInPic, FullView, Look };

    explicit LayoutMemory(int home = 1);

    // A cause begins while the gallery shows `current`. Again while under
    // way: it decides the layout again, as the latest cause, if a layout
    // chosen meanwhile had taken that from it; otherwise nothing changes.
    void begin(Cause cause, const QString& key, int current);
    // A cause ends; one not under way changes nothing.
    void end(Cause cause, const QString& key = QString());
    bool isActive(Cause cause, const QString& key = QString()) const;
    bool isEmpty() const { return m_entries.isEmpty(); }
    // A layout is chosen: shown now, and the one to come back to.
    void choose(int mode);
    // Everything is over and the gallery starts again in mode.
    void reset(int mode);

    // The layout to show now.
    int layout() const;
    // The layout to come back to.
    int home() const { return m_home; }

    // The share that holds the stage (empty: none is here).
    QString stageShare() const;
    // The person puts that share on the stage; false when it is not here.
    bool chooseStageShare(const QString& key);

private:
    struct Entry {
        Cause cause;
        QString key;
        bool decides; // false once a layout was chosen after it began
    };
    int indexOf(Cause cause, const QString& key) const;

    QVector<Entry> m_entries; // in the order they began
    int m_home;
    QString m_chosenShare;
};

#endif
