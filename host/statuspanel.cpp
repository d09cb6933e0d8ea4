#include "statuspanel.h"

#include "meeting.h"

#include <QHeaderView>
#include <QJsonArray>
#include <QLabel>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

QString messageName(unsigned int code)
{
    switch (code) {
    case 0: return QStringLiteral("mic click");
    case 1: return QStringLiteral("more click");
    case 2: return QStringLiteral("small stream");
    case 3: return QStringLiteral("normal stream");
    case 4: return QStringLiteral("large stream");
    case 8: return QStringLiteral("double click");
    case 10: return QStringLiteral("share tip");
    case 11: return QStringLiteral("toolbar");
    case 12: case 13: return QStringLiteral("look toast");
    case 16: return QStringLiteral("lock-look cancelled");
    case 17: return QStringLiteral("stop video");
    case 18: return QStringLiteral("resume video");
    case 19: return QStringLiteral("hide menu");
    case 20: return QStringLiteral("info updated");
    case 24: return QStringLiteral("recall");
    case 25: return QStringLiteral("share moved");
    case 26: return QStringLiteral("picture-in-picture");
    default: return QStringLiteral("other");
    }
}

QString streamTypeText(int type)
{
    switch (type) {
    case 2: return QStringLiteral("2 small");
    case 3: return QStringLiteral("3 normal");
    case 4: return QStringLiteral("4 large");
    default: return QStringLiteral("\u2013");
    }
}

// The traffic of one participant: what it costs us now, and what it would
// cost a client that pulls everyone's large stream all the time.
struct Traffic
{
    double bytes = 0;
    double pixels = 0;
    double naiveBytes = 0;
    double naivePixels = 0;

    explicit Traffic(const Participant* p = nullptr)
    {
        if (!p)
            return;
        bytes = p->bytesPerSecond;
        pixels = p->pixelsPerSecond;
        const QVector<ClipLayer> layers = p->layers();
        if (p->self || !p->video || p->unjoined || layers.isEmpty())
            return;
        naiveBytes = layers.last().bytesPerSecond;
        naivePixels = double(layers.last().width) * layers.last().height * layers.last().fps;
    }
    void add(const Traffic& t)
    {
        bytes += t.bytes;
        pixels += t.pixels;
        naiveBytes += t.naiveBytes;
        naivePixels += t.naivePixels;
    }
};

QString kBps(double bytes)
{
    return QStringLiteral("%1 kB/s").arg(bytes / 1000, 0, 'f', 1);
}

QString Mpxps(double pixels)
{
    return QStringLiteral("%1 Mpx/s").arg(pixels / 1e6, 0, 'f', 2);
}

double ratio(double naive, double actual)
{
    return actual > 0 ? naive / actual : 0;
}

QString rendererText(const QString& renderer)
{
    if (renderer == QLatin1String("gl"))
        return StatusPanel::tr("with OpenGL (gl)");
    if (renderer == QLatin1String("raster"))
        return StatusPanel::tr("on the CPU (raster)");
    return renderer;
}

QString kindText(const Participant* p)
{
    if (p->share)
        return QStringLiteral(" (screen)");
    if (p->self)
        return QStringLiteral(" (me)");
    if (p->unjoined)
        return QStringLiteral(" (invited)");
    if (p->role == 1)
        return QStringLiteral(" (host)");
    if (p->role == 2)
        return QStringLiteral(" (co-host)");
    return QString();
}

} // namespace

StatusPanel::StatusPanel(const Meeting& meeting, const HostCounters& counters, QWidget* parent)
    : QWidget(parent)
    , m_meeting(meeting)
    , m_counters(counters)
    , m_table(new QTreeWidget(this))
    , m_totals(new QLabel(this))
{
    m_table->setRootIsDecorated(false);
    m_table->setAlternatingRowColors(true);
    m_table->setHeaderLabels({tr("Participant"), tr("Mic"), tr("Asked"), tr("Receiving"), tr("kB/s"), tr("Frames")});
    m_table->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
    m_table->header()->setStretchLastSection(true);
    m_totals->setWordWrap(true);
    m_totals->setTextFormat(Qt::RichText);
    auto* box = new QVBoxLayout(this);
    box->setContentsMargins(6, 6, 6, 6);
    box->addWidget(new QLabel(tr("<b>What the gallery asked for</b>"), this));
    box->addWidget(m_table, 1);
    box->addWidget(m_totals);
}

