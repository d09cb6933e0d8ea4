#include "playinfolayout.h"

#include <QFontMetrics>
#include <QtGlobal>

namespace kxoverlay {

PlayInfoLayout layoutPlayInfo(const PlayInfoInput& in)
{
    PlayInfoLayout out;
    const int W = qMax(0, in.size.width());
    const int H = qMax(0, in.size.height());
    const QRect full(0, 0, W, H);

    // --- metrics, from the tile's 16:9 height
    const int base = qMin(H, W * 9 / 16);
    out.fontPx = qBound(11, qRound(base / 24.0), 18);
    out.smallFontPx = qMax(11, out.fontPx - 2);
    out.iconPx = qBound(16, qRound(out.fontPx * 1.45), 26);
    const int padV = qMax(2, out.iconPx / 6);
    out.padH = qMax(4, out.iconPx / 3);
    out.gap = qMax(3, out.iconPx / 4);
    out.plateH = out.iconPx + 2 * padV;
    out.margin = qMax(4, out.iconPx / 3);
    out.radius = qMax(3, out.plateH / 4);
    out.font = in.font;
    out.font.setPixelSize(out.fontPx);
    out.font.setWeight(QFont::Medium);
    out.smallFont = in.font;
    out.smallFont.setPixelSize(out.smallFontPx);
    const QFontMetrics fm(out.font);
    const QFontMetrics smallFm(out.smallFont);
    const int iconPx = out.iconPx;
    const int plateH = out.plateH;
    const int margin = out.margin;
    const int gap = out.gap;
    const int padH = out.padH;

    // --- the area the corners are placed against: the picture when there is
    // one and it has room for two rows of plates, else the whole tile.
    out.area = full;
    if (!in.placeholder && in.video.width() > 0 && in.video.height() > 0) {
        const QRect v = in.video.intersected(full);
        if (v.width() >= 2 * (plateH + margin) && v.height() >= 2 * plateH + 3 * margin)
            out.area = v;
    }
    const QRect& area = out.area;

    // --- top-right: "more"
    if (in.more)
        out.more = QRect(area.right() + 1 - margin - plateH, area.top() + margin, plateH, plateH);

    // --- top-left: look badges, with their words when all of them fit
    const int badgeRight = in.more ? out.more.left() - gap : area.right() + 1 - margin;
    const int badgeCount = qMin(in.badgeIcons.size(), in.badgeTexts.size());
    if (badgeCount > 0) {
        int withText = 0;
        for (int i = 0; i < badgeCount; ++i)
            withText += (i ? gap : 0) + 2 * padH + iconPx + gap + fm.horizontalAdvance(in.badgeTexts.at(i));
        const bool words = area.left() + margin + withText <= badgeRight;
        int x = area.left() + margin;
        const int y = area.top() + margin;
        for (int i = 0; i < badgeCount; ++i) {
            PlayInfoBadge b;
            b.iconName = in.badgeIcons.at(i);
            int w = plateH;
            if (words) {
                b.label = in.badgeTexts.at(i);
                const int tw = fm.horizontalAdvance(b.label);
                w = 2 * padH + iconPx + gap + tw;
                b.icon = QRect(x + padH, y + padV, iconPx, iconPx);
                b.text = QRect(b.icon.right() + 1 + gap, y, tw + 1, plateH);
            } else {
                b.icon = QRect(x + padV, y + padV, iconPx, iconPx);
            }
            if (x + w > badgeRight)
                break;
            b.rect = QRect(x, y, w, plateH);
            out.badges.append(b);
            x += w + gap;
        }
    }

    // --- bottom row: the name plate at the left, the resolution at the right
    const int rowY = area.bottom() + 1 - margin - plateH;
    bool showRes = !in.resolution.isEmpty();
    const int resW = showRes ? smallFm.horizontalAdvance(in.resolution) + 2 * padH : 0;

    int fixedW = 2 * padH;
    int pieces = 0;
    if (in.mic) {
        fixedW += iconPx;
        ++pieces;
    }
    if (in.shareIcon) {
        fixedW += iconPx;
        ++pieces;
    }
    if (in.net) {
        fixedW += iconPx;
        ++pieces;
    }
    const bool wantName = !in.plateText.isEmpty();
    // the gaps between the pieces that are there, the name counted as one
    const int gapsW = gap * qMax(0, pieces + (wantName ? 1 : 0) - 1);
    auto nameRoom = [&](bool withRes) {
        const int plateMax = area.width() - 2 * margin - (withRes ? resW + gap : 0);
        return plateMax - fixedW - gapsW;
    };
    int room = nameRoom(showRes);
    // The name matters more than the resolution.
    if (showRes && wantName && room < 4 * out.fontPx) {
        showRes = false;
        room = nameRoom(false);
    }
    QString nameText;
    if (wantName && room >= 2 * out.fontPx)
        nameText = fm.elidedText(in.plateText, Qt::ElideRight, room);
    const int nameW = nameText.isEmpty() ? 0 : fm.horizontalAdvance(nameText);
    const int shownPieces = pieces + (nameText.isEmpty() ? 0 : 1);
    if (shownPieces > 0) {
        int x = area.left() + margin + padH;
        const int iconY = rowY + padV;
        bool first = true;
        auto advance = [&](int w) {
            QRect r(x + (first ? 0 : gap), rowY, w, plateH);
            x = r.right() + 1;
            first = false;
            return r;
        };
        if (in.mic)
            out.mic = QRect(advance(iconPx).left(), iconY, iconPx, iconPx);
        if (in.shareIcon)
            out.shareIcon = QRect(advance(iconPx).left(), iconY, iconPx, iconPx);
        if (!nameText.isEmpty()) {
            out.name = advance(nameW + 1);
            out.nameText = nameText;
        }
        if (in.net)
            out.net = QRect(advance(iconPx).left(), iconY, iconPx, iconPx);
        out.plate = QRect(area.left() + margin, rowY, x + padH - (area.left() + margin), plateH);
    }
    if (showRes) {
        out.resolutionText = in.resolution;
        out.resolution = QRect(area.right() + 1 - margin - resW, rowY, resW, plateH);
    }

    // --- centre: avatar, call state, recall
    if (in.placeholder) {
        const int band = margin + plateH + gap;
        const int availH = H - 2 * band;
        const int availW = W - 2 * margin;
        const int lineH = fm.height();
        const bool hasStatus = !in.status.isEmpty();
        int recallW = 0;
        QString recallText;
        if (in.recall) {
            // Measured in the control's own (heavier) face.
            QFont buttonFont = out.font;
            buttonFont.setWeight(QFont::DemiBold);
            const int textW = QFontMetrics(buttonFont).horizontalAdvance(in.recallText);
            const int withText = 3 * padH + iconPx + gap + textW;
            if (!in.recallText.isEmpty() && withText <= availW) {
                recallW = withText;
                recallText = in.recallText;
            } else {
                recallW = plateH;
            }
        }
        const int recallH = plateH;
        const int extras = (hasStatus ? 2 * gap + lineH : 0) + (in.recall ? 2 * gap + recallH : 0);
        int d = qBound(24, qRound(qMin(W, H) * 0.34), 160);
        d = qMin(d, qMin(availW, availH - extras));
        if (d >= 12) {
            const int groupH = d + extras;
            const int top = band + (availH - groupH) / 2;
            out.avatar = QRect((W - d) / 2, top, d, d);
            int y = out.avatar.bottom() + 1;
            if (hasStatus) {
                out.statusText = fm.elidedText(in.status, Qt::ElideRight, availW);
                out.status = QRect(margin, y + 2 * gap, availW, lineH);
                y = out.status.bottom() + 1;
            }
            if (in.recall) {
                out.recall = QRect((W - recallW) / 2, y + 2 * gap, recallW, recallH);
                out.recallText = recallText;
            }
        }
    }
    return out;
}

bool operator==(const PlayInfoInput& a, const PlayInfoInput& b)
{
    return a.size == b.size && a.video == b.video && a.placeholder == b.placeholder && a.plateText == b.plateText
        && a.mic == b.mic && a.shareIcon == b.shareIcon && a.net == b.net && a.more == b.more
        && a.badgeIcons == b.badgeIcons && a.badgeTexts == b.badgeTexts && a.resolution == b.resolution
        && a.status == b.status && a.recall == b.recall && a.recallText == b.recallText && a.font == b.font;
}

bool operator==(const PlayInfoBadge& a, const PlayInfoBadge& b)
{
    return a.rect == b.rect && a.icon == b.icon && a.text == b.text && a.iconName == b.iconName && a.label == b.label;
}

bool operator==(const PlayInfoLayout& a, const PlayInfoLayout& b)
{
    return a.fontPx == b.fontPx && a.smallFontPx == b.smallFontPx && a.iconPx == b.iconPx && a.plateH == b.plateH
        && a.margin == b.margin && a.padH == b.padH && a.gap == b.gap && a.radius == b.radius && a.font == b.font
        && a.smallFont == b.smallFont && a.area == b.area && a.plate == b.plate && a.mic == b.mic
        && a.shareIcon == b.shareIcon && a.name == b.name && a.nameText == b.nameText && a.net == b.net
        && a.more == b.more && a.badges == b.badges && a.resolution == b.resolution
        && a.resolutionText == b.resolutionText && a.avatar == b.avatar && a.status == b.status
        && a.statusText == b.statusText && a.recall == b.recall && a.recallText == b.recallText;
}

} // namespace kxoverlay
