// libFuzzer target: each input is a meeting played through the exports (see
// kxfuzzdriver.h). A broken invariant aborts like a crash, so that the fuzzer
// keeps the input. Run under a display (Xvfb): the tiles draw with OpenGL.
#include "kxfuzzdriver.h"

#include <QApplication>
#include <QLoggingCategory>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    static int argc = 1;
    static char name[] = "kxfuzz_exports";
    static char* argv[] = {name, nullptr};
    // The module logs every call; at thousands of inputs a second that is noise.
    QLoggingCategory::setFilterRules(QStringLiteral("kxscreen.debug=false\nkxscreen.warning=false"));
    new QApplication(argc, argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QString broken = kxfuzz::runOne(data, size);
    if (!broken.isEmpty()) {
        std::fprintf(stderr, "kxfuzz: %s\n", qPrintable(broken));
        std::abort();
    }
    return 0;
}
