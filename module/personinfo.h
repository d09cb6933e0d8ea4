#ifndef KX_PERSONINFO_H
#define KX_PERSONINFO_H

#include <QImage>
#include <QString>
#include <QtGlobal>
#include <atomic>
#include <mutex>

class CPlayWidget;

// A pointer field that the interface thread writes while host threads read it:
// loads and stores are atomic, and it reads like the plain pointer it stands for.
template <typename T>
class KxSharedPtr
{
public:
    KxSharedPtr(T* p = nullptr) : m_p(p) {}
    KxSharedPtr(const KxSharedPtr& o) : m_p(static_cast<T*>(o)) {}
    KxSharedPtr& operator=(const KxSharedPtr& o) { return *this = static_cast<T*>(o); }
    KxSharedPtr& operator=(T* p)
    {
        m_p.store(p, std::memory_order_release);
        return *this;
    }
    operator T*() const { return m_p.load(std::memory_order_acquire); }
    T* operator->() const { return *this; }

private:
    std::atomic<T*> m_p;
};

// One participant as the gallery knows it. Created on the host's thread by
// QDlgScreen::AddMeetingPerson, owned and freed by the gallery controller.
// The frame buffer fields (iWidth .. iAlignedWidth) are touched only under the
// frame lock and the showing tile's mutex.
//
// Host threads read a few fields while the interface thread may change them
// (the frame path asks for the tile, the video flag and the local-user flag):
// those are atomic. userName is only assigned under the frame lock, the only
// lock under which host threads read it. userID never changes after creation.
struct tagPersonInfo
{
    QString userID;              // "sharescreen_..." share stream, "unjoined_..." invited
    QString userName;
    qint32 iRoleType = 0;        // 1 host, 2 co-host
    std::atomic<bool> bSelf{false}; // the local user
    bool bMute = true;
    bool bHasMic = true;
    KxSharedPtr<CPlayWidget> pWidget; // tile showing this participant, or null
    void* pUserData = nullptr;   // the host's pointer, handed back in notifications
    bool bLockLook = false;      // the local user locked the view on this participant
    std::atomic<bool> bPreview{true}; // video is on
    bool bVideoStatusChange = false; // bPreview changed; consumed by the display order
    bool bAllLook = false;       // the host made everyone look at this participant
    qint32 eStreamStatus = 0;    // 0 no stream yet, 1 no frames flowing, 2 frames arriving
    bool bStreamTypeChange = true; // iStreamType must be announced to the host again
    qint32 iStreamType = 0;      // 2 small, 3 ordinary, 4 large
    qint32 iVolume = 0;          // speaking level last reported by the host, 0..100
    qint32 iExtra = 0;           // host value, stored unchanged
    qint64 joinTime = 0;
    std::atomic<bool> bFrameNoticeQueued{false}; // a frame's follow-up waits for the interface thread
    std::atomic<qint64> addTime{0}; // ms since epoch: creation, then last frame / stream tick
    bool bAttached = false;      // a tile has taken the record
    qint32 iNetLevel = 6;        // 1..6 quality, 0 unknown yet, -1 waiting abandoned
    bool bNetWeak = false;
    qint32 m_iStatus = 1;        // call state of an invited participant
    QImage headImage;
    QString qstrExtra;           // host value, stored unchanged
    std::atomic<qint32> iWidth{0};  // written by the frame path, read by the follow-up
    std::atomic<qint32> iHeight{0};
    unsigned char* m_pBufYuv420p = nullptr; // I420, owned
    qint32 iBufLen = 0;
    qint32 iAlignedWidth = 0;    // iWidth & ~7
    // Guards the frame buffer fields against two tiles at once: the tile that
    // copies a frame in (host thread) and any tile that draws the record
    // (a participant can be shown in two places). Taken inside a tile's mutex.
    mutable std::recursive_mutex bufMutex;
    bool bFocusMark = false;     // set by the speaker4 pass for its focus participant
    bool bSpeaking = false;      // reported as the active speaker right now
    bool bPinned = false;        // the local user pinned this participant
    qint64 spokeAt = 0;          // when last reported as active speaker (ms, steady clock); 0 never
    // Unique over the process's life (addresses are reused, serials are not):
    // work queued for a participant carries it, so that work meant for one
    // who has left never acts on a newcomer at the same address.
    quint64 serial = 0;

    tagPersonInfo() = default;
    ~tagPersonInfo();
    tagPersonInfo(const tagPersonInfo&) = delete;
    tagPersonInfo& operator=(const tagPersonInfo&) = delete;

    // The next serial number (never 0).
    static quint64 nextSerial();

    // A screen share is a record of its own whose user ID is the sharer's
    // with this prefix. The record counts as a share when its ID begins with
    // the prefix; a tile and its overlay treat an ID that contains it anywhere
    // as a share. Both rules are case-sensitive.
    static constexpr char kSharePrefix[] = "sharescreen_";
    static bool isShareID(const QString& id) { return id.startsWith(QLatin1String(kSharePrefix)); }
    static bool showsShare(const QString& id) { return id.contains(QLatin1String(kSharePrefix)); }
    // The sharer's user ID in a share's ID.
    static QString sharerOf(const QString& shareID) { return shareID.mid(int(sizeof(kSharePrefix)) - 1); }

    bool isShareScreen() const { return isShareID(userID); }
    bool isUnjoined() const { return userID.startsWith(QLatin1String("unjoined_")); }
    bool hasVideo() const { return bPreview && eStreamStatus != 0 && eStreamStatus != 1; }
};
typedef tagPersonInfo ST_PersonInfo;

// The handle the host holds for one participant.
struct ST_KXPlayHdl
{
    QString userID;
    QString userName;
    tagPersonInfo* pPlayData = nullptr;
};

#endif
