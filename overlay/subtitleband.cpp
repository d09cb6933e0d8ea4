#include "subtitleband.h"

#include "modulelog.h"
#include "playinfolayout.h"
#include "qkxscreenconfig.h"

#include <QFontMetrics>
#include <QPainter>
#include <QTextLayout>
#include <QtGlobal>
#include <QtMath>

namespace {

constexpr int kMaxLines = 3;
// Opaque enough that the words read over a bright or a busy picture, clear
// enough that the picture still shows who is speaking.
constexpr int kBackAlpha = 204;
// Longer lines are hard to follow live: the band stops growing at about
// seventy characters.
constexpr int kMaxWidthEm = 36;

} // namespace

SubtitleBand::SubtitleBand(QWidget* gallery, qint64 lifetimeMs)
    : QWidget(gallery)
    , m_store(kxsubtitle::SentenceStore::Clock(), lifetimeMs)
{
    setObjectName(QStringLiteral("kxSubtitleBand"));
    // Only read: clicks and the wheel go to the tiles underneath.
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setAutoFillBackground(false);
    hide();
    m_expiry.setSingleShot(true);
    connect(&m_expiry, &QTimer::timeout, this, &SubtitleBand::refresh);
}

SubtitleBand::~SubtitleBand() = default;

void SubtitleBand::addSentence(int iType, int iIndex, const QString& name, const QString& text)
{
    if (m_store.add(iType, iIndex, name, text))
        scheduleRefresh();
}

void SubtitleBand::clear()
{
    KXLOG << "[ScreenMod]subtitles cleared:" << m_store.size();
    m_store.clear();
    refresh();
}

void SubtitleBand::setOpen(bool bOpen)
{
    KXLOG << "[ScreenMod]subtitles open:" << bOpen;
    m_bOpen = bOpen;
    refresh();
}

void SubtitleBand::setArea(const QRect& area)
{
    if (area != m_area) {
        m_area = area;
        refresh();
    }
    if (isVisible())
        raise();
}

void SubtitleBand::scheduleRefresh()
{
    if (m_bRefreshPending)
        return;
    m_bRefreshPending = true;
    QMetaObject::invokeMethod(this, [this]() { refresh(); }, Qt::QueuedConnection);
}

void SubtitleBand::refresh()
{
    m_bRefreshPending = false;
    m_store.expire();
    const qint64 next = m_store.msToNextExpiry();
    if (next < 0)
        m_expiry.stop();
    else
        m_expiry.start(int(qMin<qint64>(next, m_store.lifetimeMs())));
    m_paragraphs.clear();
    m_iShownLines = 0;
    if (!m_bOpen || m_store.size() == 0 || m_area.isEmpty()) {
        hide();
        return;
    }

    // Sized by the gallery, within the module's scaled limits, so that the
    // words stay readable on a small gallery and modest on a large one.
    const QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    const int galleryH = parentWidget() ? parentWidget()->height() : m_area.height();
    const int fontPx = qBound(cfg->dpiScale(14), galleryH / 28, cfg->dpiScale(28));
    QFont f = font();
    f.setPixelSize(fontPx);
    const QFontMetrics fm(f);
    const int margin = cfg->dpiScale(8);
    // The tiles' name plates and microphones stay in view under the band: it
    // stands above the plate row of a 16:9 tile as wide as its area, the
    // tallest that row can be there (a page control may have taken the top of
    // the area, so its height says less).
    kxoverlay::PlayInfoInput tile;
    tile.size = QSize(m_area.width(), m_area.width() * 9 / 16);
    const kxoverlay::PlayInfoLayout plates = kxoverlay::layoutPlayInfo(tile);
    const int lift = plates.plateH + 2 * plates.margin;
    m_iPadX = fontPx * 2 / 3;
    m_iPadY = fontPx / 3;
    const int w = qMin(m_area.width() - 2 * margin, fontPx * kMaxWidthEm);
    const int textW = w - 2 * m_iPadX;
    const int room = m_area.height() - margin - lift - 2 * m_iPadY;
    const int maxLines = qMin(kMaxLines, room / qMax(1, fm.lineSpacing()));
    if (maxLines < 1 || textW < 4 * fontPx) {
        hide();
        return;
    }

    // From the newest sentence back, until the band is full.
    QTextCharFormat bold;
    bold.setFontWeight(QFont::DemiBold);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    int lines = 0;
    const QVector<kxsubtitle::SentenceStore::Sentence>& all = m_store.sentences();
    for (int i = all.size() - 1; i >= 0 && lines < maxLines; --i) {
        const kxsubtitle::SentenceStore::Sentence& s = all.at(i);
        if (s.text.isEmpty())
            continue;
        const QString label = s.name.isEmpty() ? QString() : s.name + QStringLiteral(": ");
        auto layout = std::make_unique<QTextLayout>(label + s.text, f);
        layout->setTextOption(option);
        if (!label.isEmpty())
            layout->setFormats({QTextLayout::FormatRange{0, label.size(), bold}});
        layout->beginLayout();
        qreal y = 0;
        for (QTextLine line = layout->createLine(); line.isValid(); line = layout->createLine()) {
            line.setLineWidth(textW);
            line.setPosition(QPointF(0, y));
            y += line.height();
        }
        layout->endLayout();
        lines += layout->lineCount();
        m_paragraphs.insert(m_paragraphs.begin(), Paragraph{std::move(layout), 0});
    }
    if (lines == 0) {
        hide();
        return;
    }
    m_paragraphs.front().firstLine = qMax(0, lines - maxLines);
    m_iShownLines = qMin(lines, maxLines);
    ++m_iLayouts;

    qreal h = 2 * m_iPadY;
    for (const Paragraph& p : m_paragraphs) {
        for (int l = p.firstLine; l < p.layout->lineCount(); ++l)
            h += p.layout->lineAt(l).height();
    }
    const int bandH = qMin(qCeil(h), m_area.height() - margin - lift);
    setGeometry(m_area.left() + (m_area.width() - w) / 2, m_area.bottom() + 1 - lift - bandH, w, bandH);
    show();
    raise();
    update();
}

void SubtitleBand::paintEvent(QPaintEvent* event)
{
    Q_UNUSED(event);
    const QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QColor back(cfg->getBackColor());
    back.setAlpha(kBackAlpha);
    painter.setPen(Qt::NoPen);
    painter.setBrush(back);
    const qreal radius = m_iPadY + 2;
    painter.drawRoundedRect(QRectF(rect()), radius, radius);

    painter.setPen(QColor(cfg->getTextColor()));
    qreal y = m_iPadY;
    for (const Paragraph& p : m_paragraphs) {
        for (int l = p.firstLine; l < p.layout->lineCount(); ++l) {
            const QTextLine line = p.layout->lineAt(l);
            line.draw(&painter, QPointF(m_iPadX, y - line.y()));
            y += line.height();
        }
    }
}
