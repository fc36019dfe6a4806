#pragma once

#include "camera/camerastatus.h"
#include "camera/cloudwithimagesandmask.h"
#include "vorta/api/frame.h"
#include "vorta/compute/devicecloud.h"

#include <QList>
#include <QMetaType>

#include <memory>
#include <string>

Q_DECLARE_METATYPE(Vorta::PointCloud)
Q_DECLARE_METATYPE(Vorta::DeviceCloud)
Q_DECLARE_METATYPE(Vorta::Frame)
Q_DECLARE_METATYPE(std::shared_ptr<Vorta::CloudWithImagesAndMask>)
Q_DECLARE_METATYPE(cv::Mat)
Q_DECLARE_METATYPE(std::string)
