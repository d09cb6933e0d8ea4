#include "qkxscreenconfig.h"

#include "cabsuimsgcallback.h"
#include "kxscreenmod2.h"
#include "kxscreenhandle.h"
#include "kxsync.h"
#include "modulelog.h"
#include "personinfo.h"
#include "platform.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <thread>

namespace {
QKXScreenConfig* g_instance = nullptr;
}

QKXScreenConfig* QKXScreenConfig::getInstance()
{
    if (!g_instance)
        g_instance = new QKXScreenConfig(nullptr);
    return g_instance;
}

void QKXScreenConfig::destroyInstance()
{
    delete g_instance;
    g_instance = nullptr;
}

QKXScreenConfig::QKXScreenConfig(QObject* parent)
    : QObject(parent)
{
    if (QCoreApplication::instance())
        m_qstrBaseDir = QCoreApplication::applicationDirPath();
    QRect screenRect;
    QRect destRect;
    if (auto* app = qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        if (QScreen* screen = app->primaryScreen()) {
            screenRect = screen->availableGeometry();
            destRect = screen->geometry();
        }
    }
    m_rcScreen = screenRect;
    m_rcDest = destRect;
    KXLOG << "screenRect:" << screenRect << ",destRect:" << destRect;

    // The 4K image set stays switched off: the raster images are drawn for the
    // ordinary set and scaled by the toolkit.
    const bool use4K = false;
    if (use4K) {
        m_b4K = true;
        m_qstrImgDir = QStringLiteral(":/pic4k/");
    } else {
        m_qstrImgDir = QStringLiteral(":/pic/");
    }
}

QKXScreenConfig::~QKXScreenConfig()
{
    // The reader runs the module's code: a host may unload the library while
    // it reads.
    kxplatform::retireThread(m_settingsReader);
}

bool QKXScreenConfig::event(QEvent* e)
{
    // Work posted from a host thread (kxsync::post) runs here.
    return kxsync::handle(e) || QObject::event(e);
}

bool QKXScreenConfig::testDelPerson(void* pPerson, bool bErase)
{
    std::lock_guard<std::mutex> lock(m_registryLock);
    auto it = m_deletedPersonRegistry.find(pPerson);
    if (it == m_deletedPersonRegistry.end())
        return false;
    if (bErase)
        m_deletedPersonRegistry.erase(it);
    return true;
}

void QKXScreenConfig::addDelPerson(void* pPerson)
{
    std::lock_guard<std::mutex> lock(m_registryLock);
    m_deletedPersonRegistry.insert(pPerson, pPerson);
}

void QKXScreenConfig::clearDelPersons()
{
    std::lock_guard<std::mutex> lock(m_registryLock);
    m_deletedPersonRegistry.clear();
}

int QKXScreenConfig::delPersonCount() const
{
    std::lock_guard<std::mutex> lock(m_registryLock);
    return m_deletedPersonRegistry.size();
}

QString QKXScreenConfig::getBackColor() const
{
    return isNewSkin() ? QStringLiteral("#FFFFFF") : QStringLiteral("#2A2E36");
}

QString QKXScreenConfig::getTextColor() const
{
    return isNewSkin() ? QStringLiteral("#262626") : QStringLiteral("#FFFFFF");
}

QString QKXScreenConfig::getAccentColor() const
{
    // Green reads as "talking" in both skins; darker on white, brighter on
    // the dark skin, strong enough against any picture at 3 pixels.
    return isNewSkin() ? QStringLiteral("#1E9E5A") : QStringLiteral("#2ECC71");
}

QString QKXScreenConfig::getScreenColor() const
{
    return isNewSkin() ? QStringLiteral("#FFFFFF") : QStringLiteral("#0C1017");
}

void QKXScreenConfig::setBaseDir(const QString& dir)
{
    std::lock_guard<std::mutex> lock(m_settingsLock);
    m_qstrBaseDir = dir;
}

QString QKXScreenConfig::baseDir() const
{
    std::lock_guard<std::mutex> lock(m_settingsLock);
    return m_qstrBaseDir;
}

void QKXScreenConfig::getLoadingParam()
{
    // The disk is read on a thread of its own so that KXScreen_Init does not
    // wait for it (only, if it is still going, for the read the Init before
    // started); the two flags are written once and read without a lock.
    waitForSettings();
    m_settingsReader = std::thread([this]() { loadSettingsNow(); });
}

void QKXScreenConfig::waitForSettings()
{
    if (m_settingsReader.joinable())
        m_settingsReader.join();
}

