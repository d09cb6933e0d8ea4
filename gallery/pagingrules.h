#ifndef KX_PAGINGRULES_H
#define KX_PAGINGRULES_H

#include <QPoint>
#include <QVector>

// Page arithmetic of the gallery.
namespace kxpaging {

// Stride used by nextPage: 8 in speaker4 (mode 8), 6 elsewhere.
int pageStride(int mode);
// Number of pages nextPage allows for n participants.
int pageCount(int mode, int n);
// Pages that show somebody, as a host counts them (at least 1): the grid's
// tiles six to a page; in the speaker layouts the strip's, six to a page
// (everybody but the big tile in 5 to 7, but the two big tiles in 8); one
// page in the layouts that do not page (2, 3, 4, 9). mode as dispatched.
int shownPageCount(int mode, int n);
bool is6CutOr8CutMode(int mode);
bool isFocusMode(int mode);   // 4..8
// Mode as dispatched: anything outside 1..9 is 1.
int normalizedMode(int mode);

// Which page controls testShowPageButton shows.
struct PageButtons {
    bool pagePre = false;   // equal-cut previous
    bool pageNext = false;  // equal-cut next
    bool stripPre = false;  // horizontal strip previous (modes 6, 7, 8)
    bool stripNext = false; // horizontal strip next
    bool pageUp = false;    // mode-5 strip previous
    bool pageDown = false;  // mode-5 strip next
    bool ctrlRHide = false; // hide the mode-5 strip
    bool ctrlLShow = false; // show it again
};
// hasStrip: a strip rectangle was given (the speaker passes give one; the
// pass before every layout does not).
PageButtons visibleButtons(int mode, int n, int pageIdx, bool stripHidden, bool hasStrip);

// testPrevPageForDelPerson: page index after a participant left (n = new roster size).
int pageAfterDelete(int pageIdx, int n);

// getFoucsStartPos: roster range [start, end) of the strip page, skipping the
// focus participant at focusIndex (-1 when none). pageIdx is lowered (not below
// 0) until start < n. Requires n >= 1. At page 0 the range is returned as it
// is even when start >= n (a lone focus participant): nothing to place.
struct FocusRange {
    int start = 0;
    int end = 0;
    int pageIdx = 0;
};
FocusRange focusStartPos(int pageIdx, int focusIndex, int n);
// Roster indices the speaker strip places, slot by slot, for a range from
// focusStartPos: the focus participant is skipped and at most six are taken.
QVector<int> speakerStripIndices(const FocusRange& range, int focusIndex, int n);

// Wheel: whole degrees of an angle delta (each coordinate / 8, rounded half away from zero).
QPoint wheelDegrees(const QPoint& angleDelta);
// Page turn for a wheel delta: -1 previous, +1 next, 0 none.
int wheelPageTurn(const QPoint& angleDelta);
// Vertical steps the application-wide wheel handler reports: whole degrees
// divided by 15, rounded half away from zero (0 when the degrees are null).
int appWheelSteps(const QPoint& angleDelta);

} // namespace kxpaging

#endif
