// A controller with a head plugged in, and what it says.
#pragma once

#include "camera/metatypes.h"
#include "camera/vortainterface.h"
#include "services/appsettings.h"
#include "support/virtualhead.h"
#include "support/widgets.h"
#include "vorta/api/application.h"

#include <QSignalSpy>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace Vorta::Testing {

/// The texts of the log, from whatever thread they come.
class LoggedTexts {
public:
    explicit LoggedTexts(Application& application) : application_(application) {
        application_.getImpl().setLogCallback([this](const Log::Event& event) {
            const std::scoped_lock lock{mutex_};
            texts_.push_back(event.getMessage());
        });
    }
    LoggedTexts(const LoggedTexts&) = delete;
    LoggedTexts& operator=(const LoggedTexts&) = delete;
    ~LoggedTexts() { application_.getImpl().setLogCallback({}); }

    [[nodiscard]] std::vector<std::string> all() const {
        const std::scoped_lock lock{mutex_};
        return texts_;
    }
    [[nodiscard]] auto count(const std::string& text) const { return std::ranges::count(all(), text); }

private:
    Application& application_;
    mutable std::mutex mutex_;
    std::vector<std::string> texts_;
};

class ControllerTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        qRegisterMetaType<CameraStatus>("Vorta::CameraStatus");
        qRegisterMetaType<DeviceCloud>("Vorta::DeviceCloud");
        qRegisterMetaType<Frame>("Vorta::Frame");
        qRegisterMetaType<std::shared_ptr<CloudWithImagesAndMask>>("std::shared_ptr<Vorta::CloudWithImagesAndMask>");
    }

    ~ControllerTest() override { preferences_.saveCameraSettings(Settings{}); }

    void start() {
        controller_ = std::make_unique<VortaInterface>(application_, nullptr);
        infos_ = std::make_unique<QSignalSpy>(controller_.get(), &VortaInterface::infoMessage);
        warnings_ = std::make_unique<QSignalSpy>(controller_.get(), &VortaInterface::warningMessage);
        records_ = std::make_unique<QSignalSpy>(controller_.get(), &VortaInterface::pointCloudDataUpdated);
        statuses_ = std::make_unique<QSignalSpy>(controller_.get(), &VortaInterface::statusChanged);
        // No spy: it would count on the library's threads.
        QObject::connect(controller_.get(), &VortaInterface::deviceCloudUpdated, controller_.get(),
                         [this](const DeviceCloud& cloud) {
                             ++clouds_;
                             lastCloud_ = cloud;
                         });
        controller_->connectCamera(ComputeDevice{});
    }

    bool becomesConnected() {
        return waitFor([this] { return controller_->status().connected; }, 20'000);
    }

    void startConnected() {
        start();
        ASSERT_TRUE(becomesConnected());
    }

    /// The library's camera, apart from the controller.
    Camera camera() { return application_.cameras().at(0); }

    QString path(const char* name) const { return folder_.filePath(QString::fromUtf8(name)); }

    static FrameSpec spec() {
        FrameSpec result;
        result.brightness = 0.75F;
        result.exposureTime = std::chrono::microseconds{9000};
        result.iris = 29;
        return result;
    }

    static FrameSpec liveSpec() {
        FrameSpec result = spec();
        result.live = true;
        return result;
    }

    QTemporaryDir folder_;
    Testing::VirtualHeads heads_{{.serialNumber = "T-1"}};
    VortaQt::AppSettings preferences_{nullptr};
    Application application_;
    int clouds_ = 0; ///< that came for the view, and the last of them: the controller delivers until it is gone
    DeviceCloud lastCloud_;
    std::unique_ptr<VortaInterface> controller_;
    std::unique_ptr<QSignalSpy> infos_;
    std::unique_ptr<QSignalSpy> warnings_;
    std::unique_ptr<QSignalSpy> records_;
    std::unique_ptr<QSignalSpy> statuses_;
};

} // namespace Vorta::Testing
