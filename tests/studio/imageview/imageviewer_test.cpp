#include "imageview/module.h"
#include "studio/imageview/viewerfixture.h"
#include "support/modaldriver.h"
#include "vorta/common/exceptions.h"
#include "vorta/common/log.h"

#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace {

using Vorta::Testing::grabFromScreen;
using Vorta::Testing::ModalDriver;
using Vorta::Testing::waitFor;

class Viewer : public ViewerFixture {};

struct Entry {
    const char* name;
    const char* text;
    bool checkable;
};

constexpr std::array formActions{Entry{"actionSelect_Rectangle", "Select Rectangle", true},
                                 Entry{"actionCross_section", "Cross section", true},
                                 Entry{"actionZoom_In", "Zoom In", false},
                                 Entry{"actionZoom_Out", "Zoom Out", false},
                                 Entry{"actionSelect_Polygon", "Select Polygon", true},
                                 Entry{"actionToggle_mask", "Toggle mask", true},
                                 Entry{"actionDelete_Mask", "Delete Mask", false},
                                 Entry{"actionInvert", "Invert", true},
                                 Entry{"actionApply_mask", "Apply mask", false},
                                 Entry{"actionToggle_cross_section", "Toggle cross section", true},
                                 Entry{"actionSave_image", "Save image", false}};

TEST_F(Viewer, IsBuiltFromItsForm) {
    EXPECT_EQ(viewer_.objectName(), QStringLiteral("ImageViewer"));
    EXPECT_EQ(viewer_.windowTitle(), QStringLiteral("Image Viewer"));
    EXPECT_EQ(viewer_.size(), QSize(690, 271));
    EXPECT_EQ(part<QToolBar>("toolBar").windowTitle(), QStringLiteral("Tool bar"));
    EXPECT_EQ(part<QToolBar>("toolBarDepth").windowTitle(), QStringLiteral("toolBar_2"));
    EXPECT_EQ(area().widget(), &label());
    EXPECT_EQ(viewer_.scaleFactor(), 1.0);
}

TEST_F(Viewer, ToolBarHoldsTheActionsInOrder) {
    const QList<QAction*> actions = part<QToolBar>("toolBar").actions();
    ASSERT_EQ(actions.size(), static_cast<int>(formActions.size()) + 2);
    for (std::size_t i = 0; i < formActions.size(); ++i) {
        const QAction& entry = *actions[static_cast<int>(i)];
        EXPECT_EQ(entry.objectName(), QLatin1String(formActions[i].name));
        EXPECT_EQ(entry.text(), QLatin1String(formActions[i].text));
        EXPECT_EQ(entry.isCheckable(), formActions[i].checkable) << formActions[i].name;
        EXPECT_FALSE(entry.isChecked()) << formActions[i].name;
        EXPECT_FALSE(entry.icon().pixmap(24, 24).isNull()) << formActions[i].name;
    }
    EXPECT_TRUE(actions[11]->isSeparator());
    EXPECT_EQ(actions[12]->text(), QStringLiteral("&Mask Saturated Pixels"));
    EXPECT_TRUE(actions[12]->isCheckable());
    EXPECT_FALSE(actions[12]->icon().pixmap(24, 24).isNull());
}

TEST_F(Viewer, OnlyColourImagesBringTheSaturatedMask) {
    EXPECT_FALSE(action("actionMask_Saturated_Pixels").isVisible());
    viewer_.setDepthImage(cv::Mat_<float>(2, 2, 5.0F), 5.0F, 5.0F);
    EXPECT_FALSE(action("actionMask_Saturated_Pixels").isVisible());
    viewer_.setImage(orange());
    EXPECT_TRUE(action("actionMask_Saturated_Pixels").isVisible());
}

TEST_F(Viewer, WithoutAnImageThereIsNothingToZoomOrSave) {
    for (const char* name : {"actionZoom_In", "actionZoom_Out", "actionSave_image"})
        EXPECT_FALSE(action(name).isEnabled()) << name;
    viewer_.zoomIn();
    viewer_.normalSize();
    EXPECT_EQ(viewer_.scaleFactor(), 1.0);
    EXPECT_TRUE(area().widgetResizable());
    viewer_.setImage(orange());
    for (const char* name : {"actionZoom_In", "actionZoom_Out", "actionSave_image"})
        EXPECT_TRUE(action(name).isEnabled()) << name;
}

