#include "imageview/imageviewer.h"

#include "imageview/colormaplegend.h"
#include "imageview/crosssection.h"
#include "imageview/crosssectionplot.h"
#include "imageview/imageconversion.h"
#include "imageview/imagefile.h"
#include "imageview/imagelabel.h"
#include "ui_ImageViewer.h"
#include "vorta/common/log.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QDockWidget>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QSignalBlocker>

#include <cmath>
#include <opencv2/core.hpp>
#include <utility>

namespace {

constexpr double zoomInFactor = 1.25;
constexpr double zoomOutFactor = 0.8;
// Zooming ends where the scale passes these.
constexpr double largestScale = 3.0;
constexpr double smallestScale = 0.333;
constexpr int controlSpacing = 5;
constexpr int smallestControlWidth = 56;

QDoubleSpinBox* makeRangeBox(const QString& name, const QString& tip) {
    auto* box = new QDoubleSpinBox;
    box->setObjectName(name);
    box->setDecimals(2);
    box->setSingleStep(1.0);
    box->setToolTip(tip);
    return box;
}

} // namespace

ImageViewer::ImageViewer(QWidget* parent)
    : QMainWindow(parent),
      ui_(std::make_unique<Ui::ImageViewer>()),
      label_(new ImageLabel),
      legend_(new ColorMapLegend(colorMap_)) {
    ui_->setupUi(this);
    label_->setObjectName(QStringLiteral("imageLabel"));
    ui_->scrollArea->setWidget(label_);
    // The same around a picture that is smaller than the view.
    ui_->scrollArea->setBackgroundRole(label_->backgroundRole());
    legend_->setObjectName(QStringLiteral("colorMapLegend"));
    legend_->hide();
    ui_->horizontalLayout->addWidget(legend_);
    createDepthControls();
    createSaturatedMaskAction();
    createPlot();
    connect(label_, &ImageLabel::mouseOver, this, &ImageViewer::updateMousePosition);
    connect(label_, &ImageLabel::lineSelected, this, &ImageViewer::updateCrossSection);
    // Whoever draws a line wants to see its values.
    connect(label_, &ImageLabel::lineSelected, ui_->actionToggle_cross_section,
            [this] { ui_->actionToggle_cross_section->setChecked(true); });
    auto* escape = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    escape->setContext(Qt::WidgetWithChildrenShortcut);
    connect(escape, &QShortcut::activated, this, &ImageViewer::leaveTool);
    updateActions();
}

ImageViewer::~ImageViewer() = default;

void ImageViewer::createDepthControls() {
    minimum_ = makeRangeBox(QStringLiteral("minimumSpinBox"), tr("Depth of the lowest colour in mm"));
    maximum_ = makeRangeBox(QStringLiteral("maximumSpinBox"), tr("Depth of the highest colour in mm"));
    keepRange_ = new QCheckBox(tr("&Keep"));
    keepRange_->setObjectName(QStringLiteral("keepCheckBox"));
    keepRange_->setToolTip(tr("Keep this range for the next frames"));
    auto* reset = new QPushButton(tr("Re&set"));
    reset->setObjectName(QStringLiteral("resetButton"));
    reset->setToolTip(tr("Use the depth range of the last frame"));
    depthMap_ = new QComboBox;
    depthMap_->setObjectName(QStringLiteral("depthMapComboBox"));
    // A narrow dock shortens these two before it hides any control.
    reset->setMinimumWidth(smallestControlWidth);
    depthMap_->setMinimumWidth(smallestControlWidth);
    for (std::uint32_t mode = 0; mode < ColorMap::modeCount; ++mode)
        depthMap_->addItem(ColorMap::modeName(mode));
    auto* rangeLabel = new QLabel(tr("&Range:"));
    rangeLabel->setBuddy(minimum_);
    auto* mapLabel = new QLabel(tr("&Depth Map:"));
    mapLabel->setBuddy(depthMap_);

    QToolBar& bar = *ui_->toolBarDepth;
    for (QWidget* widget :
         std::initializer_list<QWidget*>{rangeLabel, minimum_, maximum_, keepRange_, reset, mapLabel, depthMap_})
        bar.addWidget(widget);
    bar.layout()->setSpacing(controlSpacing);
    bar.hide();

    using Box = QDoubleSpinBox;
    for (const Box* box : {minimum_, maximum_})
        connect(box, qOverload<double>(&Box::valueChanged), this, &ImageViewer::slotUpdateDepthImageFromControls);
    connect(depthMap_, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &ImageViewer::slotUpdateDepthImageFromControls);
    connect(reset, &QPushButton::clicked, this, &ImageViewer::slotResetDepthRange);
}

