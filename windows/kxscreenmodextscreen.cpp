// The external screen's exports: check, log, forward. They create, move and
// query a window, so they belong on the interface thread; from any other
// thread they are refused with a warning.
#include "kxscreenmod2.h"

#include "exportshims.h"
#include "kxscreenhandle.h"
#include "qdlgscreen.h"

using namespace kxexport;

namespace {

template <typename R, typename F>
R extCall(const char* name, void* hScreen, R fail, F&& body)
{
    return guarded(name, fail, [&]() -> R {
        logThread(name);
        ScreenUse use(hScreen);
        if (!checkScreen(use, name, hScreen) || !interfaceOnly(name))
            return fail;
        return body(use.screen());
    });
}

} // namespace

extern "C" {

int KXScreenExt_Open(void* hScreen, int iScreen)
{
    return extCall("KXScreenExt_Open", hScreen, 0, [&](QDlgScreen* s) {
        KXLOG << "KXScreenExt_Open iScreen:" << iScreen;
        return s->extOpen(iScreen) ? 1 : 0;
    });
}

int KXScreenExt_Close(void* hScreen)
{
    return extCall("KXScreenExt_Close", hScreen, 0, [](QDlgScreen* s) {
        s->extClose();
        return 1;
    });
}

int KXScreenExt_IsOpen(void* hScreen)
{
    return extCall("KXScreenExt_IsOpen", hScreen, 0, [](QDlgScreen* s) { return s->extIsOpen() ? 1 : 0; });
}

int KXScreenExt_SetUserID(void* hScreen, const char* userID)
{
    const QString id = fromLocal(userID);
    return extCall("KXScreenExt_SetUserID", hScreen, 0, [&](QDlgScreen* s) {
        s->extSetUserID(id);
        return 1;
    });
}

const char* KXScreenExt_GetUserID(void* hScreen)
{
    return guarded<const char*>("KXScreenExt_GetUserID", nullptr, [&] {
        return userIDString("KXScreenExt_GetUserID", hScreen, &KXScreenHandle::extID, &QDlgScreen::extShownUserID);
    });
}

QWidget* KXScreenExt_GetWidgetPtr(void* hScreen)
{
    return extCall<QWidget*>("KXScreenExt_GetWidgetPtr", hScreen, nullptr, [](QDlgScreen* s) { return s->extWidget(); });
}

} // extern "C"
