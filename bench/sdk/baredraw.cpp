#include "sdk/baredraw.h"

#include <QMatrix4x4>
#include <QOpenGLFunctions>
#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <vector>

namespace VortaBench {

namespace {

struct Vertex {
    float x;
    float y;
    float z;
    std::array<std::uint8_t, 4> color;
};

constexpr const char* vertexProgram = R"(#version 330 core
layout(location = 0) in vec3 position;
layout(location = 1) in vec4 vertexColor;
uniform mat4 matrix;
out vec4 color;
void main() { gl_Position = matrix * vec4(position, 1.0); color = vertexColor; }
)";

constexpr const char* fragmentProgram = R"(#version 330 core
in vec4 color;
out vec4 fragment;
void main() { fragment = color; }
)";

std::vector<Vertex> pack(const Vorta::PointCloud& cloud) {
    std::vector<Vertex> vertices;
    for (const Vorta::Point& p : cloud.points())
        if (p.isValid())
            vertices.push_back({p.x, p.y, p.z, {p.red, p.green, p.blue, p.alpha}});
    return vertices;
}

std::vector<std::uint32_t> triangulate(const Vorta::PointCloud& cloud) {
    std::vector<std::uint32_t> places(cloud.size());
    std::uint32_t count = 0;
    for (std::size_t i = 0; i < cloud.size(); ++i)
        places[i] = cloud[i].isValid() ? count++ : UINT32_MAX;
    std::vector<std::uint32_t> corners;
    for (std::size_t row = 0; row + 1 < cloud.height(); ++row)
        for (std::size_t column = 0; column + 1 < cloud.width(); ++column) {
            const std::uint32_t* upper = &places[row * cloud.width() + column];
            const std::uint32_t* lower = upper + cloud.width();
            if (std::max({upper[0], upper[1], lower[0], lower[1]}) != UINT32_MAX)
                corners.insert(corners.end(), {upper[0], lower[0], upper[1], upper[1], lower[0], lower[1]});
        }
    return corners;
}

} // namespace

BareDraw::BareDraw(QWindow& window, const Vorta::PointCloud& cloud, const std::array<float, 16>& matrix, What what)
    : window_(window) {
    QSurfaceFormat format = window.requestedFormat();
    format.setVersion(3, 3);
    format.setProfile(QSurfaceFormat::CoreProfile);
    context_.setFormat(format);
    if (!context_.create() || !context_.makeCurrent(&window))
        throw std::runtime_error("no OpenGL 3.3 for the bare draw");
    program_ = std::make_unique<QOpenGLShaderProgram>();
    program_->addShaderFromSourceCode(QOpenGLShader::Vertex, vertexProgram);
    program_->addShaderFromSourceCode(QOpenGLShader::Fragment, fragmentProgram);
    if (!program_->link())
        throw std::runtime_error(program_->log().toStdString());
    program_->bind();
    program_->setUniformValue("matrix", QMatrix4x4(matrix.data()).transposed());
    array_.create();
    array_.bind();
    const std::vector<Vertex> vertices = pack(cloud);
    points_ = static_cast<int>(vertices.size());
    buffer_.create();
    buffer_.bind();
    buffer_.allocate(vertices.data(), static_cast<int>(vertices.size() * sizeof(Vertex)));
    if (what == What::Triangles) {
        const std::vector<std::uint32_t> corners = triangulate(cloud);
        corners_ = static_cast<int>(corners.size());
        indices_.create();
        indices_.bind();
        indices_.allocate(corners.data(), static_cast<int>(corners.size() * sizeof(corners[0])));
    }
    program_->enableAttributeArray(0);
    program_->setAttributeBuffer(0, GL_FLOAT, 0, 3, sizeof(Vertex));
    program_->enableAttributeArray(1);
    program_->setAttributeBuffer(1, GL_UNSIGNED_BYTE, offsetof(Vertex, color), 4, sizeof(Vertex));
}

void BareDraw::draw() {
    if (!context_.makeCurrent(&window_))
        throw std::runtime_error("the bare draw has lost its context");
    QOpenGLFunctions* gl = context_.functions();
    const QOpenGLVertexArrayObject::Binder binder(&array_);
    program_->bind();
    gl->glEnable(GL_DEPTH_TEST);
    gl->glViewport(0, 0, window_.width(), window_.height());
    gl->glClearColor(0.1F, 0.1F, 0.1F, 1.0F);
    gl->glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    if (corners_ > 0)
        gl->glDrawElements(GL_TRIANGLES, corners_, GL_UNSIGNED_INT, nullptr);
    else
        gl->glDrawArrays(GL_POINTS, 0, points_);
    context_.swapBuffers(&window_);
}

} // namespace VortaBench