Participant* StatusPanel::selected() const
{
    // Only a row the user picked: the tree has a current row even when nobody chose one.
    QTreeWidgetItem* item = m_table->selectedItems().value(0);
    return item ? m_meeting.fromUserData(item->data(0, Qt::UserRole).toULongLong()) : nullptr;
}

void StatusPanel::refresh()
{
    const QVector<Participant*> people = m_meeting.present();
    // Rows stay where they are so that the selection survives the refresh.
    while (m_table->topLevelItemCount() > people.size())
        delete m_table->takeTopLevelItem(m_table->topLevelItemCount() - 1);
    quint64 delivered = 0;
    quint64 refused = 0;
    Traffic total;
    for (int i = 0; i < people.size(); ++i) {
        const Participant* p = people.at(i);
        QTreeWidgetItem* item = m_table->topLevelItem(i);
        if (!item)
            item = new QTreeWidgetItem(m_table);
        item->setData(0, Qt::UserRole, QVariant::fromValue<qulonglong>(reinterpret_cast<uintptr_t>(p)));
        item->setText(0, p->name + kindText(p));
        item->setForeground(0, p->colour);
        item->setText(1, p->unjoined || p->share ? QString()
                         : !p->hasMic          ? tr("none")
                         : p->muted            ? tr("muted")
                                               : tr("open"));
        item->setText(2, p->share ? QString() : streamTypeText(p->streamType));
        // What the media engine receives: the layer it decodes, or nothing
        // while the gallery does not want the video (message 17).
        const Traffic t(p);
        const ClipLayer layer = p->layers().value(p->layer);
        item->setText(3, p->unjoined ? QString()
                         : !p->video ? tr("camera off")
                         : !p->pulled ? tr("stopped (17)")
                         : p->layer < 0 ? tr("waiting for a key frame")
                                        : QStringLiteral("%1\u00d7%2").arg(layer.width).arg(layer.height));
        item->setText(4, p->video && !p->self ? QString::number(t.bytes / 1000, 'f', 1) : QString());
        item->setText(5, p->video ? QString::number(p->delivered) : QString());
        delivered += p->delivered;
        refused += p->refused;
        total.add(t);
    }
    QString msgs;
    for (auto it = m_counters.messages.cbegin(); it != m_counters.messages.cend(); ++it)
        msgs += QStringLiteral("%1 <i>%2</i>: %3<br>").arg(it.key()).arg(messageName(it.key())).arg(it.value());
    m_totals->setText(tr("<b>Video drawn</b> %10<br>"
                         "<b>Received</b> %1, %2 decoded<br><b>Pulling every large stream</b> %3, %4<br>"
                         "<b>Saved</b> %5\u00d7 the bytes, %6\u00d7 the pixels<br>"
                         "<b>Frames</b> shown %7, refused %8<br><b>Messages received</b><br>%9")
                          .arg(kBps(total.bytes), Mpxps(total.pixels), kBps(total.naiveBytes), Mpxps(total.naivePixels))
                          .arg(ratio(total.naiveBytes, total.bytes), 0, 'f', 1)
                          .arg(ratio(total.naivePixels, total.pixels), 0, 'f', 1)
                          .arg(delivered)
                          .arg(refused)
                          .arg(msgs.isEmpty() ? tr("none yet") : msgs)
                          .arg(rendererText(m_counters.renderer)));
}

