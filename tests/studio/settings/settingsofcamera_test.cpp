// What the settings' widgets show and enter, with a connected head.
#include "settings/expertsettingdialog.h"
#include "settings/expertsettings.h"
#include "settings/expertsettingstablemodel.h"
#include "settings/settingswidget.h"
#include "studio/camera/controllerfixture.h"
#include "support/modaldriver.h"
#include "vorta/common/exceptions.h"

#include <QDialogButtonBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTest>
#include <QTreeView>

namespace {

using namespace Vorta;
using namespace Vorta::Testing;
using namespace VortaQt;

class SettingsOfCamera : public ControllerTest {
protected:
    static QString shown(const QWidget& widget, const char* tree, int row) {
        return find<QTreeView>(widget, QLatin1String(tree)).model()->index(row, 1).data().toString();
    }
};

TEST_F(SettingsOfCamera, aCapturedFrameShowsTheSettingsItWasCapturedWith) {
    startConnected();
    SettingsWidget widget;
    widget.setCameraSettings(controller_->settings());
    EXPECT_EQ(shown(widget, "treeViewCamera", 2), QStringLiteral("10000"));
    EXPECT_EQ(shown(widget, "treeViewCamera", 3), QStringLiteral("31"));

    controller_->measure(spec());
    controller_->saveDataFile(path("a.vdf"));
    QObject::connect(controller_.get(), &VortaInterface::settingsLoaded, &widget, &SettingsWidget::setFrameSettings);
    controller_->loadDataFile(path("a.vdf"));
    EXPECT_EQ(shown(widget, "treeViewMeasurement", 2), QStringLiteral("9000"));
    EXPECT_EQ(shown(widget, "treeViewMeasurement", 3), QStringLiteral("29"));
    EXPECT_EQ(shown(widget, "treeViewMeasurement", 4), QStringLiteral("0.75"));
    EXPECT_EQ(find<QTabWidget>(widget, QStringLiteral("tabWidget")).currentIndex(), 1);
    EXPECT_EQ(shown(widget, "treeViewCamera", 3), QStringLiteral("31")) << "as it was filled";
}

TEST_F(SettingsOfCamera, anEnteredExpertSettingReachesTheCameraAndGoesAgain) {
    startConnected();
    ExpertSettingsTableModel table;
    ModalDriver boxes;
    boxes.then([](QWidget& box) {
        QTest::keyClicks(&find<QWidget>(box, QStringLiteral("pathComboBox")), QStringLiteral("Camera"));
        QTest::keyClicks(&find<QLineEdit>(box, QStringLiteral("nameLineEdit")), QStringLiteral("Gain"));
        QTest::keyClicks(&find<QLineEdit>(box, QStringLiteral("valueLineEdit")), QStringLiteral("2.5"));
        QTest::mouseClick(find<QDialogButtonBox>(box, QStringLiteral("buttonBox")).button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
        if (box.isVisible()) {
            ADD_FAILURE() << "the entry was not accepted";
            box.close();
        }
    });
    ExpertSettingDialog dialog;
    ASSERT_EQ(dialog.exec(), QDialog::Accepted);
    table.addSetting(dialog.path(), dialog.value());

    Settings settings = controller_->settings();
    applyExpertSettings(settings, table.settings());
    controller_->setSettings(settings);
    EXPECT_EQ(camera().settings().getString("Camera/Gain"), "2.5");
    EXPECT_EQ(collectExpertSettings(camera().settings()).value(QStringLiteral("Camera/Gain")), QStringLiteral("2.5"));

    settings = controller_->settings();
    resetToDefaults(settings, table.paths());
    controller_->setSettings(settings);
    EXPECT_EQ(camera().settings().getString("Camera/Gain"), "1");
    EXPECT_FALSE(collectExpertSettings(camera().settings()).contains(QStringLiteral("Camera/Gain")));
}

TEST_F(SettingsOfCamera, expertSettingsComeBackAtTheNextStart) {
    {
        Settings settings;
        applyExpertSettings(settings, {{QStringLiteral("Camera/BlackLevel"), QStringLiteral("6")},
                                       {QStringLiteral("Lens/MaxIris"), QStringLiteral("40")}});
        startConnected();
        controller_->setSettingsQuietly(settings);
        controller_.reset();
    }
    startConnected();
    EXPECT_EQ(collectExpertSettings(camera().settings()),
              (QMap<QString, QString>{{QStringLiteral("Camera/BlackLevel"), QStringLiteral("6")},
                                      {QStringLiteral("Lens/MaxIris"), QStringLiteral("40")}}));
}

TEST_F(SettingsOfCamera, aRefusedExpertSettingIsTheCallersToReport) {
    startConnected();
    const Settings before = camera().settings();
    Settings settings = controller_->settings();
    EXPECT_THROW(applyExpertSettings(settings, {{QStringLiteral("Camera/Gain"), QStringLiteral("99")}}),
                 ArgumentOutOfRangeException);
    EXPECT_EQ(settings, controller_->settings());
    EXPECT_EQ(camera().settings(), before);
}

} // namespace
