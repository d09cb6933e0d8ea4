// KXScreen_GetVersion. It touches no state and does not bring the module up,
// so a host may ask before it has an application object, from any thread.
#include "kxscreenmod2.h"

#include "exportshims.h"

const char* KXScreen_GetVersion(void)
{
    kxexport::logThread("KXScreen_GetVersion");
    return KXSCREENMOD2_VERSION_STRING;
}
