#ifndef KX_QKXSCREENCONFIG_H
#define KX_QKXSCREENCONFIG_H

#include <QList>
#include <QMap>
#include <mutex>
#include <QObject>
#include <QRect>
#include <QString>
#include <atomic>
#include <thread>

class CAbsUIMsgCallback;
class QWidget;
struct tagPersonInfo;
struct KxCloudRTCVideoFrameQT;

// The module's one shared object: settings read by every part, registries that
// outlive a gallery, the host callback list, the frame lock, and the signals
// that carry exports to the gallery controller. Lives on the interface thread.
class QKXScreenConfig : public QObject
{
    Q_OBJECT
public:
    static QKXScreenConfig* getInstance();
    // Deletes the instance (library detach). Safe to call when none exists.
    static void destroyInstance();

    // --- deleted-participant registry (freed records) --------------------
    // True when the record at this address has been freed; bErase removes the entry.
    bool testDelPerson(void* pPerson, bool bErase = false);
    void addDelPerson(void* pPerson);
    int delPersonCount() const;
    // Empties the registry; only when no gallery (and so no tile, overlay or
    // queued call that could hold a record's address) is left.
    void clearDelPersons();

    // --- colours by skin ---------------------------------------------------
    QString getBackColor() const;   // "#FFFFFF" light, "#2A2E36" dark
    QString getTextColor() const;   // "#262626" light, "#FFFFFF" dark
    QString getScreenColor() const; // "#FFFFFF" light, "#0C1017" dark
    QString getAccentColor() const; // the active speaker's border: "#1E9E5A" light, "#2ECC71" dark

    // --- settings file -------------------------------------------------------
    void setBaseDir(const QString& dir);
    QString baseDir() const;
    // Reads baseDir + "/user_data/sys_ver.ini" on a detached thread.
    void getLoadingParam();
    // The same read, on the calling thread (used by the detached thread).
    void loadSettingsNow();
    bool cacheEveryFrame() const { return m_bCacheFrame.load(); }
    bool showResolution() const { return m_bShowResolution.load(); }

    // --- host callbacks -------------------------------------------------------
    void addCallback(CAbsUIMsgCallback* cb);
    void removeCallback(CAbsUIMsgCallback* cb);
    // Sends one notification to every registered callback, over a copy of the list.
    void notifyHost(unsigned int msg, quint64 wParam, quint64 lParam);
    int callbackCount() const;
    // True while a host function is running (interface thread): gallery code
    // that sent the notification is still on the stack below it.
    bool inHostNotification() const { return m_iNotifyDepth > 0; }

    // --- layout -----------------------------------------------------------
    int curScreenMode() const { return m_iCurScreenMode.load(); }
    void setCurScreenMode(int mode) { m_iCurScreenMode.store(mode); }
    int preScreenMode() const { return m_iPreScreenMode; }
    void setPreScreenMode(int mode) { m_iPreScreenMode = mode; }

    // Pixel lengths scaled for the display; lengths are used unchanged.
    int dpiScale(int px) const { return px; }

    // --- skin and display ------------------------------------------------
    bool isNewSkin() const { return m_bNewSkin.load(); }
    void setNewSkin(bool b) { m_bNewSkin.store(b); }
    void setDPIs(double d1, double d2);
    double dpi1() const;
    double dpi2() const;

    // Frame lock: held by PlayFrame, DelPerson and participant removal.
    std::recursive_mutex& frameLock() { return m_frameLock; }

    // Debug frame dump: writes the whole frame to
    // "<base>/log/tmpFrame/(<name>)<id>_<w>x<h>.yuv"; the directory is not created.
    void dumpFrame(const tagPersonInfo* pPerson, const KxCloudRTCVideoFrameQT* frame);
    static QString dumpFilePath(const QString& baseDir, const QString& userName,
                                const QString& userID, int w, int h);

    // Clears per-meeting state when the last participant leaves.
    void resetMeetingState();

