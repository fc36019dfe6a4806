#include "imageview/crosssectionplot.h"

#include <qwt_plot_curve.h>

CrossSectionPlot::CrossSectionPlot(QWidget* parent)
    : QwtPlot(parent), curve_(new QwtPlotCurve(QStringLiteral("Points"))) {
    setCanvasBackground(Qt::white);
    setAxisAutoScale(QwtPlot::yLeft);
    setAxisAutoScale(QwtPlot::xBottom);
    setMinimumHeight(150);
    curve_->setPen(Qt::blue, 1.0, Qt::SolidLine);
    curve_->setRenderHint(QwtPlotItem::RenderAntialiased);
    curve_->setSamples(QVector<QPointF>());
    curve_->attach(this);
}

void CrossSectionPlot::setSamples(const QVector<QPointF>& samples) {
    curve_->setSamples(samples);
    replot();
}
