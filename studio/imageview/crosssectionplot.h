#pragma once

#include <QPointF>
#include <QVector>

#include <qwt_plot.h>

class QwtPlotCurve;

/// The values along a line as a curve. GUI thread.
class CrossSectionPlot : public QwtPlot {
    Q_OBJECT

public:
    explicit CrossSectionPlot(QWidget* parent = nullptr);

    void setSamples(const QVector<QPointF>& samples);

private:
    QwtPlotCurve* curve_;
};