TEST_F(Viewer, ShowsTheImageInItsColours) {
    show();
    viewer_.setImage(orange());
    const auto centre = [this] {
        const QImage shown = grabFromScreen(label());
        return shown.pixel(shown.width() / 2, shown.height() / 2);
    };
    EXPECT_TRUE(waitFor([&] { return centre() == qRgb(255, 128, 0); }));
    viewer_.setImage(cv::Mat_<uchar>(100, 200, uchar{77}));
    EXPECT_TRUE(waitFor([&] { return centre() == qRgb(77, 77, 77); }));
}

TEST_F(Viewer, RefusesImagesOfOtherTypes) {
    try {
        viewer_.setImage(cv::Mat(2, 3, CV_32FC1, cv::Scalar(1)));
        FAIL() << "accepted";
    } catch (const Vorta::ArgumentInvalidException& e) {
        EXPECT_STREQ(e.what(), "Image format not recognized. Invalid parameter: mat = 'CV_32FC1'");
    }
}

TEST_F(Viewer, SaysOfARefusedImageThatItsTypeIsUnknown) {
    EXPECT_THROW(viewer_.setImage(cv::Mat(2, 3, CV_16UC1, cv::Scalar(1))), Vorta::ArgumentInvalidException);
    viewer_.updateMousePosition(2, 1);
    EXPECT_EQ(message(), QStringLiteral("X:2 Y:1 Unknown data type "));
    try {
        viewer_.updateCrossSection(QLine(0, 0, 2, 0));
        FAIL() << "accepted";
    } catch (const Vorta::ArgumentInvalidException& e) {
        EXPECT_STREQ(e.what(), "Could not update cross section. Unsupported image type. Invalid parameter: m_mat = "
                               "'CV_16UC1'");
    }
}

TEST_F(Viewer, FitsImagesToTheWindow) {
    show();
    viewer_.setImage(orange());
    EXPECT_EQ(label().size(), area().viewport()->size());
    viewer_.resize(500, 350);
    EXPECT_TRUE(waitFor([this] { return label().size() == area().viewport()->size() && label().width() <= 500; }));
}

TEST_F(Viewer, ZoomsThePictureInStepsOfAQuarter) {
    show();
    viewer_.setImage(orange());
    const QSize fitted = label().placement().picture().size();
    action("actionZoom_In").trigger();
    EXPECT_EQ(viewer_.scaleFactor(), 1.25);
    EXPECT_EQ(label().size(), QSize(qRound(fitted.width() * 1.25), qRound(fitted.height() * 1.25)));
    action("actionZoom_In").trigger();
    EXPECT_EQ(label().size(), QSize(qRound(fitted.width() * 1.5625), qRound(fitted.height() * 1.5625)));
    viewer_.zoomOut();
    viewer_.zoomOut();
    viewer_.zoomOut();
    EXPECT_NEAR(viewer_.scaleFactor(), 0.8, 1e-12);
    EXPECT_EQ(label().size(), QSize(qRound(fitted.width() * 0.8), qRound(fitted.height() * 0.8)));
}

TEST_F(Viewer, FiveStepsInOrOutAreAllThereAre) {
    show();
    viewer_.setImage(orange());
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(action("actionZoom_In").isEnabled()) << i;
        viewer_.zoomIn();
    }
    EXPECT_NEAR(viewer_.scaleFactor(), 3.0517578125, 1e-12);
    EXPECT_FALSE(action("actionZoom_In").isEnabled());
    EXPECT_TRUE(action("actionZoom_Out").isEnabled());
    viewer_.fitToWindow();
    EXPECT_TRUE(action("actionZoom_In").isEnabled());
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(action("actionZoom_Out").isEnabled()) << i;
        viewer_.zoomOut();
    }
    EXPECT_NEAR(viewer_.scaleFactor(), 0.32768, 1e-12);
    EXPECT_FALSE(action("actionZoom_Out").isEnabled());
    EXPECT_TRUE(action("actionZoom_In").isEnabled());
}

TEST_F(Viewer, BackAtScaleOneThePictureFitsAgain) {
    show();
    viewer_.setImage(orange());
    for (int i = 0; i < 3; ++i)
        viewer_.zoomIn();
    EXPECT_FALSE(area().widgetResizable());
    for (int i = 0; i < 3; ++i)
        viewer_.zoomOut();
    EXPECT_TRUE(area().widgetResizable());
    EXPECT_EQ(viewer_.scaleFactor(), 1.0);
    EXPECT_TRUE(waitFor([this] { return label().size() == area().viewport()->size(); }));
}

