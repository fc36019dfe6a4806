#pragma once

#include "vorta/common/pointcloud.h"

#include <QOpenGLBuffer>
#include <QOpenGLContext>
#include <QOpenGLShaderProgram>
#include <QOpenGLVertexArrayObject>
#include <QWindow>
#include <array>
#include <memory>

namespace VortaBench {

/// The least that drawing a cloud can cost OpenGL: the valid points, closely packed in graphics memory, in one call
/// with the plainest program, one pixel each; or two triangles for every four neighbours that are valid.
class BareDraw {
public:
    enum class What { Points, Triangles };

    /// `matrix` takes points to clip space, column-major. Throws std::runtime_error without OpenGL 3.3.
    BareDraw(QWindow& window, const Vorta::PointCloud& cloud, const std::array<float, 16>& matrix, What what);

    void draw();

private:
    QWindow& window_;
    QOpenGLContext context_;
    std::unique_ptr<QOpenGLShaderProgram> program_;
    QOpenGLVertexArrayObject array_;
    QOpenGLBuffer buffer_;
    QOpenGLBuffer indices_{QOpenGLBuffer::IndexBuffer};
    int points_ = 0;
    int corners_ = 0; // of triangles
};

} // namespace VortaBench
