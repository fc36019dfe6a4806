#include "app/metatypes.h"

#include "camera/metatypes.h"
#include "services/logevent.h"

#include <QMetaType>

#include <gtest/gtest.h>

namespace {

using namespace Vorta;

TEST(MetaTypes, AreKnownByTheNamesThatQueuedSignalsSpell) {
    for (int round = 0; round < 2; ++round) { // a second time changes nothing
        registerMetaTypes();
        EXPECT_EQ(QMetaType::type("PointCloud"), qMetaTypeId<PointCloud>());
        EXPECT_EQ(QMetaType::type("Vorta::DeviceCloud"), qMetaTypeId<DeviceCloud>());
        EXPECT_EQ(QMetaType::type("std::shared_ptr<CloudWithImagesAndMask>"),
                  qMetaTypeId<std::shared_ptr<CloudWithImagesAndMask>>());
        EXPECT_EQ(QMetaType::type("cv::Mat&"), qMetaTypeId<cv::Mat>());
        EXPECT_EQ(QMetaType::type("std::string"), qMetaTypeId<std::string>());
        EXPECT_EQ(QMetaType::type("Vorta::CameraStatus"), qMetaTypeId<CameraStatus>());
        EXPECT_EQ(QMetaType::type("VortaQt::LogEvent"), qMetaTypeId<VortaQt::LogEvent>());
    }
}

} // namespace
