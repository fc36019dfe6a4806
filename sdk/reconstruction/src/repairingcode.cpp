#include "repairingcode.h"

#include "vorta/common/exceptions.h"

#include <algorithm>
#include <bit>
#include <string>
#include <utility>

namespace Vorta::Reconstruction {

namespace {

constexpr std::size_t weight = 5; // the least distance of two words, and the weight of the basis

/// Columns of the parity-check matrix, one for each bit of a word, until as many bits are free as the numbers have.
std::vector<std::uint32_t> makeParityChecks(std::size_t numberBits) {
    std::vector<std::uint32_t> columns;
    // Which numbers are sums of at most so many columns. The sums of three grow with every column; of 12 number bits
    // they stay below 2^9.
    constexpr std::size_t most = 1U << 12U;
    std::array<std::vector<bool>, 4> sums;
    sums.fill(std::vector<bool>(most, false));
    for (std::vector<bool>& reached : sums)
        reached[0] = true;
    for (std::uint32_t column = 1; columns.size() < numberBits + std::bit_width(columns.empty() ? 0U : columns.back());
         ++column) {
        if (sums[3][column])
            continue;
        for (std::size_t terms = 3; terms > 0; --terms)
            for (std::size_t sum = 0; sum < most; ++sum)
                if (sums[terms - 1][sum])
                    sums[terms][sum ^ column] = true;
        columns.push_back(column);
    }
    return columns;
}

/// All words of weight 5, in rising order: five columns that cancel out.
std::vector<std::uint32_t> lightestWords(std::span<const std::uint32_t> columns) {
    std::vector<std::uint32_t> words;
    const std::size_t n = columns.size();
    for (std::uint32_t word = (1U << weight) - 1; word < 1U << n;) {
        std::uint32_t sum = 0;
        for (std::uint32_t bits = word; bits != 0; bits &= bits - 1)
            sum ^= columns[static_cast<std::size_t>(std::countr_zero(bits))];
        if (sum == 0)
            words.push_back(word);
        // The next larger number with as many bits (R. W. Gosper, HAKMEM item 175).
        const std::uint32_t lowest = word & (~word + 1U);
        const std::uint32_t carried = word + lowest;
        word = ((word ^ carried) >> 2U) / lowest | carried;
    }
    return words;
}

/// Gauss-Jordan elimination over bits: rows that each own a bit, with what they are made of.
class Elimination {
public:
    [[nodiscard]] bool isIndependent(std::uint32_t word) const { return reduce({.word = word, .parts = 0}).word != 0; }

    void add(std::uint32_t word, std::uint32_t part) {
        Row row = reduce({.word = word, .parts = part});
        row.pivot = row.word & (~row.word + 1U);
        for (Row& other : rows_)
            if ((other.word & row.pivot) != 0)
                other = {.word = other.word ^ row.word, .parts = other.parts ^ row.parts, .pivot = other.pivot};
        rows_.push_back(row);
    }

    /// What a word with this bit alone at the owned bits is made of; 0 for bits that no row owns.
    [[nodiscard]] std::uint32_t partsOf(std::uint32_t bit) const {
        const auto row = std::ranges::find(rows_, bit, &Row::pivot);
        return row != rows_.end() ? row->parts : 0;
    }

private:
    struct Row {
        std::uint32_t word = 0;
        std::uint32_t parts = 0;
        std::uint32_t pivot = 0;
    };
    [[nodiscard]] Row reduce(Row row) const {
        for (const Row& other : rows_)
            if ((row.word & other.pivot) != 0)
                row = {.word = row.word ^ other.word, .parts = row.parts ^ other.parts};
        return row;
    }

    std::vector<Row> rows_;
};

} // namespace

RepairingCode::RepairingCode(std::size_t numberBits) {
    if (numberBits < 1 || numberBits > maxNumberBits)
        throw ArgumentInvalidException("The error-correcting code has 1 to " + std::to_string(maxNumberBits) +
                                           " bits for its numbers.",
                                       "numberBits", std::to_string(numberBits));
    const std::vector<std::uint32_t> parityChecks = makeParityChecks(numberBits);
    bitCount_ = parityChecks.size();
    numberMask_ = (1U << numberBits) - 1;
    makeBasis(parityChecks, numberBits);
    makeTables(parityChecks);
    edges_.resize(std::size_t{1} << numberBits, 0);
    for (std::size_t number = 0; number + 1 < edges_.size(); ++number)
        edges_[number] = word(number) ^ word(number + 1);
}

/// The finer a basis vector's stripes, the less it may have in common with others: images in which two fine ones meet
/// have the narrowest stripes, and blur takes those first.
void RepairingCode::makeBasis(std::span<const std::uint32_t> parityChecks, std::size_t numberBits) {
    const std::vector<std::uint32_t> candidates = lightestWords(parityChecks);
    const auto overlaps = [this](std::uint32_t word) {
        std::vector<int> bits;
        for (const std::uint32_t finer : basis_)
            bits.push_back(std::popcount(word & finer));
        return bits;
    };
    Elimination chosen;
    while (basis_.size() < numberBits) {
        std::uint32_t best = 0;
        for (const std::uint32_t candidate : candidates)
            if (chosen.isIndependent(candidate) && (best == 0 || overlaps(candidate) < overlaps(best)))
                best = candidate;
        chosen.add(best, 1U << basis_.size());
        basis_.push_back(best);
    }
}

void RepairingCode::makeTables(std::span<const std::uint32_t> parityChecks) {
    Elimination elimination;
    for (std::size_t i = 0; i < basis_.size(); ++i)
        elimination.add(basis_[i], 1U << i);
    std::vector<std::uint32_t> bits; // syndrome and Gray code of each single bit
    for (std::size_t bit = 0; bit < bitCount_; ++bit)
        bits.push_back(parityChecks[bit] | elimination.partsOf(1U << bit) << numberShift);

    for (std::size_t byte = 0; byte < byBytes_.size(); ++byte)
        for (std::size_t value = 0; value < byBytes_[byte].size(); ++value)
            for (std::size_t bit = 0; bit < 8 && 8 * byte + bit < bitCount_; ++bit)
                if ((value >> bit & 1U) != 0)
                    byBytes_[byte][value] ^= bits[8 * byte + bit];

    corrections_.assign(std::bit_ceil(std::ranges::max(parityChecks) + 1U), notRepairable);
    corrections_[0] = 0;
    const auto repair = [this](std::uint32_t error) {
        corrections_[error & syndromeMask] = static_cast<std::uint16_t>(error >> numberShift);
    };
    for (std::size_t i = 0; i < bitCount_; ++i) {
        repair(bits[i]);
        for (std::size_t j = 0; j < i; ++j)
            repair(bits[i] ^ bits[j]);
    }
}

std::uint32_t RepairingCode::word(std::size_t number) const noexcept {
    std::uint32_t word = 0;
    for (std::size_t gray = grayFromBinary(number); gray != 0; gray &= gray - 1)
        word ^= basis_[static_cast<std::size_t>(std::countr_zero(gray))];
    return word;
}

} // namespace Vorta::Reconstruction
