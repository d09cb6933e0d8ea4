#include "moduleapp.h"

#include "kxtranslate.h"
#include "modulelog.h"
#include "platform.h"
#include "qkxscreenconfig.h"

#include <QApplication>
#include <mutex>
#include <atomic>
#include <cstdlib>

static void kxInitResources()
{
    Q_INIT_RESOURCE(kxscreenmod);
    Q_INIT_RESOURCE(translations);
}

namespace kxmodule {

namespace {
std::recursive_mutex g_attachLock;
std::atomic<bool> g_attached{false};
QApplication* g_ownApp = nullptr;
float g_primary = 1.0f;
float g_other = 1.0f;
int g_argc = 0;
char* g_argv[] = {nullptr};
} // namespace

void ensureAttached()
{
    if (g_attached.load(std::memory_order_acquire))
        return;
    processAttach();
}

void processAttach()
{
    std::lock_guard<std::recursive_mutex> lock(g_attachLock);
    if (g_attached.load())
        return;

    if (!QCoreApplication::instance()) {
        // The scale factors must be in the environment before the application
        // object reads it.
        kxplatform::queryScaleFactors(g_primary, g_other);
        qputenv("QT_SCREEN_SCALE_FACTORS", kxplatform::scaleFactorsText(g_primary, g_other));
        QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps, true);
        // Plug-in paths set for the host's own Qt must not lead ours to
        // another build's plug-ins, on any platform.
        const bool b1 = qputenv("QT_QPA_PLATFORM_PLUGIN_PATH", QByteArray());
        KXLOG << "qputenv " << b1;
        const bool b2 = qputenv("QT_PLUGIN_PATH", QByteArray());
        KXLOG << "qputenv " << b2;
        g_ownApp = new QApplication(g_argc, g_argv);
        // Tear down before the exit handlers of the toolkit's own statics run
        // (they were registered before this one and so run after it); the
        // library's unload hook would come too late at process exit.
        std::atexit([]() { processDetach(); });
    } else if (!qobject_cast<QApplication*>(QCoreApplication::instance())) {
        KXWARN << "[ScreenMod]the host's application object is not a QApplication; widgets cannot be created";
    } else {
        KXLOG << "[ScreenMod]using the host's QApplication; the environment is left as the host set it";
    }

    // The translation is not installed in the application: kxTranslate asks
    // the host's translators first and falls back to the module's own.
    kxInitResources();
    // The configuration's slots and posted work run on the interface thread,
    // also when the first call into the module comes from a host thread.
    QKXScreenConfig* cfg = QKXScreenConfig::getInstance();
    if (QCoreApplication::instance() && cfg->thread() != QCoreApplication::instance()->thread())
        cfg->moveToThread(QCoreApplication::instance()->thread());
    g_attached.store(true, std::memory_order_release);
}

void processDetach()
{
    std::lock_guard<std::recursive_mutex> lock(g_attachLock);
    if (!g_attached.load())
        return;
    QKXScreenConfig::destroyInstance();
    kxtranslate::release();
    delete g_ownApp;
    g_ownApp = nullptr;
    g_attached.store(false);
}

bool ownsApplication()
{
    return g_ownApp != nullptr;
}

float primaryScaleFactor()
{
    return g_primary;
}

float otherScaleFactor()
{
    return g_other;
}

} // namespace kxmodule
