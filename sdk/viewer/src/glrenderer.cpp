#include "glrenderer.h"

#include "shaders.h"

#include <QtGui/QGuiApplication>
#include <QtGui/QMatrix4x4>
#include <QtGui/QOpenGLFunctions_3_3_Core>

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace Vorta {

namespace {

constexpr int depthBits = 24;
constexpr const char* windowRefused = "OpenGL cannot draw into the 3D view's window.";

bool drawsOnProcessor(std::string_view renderer) {
    constexpr std::array<std::string_view, 6> names{"llvmpipe",    "softpipe",    "Software Rasterizer",
                                                    "SwiftShader", "GDI Generic", "Microsoft Basic Render"};
    return std::any_of(names.begin(), names.end(),
                       [&](std::string_view name) { return renderer.find(name) != std::string_view::npos; });
}

QMatrix4x4 toQt(const GlMatrix& columns) {
    return QMatrix4x4(columns.data()).transposed();
}

std::unique_ptr<QOpenGLShaderProgram> makeProgram(bool meshed, bool colored, std::string& error) {
    QByteArray beginning = Shaders::version;
    if (!meshed)
        beginning += "#define POINTS\n";
    if (colored)
        beginning += "#define COLORED\n";
    if (meshed && !colored)
        beginning += "#define LIT\n";
    auto program = std::make_unique<QOpenGLShaderProgram>();
    if (program->addShaderFromSourceCode(QOpenGLShader::Vertex, beginning + Shaders::vertex) &&
        program->addShaderFromSourceCode(QOpenGLShader::Fragment, beginning + Shaders::fragment) && program->link())
        return program;
    error = "The graphics driver refused the 3D view's shading program: " + program->log().toStdString();
    return nullptr;
}

} // namespace

std::unique_ptr<GlRenderer> GlRenderer::create(QWindow& window, std::string& error) {
    std::unique_ptr<GlRenderer> renderer(new GlRenderer(window));
    if (!renderer->setUp(error))
        return nullptr;
    return renderer;
}

GlRenderer::GlRenderer(QWindow& window) : window_(&window) {}

GlRenderer::~GlRenderer() {
    // Without a current context the driver frees everything together with the context.
    if (!makeCurrent())
        return;
    detour_.reset();
    for (auto& program : programs_)
        program.reset();
    for (Cloud& cloud : clouds_) {
        cloud.array.destroy();
        cloud.vertices.destroy();
        cloud.indices.destroy();
    }
    context_.doneCurrent();
}

bool GlRenderer::setUp(std::string& error) {
    // Anything but the window's own format may not be usable on it.
    QSurfaceFormat format = window_->requestedFormat();
    format.setRenderableType(QSurfaceFormat::OpenGL);
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    context_.setFormat(format);
    // Windows shows nothing else in a window that OpenGL has been given: a look beside it tells who would draw.
    if (QGuiApplication::platformName() == QLatin1String("windows")) {
        beside_ = std::make_unique<QOffscreenSurface>();
        beside_->setFormat(format);
        beside_->create();
    }
    if (!context_.create()) {
        error = "No OpenGL context can be made on this screen.";
        return false;
    }
    if (!makeCurrent()) {
        error = windowRefused;
        return false;
    }
    gl_ = context_.versionFunctions<QOpenGLFunctions_3_3_Core>();
    if (gl_ == nullptr || !gl_->initializeOpenGLFunctions()) {
        const QSurfaceFormat got = context_.format();
        error = "The graphics driver offers OpenGL " + std::to_string(got.majorVersion()) + "." +
                std::to_string(got.minorVersion()) + " only; the 3D view needs version 3.3.";
        return false;
    }
    const auto* renderer = gl_->glGetString(GL_RENDERER);
    name_ = renderer != nullptr ? std::string(reinterpret_cast<const char*>(renderer)) : "OpenGL";
    software_ = drawsOnProcessor(name_);
    if (beside_ && !software_) {
        context_.doneCurrent();
        beside_.reset();
        if (!makeCurrent()) {
            error = windowRefused;
            return false;
        }
    }
    needsDetour_ = context_.format().depthBufferSize() < depthBits;
    // Where the processor draws, points go another way, and most starts need no program at all.
    if (!software_ && program(false, true) == nullptr) {
        error = refusal_;
        return false;
    }
    if (!setUpCloud(clouds_[0]) || !setUpCloud(clouds_[1])) {
        error = "The graphics driver offers no memory for point clouds.";
        return false;
    }
    return true;
}

bool GlRenderer::setUpCloud(Cloud& cloud) {
    if (!cloud.array.create() || !cloud.vertices.create() || !cloud.indices.create())
        return false;
    cloud.vertices.setUsagePattern(QOpenGLBuffer::DynamicDraw);
    cloud.indices.setUsagePattern(QOpenGLBuffer::DynamicDraw);
    const QOpenGLVertexArrayObject::Binder binder(&cloud.array);
    cloud.vertices.bind();
    cloud.indices.bind();
    // OpenGL takes offsets as pointers. NOLINTNEXTLINE(performance-no-int-to-ptr)
    const auto offset = [](std::size_t bytes) { return reinterpret_cast<const void*>(bytes); };
    gl_->glEnableVertexAttribArray(0);
    gl_->glVertexAttribPointer(0, 3, GL_FLOAT, GL_FALSE, sizeof(CloudVertex), offset(offsetof(CloudVertex, x)));
    gl_->glEnableVertexAttribArray(1);
    gl_->glVertexAttribPointer(1, 4, GL_UNSIGNED_BYTE, GL_TRUE, sizeof(CloudVertex),
                               offset(offsetof(CloudVertex, blue)));
    return true;
}

QOpenGLShaderProgram* GlRenderer::program(bool meshed, bool colored) {
    auto& program = programs_.at((meshed ? 2U : 0U) + (colored ? 1U : 0U));
    if (!program)
        program = makeProgram(meshed, colored, refusal_);
    return program.get();
}

bool GlRenderer::makeCurrent() {
    if (!window_ || window_->handle() == nullptr)
        return false;
    return beside_ ? context_.makeCurrent(beside_.get()) : context_.makeCurrent(window_);
}

bool GlRenderer::uploadPoints(CloudDetail detail, std::span<const CloudVertex> vertices) {
    if (!makeCurrent())
        return false;
    Cloud& target = cloud(detail);
    target.vertices.bind();
    target.vertices.allocate(vertices.data(), static_cast<int>(vertices.size_bytes()));
    target.points = static_cast<int>(vertices.size());
    target.corners = 0;
    return true;
}

bool GlRenderer::uploadTriangles(CloudDetail detail, std::span<const std::uint32_t> indices) {
    if (!makeCurrent())
        return false;
    Cloud& target = cloud(detail);
    const QOpenGLVertexArrayObject::Binder binder(&target.array);
    target.indices.bind();
    target.indices.allocate(indices.data(), static_cast<int>(indices.size_bytes()));
    target.corners = static_cast<int>(indices.size());
    return true;
}

bool GlRenderer::drawToWindow(const FrameSettings& frame) {
    if (!makeCurrent())
        return false;
    const QSize size = window_->size() * window_->devicePixelRatio();
    if (needsDetour_) {
        if (!detour_ || detour_->size() != size)
            detour_ = std::make_unique<QOpenGLFramebufferObject>(size, QOpenGLFramebufferObject::Depth);
        detour_->bind();
        const bool drawn = draw(frame, size);
        detour_->release();
        if (!drawn)
            return false;
        QOpenGLFramebufferObject::blitFramebuffer(nullptr, QRect(QPoint(), size), detour_.get(), QRect(QPoint(), size));
    } else {
        gl_->glBindFramebuffer(GL_FRAMEBUFFER, context_.defaultFramebufferObject());
        if (!draw(frame, size))
            return false;
    }
    context_.swapBuffers(window_);
    return true;
}

bool GlRenderer::drawToImage(const FrameSettings& frame, const QSize& size, QImage& image) {
    if (!makeCurrent())
        return false;
    QOpenGLFramebufferObject target(size, QOpenGLFramebufferObject::Depth);
    if (!target.bind())
        return false;
    if (!draw(frame, size))
        return false;
    image = target.toImage().convertToFormat(QImage::Format_RGB32);
    target.release();
    return true;
}

bool GlRenderer::draw(const FrameSettings& frame, const QSize& size) {
    Cloud& shown = cloud(frame.detail);
    gl_->glViewport(0, 0, size.width(), size.height());
    gl_->glClearColor(frame.background[0], frame.background[1], frame.background[2], 1.0F);
    gl_->glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    if (shown.points == 0)
        return true;
    gl_->glEnable(GL_DEPTH_TEST);
    gl_->glEnable(GL_PROGRAM_POINT_SIZE);
    const bool meshed = frame.meshed && shown.corners > 0;
    QOpenGLShaderProgram* const program = this->program(meshed, frame.colored);
    if (program == nullptr || !program->bind())
        return false;
    // Those that the program lacks are passed over.
    program->setUniformValue("eye", toQt(frame.eye));
    program->setUniformValue("projection", toQt(frame.projection));
    program->setUniformValue("pointScale", frame.pointScale);
    program->setUniformValue("widestPoint", FrameSettings::widestPoint);
    program->setUniformValueArray("depthColors", depthColors.front().data(), static_cast<int>(depthColors.size()), 3);
    program->setUniformValue("depthRange", frame.nearestZ, frame.farthestZ);
    {
        const QOpenGLVertexArrayObject::Binder binder(&shown.array);
        if (meshed)
            gl_->glDrawElements(GL_TRIANGLES, shown.corners, GL_UNSIGNED_INT, nullptr);
        else
            gl_->glDrawArrays(GL_POINTS, 0, shown.points);
    }
    program->release();
    return true;
}

} // namespace Vorta
