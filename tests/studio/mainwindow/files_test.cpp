#include "studio/mainwindow/windowfixture.h"

#include "imageview/imageviewer.h"
#include "services/recentfilesmenu.h"
#include "vorta/common/exceptions.h"

#include <QCoreApplication>
#include <QDir>
#include <QDragEnterEvent>
#include <QMimeData>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>

namespace {

using namespace Vorta;
using Vorta::Testing::ModalDriver;
using Vorta::Testing::Window;
using Vorta::Testing::World;

TEST_F(Window, SaveWithoutAMeasurementShowsNoDialog) {
    const ModalDriver boxes;
    window_.slotFileSave();
    EXPECT_TRUE(boxes.seen().empty());
}

struct SaveCase {
    const char* name;
    const char* filter;
    const char* firstBytes;
    qint64 size; ///< -1: not looked at
};

void PrintTo(const SaveCase& save, std::ostream* stream) {
    *stream << save.name << " as " << save.filter;
}

class SaveMeasurement : public Window, public testing::WithParamInterface<SaveCase> {};

TEST_P(SaveMeasurement, WritesTheFormatThatTheNameEndsIn) {
    show();
    grab();
    ModalDriver boxes;
    boxes.then(saveAs(path(GetParam().name), QString::fromLatin1(GetParam().filter)));
    window_.slotFileSave();
    QFile file(path(GetParam().name));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray expected = GetParam().firstBytes;
    const QByteArray content = file.readAll();
    EXPECT_EQ(content.left(expected.size()), expected);
    if (GetParam().size >= 0) {
        EXPECT_EQ(content.size(), GetParam().size);
    }
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileSaveFolder", {}), folder_.path());
}

// 243 x 150 points; an ordered PLY has 15 bytes for each and 205 bytes of header, a PCD 16 bytes for each.
INSTANTIATE_TEST_SUITE_P(
    Endings, SaveMeasurement,
    testing::Values(SaveCase{"a.vdf", "Data File (*.vdf)", "\x89HDF", -1}, SaveCase{"a.xyz", "ASCII", "", -1},
                    SaveCase{"a.ply", "Ordered", "ply\nformat binary_little_endian 1.0\n", 243 * 150 * 15 + 205},
                    SaveCase{"b.PLY", "Data File (*.vdf)", "ply\n", 243 * 150 * 15 + 205},
                    SaveCase{"c.ply", "Unordered", "ply\n", -1}, SaveCase{"a.pcd", "Point Cloud", "# .PCD v0.7", -1}));

/// A measurement of which all rows but the last are hidden.
class MaskedMeasurement : public Window {
protected:
    /// Saves it under the filter that contains `filter` and gives what the file holds.
    QByteArray save(const char* name, const char* filter) {
        cv::Mat_<uchar> mask(150, 243, uchar{0});
        mask(cv::Rect(0, 0, 243, 149)).setTo(5);
        grab();
        controller_.slotHandleMaskUpdate(mask);
        ModalDriver boxes;
        boxes.then(saveAs(path(name), QString::fromLatin1(filter)));
        window_.slotFileSave();
        QFile file(path(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        return file.readAll();
    }
};

TEST_F(MaskedMeasurement, IsNotExported) {
    show();
    const QList<QByteArray> lines = save("a.xyz", "ASCII").split('\n');
    const auto valid = std::count_if(lines.begin(), lines.end(), [](const QByteArray& line) {
        return !line.isEmpty() && !line.toLower().contains("nan");
    });
    EXPECT_GT(valid, 0) << "the last row is not masked";
    EXPECT_LE(valid, 243);
}

TEST_F(MaskedMeasurement, IsLeftOutOfAnUnorderedPly) {
    show();
    const QByteArray content = save("a.ply", "Unordered");
    EXPECT_TRUE(content.startsWith("ply\n"));
    EXPECT_GT(content.size(), 243 * 15 / 2) << "the last row is not masked";
    EXPECT_LT(content.size(), 243 * 15 + 300) << "one row and the header";
}

TEST_F(Window, FileOpenedWhileLiveIsShownInTheImages) {
    show();
    FrameSpec dark = spec();
    dark.exposureTime = std::chrono::microseconds{2'000};
    controller_.measure(dark);
    controller_.saveDataFile(path("dark.vdf"));
    grab();
    auto& cameraImage = Vorta::Testing::find<ImageViewer>(window_, QStringLiteral("CameraImageWidget"));
    action("actionLive").trigger();
    window_.openFile(path("dark.vdf"));
    // Masks that are drawn on the picture go to the record of the file.
    cameraImage.saveImage(path("shown.png").toStdString());
    const cv::Mat file = controller_.record()->colorImage();
    const QImage shown(path("shown.png"));
    ASSERT_EQ(shown.size(), QSize(243, 150));
    const auto& pixel = file.at<cv::Vec3b>(75, 121);
    EXPECT_EQ(shown.pixelColor(121, 75), QColor(pixel[2], pixel[1], pixel[0]));
    action("actionStop").trigger();
}

TEST_F(Window, OpenedFileShowsWhatSavingWrites) {
    show();
    grab();
    controller_.saveDataFile(path("a.vdf"));
    // Nothing lies that far: the mask of the opened file hides it all.
    Settings settings = controller_.settings();
    settings.getSettingsInternal().set(SettingsInternal::Measurement::MinZ(9000.0));
    settings.getSettingsInternal().set(SettingsInternal::Measurement::MaxZ(9500.0));
    controller_.setSettingsQuietly(settings);
    MainWindow fresh(controller_);
    fresh.show();
    EXPECT_TRUE(Vorta::Testing::waitFor([&] { return !viewIsPlain(fresh); })) << "the grid";
    fresh.openFile(path("a.vdf"));
    EXPECT_TRUE(Vorta::Testing::waitFor([&] { return viewIsPlain(fresh); }));
    EXPECT_TRUE(std::isnan(controller_.record()->maskedPointCloud()(75, 121).z));
}

TEST_F(Window, SaveUnderANameWithoutEndingWritesNothing) {
    show();
    grab();
    ModalDriver boxes;
    boxes.then(saveAs(path("name"), QStringLiteral("Point Cloud Data"))).thenClick(QStringLiteral("OK"));
    window_.slotFileSave();
    ASSERT_EQ(boxes.seen().size(), 2U);
    EXPECT_EQ(boxes.seen()[1].title, QStringLiteral("Save"));
    EXPECT_EQ(boxes.seen()[1].text,
              QStringLiteral("Please specify a filename with one of the valid filename extensions."));
    EXPECT_FALSE(QFile::exists(path("name")));
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileSaveFolder", {}), QString());
}

TEST_F(Window, FileThatIsLeftFromBeforeStaysAndItsFolderIsRemembered) {
    QFile file(path("name"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("kept");
    file.close();
    show();
    grab();
    ModalDriver boxes;
    boxes.then(saveAs(file.fileName(), QStringLiteral("ASCII")))
        .thenClick(QStringLiteral("Yes")) // to replacing it
        .thenClick(QStringLiteral("OK"));
    window_.slotFileSave();
    ASSERT_EQ(boxes.seen().size(), 3U);
    EXPECT_EQ(boxes.seen()[2].title, QStringLiteral("Save"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    EXPECT_EQ(file.readAll(), "kept");
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileSaveFolder", {}), folder_.path());
}

TEST_F(Window, FailedSavesSayWhichFile) {
    show();
    grab();
    const QString missing = QStringLiteral("/no such folder/&lt;a"); // drawn letter by letter
    for (const auto& [ending, title, text] : {std::tuple{".xyz", "Save ASCII", "Error saving to ASCII file '%1'."},
                                              std::tuple{".ply", "Save PLY", "Error saving to PLY file '%1'."}}) {
        const QString name = missing + QLatin1String(ending);
        ModalDriver boxes;
        boxes.then(saveAs(name, QStringLiteral("Data File (*.vdf)"))).thenClick(QStringLiteral("OK"));
        window_.slotFileSave();
        ASSERT_EQ(boxes.seen().size(), 2U);
        EXPECT_EQ(boxes.seen()[1].title, QString::fromLatin1(title));
        EXPECT_EQ(boxes.seen()[1].text, QString::fromLatin1(text).arg(name));
        EXPECT_EQ(boxes.seen()[1].icon, QMessageBox::Critical);
        EXPECT_EQ(boxes.seen()[1].parent, &window_);
        EXPECT_EQ(boxes.seen()[1].buttons, QStringList{QStringLiteral("OK")});
    }
}

TEST_F(Window, OpenedFileIsRememberedAndListed) {
    show();
    grab();
    controller_.saveDataFile(path("scene.vdf"));
    ModalDriver boxes;
    boxes.thenChooseFile(path("scene.vdf"));
    window_.slotOpenFile();
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileOpenFolder", {}), folder_.path());
    window_.close();
    EXPECT_EQ(World::instance().preferences.recentFiles(), QStringList{path("scene.vdf")});
}

TEST_F(Window, RecentFilesAreOpenedFromTheMenuAndGoneOnesAreLeftOut) {
    show();
    grab();
    auto& preferences = World::instance().preferences;
    const QString first = path("first.vdf");
    const QString second = path("a second scene.vdf");
    for (const QString& file : {first, second})
        controller_.saveDataFile(file);
    preferences.setRecentFiles({path("gone.vdf"), first, second});

    MainWindow fresh(controller_);
    const auto& menu = *fresh.findChild<VortaQt::RecentFilesMenu*>();
    ASSERT_EQ(menu.files(), QStringList({first, second}));
    const auto captured = controller_.record();
    menu.actions().at(1)->trigger();
    EXPECT_NE(controller_.record(), captured);
    EXPECT_EQ(menu.files(), QStringList({second, first}));

    ASSERT_TRUE(QFile::remove(first));
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK"));
    menu.actions().at(1)->trigger();
    EXPECT_EQ(boxes.seen().at(0).text, QStringLiteral("File does not exist: ") + first);
    EXPECT_EQ(menu.files(), QStringList({second, first})) << "as it was: nothing was opened";
    fresh.close();
    EXPECT_EQ(preferences.recentFiles(), QStringList{second});
}

TEST_F(Window, BrokenFilesAreTheCallersToReportAndChangeNothing) {
    show();
    grab();
    const auto record = controller_.record();
    const std::string settings = controller_.settings().getString("Iris");
    for (const char* name : {"broken.vdf", "broken.yml"}) {
        QFile file(path(name));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write("neither");
    }
    EXPECT_THROW(window_.openFile(path("broken.vdf")), IOException);
    ModalDriver boxes;
    boxes.thenChooseFile(path("broken.yml"));
    EXPECT_THROW(window_.slotLoadSettings(), IOException);
    EXPECT_EQ(controller_.record(), record);
    EXPECT_EQ(controller_.settings().getString("Iris"), settings);
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileOpenFolder", {}), QString());
    window_.close();
    EXPECT_TRUE(World::instance().preferences.recentFiles().isEmpty());
}

TEST_F(Window, SettingsRoundTripStartsWhereTheyWereSaved) {
    show();
    ModalDriver boxes;
    boxes.thenChooseFile(path("camera.yml"));
    window_.slotSaveSettings();
    EXPECT_TRUE(QFile::exists(path("camera.yml")));
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileOpenFolder", {}), folder_.path());
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileSaveFolder", {}), QString());
}

TEST_F(Window, SavesAndSettingsHaveFoldersOfTheirOwn) {
    ASSERT_TRUE(QDir(folder_.path()).mkdir(QStringLiteral("settings")));
    show();
    grab();
    ModalDriver boxes;
    boxes.then(saveAs(path("a.xyz"), QStringLiteral("ASCII")));
    window_.slotFileSave();
    boxes.thenChooseFile(path("settings/camera.yml"));
    window_.slotSaveSettings();

    QString startFolder;
    const auto lookAtFolder = [&](QWidget& box) {
        startFolder = dynamic_cast<QFileDialog&>(box).directory().absolutePath();
        dynamic_cast<QDialog&>(box).reject();
    };
    boxes.then(lookAtFolder);
    window_.slotLoadSettings();
    EXPECT_EQ(startFolder, path("settings"));
    boxes.then(lookAtFolder);
    window_.slotFileSave();
    EXPECT_EQ(startFolder, folder_.path());
}

TEST_F(Window, LoadedSettingsAreTheCameras) {
    show();
    Settings other;
    other.set("Iris", "17");
    other.save(path("camera.yml").toStdString());
    ModalDriver boxes;
    boxes.thenChooseFile(path("camera.yml"));
    window_.slotLoadSettings();
    EXPECT_EQ(World::instance().application.cameras().at(0).settings().getString("Iris"), "17");
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileOpenFolder", {}), folder_.path());
}

TEST_F(Window, MissingFileIsReportedAndNothingChanges) {
    ModalDriver boxes;
    boxes.thenClick(QStringLiteral("OK"));
    window_.openFile(path("<b>none.vdf"));
    ASSERT_EQ(boxes.seen().size(), 1U);
    EXPECT_EQ(boxes.seen()[0].title, QStringLiteral("File Open Error"));
    EXPECT_EQ(boxes.seen()[0].text, QStringLiteral("File does not exist: ") + path("<b>none.vdf"));
    EXPECT_EQ(boxes.seen()[0].icon, QMessageBox::Critical);
    EXPECT_EQ(boxes.seen()[0].parent, &window_);
    EXPECT_EQ(boxes.seen()[0].buttons, QStringList{QStringLiteral("OK")});
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileOpenFolder", {}), QString());
    EXPECT_FALSE(controller_.record());
}

TEST_F(Window, FileOfAnotherKindIsRefused) {
    QFile file(path("notes.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    try {
        window_.openFile(file.fileName());
        FAIL() << "no exception";
    } catch (const ArgumentInvalidException& e) {
        EXPECT_THAT(e.what(),
                    testing::AllOf(testing::HasSubstr("Unsupported file type"), testing::HasSubstr("fileName"),
                                   testing::HasSubstr(file.fileName().toStdString())));
    }
}

TEST_F(Window, CancelledDialogsChangeNothing) {
    show();
    grab();
    ModalDriver boxes;
    boxes.thenCancel().thenCancel().thenCancel().thenCancel();
    window_.slotOpenFile();
    window_.slotFileSave();
    window_.slotLoadSettings();
    window_.slotSaveSettings();
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileOpenFolder", {}), QString());
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileSaveFolder", {}), QString());
    EXPECT_TRUE(QDir(folder_.path()).isEmpty());
}

/// Drags the address over the window and drops it there; whether the window takes it.
bool drop(QWidget& window, const QList<QUrl>& urls) {
    QMimeData data;
    data.setUrls(urls);
    QDragEnterEvent enter(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &enter);
    if (!enter.isAccepted())
        return false;
    QDropEvent drop(QPoint(50, 50), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(&window, &drop);
    return drop.isAccepted();
}

TEST_F(Window, DroppedDataFileIsOpened) {
    show();
    grab();
    controller_.saveDataFile(path("scene.VDF"));
    const auto captured = controller_.record();
    EXPECT_TRUE(drop(window_, {QUrl::fromLocalFile(path("scene.VDF"))}));
    EXPECT_NE(controller_.record(), captured);
    EXPECT_EQ(World::instance().preferences.getString("GUI/LastFileOpenFolder", {}), folder_.path());
}

TEST_F(Window, NothingElseCanBeDropped) {
    show();
    EXPECT_FALSE(drop(window_, {QUrl::fromLocalFile(path("notes.txt"))}));
    EXPECT_FALSE(drop(window_, {QUrl(QStringLiteral("http://example.invalid/a.vdf"))}));
    EXPECT_FALSE(drop(window_, {QUrl::fromLocalFile(path("a.vdf")), QUrl::fromLocalFile(path("b.vdf"))}));
    EXPECT_FALSE(drop(window_, {}));
}

} // namespace
