// The shared library's own translation unit. Everything else comes from the
// module's static library; this file holds the load and unload hooks of the
// platform seam.
#include "moduleapp.h"

#include <QtGlobal> // defines Q_OS_WIN

#ifdef Q_OS_WIN
#include <windows.h>
// The C runtime's entry calls DllMain by its unmangled name.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID)
{
    if (reason == DLL_PROCESS_ATTACH)
        kxmodule::processAttach();
    else if (reason == DLL_PROCESS_DETACH)
        kxmodule::processDetach();
    return TRUE;
}
#else
// Attach happens lazily on the first export call (a static constructor may
// run before the host has created its own QApplication). Detach runs when the
// library is unloaded or the process ends.
__attribute__((destructor)) static void kxLibraryUnload()
{
    kxmodule::processDetach();
}
#endif
