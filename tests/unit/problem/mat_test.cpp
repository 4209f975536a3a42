#include "orvex/mat.hpp"

#include <fstream>
#include <limits>

#include "problem/mat_bytes.hpp"
#include "support/refusal.hpp"

namespace orvex {
namespace {

constexpr long LONG_MIN_ = std::numeric_limits<long>::min();
constexpr long LONG_MAX_ = std::numeric_limits<long>::max();

TEST(FindWbit, IsTheNarrowestWidthThatHoldsBothBounds) {
    EXPECT_EQ(find_wbit(0, 0), 8);
    EXPECT_EQ(find_wbit(-128, 127), 8);
    EXPECT_EQ(find_wbit(-129, 0), 16);
    EXPECT_EQ(find_wbit(0, 128), 16);
    EXPECT_EQ(find_wbit(-32768, 32767), 16);
    EXPECT_EQ(find_wbit(0, 32768), 32);
    EXPECT_EQ(find_wbit(-32769, 0), 32);
    EXPECT_EQ(find_wbit(-2147483648L, 2147483647L), 32);
    EXPECT_EQ(find_wbit(0, 2147483648L), 64);
    EXPECT_EQ(find_wbit(-2147483649L, 0), 64);
    EXPECT_EQ(find_wbit(LONG_MIN_, LONG_MAX_), 64);
}

TEST(Mat, KnowsItsShape) {
    const MAT mat(5, 16);
    EXPECT_EQ(mat.size, 5u);
    EXPECT_EQ(mat.bits, 16u);
    EXPECT_EQ(mat.bytes, 2u);
}

class MatOfWidth : public testing::TestWithParam<unsigned> {};
INSTANTIATE_TEST_SUITE_P(All, MatOfWidth, testing::Values(8u, 16u, 32u, 64u));

TEST_P(MatOfWidth, StartsWithZeros) {
    const MAT mat(9, GetParam());
    for (unsigned i = 0; i < 9; ++i) {
        for (unsigned j = 0; j < 9; ++j)
            EXPECT_EQ(mat.get_func(mat, i, j), 0);
    }
}

TEST_P(MatOfWidth, HoldsItsExtremes) {
    const long largest = LONG_MAX_ >> (64 - GetParam()), smallest = -largest - 1;
    MAT mat(2, GetParam());
    mat.set_func(mat, 0, 1, largest);
    mat.set_func(mat, 1, 0, smallest);
    EXPECT_EQ(mat.get_func(mat, 0, 1), largest);
    EXPECT_EQ(mat.get_func(mat, 1, 0), smallest);
}

TEST_P(MatOfWidth, KeepsTheElementsApartRowByRow) {
    MAT mat(3, GetParam());
    for (unsigned i = 0; i < 3; ++i) {
        for (unsigned j = 0; j < 3; ++j)
            mat.set_func(mat, i, j, -long{3 * i + j});
    }
    for (unsigned k = 0; k < 9; ++k) {
        EXPECT_EQ(static_cast<signed char>(mat.data[k * mat.bytes]), -static_cast<int>(k));
        EXPECT_EQ(mat.get_func(mat, k / 3, k % 3), -long{k});
    }
}

TEST(Mat, OfWhichLittleIsWrittenTakesLittleRoom) {
    const auto resident = [] {
        std::ifstream file("/proc/self/statm");
        long pages = 0;
        file >> pages >> pages;
        return pages;
    };
    const long before = resident();
    MAT mat(20000, 8);  // 100 000 pages
    for (unsigned i = 0; i < 20000; i += 1000)
        mat.set_func(mat, i, 19999 - i, -3);
    const MAT copy(mat);
    EXPECT_LT(resident() - before, 30000);
    for (unsigned i = 0; i < 20000; i += 1000) {
        EXPECT_EQ(copy.get_func(copy, i, 19999 - i), -3);
        EXPECT_EQ(copy.get_func(copy, i, 19998 - i), 0);
    }
}

TEST_P(MatOfWidth, IsCopiedInFull) {
    MAT mat(2, GetParam());
    mat.set_func(mat, 1, 1, -7);
    const MAT copy(mat);
    mat.set_func(mat, 1, 1, 0);
    EXPECT_EQ(copy.get_func(copy, 1, 1), -7);
}

TEST_P(MatOfWidth, TakesOverTheElementsOfAnother) {
    MAT from(2, GetParam()), to(2, GetParam());
    from.set_func(from, 0, 1, 5);
    from.set_func(from, 1, 1, -7);
    to.set_func(to, 0, 0, 1);
    to = from;
    EXPECT_EQ(to.get_func(to, 0, 0), 0);
    EXPECT_EQ(to.get_func(to, 0, 1), 5);
    EXPECT_EQ(to.get_func(to, 1, 1), -7);
}

TEST(Mat, SettersKeepTheLowBits) {
    MAT mat(1, 64);
    MAT::set8(mat, 0, 0, 300);
    EXPECT_EQ(MAT::get8(mat, 0, 0), 44);
    MAT::set16(mat, 0, 0, 0x12345678);
    EXPECT_EQ(MAT::get16(mat, 0, 0), 0x5678);
    MAT::set32(mat, 0, 0, 0x1fffffffeL);
    EXPECT_EQ(MAT::get32(mat, 0, 0), -2);
    MAT::set64(mat, 0, 0, LONG_MIN_);
    EXPECT_EQ(MAT::get64(mat, 0, 0), LONG_MIN_);
}

TEST(Mat, AssignedToItselfKeepsItsElements) {
    MAT mat(2, 8);
    mat.set_func(mat, 0, 1, 9);
    const MAT& same = mat;
    mat = same;
    EXPECT_EQ(mat.get_func(mat, 0, 1), 9);
}

TEST(Mat, OfAnotherSizeIsRefused) {
    MAT small(2, 8), large(3, 8);
    EXPECT_REFUSAL(small = large, "size does not match.");
}

TEST(Mat, OfAnotherWidthIsRefused) {
    MAT narrow(2, 8), wide(2, 16);
    EXPECT_REFUSAL(narrow = wide, "bits does not match.");
}

TEST(Mat, OfAWidthThatDoesNotExistIsRefused) {
    EXPECT_REFUSAL(MAT(2, 0), "bits=0 must be 8, 16, 32, or 64.");
    EXPECT_REFUSAL(MAT(2, 24), "bits=24 must be 8, 16, 32, or 64.");
    EXPECT_REFUSAL(MAT(2, 128), "bits=128 must be 8, 16, 32, or 64.");
}

TEST(MatBytes, AreCountedIn64BitsForAllocation) {
    EXPECT_EQ(allocated_bytes(0, 8), 0u);
    EXPECT_EQ(allocated_bytes(1000, 4), 4'000'000u);
    EXPECT_EQ(allocated_bytes(65536, 1), 1UL << 32);
    EXPECT_EQ(allocated_bytes(65536, 8), 1UL << 35);
}

TEST(MatBytes, BeyondAll64BitsCannotBeAllocated) {
    EXPECT_THROW(allocated_bytes(0xffffffff, 8), std::bad_array_new_length);
    EXPECT_THROW(allocated_bytes(1518500250, 8), std::bad_array_new_length);
}

TEST(MatBytes, MovedByAssignmentWrapAt4GiB) {
    EXPECT_EQ(copied_bytes(1000, 4), 4'000'000u);
    EXPECT_EQ(copied_bytes(32768, 2), 1u << 31);
    EXPECT_EQ(copied_bytes(32768, 4), 0u);
    EXPECT_EQ(copied_bytes(65536, 1), 0u);
    EXPECT_EQ(copied_bytes(65537, 1), 131073u);
}

}  // namespace
}  // namespace orvex
