// The module that makeCrossSectionPlot() loads.

#include "imageview/crosssectionplot.h"

#include <boost/config.hpp>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>

namespace {

class Plot final : public QwtPlot, public CrossSectionPlot {
public:
    Plot() : curve_(new QwtPlotCurve(QStringLiteral("Points"))) {
        setCanvasBackground(Qt::white);
        setAxisAutoScale(QwtPlot::yLeft);
        setAxisAutoScale(QwtPlot::xBottom);
        setMinimumHeight(150);
        curve_->setPen(Qt::blue, 1.0, Qt::SolidLine);
        curve_->setRenderHint(QwtPlotItem::RenderAntialiased);
        curve_->setSamples(QVector<QPointF>());
        curve_->attach(this);
    }

    QWidget& widget() override { return *this; }

    void setSamples(const QVector<QPointF>& samples) override {
        curve_->setSamples(samples);
        replot();
    }

private:
    QwtPlotCurve* curve_;
};

} // namespace

extern "C" BOOST_SYMBOL_EXPORT CrossSectionPlot* vortaMakeCrossSectionPlot();

CrossSectionPlot* vortaMakeCrossSectionPlot() {
    return new Plot;
}
