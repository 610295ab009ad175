#include "Platform/AppKit/Quick/RendererChoice.h"

#include <QDir>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QQuickWindow>

#include <array>

namespace {

bool hasRenderDevice()
{
    return !QDir(QStringLiteral("/dev/dri")).entryList({ QStringLiteral("renderD*") }, QDir::System).isEmpty();
}

/// The driver's own name for itself; empty when there is no OpenGL.
QByteArray rendererName()
{
    QOpenGLContext context;
    if (!context.create())
        return {};
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!context.makeCurrent(&surface))
        return {};
    const auto* const name = reinterpret_cast<const char*>(context.functions()->glGetString(GL_RENDERER));
    const QByteArray copy(name);
    context.doneCurrent();
    return copy.toLower();
}

bool hasGraphicsProcessor()
{
    // Most machines without one have no such file either; making a context costs a part of the start.
    if (!hasRenderDevice())
        return false;
    const auto name = rendererName();
    constexpr std::array softwareDrivers { "llvmpipe", "softpipe", "swrast", "software rasterizer" };
    for (const char* const driver : softwareDrivers)
        if (name.contains(driver))
            return false;
    return !name.isEmpty();
}

}

void chooseRenderer()
{
    if (qEnvironmentVariableIsSet("QT_QUICK_BACKEND") || qEnvironmentVariableIsSet("QSG_RHI_BACKEND"))
        return;
    QQuickWindow::setGraphicsApi(
        hasGraphicsProcessor() ? QSGRendererInterface::OpenGL : QSGRendererInterface::Software);
}
