#pragma once

#include <QPointF>
#include <QVector>

class QWidget;

/// The values along a line as a curve. GUI thread.
class CrossSectionPlot {
public:
    /// The widget that this is; its parent owns it.
    virtual QWidget& widget() = 0;
    virtual void setSamples(const QVector<QPointF>& samples) = 0;

protected:
    CrossSectionPlot() = default;
    CrossSectionPlot(const CrossSectionPlot&) = default;
    CrossSectionPlot& operator=(const CrossSectionPlot&) = default;
    CrossSectionPlot(CrossSectionPlot&&) = default;
    CrossSectionPlot& operator=(CrossSectionPlot&&) = default;
    ~CrossSectionPlot() = default;
};

/// A plot without a parent yet. The plot library is loaded with the first one: most starts have no use for it.
/// Throws Vorta::IOException when it is missing.
CrossSectionPlot& makeCrossSectionPlot();
