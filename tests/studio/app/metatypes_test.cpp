#include "app/metatypes.h"

#include "camera/metatypes.h"
#include "services/logevent.h"

#include <QMetaType>

#include <gtest/gtest.h>

namespace {

struct KnownType {
    const char* name;
    int (*id)(); ///< makes the type known under its C++ name, so it is asked for last
};

template <class T>
int idOf() {
    return qMetaTypeId<T>();
}

TEST(MetaTypes, AreKnownUnderTheNamesThatSignalsSpell) {
    Vorta::registerMetaTypes();
    for (const auto& [name, id] :
         {KnownType{"PointCloud", idOf<Vorta::PointCloud>},
          {"Vorta::DeviceCloud", idOf<Vorta::DeviceCloud>},
          {"std::shared_ptr<CloudWithImagesAndMask>", idOf<std::shared_ptr<Vorta::CloudWithImagesAndMask>>},
          {"cv::Mat&", idOf<cv::Mat>},
          {"std::string", idOf<std::string>},
          {"Vorta::CameraStatus", idOf<Vorta::CameraStatus>},
          {"VortaQt::LogEvent", idOf<VortaQt::LogEvent>}}) {
        const int known = QMetaType::type(name);
        EXPECT_EQ(known, id()) << name;
    }
}

} // namespace
