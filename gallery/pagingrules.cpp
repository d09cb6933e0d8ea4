#include "pagingrules.h"

namespace kxpaging {

namespace {

// Integer quotient rounded half away from zero (computed wide so that no
// delta overflows).
int divRoundAway(int value, int divisor)
{
    const qint64 v = value;
    const qint64 d = divisor;
    if (v >= 0)
        return static_cast<int>((v + d / 2) / d);
    return static_cast<int>(-((-v + d / 2) / d));
}

// Shown with a next control: the page after pageIdx still has tiles.
bool hasNext(int pageIdx, int count)
{
    return (pageIdx + 1) * 6 < count;
}

} // namespace

int pageStride(int mode)
{
    return mode == 8 ? 8 : 6;
}

int pageCount(int mode, int n)
{
    if (n <= 0)
        return 0;
    // Six-cut and eight-cut never turn a page.
    if (is6CutOr8CutMode(mode))
        return 1;
    const int stride = pageStride(mode);
    return n / stride + (n % stride > 0 ? 1 : 0);
}

int shownPageCount(int mode, int n)
{
    int paged = 0; // the tiles that are paged, six to a page
    if (mode == 1)
        paged = n;
    else if (mode >= 5 && mode <= 7)
        paged = n - 1;
    else if (mode == 8)
        paged = n - 2;
    return paged > 6 ? (paged + 5) / 6 : 1;
}

bool is6CutOr8CutMode(int mode)
{
    return mode == 2 || mode == 3;
}

bool isFocusMode(int mode)
{
    return mode >= 4 && mode <= 8;
}

int normalizedMode(int mode)
{
    return (mode < 1 || mode > 9) ? 1 : mode;
}

PageButtons visibleButtons(int mode, int n, int pageIdx, bool stripHidden, bool hasStrip)
{
    PageButtons b;
    if (mode == 1) {
        if (n > 6) {
            b.pagePre = pageIdx > 0;
            b.pageNext = hasNext(pageIdx, n);
        }
        return b;
    }
    if (!hasStrip)
        return b;
    switch (mode) {
    case 5:
        if (n > 1) {
            b.ctrlRHide = !stripHidden;
            b.ctrlLShow = stripHidden;
        }
        if (n - 1 > 6) {
            b.pageUp = pageIdx > 0;
            b.pageDown = hasNext(pageIdx, n - 1) && !stripHidden;
        }
        break;
    case 6:
    case 7:
        if (n - 1 > 6) {
            b.stripPre = pageIdx > 0;
            b.stripNext = hasNext(pageIdx, n - 1);
        }
        break;
    case 8:
        // The control counts six small tiles a page although nextPage strides by 8.
        if (n - 2 > 6) {
            b.stripPre = pageIdx > 0;
            b.stripNext = hasNext(pageIdx, n - 2);
        }
        break;
    default:
        break;
    }
    return b;
}

int pageAfterDelete(int pageIdx, int n)
{
    if (pageIdx * 6 < n)
        return pageIdx;
    --pageIdx;
    return pageIdx < 0 ? 0 : pageIdx;
}

FocusRange focusStartPos(int pageIdx, int focusIndex, int n)
{
    FocusRange r;
    for (;;) {
        r.pageIdx = pageIdx;
        r.start = pageIdx * 6;
        r.end = r.start + 6;
        if (focusIndex >= 0) {
            if (r.start >= focusIndex) {
                // The whole range lies past the focus participant.
                ++r.start;
                ++r.end;
            } else if (r.start + 6 > focusIndex) {
                // The focus participant is inside: widen so six others remain.
                ++r.end;
            }
        }
        // Page 0 cannot go lower; stop there rather than spin (a lone focus
        // participant gives start 1 with n 1).
        if (r.start < n || pageIdx <= 0)
            return r;
        --pageIdx;
    }
}

QVector<int> speakerStripIndices(const FocusRange& range, int focusIndex, int n)
{
    QVector<int> out;
    const int slots = range.end - range.pageIdx * 6;
    int offset = 0;
    int seen = 0;
    while (out.size() < slots) {
        const int k = range.start + offset;
        if (k >= n)
            break;
        if (k == focusIndex) {
            ++offset;
            continue;
        }
        if (++seen > 6)
            break;
        out.append(k);
        ++offset;
    }
    return out;
}

QPoint wheelDegrees(const QPoint& angleDelta)
{
    return QPoint(divRoundAway(angleDelta.x(), 8), divRoundAway(angleDelta.y(), 8));
}

int wheelPageTurn(const QPoint& angleDelta)
{
    const QPoint degrees = wheelDegrees(angleDelta);
    if (degrees.isNull())
        return 0;
    const int steps = degrees.y() / 15;
    if (degrees.y() < 1)
        return steps < 0 ? 1 : 0;
    return steps >= 1 ? -1 : 0;
}

int appWheelSteps(const QPoint& angleDelta)
{
    const QPoint degrees = wheelDegrees(angleDelta);
    if (degrees.isNull())
        return 0;
    return divRoundAway(degrees.y(), 15);
}

} // namespace kxpaging
