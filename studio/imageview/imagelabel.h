#pragma once

#include "imageview/imageplacement.h"
#include "imageview/imageselection.h"
#include "imageview/scaledpicture.h"

#include <QImage>
#include <QLabel>

class MaskOverlay;
class SelectionOverlay;

/// Shows an image scaled to the label's size, smooth, centred, its proportions kept, with its mask and what the user
/// selects on top, and tells where the mouse is on it. GUI thread.
class ImageLabel : public QLabel {
    Q_OBJECT

public:
    explicit ImageLabel(QWidget* parent = nullptr);

    /// From the first image on the label follows the mouse.
    void setImage(const QImage& image);
    [[nodiscard]] const QImage& image() const noexcept { return image_; }

    /// The picture's place in the label as it is now.
    [[nodiscard]] ImagePlacement placement() const { return {image_.size(), size()}; }

    /// Codes of the image's size; empty for none. The pixels are shared and not to be changed afterwards.
    void setMask(const cv::Mat& mask);
    void showMask(bool show);
    void showSaturated(bool show);

    /// From now on the mouse draws a selection of this kind.
    void setSelectionMode(ImageSelection::Mode mode);
    void clearSelection();
    /// Gives up the selection that is being drawn; false when there is none.
    bool cancelSelection();
    /// See ImageSelection::mask, of the image's size.
    [[nodiscard]] cv::Mat_<uchar> selectionMask(bool invert) const;

    /// The image's own size.
    [[nodiscard]] QSize sizeHint() const override;

Q_SIGNALS:
    /// The mouse moved to these image coordinates, which lie outside the image when the mouse is beside the picture;
    /// (-1, -1) when it left the label.
    void mouseOver(int x, int y);
    /// The second end of a line was set; image coordinates.
    void lineSelected(QLine line);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    void showSelection();

    QImage image_;
    ScaledPicture picture_;
    ImageSelection selection_;
    MaskOverlay* maskOverlay_;
    SelectionOverlay* selectionOverlay_; // above the mask's
};
