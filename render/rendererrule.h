#ifndef KX_RENDERERRULE_H
#define KX_RENDERERRULE_H

#include <QString>
#include <functional>

// How a process draws its video tiles. OpenGL where the GL renderer is
// hardware; the CPU where it is a software rasteriser, because one OpenGL
// widget puts the whole window through GL composition, which a software
// rasteriser does at many times the cost of drawing the pictures directly.
namespace kxrender {

enum class Renderer { Gl, Raster };

struct RendererChoice
{
    Renderer renderer = Renderer::Gl;
    QString reason; // why, as the start-up log line says it
};

// "gl" or "raster".
const char* rendererName(Renderer renderer);

// True for the GL renderer strings of software rasterisers.
bool isSoftwareRasteriser(const QString& glRenderer);

// env is KX_RENDERER, setting the settings file's "renderer" key: "auto", "gl"
// or "raster", case and surrounding blanks ignored. The environment wins over
// the setting; an empty or unknown value leaves the choice to the next. Left
// to "auto", probe() names the GL renderer (a null string when no context
// could be made); it is called only then.
RendererChoice chooseRenderer(const QString& env, const QString& setting, const std::function<QString()>& probe);

} // namespace kxrender

#endif