QJsonObject hostReport(const Meeting& meeting, const HostCounters& counters, int mode, QWidget* window,
                       QWidget* gallery, qint64 nowMs)
{
    QJsonObject r;
    r[QStringLiteral("elapsedMs")] = double(nowMs);
    r[QStringLiteral("renderer")] = counters.renderer;
    r[QStringLiteral("mode")] = mode;
    r[QStringLiteral("lastPageTurnMs")] = double(counters.lastPageTurnMs);
    int joined = 0;
    int withVideo = 0;
    int invited = 0;
    quint64 delivered = 0;
    quint64 refused = 0;
    Traffic total;
    QJsonArray people;
    for (const Participant* p : meeting.present()) {
        joined += p->share || p->unjoined ? 0 : 1;
        withVideo += p->video && !p->share ? 1 : 0;
        invited += p->unjoined ? 1 : 0;
        delivered += p->delivered;
        refused += p->refused;
        QJsonObject o;
        o[QStringLiteral("name")] = p->name;
        o[QStringLiteral("userId")] = QString::fromLocal8Bit(p->userId);
        o[QStringLiteral("self")] = p->self;
        o[QStringLiteral("share")] = p->share;
        o[QStringLiteral("invited")] = p->unjoined;
        o[QStringLiteral("video")] = p->video;
        o[QStringLiteral("muted")] = p->muted;
        o[QStringLiteral("colour")] = p->colour.name();
        o[QStringLiteral("streamType")] = p->streamType;
        o[QStringLiteral("pulled")] = bool(p->pulled);
        o[QStringLiteral("width")] = int(p->width);
        o[QStringLiteral("height")] = int(p->height);
        o[QStringLiteral("layer")] = int(p->layer);
        QJsonArray layers;
        for (const ClipLayer& l : p->layers())
            layers.append(QJsonObject{{QStringLiteral("width"), l.width},
                                      {QStringLiteral("height"), l.height},
                                      {QStringLiteral("fps"), l.fps},
                                      {QStringLiteral("bytesPerSecond"), l.bytesPerSecond}});
        o[QStringLiteral("layers")] = layers;
        o[QStringLiteral("delivered")] = double(p->delivered);
        o[QStringLiteral("refused")] = double(p->refused);
        o[QStringLiteral("decoded")] = double(p->decoded);
        o[QStringLiteral("bytesReceived")] = double(p->bytesReceived);
        const Traffic t(p);
        total.add(t);
        o[QStringLiteral("bytesPerSecond")] = t.bytes;
        o[QStringLiteral("pixelsPerSecond")] = t.pixels;
        o[QStringLiteral("naiveBytesPerSecond")] = t.naiveBytes;
        o[QStringLiteral("naivePixelsPerSecond")] = t.naivePixels;
        o[QStringLiteral("videoCloses")] = p->videoCloses;
        o[QStringLiteral("videoOpens")] = p->videoOpens;
        o[QStringLiteral("lastCloseMs")] = double(p->lastCloseMs);
        o[QStringLiteral("lastOpenMs")] = double(p->lastOpenMs);
        people.append(o);
    }
    r[QStringLiteral("participants")] = joined;
    r[QStringLiteral("withVideo")] = withVideo;
    r[QStringLiteral("invited")] = invited;
    r[QStringLiteral("sharing")] = meeting.shareStream() != nullptr;
    r[QStringLiteral("framesDelivered")] = double(delivered);
    r[QStringLiteral("framesRefused")] = double(refused);
    QJsonObject msgs;
    for (auto it = counters.messages.cbegin(); it != counters.messages.cend(); ++it)
        msgs[QString::number(it.key())] = it.value();
    r[QStringLiteral("messages")] = msgs;
    r[QStringLiteral("people")] = people;
    // What the gallery's choice of streams saves: received now against a
    // client that pulls every participant's large stream all the time.
    r[QStringLiteral("traffic")] = QJsonObject{{QStringLiteral("bytesPerSecond"), total.bytes},
                                               {QStringLiteral("pixelsPerSecond"), total.pixels},
                                               {QStringLiteral("naiveBytesPerSecond"), total.naiveBytes},
                                               {QStringLiteral("naivePixelsPerSecond"), total.naivePixels},
                                               {QStringLiteral("bytesSaving"), ratio(total.naiveBytes, total.bytes)},
                                               {QStringLiteral("pixelsSaving"), ratio(total.naivePixels, total.pixels)}};

    // Where the gallery's video tiles are on screen, in the window's
    // coordinates, read from the widget tree (diagnostics only: a host has no
    // need for it). A screenshot check samples inside these rectangles.
    QJsonArray tiles;
    if (gallery && window) {
        for (const QWidget* tile : gallery->findChildren<QWidget*>()) {
            if (!tile->inherits("CPlayWidget") || !tile->isVisible() || tile->window() != window || tile->width() < 8
                || tile->height() < 8)
                continue;
            const QRect g(tile->mapTo(window, QPoint(0, 0)), tile->size());
            tiles.append(QJsonArray{g.x(), g.y(), g.width(), g.height()});
        }
        const QRect area(gallery->mapTo(window, QPoint(0, 0)), gallery->size());
        r[QStringLiteral("gallery")] = QJsonArray{area.x(), area.y(), area.width(), area.height()};
    }
    r[QStringLiteral("tiles")] = tiles;
    return r;
}

