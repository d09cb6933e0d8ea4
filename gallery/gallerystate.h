#ifndef KX_GALLERYSTATE_H
#define KX_GALLERYSTATE_H

#include <QString>

// What the overlays of one gallery read of the gallery as a whole. Each
// gallery has its own: a second gallery in the process shares nothing of it.
// Interface thread only.
struct GalleryState
{
    bool hostOrCoHost = false;  // the local user is host or co-host
    bool localShare = false;    // the local user shares
    bool sharePause = false;    // the share is paused
    bool showWatermark = false;
    QString watermark;          // drawn across share tiles while shown
};

#endif
