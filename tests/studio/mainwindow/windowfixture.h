#pragma once

#include "mainwindow/mainwindow.h"

#include "studio/mainwindow/world.h"
#include "support/modaldriver.h"
#include "support/virtualhead.h"
#include "support/widgets.h"

#include <QAction>
#include <QFileDialog>
#include <QLineEdit>
#include <QTemporaryDir>

#include <chrono>
#include <functional>
#include <gtest/gtest.h>

namespace Vorta::Testing {

/// The main window with one head plugged in.
class Window : public testing::Test {
protected:
    Window() : controller_(World::instance().application, nullptr), window_(controller_) {}
    ~Window() override { World::instance().preferences.clear(); }

    void show() {
        window_.show();
        ASSERT_TRUE(waitFor([this] { return action("actionGrab").isEnabled(); }, 20'000)) << "the head connects";
    }

    void grab() {
        action("actionGrab").trigger();
        ASSERT_TRUE(controller_.record());
    }

    /// A single capture as bright as the head's defaults make it.
    static FrameSpec spec() { return {.exposureTime = std::chrono::microseconds{10'000}, .iris = 31}; }

    QAction& action(const char* name) { return Vorta::Testing::find<QAction>(window_, QLatin1String(name)); }
    QString path(const char* name) const { return folder_.filePath(QString::fromUtf8(name)); }

    /// Whether the 3D view shows nothing but its background.
    static bool viewIsPlain(const MainWindow& window) {
        const QImage view = Vorta::Testing::grabFromScreen(*window.centralWidget());
        QImage plain(view.size(), view.format());
        plain.fill(view.pixelColor(0, 0));
        return view == plain;
    }

    /// Types `name` into the save dialog, under the filter that contains `filter`.
    static std::function<void(QWidget&)> saveAs(const QString& name, const QString& filter) {
        return [=](QWidget& box) {
            auto& dialog = dynamic_cast<QFileDialog&>(box);
            for (const QString& candidate : dialog.nameFilters())
                if (candidate.contains(filter))
                    dialog.selectNameFilter(candidate);
            Vorta::Testing::find<QLineEdit>(dialog, QStringLiteral("fileNameEdit")).setText(name);
            QMetaObject::invokeMethod(&dialog, "accept", Qt::QueuedConnection);
        };
    }

    Testing::VirtualHeads heads_{{.serialNumber = "T-1"}};
    QTemporaryDir folder_;
    VortaInterface controller_;
    MainWindow window_;
};

} // namespace Vorta::Testing
