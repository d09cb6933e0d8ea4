#include "layoutgeometry.h"

#include <algorithm>

namespace kxlayout {

namespace {

// Truncation toward zero of a double, as the fit has always done it.
int truncToInt(double v)
{
    return static_cast<int>(v);
}

// Fitted size of a w x h box: the top-left corner stays, the box shrinks
// toward its right or bottom.
QSize fittedSize(int w, int h)
{
    const QRect rc = myMake169Rect(QRect(0, 0, w, h));
    return QSize(rc.width(), rc.height());
}

// Edge moves of a tile: the right (bottom) edge is set to left + w (top + h),
// which with inclusive edges makes the tile one pixel wider (taller) than w (h).
void setHorizontal(QRect& rc, int left, int w)
{
    rc.setLeft(left);
    rc.setRight(left + w);
}

void setVertical(QRect& rc, int top, int h)
{
    rc.setTop(top);
    rc.setBottom(top + h);
}

// The gallery fitted to 16:9 and centred in both directions; every layout uses
// it for a lone participant (six-cut excepted).
QRect centredSingle(int W, int H)
{
    QRect rc = myMake169Rect(QRect(0, 0, W, H));
    const int w = rc.width();
    const int h = rc.height();
    setHorizontal(rc, (W - w) / 2, w);
    setVertical(rc, (H - h) / 2, h);
    return rc;
}

struct Frame {
    int fw = 0;
    int fh = 0;
    int offX = 0;
    int offY = 0;
};

// The 16:9 area centred in the gallery that six-cut and eight-cut divide.
Frame commonFrame(int W, int H)
{
    Frame f;
    const QSize s = fittedSize(W, H);
    f.fw = s.width();
    f.fh = s.height();
    f.offX = (W - f.fw) / 2;
    f.offY = (H - f.fh) / 2;
    return f;
}

QRect sixCutBig(const Frame& f, int g)
{
    QRect rc = myMake169Rect(QRect(0, 0, f.fw * 2 / 3 - g, f.fh * 2 / 3 - g));
    const int bw = rc.width();
    const int bh = rc.height();
    setHorizontal(rc, f.offX, bw);
    setVertical(rc, f.offY, bh);
    return rc;
}

} // namespace

QRect myMake169Rect(const QRect& rc)
{
    QRect out = rc;
    const double w0 = rc.width();
    const double h0 = rc.height();
    if (w0 / 16 > h0 / 9)
        out.setWidth(truncToInt(h0 * 16 / 9));
    else if (h0 / 9 > w0 / 16)
        out.setHeight(truncToInt(w0 * 9 / 16));
    return out;
}

QRect make169Rect(const QRect& rc, const QRect& gallery, int g)
{
    QRect out = rc;
    const int l = rc.left();
    const int t = rc.top();
    const int w0 = rc.width();
    const int h0 = rc.height();
    const int cx = gallery.left() + gallery.width() / 2;
    const int cy = gallery.top() + gallery.height() / 2;
    // Integer quotients: a rectangle a few pixels off 16:9 counts as 16:9.
    const int qw = w0 / 16;
    const int qh = h0 / 9;
    if (qw > qh) {
        const int nw = truncToInt(h0 * 16.0 / 9.0);
        int left = l + (w0 - nw) / 2;
        setHorizontal(out, left, nw);
        if (cx - nw > 0) {
            // Narrow enough for one half: keep to the half the tile is in,
            // one gap away from the centre line.
            if (left >= cx)
                left = cx + g;
            else
                left = cx - g - nw;
            setHorizontal(out, left, nw);
        }
    } else if (qw < qh) {
        const int nh = truncToInt(w0 * 9.0 / 16.0);
        int top = t + (h0 - nh) / 2;
        setVertical(out, top, nh);
        if (nh <= cy) {
            // The lower half starts one pixel below the centre whatever the gap.
            if (top >= cy)
                top = cy + 1;
            else
                top = cy - g - nh;
            setVertical(out, top, nh);
        }
    }
    return out;
}

EqualCutGrid equalCutGrid(int W, int H, int n, int g)
{
    EqualCutGrid grid;
    if (n < 1)
        return grid;
    int gapX = 0;
    int gapY = 0;
    if (n == 1) {
        grid.columns = 1;
        grid.rows = 1;
    } else if (n == 2) {
        grid.columns = 2;
        grid.rows = 1;
        gapX = 2 * g;
    } else if (n <= 4) {
        grid.columns = 2;
        grid.rows = 2;
        gapX = 2 * g;
        gapY = 2 * g;
    } else {
        // From five on the grid is 3 x 2 whatever the page holds.
        grid.columns = 3;
        grid.rows = 2;
        gapX = 4 * g;
        gapY = 2 * g;
    }
    const QSize s = fittedSize((W - gapX) / grid.columns, (H - gapY) / grid.rows);
    grid.w = s.width();
    grid.h = s.height();
    return grid;
}

QRect equalCutRect(int W, int H, int n, int slot, int g)
{
    if (n < 1 || slot < 0)
        return QRect();
    const EqualCutGrid grid = equalCutGrid(W, H, n, g);
    const int w = grid.w;
    const int h = grid.h;
    const int col = slot % grid.columns;
    const int row = slot / grid.columns;
    const int x0 = w * col + 2 * g * col;
    const int y0 = h * row + 2 * g * row;
    QRect rc(x0, y0, w, h);

    if (n == 1) {
        setVertical(rc, (H - h) / 2, h);
        setHorizontal(rc, (W - w) / 2, w);
    } else if (n == 2) {
        // Centred vertically only: the pair starts at the left edge.
        setVertical(rc, (H - h) / 2, h);
    } else if (n == 3) {
        if (slot < 2)
            setHorizontal(rc, (W - 2 * w - 2 * g) / 2 + (w + 2 * g) * slot, w);
        else
            setHorizontal(rc, (W - w) / 2, w);
        setVertical(rc, (H - 2 * h - 2 * g) / 2 + (h + 2 * g) * (slot / 2), h);
    } else if (n == 4) {
        setHorizontal(rc, (W - 2 * w - 2 * g) / 2 + (w + 2 * g) * (slot % 2), w);
        setVertical(rc, (H - 2 * h - 2 * g) / 2 + (h + 2 * g) * (slot / 2), h);
    } else if (n == 5) {
        if (slot < 3)
            setHorizontal(rc, (W - 3 * w - 4 * g) / 2 + (w + 2 * g) * (slot % 3), w);
        else
            setHorizontal(rc, (W - 2 * w - 2 * g) / 2 + (w + 2 * g) * (slot % 3), w);
        setVertical(rc, (H - 2 * h - 2 * g) / 2 + (h + 2 * g) * (slot / 3), h);
    } else {
        setHorizontal(rc, (W - 3 * w - 4 * g) / 2 + (w + 2 * g) * (slot % 3), w);
        setVertical(rc, (H - 2 * h - 2 * g) / 2 + (h + 2 * g) * (slot / 3), h);
    }
    return rc;
}

QVector<QRect> equalCutRects(int W, int H, int n, int pageIdx, int g)
{
    QVector<QRect> rects;
    for (int i = 0; i < 6; ++i) {
        const int k = pageIdx * 6 + i;
        if (k >= n)
            break;
        rects.append(equalCutRect(W, H, n, i, g));
    }
    return rects;
}

Speaker4Geometry speaker4Geometry(int W, int H, int n, int smallCount, int pageIdx, int g)
{
    Speaker4Geometry geo;
    if (n <= 1) {
        geo.single = centredSingle(W, H);
        return geo;
    }

    const QSize big = fittedSize(W / 2 - g, H);
    const int wL = big.width();
    const int hL = big.height();
    const int wR = wL;
    const int hR = hL;

    int ws = 0;
    int hs = 0;
    int v = 0;
    if (n > 2) {
        const QSize small = fittedSize((W - 10 * g) / 6, H / 6);
        ws = small.width();
        hs = small.height();
        v = hs / 2;
    }

    // Big row, gap and strip form one block centred vertically.
    const int top = (H - hL - v - hs) / 2;
    geo.bigLeft = QRect((W - wL - wR - 2 * g) / 2, top, wL, hL);
    // Measured from the inclusive right edge: the visible gap is 2g - 1.
    geo.bigRight = QRect(geo.bigLeft.right() + 2 * g, top, wR, hR);

    const int stripTop = geo.bigLeft.bottom() + v;
    geo.strip = QRect(0, stripTop, ws, hs);

    if (n > 2) {
        const int remaining = smallCount - pageIdx * 6;
        const int cnt = remaining <= 6 ? remaining : 6;
        // The first page's strip is centred, later pages start at the left edge.
        const int x0 = pageIdx == 0 ? (W - cnt * (ws + 2 * g)) / 2 : 0;
        for (int i = 0; i < 6; ++i) {
            const int k = pageIdx * 6 + i;
            if (k >= smallCount)
                break;
            geo.small.append(QRect((ws + 2 * g) * i + x0, stripTop, ws, hs));
        }
    }
    return geo;
}

SpeakerGeometry speakerGeometry(int mode, int W, int H, int n, bool stripHidden, int g)
{
    SpeakerGeometry geo;
    if (n <= 1) {
        geo.single = centredSingle(W, H);
        return geo;
    }

    QSize small;
    QSize big;
    int left = 0;
    int top = 0;
    if (mode == 5) {
        // A hidden strip column has width 0: the small base goes negative and
        // the big tile takes the whole width.
        const int c = stripHidden ? 0 : W / 6;
        small = fittedSize(c - 2 * g, (H - 10 * g) / 6);
        big = fittedSize(W - small.width(), H);
        left = ((W - big.width()) - 2 * g - small.width()) / 2;
        top = (H - big.height()) / 2;
    } else {
        small = fittedSize(W / 6 - 2 * g, H / 6 - 2 * g);
        big = fittedSize(W, H * 5 / 6 - 2 * g);
        left = (W - big.width()) / 2;
        if (mode == 6)
            top = g;
        else
            top = (H - big.height() - small.height()) / 2 + small.height() + g;
    }

    QRect rc(0, 0, big.width(), big.height());
    setHorizontal(rc, left, big.width());
    setVertical(rc, top, big.height());
    geo.big = rc;
    geo.smallSize = small;
    if (mode == 5)
        geo.stripX = rc.right() + 2 * g;
    return geo;
}

QRect speakerSmallRect(int mode, int W, int H, int n, const SpeakerGeometry& geo, int placed, int g)
{
    const int sw = geo.smallSize.width();
    const int sh = geo.smallSize.height();
    // The strip is laid out as if full on every page.
    const int cnt = (n - 1) <= 6 ? (n - 1) : 6;
    int x = 0;
    int y = 0;
    if (mode == 5) {
        x = geo.stripX;
        y = (H - (cnt * sh + 2 * g * (cnt - 1))) / 2 + (sh + 2 * g) * placed;
    } else {
        x = (W - (cnt * sw + 2 * g * (cnt - 1))) / 2 + (sw + 2 * g) * placed;
        y = mode == 6 ? H * 5 / 6 + g : g;
    }
    return QRect(x, y, sw, sh);
}

QRect sixCutRect(int W, int H, int n, int slot, int g)
{
    const Frame f = commonFrame(W, H);
    if (slot == 0) {
        if (n != 1)
            return sixCutBig(f, g);
        // A lone participant is centred in the frame, not in the gallery, so it
        // sits at the gallery's top-left corner.
        QRect rc = myMake169Rect(QRect(0, 0, f.fw, f.fh));
        const int w = rc.width();
        const int h = rc.height();
        setHorizontal(rc, (f.fw - w) / 2, w);
        setVertical(rc, (f.fh - h) / 2, h);
        return rc;
    }
    if (slot < 0 || slot > 5)
        return QRect();

    // With a lone participant the big tile is never made: an empty rectangle.
    const QRect big = n != 1 ? sixCutBig(f, g) : QRect();
    QRect rc(0, 0, f.fw / 3 - 2 * g, f.fh / 3 - 2 * g);
    if (slot <= 2) {
        const int hw = big.width() / 2;
        const int hh = big.height() / 2;
        setHorizontal(rc, big.right() + 2 * g, hw);
        const int top = f.offY + (slot - 1) * (hh + g);
        rc.setTop(top);
        rc.setBottom(std::min(top + hh - g, big.bottom()));
    } else {
        const int w = big.width() / 2;
        const int h = big.height() / 2;
        const int left = f.offX + (slot - 3) * (w + g);
        rc.setLeft(left);
        rc.setRight(left + w - g);
        setVertical(rc, big.bottom() + 2 * g, h);
    }
    return rc;
}

QRect eightCutRect(int W, int H, int n, int slot, int g)
{
    const Frame f = commonFrame(W, H);
    const QSize bigSize = fittedSize(f.fw * 3 / 4 - g, f.fh * 3 / 4 - g);
    const int bw = bigSize.width();
    const int bh = bigSize.height();
    const int cw = bw / 3;
    const int ch = bh / 3;

    QRect big;
    if (n != 1) {
        big = QRect(0, 0, bw, bh);
        setHorizontal(big, f.offX, bw);
        setVertical(big, f.offY, bh);
    }
    if (slot == 0)
        return n != 1 ? big : centredSingle(W, H);
    if (slot < 0 || slot > 7)
        return QRect();

    QRect rc(0, 0, (f.fw - 6 * g) / 4, (f.fh - 6 * g) / 4);
    if (slot <= 3) {
        const int left = big.right() + 2 * g;
        rc.setLeft(left);
        rc.setRight(left + cw - g);
        const int top = f.offY + (slot - 1) * (ch + g);
        rc.setTop(top);
        // The last tile of the column ends with the big tile.
        rc.setBottom(slot == 3 ? big.bottom() : top + ch - g);
    } else {
        // The last bottom tile stands under the right column.
        const int left = slot == 7 ? big.right() + 2 * g : f.offX + (slot - 4) * (cw + g);
        rc.setLeft(left);
        // The tile under the big tile's right end ends with it.
        rc.setRight(slot == 6 ? big.right() : left + cw - g);
        setVertical(rc, big.bottom() + 2 * g, ch);
    }
    return rc;
}

QRect shareStageRect(int W, int H)
{
    return centredSingle(W, H);
}

QRect splitStageRect(int W, int H, int half, int g)
{
    // Two halves with the gap unit between them, each a small stage of its own.
    const int hw = (W - 2 * g) / 2;
    QRect rc = myMake169Rect(QRect(0, 0, hw, H));
    const int w = rc.width();
    const int h = rc.height();
    const int x0 = half == 0 ? 0 : hw + 2 * g;
    setHorizontal(rc, x0 + (hw - w) / 2, w);
    setVertical(rc, (H - h) / 2, h);
    return rc;
}

PicInPicGeometry picInPicGeometry(bool several, int count, int pageIdx, int oneWidth, int screenWidth)
{
    // Small enough to leave the screen to whatever the user works on, large
    // enough to tell faces and read a name.
    constexpr int kBar = 28;
    constexpr int kButton = 24;
    constexpr int kGap = 4;
    constexpr int kGrip = 16;
    PicInPicGeometry geo;
    const int widest = screenWidth > 0 ? qMax(kPicInPicMinWidth, screenWidth / 3) : oneWidth;
    geo.oneWidth = qBound(kPicInPicMinWidth, oneWidth, qMax(kPicInPicMinWidth, widest));
    const int width = several ? geo.oneWidth * 3 / 4 : geo.oneWidth;
    const int tileH = width * 9 / 16;
    const int perPage = several ? 4 : 1;
    geo.pages = qMax(1, (count + perPage - 1) / perPage);
    geo.pageIdx = several ? qBound(0, pageIdx, geo.pages - 1) : 0;
    const int shown = qBound(1, count - geo.pageIdx * perPage, perPage);
    geo.window = QSize(width, kBar + shown * tileH + (shown - 1) * kGap);
    geo.bar = QRect(0, 0, width, kBar);
    const int y = (kBar - kButton) / 2;
    geo.close = QRect(width - kButton - kGap, y, kButton, kButton);
    geo.toggle = QRect(width - 2 * (kButton + kGap), y, kButton, kButton);
    geo.grip = QRect(width - kGrip, geo.window.height() - kGrip, kGrip, kGrip);
    if (several) {
        geo.prev = QRect(kGap, y, kButton, kButton);
        geo.next = QRect(2 * kGap + kButton, y, kButton, kButton);
    }
    for (int i = 0; i < qMin(shown, count); ++i)
        geo.tiles.append(QRect(0, kBar + i * (tileH + kGap), width, tileH));
    return geo;
}

namespace {

qint64 areaOf(const QRect& r)
{
    return r.isEmpty() ? 0 : qint64(r.width()) * r.height();
}

// The left (or top) edge that keeps a span of length len within [lo, hi].
int clampSpan(int at, int len, int lo, int hi)
{
    return qBound(lo, at, qMax(lo, hi - len + 1));
}

} // namespace

QPoint keepOnScreens(const QRect& wanted, const QVector<QRect>& areas)
{
    if (areas.isEmpty())
        return wanted.topLeft();
    QRect box;
    for (const QRect& a : areas)
        box |= a;
    QRect r = wanted;
    r.moveTopLeft(QPoint(clampSpan(r.left(), r.width(), box.left(), box.right()),
                         clampSpan(r.top(), r.height(), box.top(), box.bottom())));
    // The screens do not overlap: covered wholly when the parts add up.
    qint64 covered = 0;
    int best = 0;
    qint64 bestOverlap = -1;
    qint64 bestDistance = 0;
    for (int i = 0; i < areas.size(); ++i) {
        const qint64 overlap = areaOf(r & areas.at(i));
        const QPoint d = areas.at(i).center() - r.center();
        const qint64 distance = qint64(d.x()) * d.x() + qint64(d.y()) * d.y();
        covered += overlap;
        if (overlap > bestOverlap || (overlap == bestOverlap && distance < bestDistance)) {
            best = i;
            bestOverlap = overlap;
            bestDistance = distance;
        }
    }
    if (covered >= areaOf(r))
        return r.topLeft();
    const QRect& a = areas.at(best);
    return QPoint(clampSpan(r.left(), r.width(), a.left(), a.right()),
                  clampSpan(r.top(), r.height(), a.top(), a.bottom()));
}

} // namespace kxlayout
