#ifndef KX_DLGEXTSCREEN_H
#define KX_DLGEXTSCREEN_H

#include <QDialog>
#include <QPointer>

class CPlayWidget;
class SubtitleBand;
#include <QScreen>
struct tagPersonInfo;

// The external-screen window: one participant (or the share), full screen on
// a second display while the gallery stays on the main one. One video tile of
// its own, fitted 16:9 and centred on the skin's background; the window
// follows its screen's geometry and closes itself when the screen goes away.
//
// The gallery controller decides who is shown (setPerson) and owns the
// window for its whole life, so that the tile a host thread may be copying
// into never goes away under it; "closed" is hidden.
class QDlgExtScreen : public QDialog
{
    Q_OBJECT
public:
    explicit QDlgExtScreen(QWidget* parent = nullptr);
    ~QDlgExtScreen() override;

    // Shows the window full screen on screen (moving it there if open).
    void openOn(QScreen* screen);
    void closeWindow();
    bool isOpen() const { return m_bOpen; }
    QScreen* targetScreen() const { return m_screen; }

    void setPerson(tagPersonInfo* person);
    tagPersonInfo* person() const;
    CPlayWidget* tile() const { return m_pTile; }
    // The live captions there, over the video, sized by this window; shown
    // while the gallery says they belong (setCaptionsShown).
    SubtitleBand* subtitleBand() const { return m_pBand; }
    void setCaptionsShown(bool bShown);

signals:
    // The window closed itself: its screen was removed.
    void closedByScreen();
    // Its tile was clicked while it showed this participant.
    void notifyClickExtPlayWidget(void* person);

protected:
    void resizeEvent(QResizeEvent* e) override;
    void reject() override {}

private:
    void fitToScreen();
    void placeTile();

    CPlayWidget* m_pTile = nullptr;
    SubtitleBand* m_pBand = nullptr;
    bool m_bCaptions = false;
    QPointer<QScreen> m_screen;
    bool m_bOpen = false;
};

#endif
