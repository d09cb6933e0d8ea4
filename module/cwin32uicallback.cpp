#include "cwin32uicallback.h"

#include "kxscreenhandle.h"
#include "modulelog.h"

#include <exception>

bool CWin32UICallback::UIMsgNotify(unsigned int dwMsg, unsigned long long wParam, unsigned long long lParam)
{
    KXLOG << "dwMsg:" << dwMsg << ",wParam:" << wParam << ",lParam:" << lParam;
    if (!m_pScreen || !m_pScreen->callback)
        return true;
    // The host function runs inside our event handling: whatever it throws
    // stops here instead of unwinding through Qt.
    try {
        m_pScreen->callback(dwMsg, wParam, lParam);
    } catch (const std::exception& e) {
        KXWARN << "[ScreenMod]host callback threw, dwMsg:" << dwMsg << ",what:" << e.what();
    } catch (...) {
        KXWARN << "[ScreenMod]host callback threw, dwMsg:" << dwMsg;
    }
    return true;
}
