#pragma once

#include "capture.h"
#include "decodekernels.h"
#include "repairingcode.h"

#include "vorta/reconstruction/sequence.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace Vorta::Reconstruction {

/// Decodes the images of one projector axis, row by row. Many threads may use one, each with its own buffers.
class AxisDecoder {
public:
    /// One thread's row, which `decode` fills.
    class Buffers {
    public:
        Buffers(const AxisDecoder& decoder, std::size_t width);

        [[nodiscard]] Kernels::DecodedRow decoded() noexcept {
            return {.halfPeriod = halfPeriod_.data(),
                    .modulation = modulation_.data(),
                    .position = position_.data(),
                    .accepted = accepted_.data()};
        }
        /// 255 where a phase image is saturated, else 0.
        [[nodiscard]] const std::uint8_t* saturated() const noexcept { return saturated_.data(); }

    private:
        friend class AxisDecoder;
        [[nodiscard]] Kernels::ReadRow read() noexcept;

        std::size_t width_;
        std::vector<std::uint16_t> halfPeriod_;
        std::vector<float> modulation_, position_;
        std::vector<std::uint8_t> accepted_, saturated_;
        std::array<std::vector<std::uint8_t>, Kernels::BitPlanes{}.size()> set_, undecided_;
        std::vector<std::uint8_t> linear_; // one row of every image, for captures that are to be linearised
    };

    AxisDecoder(const SequenceOptions& options, const AxisLayout& axis, const Kernels::DecodeSet& kernels);

    /// Fills all of the buffers that `decoded` and `saturated` show.
    void decode(const Capture& capture, std::size_t row, Buffers& buffers) const;

    [[nodiscard]] const AxisLayout& layout() const noexcept { return axis_; }

private:
    [[nodiscard]] std::size_t imageCount() const noexcept;
    [[nodiscard]] Kernels::CodedRow codedRow(const Capture& capture, std::size_t row, Buffers& buffers) const;
    void repair(bool rejectSaturated, Buffers& buffers) const;
    void rejectReflections(const Kernels::CodedRow& coded, Buffers& buffers) const;

    AxisLayout axis_;
    bool hasInverses_;
    float periodPixels_;
    const Kernels::DecodeSet& kernels_;
    std::optional<RepairingCode> code_; // empty for the Gray code
};

} // namespace Vorta::Reconstruction
