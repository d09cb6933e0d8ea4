// A host program with no application object of its own: the module creates
// one on the first call, puts the display's scale factors into the
// environment first, and a gallery with no parent works while the program
// pumps events. The test's runner sets Xft.dpi to 120 on its own X server.
#include "kxscreenmod2.h"

#include <QApplication>
#include <QElapsedTimer>
#include <cstdio>
#include <cstring>
#include <thread>

namespace {
int g_passed = 0;
int g_failed = 0;
int g_open = 0;

void check(bool ok, const char* what)
{
    std::printf("%s: %s\n", ok ? "PASS" : "FAIL", what);
    ok ? ++g_passed : ++g_failed;
}

int onHostMessage(unsigned int msg, uint64_t, uint64_t)
{
    if (msg == KXSCREEN_MSG_REMOTE_VIDEO_OPEN)
        ++g_open;
    return 0;
}
} // namespace

int main(int argc, char** argv)
{
    const char* expected = argc > 1 ? argv[1] : "1.25;1";
    check(QCoreApplication::instance() == nullptr, "no application object before the first call");
    check(qgetenv("QT_SCREEN_SCALE_FACTORS").isEmpty(), "no scale factors before the first call");

    // the first call brings the module up
    KXScreen_SetIsNewSkin(nullptr, false);
    check(qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr, "the module created a QApplication");
    const QByteArray factors = qgetenv("QT_SCREEN_SCALE_FACTORS");
    std::printf("QT_SCREEN_SCALE_FACTORS=%s\n", factors.constData());
    check(factors == expected, "scale factors from the display's DPI");

    void* h = KXScreen_Init(nullptr, "", onHostMessage);
    check(h != nullptr, "a gallery with a null parent");
    void* hPlay = nullptr;
    std::thread host([&]() {
        char id[] = "u1";
        char name[] = "Solo";
        hPlay = KXScreen_AddPerson(h, id, id, name, 1, 0, nullptr, 1);
    });
    host.join();
    KXScreen_JoinMeetingFinish(h);
    KXScreen_MoveWindow(h, QRect(0, 0, 640, 360), KXSCREEN_MOVE_SHOW);
    QElapsedTimer t;
    t.start();
    while (g_open == 0 && t.elapsed() < 10000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 50);
    check(g_open > 0, "the gallery laid out its participant and pulled its video");
    check(KXScreen_DelPerson(h, hPlay) == 1, "participant removed");
    KXScreen_Release(h);
    std::printf("%d passed, %d failed\n", g_passed, g_failed);
    return g_failed == 0 ? 0 : 1;
}
