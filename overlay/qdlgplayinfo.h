#ifndef KX_QDLGPLAYINFO_H
#define KX_QDLGPLAYINFO_H

#include <QRect>
#include <QWidget>

struct tagPersonInfo;

// Information drawn over one video tile: the participant's name on a dark
// plate at the bottom-left of the video, and a placeholder with the name's
// initial while there is no video. A child of the tile that covers it whole;
// it takes no mouse input, so clicks reach the tile underneath.
class QDlgPlayInfo : public QWidget
{
    Q_OBJECT
public:
    explicit QDlgPlayInfo(QWidget* parent = nullptr);

    // The participant shown (not owned); null shows nothing.
    void setPersonInfo(tagPersonInfo* person);
    tagPersonInfo* personInfo() const;

    // Where the video lies inside the tile, in the tile's pixels.
    void setVideoRect(int x, int y, int w, int h);
    QRect videoRect() const;

    // Repaints from the participant's current state.
    void refreshDisplay();

    // Repaints only when the flag changes, unless bForce.
    void setVideoState(bool bNoVideo, bool bForce);
    bool isNoVideo() const;

    // The text drawn on the name plate (empty when nothing is drawn).
    QString displayName() const;
    // Drops the images shared by every overlay (the last participant has left).
    static void releaseImageCache();

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    // The participant, or null when none is set or its record has been freed.
    tagPersonInfo* livePerson() const;
    QRect contentRect() const;

    tagPersonInfo* m_pPersonInfo = nullptr;
    QRect m_rcVideo;
    bool m_bNoVideo = true;
};

#endif