void ImageViewer::createSaturatedMaskAction() {
    ui_->toolBar->addSeparator();
    maskSaturated_ =
        ui_->toolBar->addAction(QIcon(QStringLiteral(":/icons/maskSaturated.png")), tr("&Mask Saturated Pixels"));
    maskSaturated_->setObjectName(QStringLiteral("actionMask_Saturated_Pixels"));
    maskSaturated_->setCheckable(true);
    maskSaturated_->setVisible(false);
    connect(maskSaturated_, &QAction::triggered, this, &ImageViewer::slotEnableSaturatedMask);
}

void ImageViewer::setImage(const cv::Mat& m_mat) {
    maskSaturated_->setVisible(true);
    matrix_ = m_mat;
    displayedImage_ = QImage();
    showPicture(ImageConversion::displayImage(matrix_));
}

void ImageViewer::setDepthImage(const cv::Mat_<float>& depths, float zMin, float zMax) {
    matrix_ = depths;
    displayedImage_ = colouredDepths();
    showPicture(displayedImage_);
    ui_->toolBarDepth->show();
    legend_->show();
    frameMinimum_ = zMin;
    frameMaximum_ = zMax;
    // The new range reaches the pixels with the next frame or the next change of a control.
    if (zMax > 0.0F && !keepRange_->isChecked())
        updateDepthRange(zMin, zMax);
    legend_->update();
}

QImage ImageViewer::colouredDepths() const {
    return ImageConversion::depthImage(matrix_, colorMap_);
}

void ImageViewer::updateDepthRange(float zMin, float zMax) {
    colorMap_.setRange(zMin, zMax);
    for (const auto& [box, value] : {std::pair(minimum_, zMin), std::pair(maximum_, zMax)}) {
        const QSignalBlocker blocker(box);
        box->setRange(static_cast<double>(zMin), static_cast<double>(zMax));
        box->setValue(static_cast<double>(value));
    }
    legend_->update();
}

void ImageViewer::slotUpdateDepthImageFromControls() {
    colorMap_.setup(static_cast<float>(minimum_->value()), static_cast<float>(maximum_->value()),
                    static_cast<std::uint32_t>(depthMap_->currentIndex()));
    legend_->update();
    if (matrix_.type() != CV_32FC1 || matrix_.empty())
        return;
    displayedImage_ = colouredDepths();
    label_->setImage(displayedImage_);
}

void ImageViewer::slotResetDepthRange() {
    // A frame without any depth has no range to go back to.
    if (!std::isfinite(frameMinimum_) || !std::isfinite(frameMaximum_))
        return;
    updateDepthRange(frameMinimum_, frameMaximum_);
    slotUpdateDepthImageFromControls();
}

void ImageViewer::setMask(const cv::Mat& mask) {
    mask_ = mask;
    label_->setMask(mask_);
}

void ImageViewer::updateMask(const cv::Mat_<uchar>& newMask) {
    if (cv::countNonZero(newMask) == 0)
        return;
    // Whoever gave the present mask keeps its own.
    cv::Mat_<uchar> mask;
    if (mask_.size() == newMask.size())
        mask_.copyTo(mask);
    else
        mask = cv::Mat_<uchar>(newMask.size(), 0);
    newMask.copyTo(mask, newMask);
    setMask(mask);
}

