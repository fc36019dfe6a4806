// What a dialog of the camera stands on: preferences, a log handler, a head that is plugged in and a controller.
#pragma once

#include "camera/vortainterface.h"
#include "studio/mainwindow/world.h"
#include "support/virtualhead.h"
#include "support/widgets.h"

#include <QCheckBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QTest>

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace Vorta::Testing {

class DialogTest : public testing::Test {
protected:
    DialogTest() { preferences_.clear(); }
    ~DialogTest() override { preferences_.clear(); }

    VortaInterface& controller() {
        if (!controller_)
            controller_ = std::make_unique<VortaInterface>(World::instance().application, nullptr);
        return *controller_;
    }

    void connectCamera() {
        controller().connectCamera(ComputeDevice{});
        ASSERT_TRUE(waitFor([this] { return controller().status().connected; }, 20'000)) << "the head connects";
    }

    /// What the head itself was told, apart from the controller.
    static std::string cameraText(const char* path) {
        return World::instance().application.cameras().at(0).settings().getString(path);
    }

    static CameraStatus status(bool connected, bool live) {
        CameraStatus result;
        result.connected = connected;
        result.live = live;
        return result;
    }

    /// Replaces the text of a spin box or line edit by typing.
    static void type(QWidget& field, const char* text) {
        field.setFocus();
        QTest::keyClick(&field, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(&field, QString::fromUtf8(text));
    }

    static void click(QWidget& button) {
        // Where the mark of a radio button or check box is: the rest of a wide one is no place to click.
        const bool hasMark = qobject_cast<QRadioButton*>(&button) || qobject_cast<QCheckBox*>(&button);
        QTest::mouseClick(&button, Qt::LeftButton, {}, hasMark ? QPoint(8, button.height() / 2) : QPoint());
    }

    /// The visible widgets below `window` that get less room than they need.
    static std::string cutOff(const QWidget& window) {
        std::string names;
        for (const auto* widget : window.findChildren<QWidget*>()) {
            const bool showsText = qobject_cast<const QLabel*>(widget) || qobject_cast<const QAbstractButton*>(widget);
            const QSize needed = showsText ? widget->sizeHint() : widget->minimumSizeHint();
            // A header scrolls with its view; what is inside a spin box is that box's business.
            const bool onItsOwn = !qobject_cast<const QHeaderView*>(widget) &&
                                  !qobject_cast<const QAbstractSpinBox*>(widget->parentWidget());
            if (widget->isVisible() && onItsOwn &&
                (widget->width() < needed.width() || widget->height() < needed.height()))
                names +=
                    std::string(widget->metaObject()->className()) + ' ' + widget->objectName().toStdString() + '\n';
        }
        return names;
    }

    VortaQt::AppSettings& preferences_ = World::instance().preferences;
    Testing::VirtualHeads heads_{{.serialNumber = "T-1"}};
    std::unique_ptr<VortaInterface> controller_;
};

} // namespace Vorta::Testing