QString summaryText(const QJsonObject& r)
{
    auto num = [](const QJsonObject& o, const char* key) { return o.value(QLatin1String(key)).toDouble(); };
    QString s;
    s += QStringLiteral("participants: %1 joined (%2 with video), %3 invited%4\n")
             .arg(r.value(QStringLiteral("participants")).toInt())
             .arg(r.value(QStringLiteral("withVideo")).toInt())
             .arg(r.value(QStringLiteral("invited")).toInt())
             .arg(r.value(QStringLiteral("sharing")).toBool() ? QStringLiteral(", sharing a screen") : QString());
    s += QStringLiteral("video drawn by the renderer: %1\n").arg(r.value(QStringLiteral("renderer")).toString());
    s += QStringLiteral("layout mode: %1, page %2 of %3, video tiles on screen: %4\n")
             .arg(r.value(QStringLiteral("mode")).toInt())
             .arg(r.value(QStringLiteral("page")).toInt())
             .arg(r.value(QStringLiteral("pages")).toInt())
             .arg(r.value(QStringLiteral("tiles")).toArray().size());
    if (r.contains(QStringLiteral("externalScreen")))
        s += QStringLiteral("external screen shows: %1\n").arg(r.value(QStringLiteral("externalScreen")).toString());
    s += QStringLiteral("frames delivered: %1, refused: %2\n")
             .arg(qint64(num(r, "framesDelivered")))
             .arg(qint64(num(r, "framesRefused")));
    s += QStringLiteral("messages received:");
    const QJsonObject msgs = r.value(QStringLiteral("messages")).toObject();
    for (auto it = msgs.begin(); it != msgs.end(); ++it)
        s += QStringLiteral(" %1(%2)=%3").arg(it.key(), messageName(it.key().toUInt())).arg(it.value().toInt());
    s += QLatin1Char('\n');
    const QJsonObject t = r.value(QStringLiteral("traffic")).toObject();
    s += QStringLiteral("video received: %1, %2 decoded; pulling every large stream: %3, %4\n"
                        "saved by the gallery's choice of streams: %5x the bytes, %6x the pixels\n")
             .arg(kBps(num(t, "bytesPerSecond")), Mpxps(num(t, "pixelsPerSecond")),
                  kBps(num(t, "naiveBytesPerSecond")), Mpxps(num(t, "naivePixelsPerSecond")))
             .arg(num(t, "bytesSaving"), 0, 'f', 1)
             .arg(num(t, "pixelsSaving"), 0, 'f', 1);
    for (const QJsonValue& v : r.value(QStringLiteral("people")).toArray()) {
        const QJsonObject o = v.toObject();
        if (!o.value(QStringLiteral("video")).toBool())
            continue;
        const int asked = o.value(QStringLiteral("streamType")).toInt();
        const QJsonObject layer = o.value(QStringLiteral("layers")).toArray().at(o.value(QStringLiteral("layer")).toInt()).toObject();
        s += QStringLiteral("  %1: asked %2, %3 %4, %5 frames shown, %6, %7 (every large stream: %8, %9)%10\n")
                 .arg(o.value(QStringLiteral("name")).toString() +
                          (o.value(QStringLiteral("share")).toBool() ? QStringLiteral(" (screen)") : QString()))
                 .arg(asked ? QString::number(asked) : QStringLiteral("-"))
                 .arg(o.value(QStringLiteral("self")).toBool() ? QStringLiteral("camera") : QStringLiteral("receiving"))
                 .arg(layer.isEmpty() ? QStringLiteral("nothing")
                                      : QStringLiteral("%1x%2").arg(layer.value(QStringLiteral("width")).toInt())
                                                                .arg(layer.value(QStringLiteral("height")).toInt()))
                 .arg(qint64(num(o, "delivered")))
                 .arg(kBps(num(o, "bytesPerSecond")), Mpxps(num(o, "pixelsPerSecond")),
                      kBps(num(o, "naiveBytesPerSecond")), Mpxps(num(o, "naivePixelsPerSecond")))
                 .arg(o.value(QStringLiteral("pulled")).toBool() ? QString() : QStringLiteral(", stopped"));
    }
    return s;
}
