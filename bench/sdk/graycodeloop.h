#pragma once

#include "vorta/driver/imagestack.h"
#include "vorta/driver/pattern.h"

#include <cstddef>
#include <memory>
#include <vector>

/// OpenCV's decoder of Gray code pairs, which reads the projector pixel of one camera pixel at a time.
class GrayCodeLoop {
public:
    /// For a projector of this size.
    GrayCodeLoop(std::size_t width, std::size_t height);
    GrayCodeLoop(const GrayCodeLoop&) = delete;
    GrayCodeLoop& operator=(const GrayCodeLoop&) = delete;
    ~GrayCodeLoop();

    /// Its images, columns first, each followed by its inverse.
    [[nodiscard]] std::vector<Vorta::Driver::Pattern> patterns() const;

    /// Takes the captured images, of as many as there are patterns. The images must outlive the last `decode`.
    void setImages(const Vorta::Driver::ImageStack& images);

    /// Decodes all pixels into columns and rows; -1 where there is none.
    void decode();

    [[nodiscard]] const std::vector<int>& columns() const noexcept { return columns_; }
    [[nodiscard]] const std::vector<int>& rows() const noexcept { return rows_; }

private:
    struct State;
    std::unique_ptr<State> state_;
    std::vector<int> columns_;
    std::vector<int> rows_;
};
