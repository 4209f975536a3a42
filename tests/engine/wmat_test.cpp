// The matrix as the search reads it: its layout, the places of its columns, the filler after the
// model's variables, and the energy computed from it.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

#include "engine/support/band_10240_32_32.hpp"
#include "engine/support/band_10240_64_64.hpp"
#include "engine/support/band_1024_32_32.hpp"
#include "engine/support/band_128_32_32.hpp"
#include "engine/support/band_256_64_64.hpp"
#include "engine/support/band_64_32_32.hpp"
#include "engine/support/death.hpp"
#include "engine/support/models.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;

template <class WMAT>
std::unique_ptr<WMAT> loaded(const engine::BAND& band, const Model& model) {
    std::unique_ptr<WMAT> wmat(static_cast<WMAT*>(engine::load_matrix(band, model.impl())));
    wmat->load(model.impl(), platform::COPIES_FILL_RECORD);
    return wmat;
}

std::unique_ptr<qb64_32_32::WMAT> matrix64(const Model& model) {
    return loaded<qb64_32_32::WMAT>(qb64_32_32::own, model);
}

std::unique_ptr<qb128_32_32::WMAT> matrix128(const Model& model) {
    return loaded<qb128_32_32::WMAT>(qb128_32_32::own, model);
}

std::unique_ptr<qb256_64_64::WMAT> matrix256(const Model& model) {
    return loaded<qb256_64_64::WMAT>(qb256_64_64::own, model);
}

TEST(Wmat, TheRecordHasNoPadding) {
    using WIDE = qb256_64_64::WMAT;
    EXPECT_EQ(offsetof(WIDE, w), 0u);
    EXPECT_EQ(offsetof(WIDE, diag), 256u * 256 * 8);
    EXPECT_EQ(offsetof(WIDE, n), 256u * 256 * 8 + 256 * 8);
    EXPECT_EQ(sizeof(WIDE), 256u * 256 * 8 + 256 * 8 + 4);
    using NARROW = qb64_32_32::WMAT;
    EXPECT_EQ(offsetof(NARROW, diag), 64u * 64 * 4);
    EXPECT_EQ(sizeof(NARROW), 64u * 64 * 4 + 64 * 4 + 4);
}

TEST(Wmat, TheRecordOf10240BitsHasTheStatedSize) {
    EXPECT_EQ(sizeof(qb10240_32_32::WMAT), 419471364u);
    EXPECT_EQ(sizeof(qb10240_64_64::WMAT), 2u * 419471364u - 4);
}

TEST(Wmat, AModelOfOneVariableLeavesFillerEverywhereElse) {
    Model model(1, 8);
    model.set(0, 0, -17);
    const auto wmat = matrix64(model);
    EXPECT_EQ(wmat->n, 1);
    for (int i = 0; i < 64; ++i) {
        for (int j = 0; j < 64; ++j) {
            const int expected = i != j ? 0 : i == 0 ? -17 : 255;
            EXPECT_EQ(wmat->w[i * 64 + j], expected) << i << " " << j;
        }
        EXPECT_EQ(wmat->diag[i], i == 0 ? -17 : 255);
    }
}

TEST(Wmat, AModelOfTheBandsSizeLeavesNoFiller) {
    const Model model = random_model(64, 16, 30000, 1);
    const auto wmat = matrix64(model);
    for (int i = 0; i < 64; ++i)
        for (int j = 0; j < 64; ++j)
            EXPECT_EQ(wmat->w[i * 64 + j], model.get(i, j));
}

TEST(Wmat, AModelWithoutVariablesIsAllFiller) {
    const auto wmat = matrix64(Model(0, 8));
    EXPECT_EQ(wmat->n, 0);
    EXPECT_EQ(wmat->diag[0], 255);
    EXPECT_EQ(wmat->w[0], 255);
    EXPECT_EQ(wmat->w[1], 0);
}