TEST_F(Viewer, ZoomKeepsTheCentreOfTheView) {
    show();
    viewer_.setImage(orange(300, 300));
    viewer_.zoomIn();
    viewer_.zoomIn();
    const auto centre = [](const QScrollBar& bar, int extent) { return (bar.value() + bar.pageStep() / 2.0) / extent; };
    const QScrollBar& vertical = *area().verticalScrollBar();
    const double before = centre(vertical, label().height());
    EXPECT_NEAR(before, 0.5, 0.02);
    viewer_.zoomIn();
    EXPECT_NEAR(centre(vertical, label().height()), before, 0.01);
}

TEST_F(Viewer, ScrollBarsAreMovedByTruncatedValues) {
    QScrollBar bar;
    bar.setRange(0, 1000);
    bar.setPageStep(101);
    bar.setValue(50);
    viewer_.adjustScrollBar(&bar, 1.25); // 62.5 + 12.625
    EXPECT_EQ(bar.value(), 75);
    viewer_.adjustScrollBar(&bar, 0.8); // 60 - 10.1
    EXPECT_EQ(bar.value(), 49);
}

TEST_F(Viewer, NewFramesKeepTheUsersZoom) {
    show();
    viewer_.setImage(orange());
    viewer_.zoomIn();
    const QSize zoomed = label().size();
    viewer_.setImage(orange());
    QCoreApplication::processEvents();
    EXPECT_EQ(label().size(), zoomed);
    EXPECT_EQ(viewer_.scaleFactor(), 1.25);
    viewer_.setImage(orange(100, 100));
    EXPECT_TRUE(area().widgetResizable()) << "an image of another size starts fitted";
    EXPECT_EQ(viewer_.scaleFactor(), 1.0);
}

TEST_F(Viewer, NormalSizeIsTheImagesOwn) {
    show();
    viewer_.setImage(orange());
    viewer_.zoomIn();
    viewer_.normalSize();
    EXPECT_EQ(label().size(), QSize(200, 100));
    EXPECT_EQ(viewer_.scaleFactor(), 1.0);
    viewer_.zoomIn();
    EXPECT_EQ(label().size(), QSize(250, 125));
    viewer_.zoomOut();
    EXPECT_EQ(label().size(), QSize(200, 100));
    viewer_.fitToWindow();
    EXPECT_TRUE(waitFor([this] { return label().size() == area().viewport()->size(); }));
}

TEST_F(Viewer, ReadsOutThePixelUnderTheMouse) {
    cv::Mat_<cv::Vec3b> image = orange();
    image(20, 10) = cv::Vec3b(1, 2, 3);
    viewer_.setImage(image);
    Q_EMIT label().mouseOver(10, 20);
    EXPECT_EQ(message(), QStringLiteral("X:10 Y:20 R:3 G:2 B:1 "));
    Q_EMIT label().mouseOver(199, 99);
    EXPECT_EQ(message(), QStringLiteral("X:199 Y:99 R:255 G:128 B:0 "));
    for (const QPoint& outside : {QPoint(200, 99), QPoint(199, 100), QPoint(-1, 5), QPoint(5, -1)}) {
        viewer_.updateMousePosition(0, 0);
        viewer_.updateMousePosition(outside.x(), outside.y());
        EXPECT_EQ(message(), QString());
    }
}

TEST_F(Viewer, ReadOutNamesTheMaskClass) {
    viewer_.setImage(orange(6, 1));
    viewer_.setMask((cv::Mat_<uchar>(1, 6) << 0, 1, 2, 3, 5, 9));
    const QStringList classes{QString(),
                              QStringLiteral("Low contrast"),
                              QStringLiteral("Saturated"),
                              QStringLiteral("Out of range"),
                              QStringLiteral("Irrelevant"),
                              QString()};
    for (int x = 0; x < classes.size(); ++x) {
        viewer_.updateMousePosition(x, 0);
        EXPECT_EQ(message(), QStringLiteral("X:%1 Y:0 R:255 G:128 B:0 %2").arg(x).arg(classes[x]));
    }
    viewer_.setMask(cv::Mat());
    viewer_.updateMousePosition(1, 0);
    EXPECT_EQ(message(), QStringLiteral("X:1 Y:0 R:255 G:128 B:0 "));
}

