#include "exportshims.h"

#include <cstring>
#include <mutex>

namespace kxexport {

QString nameFromUtf8(const char* s)
{
    if (!s)
        return QString();
    // A character takes at most four bytes: the bytes that can hold the kept
    // characters are all that is read (a cut sequence at the end decodes to
    // one replacement character, which the cut below then drops).
    const size_t most = size_t(kMaxNameChars) * 4 + 4;
    const char* end = static_cast<const char*>(std::memchr(s, 0, most));
    const int len = end ? int(end - s) : int(most);
    return QString::fromUtf8(s, len).left(kMaxNameChars);
}

void refuse(const char* name, const char* reason, const void* what)
{
    // One line a host can search its log for: "<export> refused: <why>".
    QString line = QStringLiteral("[ScreenMod]%1 refused: %2").arg(QLatin1String(name), QLatin1String(reason));
    if (what)
        line += QStringLiteral(" (0x%1)").arg(quintptr(what), 0, 16);
    KXWARN << line;
}

void warnBadHandle(const char* name, void* hScreen)
{
    if (!hScreen)
        refuse(name, "the gallery handle is null");
    else if (isLiveScreenHandle(hScreen))
        refuse(name, "the gallery's parent widget was destroyed; the handle only waits for KXScreen_Release", hScreen);
    else
        refuse(name, "not a gallery handle, or one already released", hScreen);
}

bool interfaceOnly(const char* name)
{
    if (kxsync::onInterfaceThread())
        return true;
    refuse(name, "it belongs on the interface thread and was called from another");
    return false;
}

} // namespace kxexport
