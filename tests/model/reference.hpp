// What must hold, told without the library: weights as a table of 64-bit numbers, bits as a list,
// energies as exact sums. Invariant: nothing here calls the library.
#pragma once

#include <cstdint>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvex::model_test {

using Wide = __int128;

/** Something that must hold does not. */
class Violation : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

inline void require(bool holds, const std::string& what) {
    if (!holds) throw Violation(what);
}

/** What an integer of that width keeps of a value. */
inline std::int64_t cut(std::int64_t value, int width) {
    switch (width) {
        case 8:
            return static_cast<std::int8_t>(value);
        case 16:
            return static_cast<std::int16_t>(value);
        case 32:
            return static_cast<std::int32_t>(value);
        default:
            return value;
    }
}

/** The narrowest width that holds both bounds; of a file without weights they are the wrong way
 * round. */
inline int width_of(std::int64_t least, std::int64_t most) {
    for (const int width : {8, 16, 32})
        if (least >= -(std::int64_t{1} << (width - 1)) && most < std::int64_t{1} << (width - 1))
            return width;
    return 64;
}

struct Weights {
    int size = 0;
    int width = 8;
    std::vector<std::int64_t> table;  ///< size * size, symmetric

    Weights() = default;
    Weights(int variables, int bits)
        : size(variables),
          width(bits),
          table(static_cast<std::size_t>(variables) * static_cast<std::size_t>(variables)) {}

    std::size_t at(int i, int j) const {
        return static_cast<std::size_t>(i) * static_cast<std::size_t>(size) +
               static_cast<std::size_t>(j);
    }
    std::int64_t get(int i, int j) const { return table[at(i, j)]; }
    void set(int i, int j, std::int64_t value) {
        table[at(i, j)] = table[at(j, i)] = cut(value, width);
    }

    Wide energy(const std::vector<bool>& bits) const {
        Wide sum = 0;
        for (int i = 0; i < size; ++i)
            for (int j = i; bits[static_cast<std::size_t>(i)] && j < size; ++j)
                if (bits[static_cast<std::size_t>(j)]) sum += get(i, j);
        return sum;
    }

    /** The largest weight that a model of this width gets here: energies stay within 32 bits. */
    std::int64_t largest() const { return width == 8 ? 127 : width == 16 ? 3000 : 20000; }
};

inline std::vector<bool> random_bits(int size, std::uint32_t seed) {
    std::mt19937 random(seed);
    std::vector<bool> bits(static_cast<std::size_t>(size));
    for (auto bit : bits)
        bit = random() % 2 != 0;
    return bits;
}

inline std::string text_of(Wide number) {
    if (number < 0) return "-" + text_of(-number);
    const std::string digit(1, static_cast<char>('0' + static_cast<int>(number % 10)));
    return number < 10 ? digit : text_of(number / 10) + digit;
}

}  // namespace orvex::model_test