// Column j is at place (j % K) * T + j / K of its row, K being the bits of a thread.
TEST(Wmat, ColumnsArePermutedAndRowsAreNot) {
    const Model model = random_model(100, 32, 1000000, 2);
    const auto wmat = matrix128(model);
    for (int i = 0; i < 128; ++i)
        for (int j = 0; j < 128; ++j) {
            const long expected = i < 100 && j < 100 ? model.get(i, j) : i == j ? 255 : 0;
            EXPECT_EQ(wmat->w[i * 128 + (j % 2) * 64 + j / 2], expected) << i << " " << j;
        }
    for (int i = 0; i < 128; ++i)
        EXPECT_EQ(wmat->diag[(i % 2) * 64 + i / 2], i < 100 ? model.get(i, i) : 255);
}

TEST(Wmat, KnownPlacesOfColumns) {
    Model model(128, 32);
    model.set(3, 5, 42);
    EXPECT_EQ(matrix128(model)->w[3 * 128 + 66], 42);

    constexpr device::SHAPE shape(10240);
    EXPECT_EQ(shape.place(1), 1024);
    EXPECT_EQ(shape.place(10), 1);
    EXPECT_EQ(shape.place(10239), 10239);
}

TEST(Wmat, ElementsOfEveryWidthAreRead) {
    for (const int bits : {8, 16, 32, 64}) {
        const Model model = random_model(70, bits, 127, 3);
        const auto wmat = matrix256(model);
        for (int i = 0; i < 70; ++i)
            for (int j = 0; j < 70; ++j)
                EXPECT_EQ(wmat->w[i * 256 + (j % 4) * 64 + j / 4], model.get(i, j)) << bits;
    }
}

TEST(Wmat, ElementsAreNarrowedToTheBandsWidth) {
    Model model(2, 64);
    model.set(0, 1, (1L << 32) + 5);
    EXPECT_EQ(matrix64(model)->w[1], 5);
    EXPECT_EQ(matrix256(model)->w[64], (1L << 32) + 5);
}

TEST(Wmat, BothTrianglesAreTakenAsTheyAre) {
    Model model(2, 32);
    MAT& mat = model.impl().mat;
    mat.set_func(mat, 0, 1, 7);
    mat.set_func(mat, 1, 0, 8);
    const auto wmat = matrix64(model);
    EXPECT_EQ(wmat->w[0 * 64 + 1], 7);
    EXPECT_EQ(wmat->w[1 * 64 + 0], 8);
}

TEST(Wmat, AModelBeyondTheBandIsRefused) {
    const std::string words = "QUBO probmem bit (65) exceeds Program supporting bit (64)";
    const Model model(65, 8);
    EXPECT_ERROR(engine::load_matrix(qb64_32_32::own, model.impl()), words);

    const auto wmat = matrix64(Model(64, 8));
    wmat->n = 65;
    EXPECT_ERROR(wmat->load(model.impl()), words);
}

TEST(Wmat, TheEnergyOfNoBitsIs0AndOfOneBitItsDiagonalElement) {
    const Model model = random_model(100, 32, 1000000, 4);
    const auto wmat = matrix128(model);
    qb128_32_32::INST_t instance{};
    instance.energy = 99;
    EXPECT_EQ(wmat->compEnergy(instance), 0);
    EXPECT_EQ(instance.energy, 0);
    for (int i = 0; i < 100; ++i) {
        instance = {};
        instance.bits[i / 64] = std::uint64_t{1} << (i % 64);
        EXPECT_EQ(wmat->compEnergy(instance), model.get(i, i));
        EXPECT_EQ(instance.energy, model.get(i, i));
    }
}

TEST(Wmat, TheEnergyIsTheSumOverTheUpperTriangle) {
    const Model model = random_model(100, 32, 1000000, 5);
    const auto wmat = matrix128(model);
    std::mt19937_64 twister(6);
    for (int round = 0; round < 20; ++round) {
        Sol sol(100);
        for (int i = 0; i < 100; ++i)
            sol.set(i, twister() & 1);
        qb128_32_32::INST_t instance{};
        instance.load(sol);
        EXPECT_EQ(wmat->compEnergy(instance), energy_of(model, sol));
    }
}

TEST(Wmat, TheEnergyIsComputedIn64Bits) {
    Model model(3, 32);
    for (int i = 0; i < 3; ++i)
        model.set(i, i, -2147483648L);
    model.set(0, 1, -1);
    qb128_32_32::INST_t instance{};
    instance.bits[0] = 7;
    EXPECT_EQ(matrix128(model)->compEnergy(instance), -3 * 2147483648L - 1);
}

