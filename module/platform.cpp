#include "platform.h"

#include "personinfo.h"

#include <mutex>
#include <QHash>
#include <QString>
#include <cstring>

#ifdef Q_OS_WIN
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace kxplatform {

QByteArray scaleFactorsText(float primary, float other)
{
    return (QString::number(primary, 'g', 6) + QLatin1Char(';') + QString::number(other, 'g', 6)).toLatin1();
}

int parseXftDpi(const char* resources)
{
    if (!resources)
        return 96;
    const QList<QByteArray> lines = QByteArray(resources).split('\n');
    for (const QByteArray& line : lines) {
        const int colon = line.indexOf(':');
        if (colon < 0 || line.left(colon).trimmed() != "Xft.dpi")
            continue;
        bool ok = false;
        const double dpi = line.mid(colon + 1).trimmed().toDouble(&ok);
        if (ok && dpi > 0)
            return int(dpi + 0.5);
    }
    return 96;
}

#ifdef Q_OS_WIN

namespace {
float g_sysFactor()
{
    HDC dc = GetDC(nullptr);
    const float f = GetDeviceCaps(dc, LOGPIXELSX) / 96.0f;
    ReleaseDC(nullptr, dc);
    return f;
}

struct Factors { float* primary; float* other; };

BOOL CALLBACK monitorProc(HMONITOR monitor, HDC, LPRECT, LPARAM data)
{
    auto* f = reinterpret_cast<Factors*>(data);
    MONITORINFO info;
    info.cbSize = sizeof(MONITORINFO); // 40
    if (!GetMonitorInfoW(monitor, &info))
        return TRUE;
    HMODULE shcore = LoadLibraryW(L"Shcore.dll");
    typedef HRESULT(WINAPI * GetDpiForMonitorFn)(HMONITOR, int, UINT*, UINT*);
    auto getDpi = shcore ? reinterpret_cast<GetDpiForMonitorFn>(GetProcAddress(shcore, "GetDpiForMonitor")) : nullptr;
    if (!getDpi) {
        *f->primary = *f->other = g_sysFactor();
        return TRUE;
    }
    UINT x = 96, y = 96;
    getDpi(monitor, 0 /* MDT_EFFECTIVE_DPI */, &x, &y);
    // Only two factors are kept: with three monitors the last other one wins.
    if (info.dwFlags == MONITORINFOF_PRIMARY)
        *f->primary = x / 96.0f;
    else
        *f->other = x / 96.0f;
    return TRUE;
}
} // namespace

void queryScaleFactors(float& primary, float& other)
{
    HMODULE shcore = LoadLibraryW(L"Shcore.dll");
    typedef HRESULT(WINAPI * SetAwarenessFn)(int);
    auto setAwareness = shcore ? reinterpret_cast<SetAwarenessFn>(GetProcAddress(shcore, "SetProcessDpiAwareness")) : nullptr;
    if (setAwareness) {
        setAwareness(2);
        Factors f{&primary, &other};
        EnumDisplayMonitors(nullptr, nullptr, monitorProc, reinterpret_cast<LPARAM>(&f));
    } else {
        primary = other = g_sysFactor();
    }
}

bool isReadable(const void* p, std::size_t size)
{
    return p && !IsBadReadPtr(p, size);
}
void registerLive(const void*, std::size_t) {}
void unregisterLive(const void*) {}

void retireThread(std::thread& t)
{
    if (t.joinable())
        t.detach();
}

bool readPlayData(const void* hPlay, void** record)
{
    if (!isReadable(hPlay, sizeof(ST_KXPlayHdl)))
        return false;
    *record = static_cast<const ST_KXPlayHdl*>(hPlay)->pPlayData;
    return true;
}

#else

namespace {
std::mutex g_liveLock;
QHash<const void*, std::size_t>& liveSet()
{
    static QHash<const void*, std::size_t> set;
    return set;
}
} // namespace

void queryScaleFactors(float& primary, float& other)
{
    // X11 keeps one DPI for the whole display in the Xft.dpi resource; it is
    // the primary factor, the other monitor keeps 1.0. libX11 is loaded at run
    // time so that the module carries no hard dependency on it.
    primary = 1.0f;
    other = 1.0f;
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return;
    void* x11 = dlopen("libX11.so.6", RTLD_LAZY | RTLD_LOCAL);
    if (!x11)
        return;
    typedef void* (*OpenFn)(const char*);
    typedef char* (*ResFn)(void*);
    typedef int (*CloseFn)(void*);
    auto openDisplay = reinterpret_cast<OpenFn>(dlsym(x11, "XOpenDisplay"));
    auto resourceString = reinterpret_cast<ResFn>(dlsym(x11, "XResourceManagerString"));
    auto closeDisplay = reinterpret_cast<CloseFn>(dlsym(x11, "XCloseDisplay"));
    if (openDisplay && resourceString && closeDisplay) {
        if (void* display = openDisplay(nullptr)) {
            primary = parseXftDpi(resourceString(display)) / 96.0f;
            closeDisplay(display);
        }
    }
    dlclose(x11);
}

bool isReadable(const void* p, std::size_t size)
{
    if (!p)
        return false;
    std::lock_guard<std::mutex> lock(g_liveLock);
    auto it = liveSet().constFind(p);
    return it != liveSet().constEnd() && it.value() == size;
}

void retireThread(std::thread& t)
{
    if (t.joinable())
        t.join();
}

void registerLive(const void* p, std::size_t size)
{
    std::lock_guard<std::mutex> lock(g_liveLock);
    liveSet().insert(p, size);
}

void unregisterLive(const void* p)
{
    std::lock_guard<std::mutex> lock(g_liveLock);
    liveSet().remove(p);
}

bool readPlayData(const void* hPlay, void** record)
{
    std::lock_guard<std::mutex> lock(g_liveLock);
    auto it = liveSet().constFind(hPlay);
    if (!hPlay || it == liveSet().constEnd() || it.value() != sizeof(ST_KXPlayHdl))
        return false;
    *record = static_cast<const ST_KXPlayHdl*>(hPlay)->pPlayData;
    return true;
}

#endif

} // namespace kxplatform
