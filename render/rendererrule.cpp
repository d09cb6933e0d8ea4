#include "rendererrule.h"

#include <QStringList>

namespace kxrender {

namespace {

enum class Ask { Unset, Auto, Gl, Raster, Unknown };

Ask parse(const QString& value)
{
    const QString v = value.trimmed().toLower();
    if (v.isEmpty())
        return Ask::Unset;
    if (v == QLatin1String("auto"))
        return Ask::Auto;
    if (v == QLatin1String("gl"))
        return Ask::Gl;
    if (v == QLatin1String("raster"))
        return Ask::Raster;
    return Ask::Unknown;
}

QString drawing(Renderer r)
{
    return r == Renderer::Gl ? QStringLiteral(": OpenGL drawing") : QStringLiteral(": software drawing");
}

} // namespace

const char* rendererName(Renderer renderer)
{
    return renderer == Renderer::Gl ? "gl" : "raster";
}

bool isSoftwareRasteriser(const QString& glRenderer)
{
    // Mesa's gallium and classic software drivers, Chrome's, and the two of
    // Windows (Direct3D's WARP behind ANGLE, and OpenGL 1.1 of GDI).
    static const QStringList kSoftware = {QStringLiteral("llvmpipe"), QStringLiteral("softpipe"),
                                          QStringLiteral("swrast"), QStringLiteral("software rasterizer"),
                                          QStringLiteral("swiftshader"),
                                          QStringLiteral("microsoft basic render driver"),
                                          QStringLiteral("gdi generic")};
    for (const QString& name : kSoftware) {
        if (glRenderer.contains(name, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

RendererChoice chooseRenderer(const QString& env, const QString& setting, const std::function<QString()>& probe)
{
    QString note;
    const struct {
        QString value;
        QString source;
    } asks[] = {{env, QStringLiteral("KX_RENDERER=")}, {setting, QStringLiteral("sys_ver.ini renderer=")}};
    for (const auto& a : asks) {
        const Ask ask = parse(a.value);
        const QString said = a.source + a.value.trimmed();
        if (ask == Ask::Unknown)
            note += said + QStringLiteral(" not understood; ");
        if (ask == Ask::Gl || ask == Ask::Raster) {
            const Renderer r = ask == Ask::Gl ? Renderer::Gl : Renderer::Raster;
            return {r, note + said + drawing(r)};
        }
        if (ask == Ask::Auto)
            break;
    }
    const QString gl = probe ? probe() : QString();
    if (gl.isNull())
        return {Renderer::Raster, note + QStringLiteral("no OpenGL context") + drawing(Renderer::Raster)};
    const Renderer r = isSoftwareRasteriser(gl) ? Renderer::Raster : Renderer::Gl;
    return {r, note + QStringLiteral("GL renderer ") + gl + drawing(r)};
}

} // namespace kxrender
