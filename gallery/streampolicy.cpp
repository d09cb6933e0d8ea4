#include "streampolicy.h"

namespace kxstream {

int curPageStreamType(int mode, int pageIdx, int n)
{
    if (mode == 1) {
        if (pageIdx * 6 + 6 <= n)
            return Normal; // a full page
        int remainder = n - pageIdx * 6;
        // A last page after the first counts as full, so pages beyond the
        // first stay at the ordinary type however few tiles they hold.
        if (pageIdx >= 1)
            remainder = 6;
        if (remainder <= 2)
            return Large;
        if (remainder <= 9)
            return Normal;
        return Small;
    }
    if (mode == 2 || mode == 3)
        return Normal;
    return Small;
}

int defaultType(int n)
{
    return n < 3 ? Large : Normal;
}

int defStreamType(int mode, int n, bool isFullScreenTile, bool isFocusPerson)
{
    switch (mode) {
    case 9:
        return isFullScreenTile ? Large : defaultType(n);
    case 5:
        return isFocusPerson ? Large : Small;
    case 1:
        return defaultType(n);
    default:
        return Normal;
    }
}

} // namespace kxstream
