#ifndef KX_STREAMPOLICY_H
#define KX_STREAMPOLICY_H

// Stream types asked of the host: 4 large, 3 ordinary, 2 small.
namespace kxstream {

enum { Small = 2, Normal = 3, Large = 4 };

// Type for the tiles of the current page (equal-cut, six-cut, eight-cut passes).
int curPageStreamType(int mode, int pageIdx, int n);
// Default type: 4 with fewer than 3 participants, else 3.
int defaultType(int n);
// setPersonDefStreamType's choice for one participant.
int defStreamType(int mode, int n, bool isFullScreenTile, bool isFocusPerson);

} // namespace kxstream

#endif
