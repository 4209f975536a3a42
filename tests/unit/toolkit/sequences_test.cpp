// The sequences behind generated models agree with what is published of them.
#include "toolkit/generate/sequences.hpp"

#include <random>
#include <set>

#include <gtest/gtest.h>

namespace orvex::toolkit::generate {
namespace {

TEST(Multiplicative, ten_thousandth_number) {
    Multiplicative sequence(1);
    std::int64_t number = 0;
    for (int k = 0; k < 10000; ++k)
        number = sequence.next();
    EXPECT_EQ(number, 1043618065);
}

TEST(Congruential, upper_halves_of_the_standard_engine) {
    std::linear_congruential_engine<std::uint64_t, 6364136223846793005u, 1442695040888963407u, 0>
        engine(12345);
    Congruential sequence(12345);
    for (int k = 0; k < 1000; ++k)
        EXPECT_EQ(sequence.next(), engine() >> 32);
}

TEST(Congruential, reaches_all_of_a_range) {
    Congruential sequence(1);
    std::set<std::int64_t> numbers;
    for (int k = 0; k < 1000; ++k)
        numbers.insert(sequence.between(-3, 2));
    EXPECT_EQ(numbers, (std::set<std::int64_t>{-3, -2, -1, 0, 1, 2}));
}

TEST(Subtractive, numbers_of_the_published_test) {
    Subtractive sequence(static_cast<std::uint32_t>(-314159) & 0x7FFFFFFF);
    EXPECT_EQ(sequence.next(), 119318998u);
    for (int k = 0; k < 133; ++k)
        sequence.next();
    EXPECT_EQ(sequence.below(0x55555555), 748103812u);
}

}  // namespace
}  // namespace orvex::toolkit::generate
