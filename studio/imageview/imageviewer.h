#pragma once

#include "imageview/colormap.h"
#include "imageview/imageselection.h"

#include <QImage>
#include <QMainWindow>
#include <QSize>

#include <memory>
#include <opencv2/core/mat.hpp>
#include <string>

class ColorMapLegend;
class CrossSectionPlot;
class ImageLabel;
class QCheckBox;
class QComboBox;
class QDockWidget;
class QDoubleSpinBox;
class QScrollBar;

namespace Ui {
class ImageViewer;
}

/// Shows one image of a record: the colour image as it is, or the depths in false colour with a colour scale and
/// controls for its range. With zoom, a read-out of the pixel under the mouse, tools for masking pixels, a plot of the
/// values along a line, and saving as an image file.
///
/// Images start fitted to the window; once zoomed, the picture keeps its size, for later images too, until the zoom is
/// back at 1 or an image of another size comes. Matrices are shared with the caller, who must not change their pixels
/// afterwards. GUI thread.
class ImageViewer : public QMainWindow {
    Q_OBJECT

public:
    explicit ImageViewer(QWidget* parent = nullptr);
    ~ImageViewer() override;

    /// Size of the picture in multiples of what it was when last fitted to the window, or of the image's own size after
    /// normalSize().
    [[nodiscard]] double scaleFactor() const noexcept { return scaleFactor_; }

Q_SIGNALS:
    /// The user has applied a mask.
    void maskUpdated(cv::Mat_<uchar>& mask);

public Q_SLOTS:
    /// Multiplies the scale factor and resizes the picture about the centre of the view.
    void scaleImage(double factor);
    /// Moves a scroll bar so that the centre of the view stays where it is when the picture grows by `factor`.
    void adjustScrollBar(QScrollBar* scrollBar, double factor);
    void fitToWindow();
    void zoomIn();
    void zoomOut();
    /// Shows the image in its own size.
    void normalSize();

    /// Adds codes to the mask: where `newMask` is 0 the mask stays as it is.
    void updateMask(const cv::Mat_<uchar>& newMask);
    /// Plots the values along a line, in image coordinates. Throws ArgumentInvalidException ("m_mat") for a type of
    /// image that has no single value.
    void updateCrossSection(QLine line);

    /// Shows a colour (blue, green, red bytes) or grey image. Throws ArgumentInvalidException ("mat") for other types.
    void setImage(const cv::Mat& m_mat);
    /// Shows depths, NaN where there is none, in the colours of the present range. Then takes over [zMin, zMax], all in
    /// millimetres, as the new range, unless the user keeps the old one or zMax is not positive.
    void setDepthImage(const cv::Mat_<float>& depths, float zMin, float zMax);
    /// Sets the range of colours and controls; pixels keep their colours.
    void updateDepthRange(float zMin, float zMax);
    /// Writes the image as shown (depths) or as measured (others); the file's ending decides on the format. The name is
    /// in the local 8-bit encoding.
    void saveImage(const std::string& filename);
    /// Codes why a pixel is hidden, 0 = shown; empty = no mask.
    void setMask(const cv::Mat& mask);

    void on_actionZoom_Out_triggered();
    void on_actionZoom_In_triggered();
    void on_actionCross_section_toggled(bool arg1);
    void on_actionToggle_cross_section_toggled(bool arg1);
    void on_actionSelect_Rectangle_toggled(bool arg1);
    /// Shows position, value and mask class of a pixel in the status bar; clears it for a point outside the image.
    void updateMousePosition(int x, int y);
    void on_actionSelect_Polygon_toggled(bool arg1);
    void on_actionToggle_mask_toggled(bool arg1);
    void on_actionApply_mask_triggered();
    void on_actionDelete_Mask_triggered();
    void on_actionInvert_toggled(bool arg1);
    void on_actionSave_image_triggered();
    void createPlot();
    void slotUpdateDepthImageFromControls();
    void slotEnableSaturatedMask(bool enable);
    void slotResetDepthRange();

private:
    /// What a selection tool does when it is switched on or off: one at most is on.
    void chooseTool(QAction* tool, ImageSelection::Mode mode, bool on);
    void createDepthControls();
    void createSaturatedMaskAction();
    /// Gives up the selection that is being drawn, or else the tool.
    void leaveTool();
    void showPicture(const QImage& picture);
    void zoomFrom(const QSize& size);
    void updateActions();
    CrossSectionPlot& plot();
    [[nodiscard]] bool isFitted() const;
    [[nodiscard]] QImage colouredDepths() const;
    [[nodiscard]] QString maskClassAt(int x, int y) const;

    std::unique_ptr<Ui::ImageViewer> ui_;
    ColorMap colorMap_;
    ImageLabel* label_ = nullptr;
    ColorMapLegend* legend_ = nullptr;
    QDoubleSpinBox* minimum_ = nullptr;
    QDoubleSpinBox* maximum_ = nullptr;
    QCheckBox* keepRange_ = nullptr;
    QComboBox* depthMap_ = nullptr;
    QAction* maskSaturated_ = nullptr;

    QDockWidget* plotDock_ = nullptr;
    CrossSectionPlot* plot_ = nullptr; // made when it is first seen

    cv::Mat matrix_;            // the image as it came
    QImage displayedImage_;     // the false-colour image; null for colour images
    cv::Mat_<uchar> mask_;      // shared with the record; a change makes a copy
    bool invert_ = false;       // whether a selection masks what lies outside
    float frameMinimum_ = 0.0F; // depth range of the last frame, millimetres
    float frameMaximum_ = 0.0F;

    double scaleFactor_ = 1.0;
    QSize unscaledSize_;        // of the picture at scale factor 1
    bool unitScaleFits_ = true; // whether scale factor 1 is the fitted picture
};
