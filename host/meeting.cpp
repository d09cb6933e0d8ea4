#include "meeting.h"

#include "mediaengine.h"

#include <QFont>
#include <QImage>
#include <QPainter>

namespace {

const char* const kNames[] = {"Ana",  "Bo",    "Chen",  "Dara",  "Emil", "Farah", "Gus",  "Hana", "Ivo",
                              "Jun",  "Kofi",  "Lena",  "Mia",   "Noor", "Oskar", "Priya", "Quinn", "Rosa",
                              "Sami", "Tariq", "Uma",   "Vera",  "Wen",  "Xavi",  "Yara",  "Zoe"};
constexpr int kNameCount = int(sizeof(kNames) / sizeof(kNames[0]));

QString nameFor(int i)
{
    return i < kNameCount ? QString::fromLatin1(kNames[i]) : QStringLiteral("Guest %1").arg(i + 1);
}

} // namespace

QImage avatarImage(const QString& name, const QColor& colour)
{
    QImage img(128, 128, QImage::Format_ARGB32_Premultiplied);
    img.fill(Qt::transparent);
    QPainter p(&img);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    p.drawEllipse(img.rect().adjusted(2, 2, -2, -2));
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setBold(true);
    font.setPixelSize(64);
    p.setFont(font);
    p.setPen(Qt::white);
    p.drawText(img.rect(), Qt::AlignCenter, name.left(1).toUpper());
    return img;
}

ClipRequest clipRequest(const Participant& p)
{
    ClipRequest r;
    r.title = p.share ? QStringLiteral("%1's screen").arg(p.name) : p.name;
    r.colour = p.colour;
    r.shape = p.camera;
    return r;
}

Meeting::Meeting(const KxApi& api, MediaEngine& media)
    : m_api(api)
    , m_media(media)
{
}

Participant* Meeting::create(const QString& name, bool video)
{
    const int i = int(m_all.size());
    auto p = std::make_unique<Participant>();
    p->name = name;
    p->userId = "user_" + name.toLower().toLocal8Bit().replace(' ', '_');
    // Twelve hues 30 degrees apart, neighbours far apart; then again, shifted.
    p->colour = QColor::fromHsv((i * 210 + (i / 12) * 15) % 360, 150, 170);
    p->joinTime = 1700000000 + i; // the order people joined in
    // One joins from a phone held upright, one has a camera of an unusual size.
    p->camera = i == 5 ? CameraShape::Portrait : i == 7 ? CameraShape::OddSize : CameraShape::Landscape;
    p->video = video;
    m_all.push_back(std::move(p));
    return m_all.back().get();
}

void Meeting::populate(int count, bool allVideo)
{
    for (int i = 0; i < count; ++i) {
        const bool invited = !allVideo && count >= 6 && i == count - 1;
        Participant* p = create(nameFor(i), allVideo || (!invited && !(i >= 6 && i % 2 == 0)));
        p->self = i == 0;
        p->role = i == 1 ? 1 : i == 2 ? 2 : 0;
        p->muted = i % 3 == 2;
        p->hasMic = allVideo || i != 8;
        if (invited) {
            p->unjoined = true;
            p->userId = "unjoined_" + p->userId;
        }
    }
    m_nextGuest = count;
}

void Meeting::enterGallery(void* screen)
{
    m_screen = screen;
    for (Participant* p : present())
        enter(p);
}

// Everything the gallery needs to know about one participant, in the order a
// meeting client learns it: the record, who it is, audio, then video.
void Meeting::enter(Participant* p)
{
    QByteArray id = p->userId;
    QByteArray extra;
    QByteArray name = p->name.toUtf8();
    p->streamType = 0;
    p->pulled = true;
    p->wantedLayer = 1; // the ordinary stream until the gallery asks for one
    // pUserData is our own participant: every notification hands it back.
    p->hPlay = m_api.AddPerson(m_screen, id.data(), extra.data(), name.data(), p->joinTime, 0, p,
                               p->unjoined ? 1 : 0);
    if (!p->hPlay)
        return;
    m_api.SetPersonInfo(m_screen, p->hPlay, p->self, p->role, name.data());
    const QImage avatar = avatarImage(p->name, p->colour);
    if (p->unjoined) {
        QByteArray local = p->name.toLocal8Bit();
        m_api.SetUnjoinedPersonInfo(m_screen, p->hPlay, local.data(), 1 /* calling */, avatar);
        return;
    }
    m_api.SetPersonHeadImg(m_screen, p->hPlay, &avatar);
    m_api.SetHasMic(m_screen, p->hPlay, p->hasMic);
    m_api.SetMute(m_screen, p->hPlay, p->muted ? 1 : 0);
    if (p->weak)
        m_api.UpdateNetWeak(m_screen, p->userId.constData(), true, 1);
    if (!p->video)
        m_api.Preview(m_screen, p->hPlay, false);
    else
        m_media.start(m_screen, p);
}