    // Members read by the gallery parts (plain fields, interface thread unless noted).
    int m_iPreScreenMode = 1;
    QWidget* m_pFocusPlayWidget = nullptr;   // the focus tile
    QWidget* m_pMaxPlayWidget = nullptr;     // the tile shown full screen (mode 9)
    QWidget* m_pSecondBigPlayWidget = nullptr; // right big tile of speaker4
    QWidget* m_pBigPlayWidget = nullptr;     // big tile of six-cut / eight-cut
    bool m_b4K = false;
    bool m_bSpeaker4Active = false;          // the speaker4 layout reference is live
    QString m_qstrImgDir = QStringLiteral(":/pic/");
    QString m_qstrSvgDir = QStringLiteral(":/svg/");
    QRect m_rcScreen;                        // the gallery's screen
    QRect m_rcDest;                          // the gallery's own rectangle
    bool m_bNewIcon = true;                  // SVG strip controls instead of PNG
    bool m_bHostOrCoHost = false;            // the local user is host or co-host
    bool m_bHasShare = false;                // a remote screen share is present
    bool m_bDisplayOrderFlag = false;        // argument of the last onDisplayOrder
    bool m_bLocalShare = false;              // the local user shares
    bool m_bSharePause = false;
    bool m_bSilenceSelfNoTile = false;       // no missing-tile log for the local user
    bool m_bSubtitleOpen = false;
    QString m_qstrSeparator = QStringLiteral("@");
    bool m_bExtScreenShowing = false;
    // The external-screen window while it is open; read by host threads
    // (a share that arrives while it is open is kept for it).
    std::atomic<QWidget*> m_pExtScreen{nullptr};
    QString m_extUserID;                     // participant shown on the external screen
    QString m_qstrAciveUserID;               // active speaker
    QString m_qstrShareWatermark;
    bool m_bShowWatermark = false;
    std::atomic<bool> m_bMeetingRoomMinimized{false};
    std::atomic<bool> m_bPrimaryScreen{false};
    int m_iPersonCount = 0;

signals:
    void modSignalMove(QRect rect, int flags);
    void modSignalAllLook(void* pPerson, bool b);
    void modSignalLookLock(void* pPerson, bool b);
    void modSignalPreviewMute(void* pPerson, bool b);
    void modSignalDelPerson(void* pPerson);
    void modSignalMeetingMode(int mode);
    void modSignalScreenToolbar(QRect rect, bool b);
    void modSignalAudioMute(void* pPerson, bool b);
    void modSignalHasMic(void* pPerson, bool b);
    void modSignalPersonInfo(void* pPerson, bool bSelf, int iRoleType, QString name);
    void modSignalVolume(void* pPerson, int volume);
    void modSignalAddPerson(void* pPerson);
    void playFrameUpdateUI(void* pPerson, int width, int height);
    void modSignalFocusByUserID(QString userID);
    void modSignalSwitchMode();
    void notifyUpdatePersonInfo(void* pPlayHdl, void* pPerson);
    void modSignalMoreInHide(void* pPerson);
    void modSignalSetScreenMode(int mode);
    void modSignalJoinMeetingFinish();
    void notifyClickExtPlayWidget(void* pPerson);
    void notifyPicInPicOne();
    void notifyPicInPicMutil(bool b);
    void notifyPicInPicChangePage(bool bNext);
    void notifyClickPicInPicPlayWidget(void* pPerson);
    void modSignalVoiceActivate(QString userID);
    void modSignalCancelVoiceActivate();
    void modSignalSetSpeakList(QString userIDs);
    void clickPageCtl(QWidget* pCtrl);
    void notifyClickAudioCtrl(void* pPerson);
    void notifyClickMore(void* pPerson, int pos);
    void notifyRecallPerson(void* pPerson);
    void modSignalSetSharePause(bool bPause);
    void modSignalPrimaryScreenChanged(bool bPrimary);
    void modSignalStartLocalShare(int iShareType, bool b);
    void modSignalStopLoaclShare();
    void modSignalSetShareWatermark(QString text, bool bShow);
    void modSignalShareWhiteBoard(QString userID, bool bShare, bool bDulMode);
    void modSignalReposShareWgtPos();
    void modSignalUpdateNetWeak(QString userID, bool bNetWeak, int iNetLevel);
    void modSignalAddSubtitle(int iType, int iIndex, QString name, QString text);
    void modSignalClearSubtitles();
    void modSignalOpenSubtitle(bool bOpen);
    void modSignalMeetingRoomMinimized(bool bMinimized);
    void notifyDisplayOrder(bool bOrderForMute);
    void notifyCurScreenMode(int iMode);
    void notifyExtPreview(QString userID, bool bPreview);

public:
    // Subtitles: forwarded to the gallery, which keeps and shows them.
    void addSentence(int iType, int iIndex, const QString& name, const QString& text);
    void clearSubtitles();

protected:
    bool event(QEvent* e) override;

private:
    explicit QKXScreenConfig(QObject* parent = nullptr);
    ~QKXScreenConfig() override;

    std::atomic<int> m_iCurScreenMode{1};
    std::atomic<bool> m_bCacheFrame{false};
    std::atomic<bool> m_bShowResolution{false};
    std::atomic<bool> m_bNewSkin{false};

    mutable std::mutex m_registryLock;           // guards m_deletedPersonRegistry
    QMap<void*, void*> m_deletedPersonRegistry;
    mutable std::mutex m_callbackLock;           // guards m_callbacks
    QList<CAbsUIMsgCallback*> m_callbacks;
    mutable std::mutex m_settingsLock;           // guards m_qstrBaseDir, dpi
    QString m_qstrBaseDir;
    std::thread m_settingsReader;                // reads the settings file for Init
    double m_dpi1 = 1.0;
    double m_dpi2 = 1.0;
    std::recursive_mutex m_frameLock;
    int m_iNotifyDepth = 0;                  // host functions running, interface thread only
};

#endif