void ImageViewer::on_actionApply_mask_triggered() {
    if (mask_.size() != matrix_.size())
        setMask(cv::Mat_<uchar>(matrix_.size(), 0));
    updateMask(label_->selectionMask(invert_));
    Q_EMIT maskUpdated(mask_);
}

void ImageViewer::on_actionDelete_Mask_triggered() {
    setMask(cv::Mat_<uchar>());
}

void ImageViewer::on_actionInvert_toggled(bool arg1) {
    invert_ = arg1;
}

void ImageViewer::on_actionToggle_mask_toggled(bool arg1) {
    label_->showMask(arg1);
}

void ImageViewer::slotEnableSaturatedMask(bool enable) {
    label_->showSaturated(enable);
}

void ImageViewer::chooseTool(QAction* tool, ImageSelection::Mode mode, bool on) {
    if (!on) {
        label_->clearSelection();
        return;
    }
    for (QAction* other : {ui_->actionCross_section, ui_->actionSelect_Rectangle, ui_->actionSelect_Polygon})
        if (other != tool)
            other->setChecked(false);
    label_->setSelectionMode(mode);
}

void ImageViewer::on_actionCross_section_toggled(bool arg1) {
    chooseTool(ui_->actionCross_section, ImageSelection::Mode::Line, arg1);
}

void ImageViewer::on_actionSelect_Rectangle_toggled(bool arg1) {
    chooseTool(ui_->actionSelect_Rectangle, ImageSelection::Mode::Rectangle, arg1);
}

void ImageViewer::on_actionSelect_Polygon_toggled(bool arg1) {
    chooseTool(ui_->actionSelect_Polygon, ImageSelection::Mode::Polygon, arg1);
}

void ImageViewer::leaveTool() {
    if (label_->cancelSelection())
        return;
    for (QAction* tool : {ui_->actionCross_section, ui_->actionSelect_Rectangle, ui_->actionSelect_Polygon})
        tool->setChecked(false);
}

void ImageViewer::createPlot() {
    if (plotDock_)
        return; // there is one
    plotDock_ = new QDockWidget(tr("Cross section"), this);
    plotDock_->setObjectName(QStringLiteral("crossSectionDock"));
    addDockWidget(Qt::BottomDockWidgetArea, plotDock_);
    plotDock_->hide();
    // The dock can be closed by its own button too. It tells also that it went out of sight with the window around it:
    // that is not for the action. It does so even when this viewer is about to be gone.
    QAction* const toggle = ui_->actionToggle_cross_section;
    connect(plotDock_->toggleViewAction(), &QAction::toggled, toggle, [toggle, dock = plotDock_](bool shown) {
        if (shown || dock->isHidden())
            toggle->setChecked(shown);
    });
}

CrossSectionPlot& ImageViewer::plot() {
    if (!plot_) {
        plot_ = &makeCrossSectionPlot();
        plot_->widget().setObjectName(QStringLiteral("crossSectionPlot"));
        plotDock_->setWidget(&plot_->widget());
    }
    return *plot_;
}

void ImageViewer::on_actionToggle_cross_section_toggled(bool arg1) {
    if (arg1)
        plot();
    plotDock_->setVisible(arg1);
}

void ImageViewer::updateCrossSection(QLine line) {
    plot().setSamples(crossSection(matrix_, mask_, line));
}

void ImageViewer::showPicture(const QImage& picture) {
    const bool otherSize = picture.size() != label_->image().size();
    label_->setImage(picture);
    if (otherSize)
        fitToWindow();
    else
        updateActions();
}

bool ImageViewer::isFitted() const {
    return ui_->scrollArea->widgetResizable();
}

void ImageViewer::fitToWindow() {
    ui_->scrollArea->setWidgetResizable(true);
    scaleFactor_ = 1.0;
    unitScaleFits_ = true;
    updateActions();
}

void ImageViewer::zoomFrom(const QSize& size) {
    ui_->scrollArea->setWidgetResizable(false);
    unscaledSize_ = size;
    scaleFactor_ = 1.0;
}

