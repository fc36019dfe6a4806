#include "imageview/selectionoverlay.h"

#include <QPainter>
#include <QRubberBand>

SelectionOverlay::SelectionOverlay(QWidget* parent)
    : QWidget(parent), rubberBand_(new QRubberBand(QRubberBand::Rectangle, this)) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    rubberBand_->setObjectName(QStringLiteral("rubberBand"));
}

void SelectionOverlay::setSelection(const ImageSelection& selection, const ImagePlacement& placement) {
    using Mode = ImageSelection::Mode;
    path_.clear();
    if (selection.mode() == Mode::Line && !selection.line().isNull()) {
        path_ << placement.toWidget(selection.line().p1()) << placement.toWidget(selection.line().p2());
    } else if (selection.mode() == Mode::Polygon) {
        for (const QPoint& point : selection.polygon())
            path_ << placement.toWidget(point);
    }
    const bool rectangle = selection.mode() == Mode::Rectangle && selection.rectangle().isValid();
    if (rectangle)
        rubberBand_->setGeometry(QRect(placement.toWidget(selection.rectangle().topLeft()),
                                       placement.toWidget(selection.rectangle().bottomRight())));
    rubberBand_->setVisible(rectangle);
    update();
}

void SelectionOverlay::paintEvent(QPaintEvent* /*event*/) {
    if (path_.isEmpty())
        return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    // A light line in a dark one is seen on any picture.
    for (const QPen& pen : {QPen(QColor(0, 0, 0, 160), 3.0), QPen(QColor(255, 220, 60), 1.0)}) {
        painter.setPen(pen);
        if (path_.size() > 2)
            painter.drawPolygon(path_, Qt::OddEvenFill);
        else
            painter.drawPolyline(path_);
    }
}
