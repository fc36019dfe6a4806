// The module that makeCrossSectionPlot() loads.

#include "imageview/crosssectionplot.h"

#include <boost/config.hpp>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>

namespace {

constexpr int smallestHeight = 150;

/// Samples lie one pixel of the image apart; where some are missing, the curve has a gap.
class Curve final : public QwtPlotCurve {
public:
    using QwtPlotCurve::QwtPlotCurve;

protected:
    void drawLines(QPainter* painter, const QwtScaleMap& xMap, const QwtScaleMap& yMap, const QRectF& canvasRect,
                   int from, int to) const override {
        constexpr double widestStep = 1.5;
        int start = from;
        for (int i = from + 1; i <= to; ++i) {
            if (sample(i).x() - sample(i - 1).x() < widestStep)
                continue;
            QwtPlotCurve::drawLines(painter, xMap, yMap, canvasRect, start, i - 1);
            start = i;
        }
        QwtPlotCurve::drawLines(painter, xMap, yMap, canvasRect, start, to);
    }
};

class Plot final : public QwtPlot, public CrossSectionPlot {
public:
    Plot() : curve_(new Curve(QStringLiteral("Points"))) {
        setCanvasBackground(Qt::white);
        setAxisAutoScale(QwtPlot::yLeft);
        setAxisAutoScale(QwtPlot::xBottom);
        setMinimumHeight(smallestHeight);
        curve_->setPen(Qt::blue, 1.0, Qt::SolidLine);
        curve_->setRenderHint(QwtPlotItem::RenderAntialiased);
        curve_->setSamples(QVector<QPointF>());
        curve_->attach(this);
    }

    /// Most of the room is the picture's.
    [[nodiscard]] QSize sizeHint() const override { return {QwtPlot::sizeHint().width(), smallestHeight}; }

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