void ImageViewer::scaleImage(double factor) {
    if (label_->image().isNull())
        return;
    if (isFitted())
        zoomFrom(label_->placement().picture().size());
    scaleFactor_ *= factor;
    // Steps up and down meet at 1 again but for rounding.
    if (unitScaleFits_ && std::abs(scaleFactor_ - 1.0) < 1e-9) {
        fitToWindow();
        return;
    }
    label_->resize(static_cast<int>(std::lround(unscaledSize_.width() * scaleFactor_)),
                   static_cast<int>(std::lround(unscaledSize_.height() * scaleFactor_)));
    adjustScrollBar(ui_->scrollArea->horizontalScrollBar(), factor);
    adjustScrollBar(ui_->scrollArea->verticalScrollBar(), factor);
    updateActions();
}

void ImageViewer::adjustScrollBar(QScrollBar* scrollBar, double factor) {
    scrollBar->setValue(static_cast<int>(scrollBar->value() * factor + scrollBar->pageStep() * (factor - 1.0) * 0.5));
}

void ImageViewer::zoomIn() {
    scaleImage(zoomInFactor);
}

void ImageViewer::zoomOut() {
    scaleImage(zoomOutFactor);
}

void ImageViewer::normalSize() {
    if (label_->image().isNull())
        return;
    zoomFrom(label_->image().size());
    unitScaleFits_ = false;
    label_->adjustSize();
    updateActions();
}

void ImageViewer::updateActions() {
    const bool hasImage = !label_->image().isNull();
    ui_->actionZoom_In->setEnabled(hasImage && scaleFactor_ < largestScale);
    ui_->actionZoom_Out->setEnabled(hasImage && scaleFactor_ > smallestScale);
    for (QAction* action :
         {ui_->actionSave_image, ui_->actionSelect_Rectangle, ui_->actionCross_section, ui_->actionSelect_Polygon,
          ui_->actionToggle_mask, ui_->actionDelete_Mask, ui_->actionInvert, ui_->actionApply_mask, maskSaturated_})
        action->setEnabled(hasImage);
}

void ImageViewer::saveImage(const std::string& filename) {
    const bool written = displayedImage_.isNull() ? writeImageFile(filename, matrix_)
                                                  : displayedImage_.save(QString::fromLocal8Bit(filename.c_str()));
    if (!written)
        Vorta::Log::warning("VortaStudio/ImageViewer", __LINE__, "The image could not be written to '%s'", filename);
}

QString ImageViewer::maskClassAt(int x, int y) const {
    return x < mask_.cols && y < mask_.rows ? ImageConversion::maskClassText(mask_(y, x)) : QString();
}

void ImageViewer::updateMousePosition(int x, int y) {
    if (x < 0 || y < 0 || x >= matrix_.cols || y >= matrix_.rows) {
        ui_->statusBar->clearMessage();
        return;
    }
    ui_->statusBar->showMessage(
        QStringLiteral("X:%1 Y:%2 %3 %4")
            .arg(QString::number(x), QString::number(y), ImageConversion::pixelText(matrix_, x, y), maskClassAt(x, y)));
}

void ImageViewer::on_actionZoom_Out_triggered() {
    zoomOut();
}

void ImageViewer::on_actionZoom_In_triggered() {
    zoomIn();
}

void ImageViewer::on_actionSave_image_triggered() {
    // The second format's ending is PNG's like the first one's.
    QFileDialog dialog(this, tr("Save image"), QDir::currentPath(),
                       QStringLiteral("PNG image (*.png);;JPEG image (*.png);;BMP image (*.bmp)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setFileMode(QFileDialog::AnyFile);
    // A name without an ending gets the chosen format's.
    dialog.setDefaultSuffix(QStringLiteral("png"));
    connect(&dialog, &QFileDialog::filterSelected, &dialog, [&dialog](const QString& filter) {
        dialog.setDefaultSuffix(filter.contains(QLatin1String("bmp")) ? QStringLiteral("bmp") : QStringLiteral("png"));
    });
    if (dialog.exec() == QDialog::Accepted)
        saveImage(dialog.selectedFiles().constFirst().toLocal8Bit().toStdString());
}
