#pragma once

#include <QLine>
#include <QPointF>
#include <QVector>

#include <opencv2/core/mat.hpp>

/// The values of `image` along a line, one for each column that it crosses, or for each row where it is no wider than
/// high, as (column or row, value); pixels that are masked, outside the image or not a number leave gaps. The walk runs
/// forward only: a line towards smaller columns or rows has no samples.
///
/// `image` holds bytes, floats, or blue, green and red bytes, which are averaged; another type throws
/// ArgumentInvalidException ("m_mat"). `mask` is empty or of the image's size.
[[nodiscard]] QVector<QPointF> crossSection(const cv::Mat& image, const cv::Mat_<uchar>& mask, const QLine& line);
