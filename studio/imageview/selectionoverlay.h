#pragma once

#include "imageview/imageplacement.h"
#include "imageview/imageselection.h"

#include <QWidget>

class QRubberBand;

/// Shows a selection over the picture that it is drawn on. Of the same size as the picture's label; mouse events go
/// through it. GUI thread.
class SelectionOverlay : public QWidget {
    Q_OBJECT

public:
    explicit SelectionOverlay(QWidget* parent = nullptr);

    /// Shows the selection where the picture stands now.
    void setSelection(const ImageSelection& selection, const ImagePlacement& placement);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QRubberBand* rubberBand_;
    QPolygon path_; // the line or the polygon; empty for none
};
