#include "tilerenderer.h"

#include "kxsync.h"
#include "modulelog.h"

#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <atomic>
#include <mutex>

namespace kxtilerender {

namespace {

// -1 until chosen, else the kxrender::Renderer value.
std::atomic<int> g_choice{-1};
std::mutex g_chooseLock;

// The renderer string of a context made the way the tiles' contexts are made,
// or a null string when none can be made (no OpenGL, or a platform without it).
QString probeGlRenderer()
{
    if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        return QString();
    QOpenGLContext context;
    if (!context.create())
        return QString();
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!surface.isValid() || !context.makeCurrent(&surface))
        return QString();
    const auto* name = reinterpret_cast<const char*>(context.functions()->glGetString(GL_RENDERER));
    const QString renderer = QString::fromLatin1(name ? name : "unnamed");
    context.doneCurrent();
    return renderer;
}

} // namespace

void choose(const std::function<QString()>& setting)
{
    std::lock_guard<std::mutex> lock(g_chooseLock);
    if (g_choice.load() >= 0)
        return;
    const QString fromFile = setting ? setting() : QString();
    const kxrender::RendererChoice c =
        kxrender::chooseRenderer(qEnvironmentVariable("KX_RENDERER"), fromFile, &probeGlRenderer);
    qCInfo(lcKXScreen).noquote() << c.reason;
    g_choice.store(int(c.renderer));
}

kxrender::Renderer current()
{
    if (g_choice.load() < 0)
        choose(nullptr);
    return kxrender::Renderer(g_choice.load());
}

const char* currentName()
{
    if (g_choice.load() < 0) {
        if (kxsync::onInterfaceThread())
            return kxrender::rendererName(current());
        const auto unknown = []() { return QStringLiteral("?"); };
        const kxrender::RendererChoice forced =
            kxrender::chooseRenderer(qEnvironmentVariable("KX_RENDERER"), QString(), unknown);
        return kxrender::rendererName(forced.renderer);
    }
    return kxrender::rendererName(kxrender::Renderer(g_choice.load()));
}

void setForTests(kxrender::Renderer renderer)
{
    g_choice.store(int(renderer));
}

} // namespace kxtilerender
