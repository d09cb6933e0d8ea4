#ifndef KX_SUBTITLEBAND_H
#define KX_SUBTITLEBAND_H

#include "sentencestore.h"

#include <QRect>
#include <QTimer>
#include <QWidget>
#include <memory>
#include <vector>

class QTextLayout;

// The live captions over the gallery: a translucent band at the bottom of the
// area the gallery gives it, in the skin's colours, with each speaker's name
// and words wrapped to its width. At most three lines show, the newest at the
// bottom; older ones scroll out above. A sentence goes 6 s after its last
// change and the band hides when none is left.
//
// Closed, the band keeps taking sentences in and letting them expire, so that
// opening it again shows what is being said now. A flood of sentences costs
// one text layout per pass of the event loop, and only the sentences that
// reach the three lines are laid out.
class SubtitleBand : public QWidget
{
    Q_OBJECT
public:
    // Tests shorten the lifetime of a sentence.
    explicit SubtitleBand(QWidget* gallery, qint64 lifetimeMs = kxsubtitle::SentenceStore::kLifetimeMs);
    ~SubtitleBand() override;

    void addSentence(int iType, int iIndex, const QString& name, const QString& text);
    void clear();
    void setOpen(bool bOpen);
    bool isOpen() const { return m_bOpen; }
    // The part of the gallery the band may use; it also comes back on top of
    // the tiles a relayout has just raised.
    void setArea(const QRect& area);
    QRect area() const { return m_area; }

    const kxsubtitle::SentenceStore& store() const { return m_store; }
    int shownLineCount() const { return m_iShownLines; }
    int layoutCount() const { return m_iLayouts; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Paragraph {
        std::unique_ptr<QTextLayout> layout;
        int firstLine = 0; // lines above it have scrolled out
    };

    void scheduleRefresh();
    void refresh();

    kxsubtitle::SentenceStore m_store;
    QTimer m_expiry;
    QRect m_area;
    bool m_bOpen = false;
    bool m_bRefreshPending = false;
    std::vector<Paragraph> m_paragraphs; // oldest first
    int m_iPadX = 0;
    int m_iPadY = 0;
    int m_iShownLines = 0;
    int m_iLayouts = 0;
};

#endif
