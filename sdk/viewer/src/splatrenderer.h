#pragma once

#include "pointsplatter.h"

#include <QtGui/QBackingStore>
#include <QtGui/QImage>
#include <QtGui/QWindow>

#include <span>

namespace Vorta {

/// Shows what PointSplatter draws in somebody's window, past OpenGL. Is destroyed before the window's native surface.
class SplatRenderer {
public:
    explicit SplatRenderer(QWindow& window) : window_(window), store_(&window) {}

    void drawToWindow(std::span<const CloudVertex> vertices, const FrameSettings& frame);
    /// Shows a picture that was drawn elsewhere, scaled to the window.
    void show(const QImage& picture);
    /// The frame at the given size in physical pixels.
    [[nodiscard]] QImage drawToImage(std::span<const CloudVertex> vertices, const FrameSettings& frame,
                                     const QSize& size);

private:
    void draw(std::span<const CloudVertex> vertices, const FrameSettings& frame, QImage& picture);

    QWindow& window_;
    QBackingStore store_;
    PointSplatter splatter_;
    QImage picture_; // kept so that its memory is
};

} // namespace Vorta
