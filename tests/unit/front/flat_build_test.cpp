// The functions without a handle: what the build is, and the text of the last refusal, of which
// each thread has its own.
#include <string>
#include <thread>
#include <vector>

#include "front/flat_bands.hpp"

namespace {

using namespace flat_tests;

using FlatBuild = FLAT_TEST;

TEST_F(FlatBuild, IsDescribedByTheTableOfBands) {
    EXPECT_STREQ(tarvik_orvex_version(), "2024-12-29");
    EXPECT_EQ(tarvik_orvex_max_size(), 65536);
    EXPECT_STREQ(tarvik_orvex_kernel_sizes(), "64,128,65536");
    EXPECT_STREQ(tarvik_orvex_arith_bits(), "32, 64");
}

TEST_F(FlatBuild, IsDescribedWithoutAWordOnStandardError) {
    testing::internal::CaptureStderr();
    tarvik_orvex_version();
    create(5);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(FlatBuild, KeepsItsTextsInPlace) {
    const char* const texts[] = {tarvik_orvex_version(), tarvik_orvex_kernel_sizes(),
                                 tarvik_orvex_arith_bits()};
    search(create(5));
    EXPECT_EQ(tarvik_orvex_version(), texts[0]);
    EXPECT_EQ(tarvik_orvex_kernel_sizes(), texts[1]);
    EXPECT_EQ(tarvik_orvex_arith_bits(), texts[2]);
}

TEST_F(FlatBuild, MayBeAskedForFromAnyThreadAtOnce) {
    std::string version, sizes, widths;
    int largest = 0;
    std::vector<std::thread> threads;
    threads.emplace_back([&] { version = tarvik_orvex_version(); });
    threads.emplace_back([&] { sizes = tarvik_orvex_kernel_sizes(); });
    threads.emplace_back([&] { widths = tarvik_orvex_arith_bits(); });
    threads.emplace_back([&] { largest = tarvik_orvex_max_size(); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(version, "2024-12-29");
    EXPECT_EQ(sizes, "64,128,65536");
    EXPECT_EQ(widths, "32, 64");
    EXPECT_EQ(largest, 65536);
}

/** Runs an action on a thread of its own and returns what that thread's last error is then. */
template <class ACTION>
std::string last_error_of_a_thread(const ACTION& action) {
    std::string text;
    std::thread([&] {
        action();
        text = tarvik_orvex_last_error();
    }).join();
    return text;
}

using FlatLastError = FLAT_TEST;

TEST_F(FlatLastError, IsEmptyOnAThreadThatWasRefusedNothing) {
    EXPECT_EQ(create(0), nullptr);
    EXPECT_STRNE(tarvik_orvex_last_error(), "");
    EXPECT_EQ(last_error_of_a_thread([] {}), "");
}

TEST_F(FlatLastError, OfOneThreadLeavesThatOfAnotherAlone) {
    EXPECT_EQ(create(0), nullptr);
    const HANDLE handle = create(65537);
    EXPECT_STREQ(tarvik_orvex_last_error(),
                 "ORVEX: model has 65537 variables but the largest kernel in this build is 65536");
    EXPECT_EQ(last_error_of_a_thread([] { create(0); }), "ORVEX: model has no variables");
    EXPECT_EQ(last_error_of_a_thread([] { create(5); }), "");
    EXPECT_STREQ(tarvik_orvex_last_error(),
                 "ORVEX: model has 65537 variables but the largest kernel in this build is 65536");
}

TEST_F(FlatLastError, BelongsToTheThreadThatSearchedNotToTheHandle) {
    const HANDLE handle = create(5);
    const auto refused = [&] { EXPECT_EQ(search(handle, {"gpus", "1"}), 1); };
    EXPECT_EQ(last_error_of_a_thread(refused),
              "ORVEX: 'gpus' cannot be set per search; pass it to the constructor");
    EXPECT_STREQ(tarvik_orvex_last_error(), "");
}

TEST_F(FlatLastError, IsClearedByTheNextCreateOrSearchThatSucceeds) {
    const HANDLE handle = create(5);
    create(0);
    EXPECT_EQ(search(handle), 0);
    EXPECT_STREQ(tarvik_orvex_last_error(), "");
    search(handle, {"gpus", "1"});
    create(5);
    EXPECT_STREQ(tarvik_orvex_last_error(), "");
}

TEST_F(FlatLastError, IsLeftAloneByOtherFunctions) {
    const HANDLE handle = create(5);
    create(0);
    tarvik_orvex_set_callback(handle.get(), nullptr, nullptr);
    tarvik_orvex_info(handle.get(), "runtime");
    tarvik_orvex_cb_terminate(handle.get());
    tarvik_orvex_destroy(nullptr);
    tarvik_orvex_max_size();
    EXPECT_STREQ(tarvik_orvex_last_error(), "ORVEX: model has no variables");
}

}  // namespace