TEST(Wmat, TheEnergyDoesNotLookAtFillerBits) {
    Model model(3, 32);
    qb128_32_32::INST_t instance{};
    instance.bits[0] = ~std::uint64_t{7};
    instance.bits[1] = ~std::uint64_t{0};
    EXPECT_EQ(matrix128(model)->compEnergy(instance), 0);
}

/** Rows of few elements are written in another way than full ones, into memory of zeros. */
TEST(Wmat, IsTheSameWhateverWayItIsFilled) {
    for (const int bits : {8, 16, 32, 64}) {
        Model model(200, bits);
        for (int i = 0; i < 200; i += 3) {
            model.set(i, i, 5 - i % 11);
            model.set(i, (i * 7) % 200, -100 + i % 100);
        }
        for (int j = 0; j < 200; ++j)
            model.set(100, j, j % 5);  // a full row among sparse ones
        const auto into_zeros = matrix256(model);
        const auto into_anything = matrix256(Model(1, 8));
        std::memset(into_anything->w, 0x5A, sizeof(into_anything->w));
        into_anything->n = 200;
        into_anything->load(model.impl());
        EXPECT_EQ(std::memcmp(into_zeros.get(), into_anything.get(), sizeof(*into_zeros)), 0)
            << bits;
    }
}

/** Pages of a piece of memory that have been touched; it begins with a page. */
long touched_pages(void* memory, std::size_t bytes) {
    const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    std::vector<unsigned char> resident((bytes + page - 1) / page);
    EXPECT_EQ(mincore(memory, bytes, resident.data()), 0);
    return std::count_if(resident.begin(), resident.end(),
                         [](unsigned char state) { return (state & 1) != 0; });
}

/** What blocks read of a model lies beside the record then. */
TEST(Wmat, IsLeftAloneByDevicesThatDoNotReadIt) {
    const auto pages_with = [](const Model& model) {
        const engine::BAND& band = qb1024_32_32::own;
        void* const record = engine::load_matrix(band, model.impl());
        void* const copy = engine::make_device_copy(band, record, model.impl(), nullptr);
        const auto* const wmat = static_cast<const qb1024_32_32::WMAT*>(record);
        EXPECT_EQ(wmat->n, model.impl().size);
        EXPECT_EQ(wmat->diag[device::SHAPE(1024).place(5)], model.get(5, 5));
        EXPECT_EQ(wmat->diag[device::SHAPE(1024).place(1023)], device::FILLER);
        const long pages = touched_pages(record, band.matrix_bytes);
        EXPECT_EQ(platform::device_copy_destroy(copy), platform::cudaSuccess);
        EXPECT_EQ(platform::cudaFreeHost(record), platform::cudaSuccess);
        return pages;
    };
    const long diagonal_alone = 3;
    EXPECT_LE(pages_with(all_ones_model(1000)), diagonal_alone) << "lists";
    EXPECT_LE(pages_with(random_model(1000, 8, 100, 1)), diagonal_alone) << "bytes";
    EXPECT_LE(pages_with(random_model(1000, 16, 30000, 1)), diagonal_alone) << "words";
    EXPECT_GE(pages_with(random_model(1000, 32, 300000, 1)), 1000) << "rows of the record";
    EXPECT_GE(pages_with(random_model(1000, 32, 2000000000, 1)), 1000) << "sums are tested";
}

TEST(Wmat, OfASparseModelTakesFewPages) {
    std::ifstream setting("/sys/kernel/mm/transparent_hugepage/enabled");
    std::string first;
    if (setting >> first && first == "[always]")
        GTEST_SKIP() << "this system gives pages so large that each has some element";
    Model model(10000, 8);
    for (int i = 0; i + 1 < 10000; ++i)
        model.set(i, i + 1, -1);
    const auto wmat = loaded<qb10240_32_32::WMAT>(qb10240_32_32::own, model);
    EXPECT_EQ(wmat->w[10240 * 5L + device::SHAPE(10240).place(6)], -1);
    // A row of ten pages has two elements.
    EXPECT_LT(touched_pages(wmat.get(), sizeof(*wmat)), 10240 * 10 / 3);
}

}  // namespace