void QKXScreenConfig::loadSettingsNow()
{
    const QString iniFile = baseDir() + QStringLiteral("/user_data/sys_ver.ini");
    bool cacheFrame = false;
    bool showRes = false;
    // A directory without our settings is not an error, but the host should
    // hear that the module runs on its defaults: it may have meant another.
    if (QFileInfo(iniFile).isFile()) {
        QSettings settings(iniFile, QSettings::IniFormat);
        if (settings.status() == QSettings::NoError) {
            cacheFrame = settings.value(QStringLiteral("version/cache_frame1"), false).toBool();
            showRes = settings.value(QStringLiteral("version/show_resolution"), false).toBool();
        } else {
            KXWARN << "[ScreenMod]KXScreen_Init: the settings file" << iniFile
                   << "cannot be read as INI; the defaults are used";
        }
    } else {
        KXWARN << "[ScreenMod]KXScreen_Init: no settings file" << iniFile
               << "(baseDir + \"/user_data/sys_ver.ini\"); the defaults are used";
    }
    m_bCacheFrame.store(cacheFrame);
    m_bShowResolution.store(showRes);
    KXLOG << "qstrIniFile:" << iniFile << "bShowRes:" << showRes;
}

QString QKXScreenConfig::rendererSetting(const QString& baseDir)
{
    const QString iniFile = baseDir + QStringLiteral("/user_data/sys_ver.ini");
    if (!QFileInfo(iniFile).isFile())
        return QString();
    return QSettings(iniFile, QSettings::IniFormat).value(QStringLiteral("version/renderer")).toString();
}

void QKXScreenConfig::addCallback(CAbsUIMsgCallback* cb)
{
    if (!cb)
        return;
    std::lock_guard<std::mutex> lock(m_callbackLock);
    if (!m_callbacks.contains(cb))
        m_callbacks.append(cb);
}

void QKXScreenConfig::removeCallback(CAbsUIMsgCallback* cb)
{
    std::lock_guard<std::mutex> lock(m_callbackLock);
    m_callbacks.removeAll(cb);
}

int QKXScreenConfig::callbackCount() const
{
    std::lock_guard<std::mutex> lock(m_callbackLock);
    return m_callbacks.size();
}

void QKXScreenConfig::notifyHost(unsigned int msg, quint64 wParam, quint64 lParam)
{
    // A copy, so that a host function that releases a gallery (and so removes
    // its callback) does not disturb the iteration.
    QList<CAbsUIMsgCallback*> targets;
    {
        std::lock_guard<std::mutex> lock(m_callbackLock);
        targets = m_callbacks;
    }
    for (CAbsUIMsgCallback* cb : targets) {
        {
            // Skip a target released by an earlier callback of this same round.
            std::lock_guard<std::mutex> lock(m_callbackLock);
            if (!m_callbacks.contains(cb))
                continue;
        }
        struct Depth
        {
            int& d;
            explicit Depth(int& n) : d(n) { ++d; }
            ~Depth() { --d; }
        } depth(m_iNotifyDepth);
        cb->UIMsgNotify(msg, wParam, lParam);
    }
    // A gallery released (or whose window went) while a host function ran
    // goes on the turn after the outermost one has returned, when the gallery
    // code that notified the host has unwound too; not by asking again on
    // every turn of an event loop that the host function runs meanwhile.
    if (m_iNotifyDepth == 0 && m_bSettleDue) {
        m_bSettleDue = false;
        kxsync::post(this, []() { settleScreenHandles(); });
    }
}

void QKXScreenConfig::setDPIs(double d1, double d2)
{
    std::lock_guard<std::mutex> lock(m_settingsLock);
    m_dpi1 = d1;
    m_dpi2 = d2;
}

double QKXScreenConfig::dpi1() const
{
    std::lock_guard<std::mutex> lock(m_settingsLock);
    return m_dpi1;
}

double QKXScreenConfig::dpi2() const
{
    std::lock_guard<std::mutex> lock(m_settingsLock);
    return m_dpi2;
}

QString QKXScreenConfig::dumpFilePath(const QString& baseDir, const QString& userName,
                                      const QString& userID, int w, int h)
{
    // Names and IDs come from the host: keep them inside the dump directory by
    // replacing anything that could climb out of it or is not a file-name character.
    auto safe = [](QString s) {
        for (QChar& c : s) {
            if (c == QLatin1Char('/') || c == QLatin1Char('\\') || c == QLatin1Char(':')
                || c.unicode() < 0x20)
                c = QLatin1Char('_');
        }
        s.replace(QStringLiteral(".."), QStringLiteral("__"));
        return s;
    };
    // One pass over the pattern: a chain of arg() calls would also replace
    // "%3"-like text inside the base directory, the name or the ID.
    return QStringLiteral("%1/log/tmpFrame/(%2)%3_%4x%5.yuv")
        .arg(baseDir, safe(userName), safe(userID), QString::number(w), QString::number(h));
}

void QKXScreenConfig::dumpFrame(const tagPersonInfo* pPerson, const KxCloudRTCVideoFrameQT* frame)
{
    if (!pPerson || !frame || !frame->data)
        return;
    QFile file(dumpFilePath(baseDir(), pPerson->userName, pPerson->userID, frame->width, frame->height));
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return;
    // The copy reads width x height I420 bytes and no more; a length that
    // claims more must not make the dump read past the picture.
    const qint64 picture = qint64(frame->width) * frame->height
                           + 2 * ((qint64(frame->width) + 1) / 2) * ((qint64(frame->height) + 1) / 2);
    file.write(reinterpret_cast<const char*>(frame->data), qMin<qint64>(frame->length, picture));
    file.close();
}
