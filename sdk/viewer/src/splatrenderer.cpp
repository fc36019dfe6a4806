#include "splatrenderer.h"

#include <QtGui/QPainter>

namespace Vorta {

void SplatRenderer::drawToWindow(std::span<const CloudVertex> vertices, const FrameSettings& frame) {
    const QSize size = window_.size() * window_.devicePixelRatio();
    if (picture_.size() != size)
        picture_ = QImage(size, QImage::Format_RGB32);
    draw(vertices, frame, picture_);
    show(picture_);
}

void SplatRenderer::show(const QImage& picture) {
    const QRect area(QPoint(), window_.size());
    if (store_.size() != window_.size())
        store_.resize(window_.size());
    store_.beginPaint(area);
    {
        QPainter painter(store_.paintDevice());
        painter.setCompositionMode(QPainter::CompositionMode_Source);
        painter.drawImage(area, picture);
    }
    store_.endPaint();
    store_.flush(area);
}

QImage SplatRenderer::drawToImage(std::span<const CloudVertex> vertices, const FrameSettings& frame,
                                  const QSize& size) {
    QImage picture(size, QImage::Format_RGB32);
    draw(vertices, frame, picture);
    return picture;
}

void SplatRenderer::draw(std::span<const CloudVertex> vertices, const FrameSettings& frame, QImage& picture) {
    splatter_.draw(vertices, frame,
                   {.pixels = reinterpret_cast<std::uint32_t*>(picture.bits()),
                    .width = static_cast<std::size_t>(picture.width()),
                    .height = static_cast<std::size_t>(picture.height()),
                    .pitch = static_cast<std::size_t>(picture.bytesPerLine()) / sizeof(std::uint32_t)});
}

} // namespace Vorta