void Meeting::leaveGallery()
{
    m_media.stopAll();
    for (auto& p : m_all)
        p->hPlay = nullptr; // they die with the gallery
    m_screen = nullptr;
}

Participant* Meeting::addGuest(bool video)
{
    Participant* p = create(nameFor(m_nextGuest++), video);
    enter(p);
    return p;
}

void Meeting::remove(Participant* p)
{
    if (!p || p->left)
        return;
    if (p->self) // the local user leaves by ending the meeting, not from the roster
        return;
    // Its media thread must be gone before the play handle is.
    m_media.stop(p);
    if (p->hPlay)
        m_api.DelPerson(m_screen, p->hPlay);
    p->hPlay = nullptr;
    p->left = true;
}

void Meeting::setVideo(Participant* p, bool on)
{
    if (!p || p->left || p->unjoined || p->share || p->video == on)
        return;
    p->video = on;
    if (!on)
        m_media.stop(p);
    m_api.Preview(m_screen, p->hPlay, on);
    if (on)
        m_media.start(m_screen, p);
}

void Meeting::setMuted(Participant* p, bool muted)
{
    if (!p || p->left || p->unjoined || p->share)
        return;
    p->muted = muted;
    m_api.SetMute(m_screen, p->hPlay, muted ? 1 : 0);
}

void Meeting::setWeak(Participant* p, bool weak)
{
    if (!p || p->left || p->unjoined || p->share)
        return;
    p->weak = weak;
    m_api.UpdateNetWeak(m_screen, p->userId.constData(), weak, weak ? 1 : 6);
}

void Meeting::speak(Participant* p, int level)
{
    if (!p || p->left || p->unjoined || p->share || p->muted)
        return;
    m_api.SetVolume(m_screen, p->hPlay, level);
    QByteArray ids = p->userId;
    m_api.SetCurSpeakPerson(m_screen, ids.data());
}

void Meeting::startShare(Participant* sharer)
{
    if (!sharer || sharer->left || sharer->unjoined || shareStream())
        return;
    // A share is a participant of its own, with a "sharescreen_" user ID.
    Participant* s = create(sharer->name, true);
    s->share = true;
    s->camera = CameraShape::Screen;
    s->colour = sharer->colour;
    s->userId = "sharescreen_" + sharer->userId;
    s->joinTime = sharer->joinTime;
    enter(s);
}

void Meeting::stopShare()
{
    remove(shareStream());
}

void Meeting::recall(Participant* p)
{
    if (!p || p->left || !p->unjoined)
        return;
    QByteArray local = p->name.toLocal8Bit();
    m_api.SetUnjoinedPersonInfo(m_screen, p->hPlay, local.data(), 1 /* calling */, avatarImage(p->name, p->colour));
}

Participant* Meeting::fromUserData(uint64_t userData) const
{
    for (const auto& p : m_all)
        if (reinterpret_cast<uintptr_t>(p.get()) == userData)
            return p->left ? nullptr : p.get();
    return nullptr;
}

Participant* Meeting::find(const QString& key) const
{
    const QVector<Participant*> all = present();
    if (key.startsWith(QLatin1Char('#'))) {
        bool ok = false;
        const int k = key.mid(1).toInt(&ok);
        return ok && k >= 0 && k < all.size() ? all.at(k) : nullptr;
    }
    for (Participant* p : all)
        if (!p->share && p->name.compare(key, Qt::CaseInsensitive) == 0)
            return p;
    return nullptr;
}

QVector<Participant*> Meeting::present() const
{
    QVector<Participant*> out;
    for (const auto& p : m_all)
        if (!p->left)
            out.append(p.get());
    return out;
}

Participant* Meeting::shareStream() const
{
    for (const auto& p : m_all)
        if (p->share && !p->left)
            return p.get();
    return nullptr;
}
