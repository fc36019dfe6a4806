#include "imageview/colormaplegend.h"

#include "imageview/colormap.h"

#include <QLinearGradient>
#include <QPainter>

namespace {

constexpr int barWidth = 20;
constexpr int tickLength = 10;
constexpr int labelOffset = 15;

} // namespace

ColorMapLegend::ColorMapLegend(const ColorMap& map, QWidget* parent) : QWidget(parent), map_(map) {
    setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Expanding);
    const QString widest = QStringLiteral("%1").arg(static_cast<double>(map_.minimum()));
    setMinimumWidth(tickLength + barWidth + labelOffset + fontMetrics().horizontalAdvance(widest));
}

void ColorMapLegend::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    paintBar(painter);
    paintTicks(painter);
    paintLabels(painter);
}

void ColorMapLegend::paintBar(QPainter& painter) const {
    const std::vector<QRgb> colours = map_.colours();
    QLinearGradient gradient(0, 0, 0, height() - 1);
    const auto count = static_cast<double>(colours.size());
    for (std::size_t i = 0; i < colours.size(); i += 2)
        gradient.setColorAt(1.0 - static_cast<double>(i) / count, QColor(colours[i]));
    gradient.setColorAt(0.0, QColor(colours.back()));
    painter.setPen(Qt::black);
    painter.setBrush(gradient);
    painter.drawRect(0, 0, barWidth - 1, height() - 1);
}

void ColorMapLegend::paintTicks(QPainter& painter) const {
    painter.setPen(Qt::black);
    const auto tick = [&](int y, int length) { painter.drawLine(barWidth, y, barWidth + length - 1, y); };
    tick(0, tickLength);
    tick(height() - 1, tickLength);
    for (const double fraction : {0.25, 0.5, 0.75})
        tick(qRound(fraction * (height() - 1)), tickLength / 2);
}

void ColorMapLegend::paintLabels(QPainter& painter) const {
    painter.setPen(palette().color(QPalette::WindowText));
    const double fontHeight = painter.fontMetrics().height();
    const auto label = [&](double y, float value) {
        painter.drawText(QPointF(barWidth + labelOffset, y), QString::number(static_cast<double>(value), 'f', 1));
    };
    // Baselines, so that each text stands beside its tick and the outer two stay inside the widget. In a low widget
    // those between that would touch their neighbours are left out.
    const auto between = [&](double fromBottom) {
        label((1.0 - fromBottom) * height() + fontHeight / 4,
              map_.minimum() + static_cast<float>(fromBottom) * map_.range());
    };
    const double room = 1.25 * fontHeight;
    label(0.75 * fontHeight, map_.maximum());
    if (0.5 * height() >= room)
        between(0.5);
    if (0.25 * height() >= room) {
        between(0.75);
        between(0.25);
    }
    label(height() - 1, map_.minimum());
}
