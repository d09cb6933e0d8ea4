#include <kxscreenmod2.h>

#include <cstdio>
#include <cstring>
#include <type_traits>

#define KX_STR2(x) #x
#define KX_STR(x) KX_STR2(x)
static_assert(KXSCREENMOD2_VERSION_MAJOR >= 2 && KXSCREENMOD2_VERSION_MINOR + KXSCREENMOD2_VERSION_PATCH >= 0,
              "integer version macros, version 2 or later");
static_assert(std::is_same<decltype(&KXScreen_GetVersion), PFN_KXScreen_GetVersion>::value, "the export's type");

int main()
{
    const char* made = KX_STR(KXSCREENMOD2_VERSION_MAJOR) "." KX_STR(KXSCREENMOD2_VERSION_MINOR) "."
        KX_STR(KXSCREENMOD2_VERSION_PATCH);
    const char* loaded = KXScreen_GetVersion();
    std::printf("header %s, macros %s, library %s\n", KXSCREENMOD2_VERSION_STRING, made, loaded);
    return !std::strcmp(made, KXSCREENMOD2_VERSION_STRING) && !std::strcmp(loaded, made) ? 0 : 1;
}
