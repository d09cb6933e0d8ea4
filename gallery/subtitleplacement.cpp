#include "subtitleplacement.h"

#include "layoutgeometry.h"
#include "pagingrules.h"

#include <algorithm>

namespace kxsubtitle {

namespace {

QRect videoArea(const GalleryState& g)
{
    const QRect gallery(0, 0, g.W, g.H);
    const int n = g.n;
    switch (kxpaging::normalizedMode(g.mode)) {
    case 2:
        return kxlayout::sixCutRect(g.W, g.H, n, 0);
    case 3:
        return kxlayout::eightCutRect(g.W, g.H, n, 0);
    case 4:
        return gallery;
    case 5:
    case 6:
    case 7: {
        const kxlayout::SpeakerGeometry geo = kxlayout::speakerGeometry(g.mode, g.W, g.H, n, g.stripHidden);
        return n <= 1 ? geo.single : geo.big;
    }
    case 8: {
        const kxlayout::Speaker4Geometry geo = kxlayout::speaker4Geometry(g.W, g.H, n, std::max(0, n - 2), 0);
        return n <= 1 ? geo.single : geo.bigLeft.united(geo.bigRight);
    }
    case 9:
        return kxlayout::make169Rect(gallery, gallery);
    default: {
        QRect tiles;
        for (const QRect& r : kxlayout::equalCutRects(g.W, g.H, n, g.pageIdx))
            tiles = tiles.united(r);
        return tiles.isEmpty() ? gallery : tiles;
    }
    }
}

} // namespace

QRect bandArea(const GalleryState& g)
{
    const QRect gallery(0, 0, g.W, g.H);
    if (gallery.isEmpty())
        return QRect();
    // Tiles are one pixel wider than their cell on some edges: the band stays
    // inside the gallery whatever a tile does.
    QRect area = videoArea(g).intersected(gallery);
    for (const QRect& c : g.controls) {
        if (c.intersects(area))
            area.setTop(c.bottom() + 1);
    }
    return area.isValid() ? area : QRect();
}

} // namespace kxsubtitle