TEST_F(Viewer, MaskSmallerThanTheImageHasNoClassBeyondItsEdge) {
    viewer_.setImage(orange(3, 3));
    viewer_.setMask(cv::Mat_<uchar>(2, 2, uchar{5}));
    viewer_.updateMousePosition(2, 2);
    EXPECT_EQ(message(), QStringLiteral("X:2 Y:2 R:255 G:128 B:0 "));
}

class SavedImage : public ViewerFixture, public testing::WithParamInterface<std::tuple<const char*, const char*>> {
protected:
    QTemporaryDir folder_;
};

TEST_P(SavedImage, HasTheMeasuredPixels) {
    const auto& [filter, expectedName] = GetParam();
    show();
    viewer_.setImage(orange(7, 5));
    ModalDriver boxes;
    boxes.then([&, wanted = QLatin1String(filter)](QWidget& box) {
        auto& dialog = dynamic_cast<QFileDialog&>(box);
        EXPECT_EQ(dialog.windowTitle(), QStringLiteral("Save image"));
        EXPECT_EQ(dialog.directory(), QDir::current());
        EXPECT_EQ(dialog.nameFilters().join(QStringLiteral(";;")),
                  QStringLiteral("PNG image (*.png);;JPEG image (*.png);;BMP image (*.bmp)"));
        dialog.selectNameFilter(wanted);
        Q_EMIT dialog.filterSelected(wanted);
        Vorta::Testing::find<QLineEdit>(dialog, QStringLiteral("fileNameEdit"))
            .setText(folder_.filePath(QStringLiteral("picture")));
        QMetaObject::invokeMethod(&dialog, "accept", Qt::QueuedConnection);
    });
    action("actionSave_image").trigger();
    const QImage saved(folder_.filePath(QLatin1String(expectedName)));
    ASSERT_EQ(saved.size(), QSize(7, 5));
    EXPECT_EQ(saved.pixel(6, 4), qRgb(255, 128, 0));
}

INSTANTIATE_TEST_SUITE_P(Formats, SavedImage,
                         testing::Values(std::tuple("PNG image (*.png)", "picture.png"),
                                         std::tuple("JPEG image (*.png)", "picture.png"),
                                         std::tuple("BMP image (*.bmp)", "picture.bmp")));

TEST_F(Viewer, CancelledSaveDoesNothing) {
    show();
    viewer_.setImage(orange(7, 5));
    ModalDriver boxes;
    boxes.thenCancel();
    action("actionSave_image").trigger();
    EXPECT_EQ(boxes.seen().size(), 1U);
}

TEST_F(Viewer, FailedSaveIsLoggedWithTheFilesName) {
    const QTemporaryDir folder;
    std::vector<std::string> messages;
    Vorta::Log::setCallback([&](const Vorta::Log::Event& event) { messages.push_back(event.getMessage()); });
    const std::string noFormat = folder.filePath(QStringLiteral("a.nosuchformat")).toStdString();
    viewer_.setImage(orange(7, 5));
    viewer_.saveImage("/no such folder/a.png");
    EXPECT_NO_THROW(viewer_.saveImage(noFormat));
    viewer_.setDepthImage(cv::Mat_<float>(2, 2, 5.0F), 5.0F, 5.0F);
    viewer_.saveImage("/no such folder/b.png");
    viewer_.saveImage(noFormat);
    Vorta::Log::setCallback({});
    EXPECT_THAT(messages, testing::ElementsAre("The image could not be written to '/no such folder/a.png'",
                                               "The image could not be written to '" + noFormat + "'",
                                               "The image could not be written to '/no such folder/b.png'",
                                               "The image could not be written to '" + noFormat + "'"));
}

TEST(Module, MissingOnesAreNamed) {
    try {
        moduleFunction("VortaNoSuchModule", "vortaWriteImage", "The image 'a.png' cannot be written");
        FAIL() << "there is no such module";
    } catch (const Vorta::IOException& error) {
        EXPECT_THAT(error.what(), testing::StartsWith("The image 'a.png' cannot be written: "));
        EXPECT_THAT(error.what(), testing::HasSubstr("VortaNoSuchModule"));
    }
    EXPECT_THROW(moduleFunction("VortaPlots", "vortaNoSuchFunction", "Nothing is plotted"), Vorta::IOException);
}

} // namespace
