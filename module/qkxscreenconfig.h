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

// The module's one shared object: what is truly per process. Settings read by
// every part (settings file, skin, scale factors), registries that outlive a
// gallery, the host callback list, the frame lock and the layout a new gallery
// starts in. Everything about one gallery belongs to that gallery. Lives on
// the interface thread.
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
    // Reads baseDir + "/user_data/sys_ver.ini" on a thread of its own
    // (interface thread; waits for the read an earlier call started).
    void getLoadingParam();
    // Waits for that read, if one is going (interface thread).
    void waitForSettings();
    // The same read, on the calling thread (used by the reader thread).
    void loadSettingsNow();
    bool cacheEveryFrame() const { return m_bCacheFrame.load(); }
    // The file's "version/renderer" (how tiles draw), read at once: that is
    // chosen before the first tile exists, and once per process.
    static QString rendererSetting(const QString& baseDir);
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
    // Something waits for the outermost host notification to return.
    void settleAfterNotification() { m_bSettleDue = true; }

    // --- layout -----------------------------------------------------------
    // The layout a new gallery starts in: the last one a host set. Each
    // gallery keeps its own current layout.
    int startMode() const { return m_iStartMode.load(); }
    void setStartMode(int mode) { m_iStartMode.store(mode); }

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

    // Members read by the gallery parts (plain fields, interface thread unless noted).
    bool m_b4K = false;
    QString m_qstrImgDir = QStringLiteral(":/pic/");
    QString m_qstrSvgDir = QStringLiteral(":/svg/");
    QRect m_rcScreen;                        // the primary screen's available area
    QRect m_rcDest;                          // the primary screen's area
    bool m_bNewIcon = true;                  // SVG strip controls instead of PNG
    bool m_bSilenceSelfNoTile = false;       // no missing-tile log for the local user
    QString m_qstrSeparator = QStringLiteral("@");
    // The last KXScreen_SetMeetingRoomMinimized without a gallery named: it
    // reaches every gallery (any thread).
    std::atomic<bool> m_bMeetingRoomMinimized{false};

protected:
    bool event(QEvent* e) override;

private:
    explicit QKXScreenConfig(QObject* parent = nullptr);
    ~QKXScreenConfig() override;

    std::atomic<int> m_iStartMode{1};
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
    bool m_bSettleDue = false;               // interface thread only
};

#endif
