#pragma once

#include "graycode.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Vorta::Reconstruction {

/// A binary linear code in which any two words differ in at least 5 bits, so that two wrong bits of a reading are
/// repaired and most readings with more are recognised.
///
/// It is the kernel of a parity-check matrix whose columns are chosen greedily: each is the smallest number that is no
/// exclusive-or of up to three of those before, so any four columns are independent (R. R. Varshamov, "Estimate of the
/// number of signals in error correcting codes", 1957). The words stand in an order in which neighbours differ by one
/// vector of a basis of words of weight 5: word n is the exclusive-or of the basis vectors at the set bits of n's Gray
/// code. Between neighbours exactly five bits are undecided, and however they are read, one of the two neighbours is
/// nearest. Words at an odd distance have an odd number of basis vectors between them, so one number is even and the
/// other odd: where a half period's phase tells which it is, three wrong bits are recognised too.
class RepairingCode {
public:
    static constexpr std::size_t maxNumberBits = 12;

    /// What a reading says.
    struct Reading {
        unsigned number = 0;
        bool isRepairable = false; ///< whether some word is within two bits; `number` is its place then
    };

    /// A code of 2^numberBits words, 1 <= numberBits <= maxNumberBits; throws ArgumentInvalidException otherwise.
    explicit RepairingCode(std::size_t numberBits);

    /// Bits of a word: 5, 8, 10, 11, 13, 14, 15, 16, 17, 19, 20, 21 for 1 to 12 number bits.
    [[nodiscard]] std::size_t bitCount() const noexcept { return bitCount_; }

    /// Word number `number` < 2^numberBits.
    [[nodiscard]] std::uint32_t word(std::size_t number) const noexcept;

    /// The word nearest to a reading, whose bits from 24 on are not looked at and from `bitCount()` to there are 0.
    [[nodiscard]] Reading read(std::uint32_t reading) const noexcept {
        const std::uint32_t sum =
            byBytes_[0][reading & 0xFFU] ^ byBytes_[1][reading >> 8U & 0xFFU] ^ byBytes_[2][reading >> 16U & 0xFFU];
        const unsigned correction = corrections_[sum & syndromeMask];
        return {.number = binaryFromGray((sum >> numberShift ^ correction) & numberMask_),
                .isRepairable = correction != notRepairable};
    }

    /// The five bits in which the words `number` and `number` + 1 differ; 0 for the last word.
    [[nodiscard]] std::uint32_t edgeAfter(std::size_t number) const noexcept { return edges_[number]; }

private:
    static constexpr unsigned numberShift = 16;
    static constexpr std::uint32_t syndromeMask = 0xFFFF;
    static constexpr std::uint16_t notRepairable = 0xFFFF;

    void makeBasis(std::span<const std::uint32_t> parityChecks, std::size_t numberBits);
    void makeTables(std::span<const std::uint32_t> parityChecks);

    std::size_t bitCount_ = 0;
    unsigned numberMask_ = 0;
    std::vector<std::uint32_t> basis_; // for the bits of the number's Gray code from the lowest on
    std::vector<std::uint32_t> edges_;
    // Syndrome and, from numberShift on, Gray code of the number, by each byte of a reading; both are linear.
    std::array<std::array<std::uint32_t, 256>, 3> byBytes_{};
    std::vector<std::uint16_t> corrections_; // of the Gray code, by syndrome
};

} // namespace Vorta::Reconstruction
