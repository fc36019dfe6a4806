#pragma once

#include "cloudgrid.h"
#include "framesettings.h"

#include <QtCore/QPointer>
#include <QtGui/QImage>
#include <QtGui/QOffscreenSurface>
#include <QtGui/QOpenGLBuffer>
#include <QtGui/QOpenGLContext>
#include <QtGui/QOpenGLFramebufferObject>
#include <QtGui/QOpenGLShaderProgram>
#include <QtGui/QOpenGLVertexArrayObject>
#include <QtGui/QWindow>

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

class QOpenGLFunctions_3_3_Core;

namespace Vorta {

/// An OpenGL 3.3 core context on somebody's window with the cloud in its memory. Frees all of it when destroyed, which
/// must happen before the window's native surface goes away.
class GlRenderer {
public:
    /// Returns null and says why in `error` when there is no such context for the window.
    [[nodiscard]] static std::unique_ptr<GlRenderer> create(QWindow& window, std::string& error);
    ~GlRenderer();
    GlRenderer(const GlRenderer&) = delete;
    GlRenderer& operator=(const GlRenderer&) = delete;
    GlRenderer(GlRenderer&&) = delete;
    GlRenderer& operator=(GlRenderer&&) = delete;

    /// The renderer's own name, for instance that of the graphics card.
    [[nodiscard]] const std::string& name() const noexcept { return name_; }
    /// Whether the processor does the drawing.
    [[nodiscard]] bool software() const noexcept { return software_; }
    /// Whether the window stays without OpenGL: frames are for drawToImage() then, and drawToWindow() must not be
    /// called.
    [[nodiscard]] bool besideWindow() const noexcept { return beside_ != nullptr; }

    /// Why the driver refused a shading program; empty while it refused none.
    [[nodiscard]] const std::string& refusal() const noexcept { return refusal_; }

    /// Each returns false when the context is lost, or a program refused, and the renderer must be made anew.
    [[nodiscard]] bool uploadPoints(CloudDetail detail, std::span<const CloudVertex> vertices);
    [[nodiscard]] bool uploadTriangles(CloudDetail detail, std::span<const std::uint32_t> indices);
    [[nodiscard]] bool drawToWindow(const FrameSettings& frame);
    /// `image` gets the frame at the given size in physical pixels.
    [[nodiscard]] bool drawToImage(const FrameSettings& frame, const QSize& size, QImage& image);

private:
    struct Cloud {
        QOpenGLVertexArrayObject array;
        QOpenGLBuffer vertices{QOpenGLBuffer::VertexBuffer};
        QOpenGLBuffer indices{QOpenGLBuffer::IndexBuffer};
        int points = 0;
        int corners = 0;
    };

    explicit GlRenderer(QWindow& window);
    [[nodiscard]] bool setUp(std::string& error);
    [[nodiscard]] bool setUpCloud(Cloud& cloud);
    /// The program for such frames, made when it is first asked for; null when the driver refuses it, see refusal().
    [[nodiscard]] QOpenGLShaderProgram* program(bool meshed, bool colored);
    [[nodiscard]] bool makeCurrent();
    [[nodiscard]] Cloud& cloud(CloudDetail detail) { return clouds_.at(detail == CloudDetail::Full ? 0 : 1); }
    [[nodiscard]] bool draw(const FrameSettings& frame, const QSize& size);

    QPointer<QWindow> window_;
    /// What is drawn on in the window's place.
    std::unique_ptr<QOffscreenSurface> beside_;
    QOpenGLContext context_;
    /// The context's, which owns it.
    QOpenGLFunctions_3_3_Core* gl_ = nullptr;
    std::array<Cloud, 2> clouds_;
    std::array<std::unique_ptr<QOpenGLShaderProgram>, 4> programs_;
    /// Drawn into and copied where the window has no sufficient depth buffer of its own.
    std::unique_ptr<QOpenGLFramebufferObject> detour_;
    bool needsDetour_ = false;
    bool software_ = false;
    std::string name_;
    std::string refusal_;
};

} // namespace Vorta
