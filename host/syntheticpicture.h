// The picture a participant sends with --synthetic: painted, not encoded, so
// that a run needs no codec. Used by tests that must not depend on one.
#ifndef KXHOST_SYNTHETICPICTURE_H
#define KXHOST_SYNTHETICPICTURE_H

#include <QColor>
#include <QRect>
#include <QString>
#include <cstdint>
#include <vector>

class QImage;

// A participant's moving picture in I420. The still part (background, name,
// size caption) is painted and converted once per size; each frame only moves
// a small block over it, so a dozen of these at 30 fps cost little.
class SyntheticPicture
{
public:
    SyntheticPicture(const QString& title, const QColor& colour, bool screen);
    // Frame n at w x h, packed I420.
    const std::vector<uint8_t>& frame(int w, int h, quint64 n);

private:
    int chromaW() const { return (m_w + 1) / 2; }
    int chromaH() const { return (m_h + 1) / 2; }
    QRect blockAt(quint64 n) const;
    void copyBlock(const QRect& r, const uint8_t* from);
    void fillBlock(const QRect& r, uint8_t Y, uint8_t U, uint8_t V);
    void paintStill(int w, int h);
    void toI420(const QImage& img);

    QString m_title;
    QColor m_colour;
    bool m_screen;
    int m_w = 0;
    int m_h = 0;
    std::vector<uint8_t> m_still; // the picture without the block
    std::vector<uint8_t> m_buf;   // what is handed to the module
    QRect m_block;
};

#endif
