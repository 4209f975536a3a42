// The two ways to feed a target. With ORVEX_FUZZ_TARGET it is the one that libFuzzer drives;
// without, this is a program that replays corpora, whatever compiler built it: `orvex_fuzz_replay
// TARGET FOLDER...` feeds each file once, in the order of the names.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz.hpp"

extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    // What asks for too much memory is to see what it sees on a machine that has not so much.
    return "allocator_may_return_null=1:max_allocation_size_mb=256:detect_stack_use_after_return=1";
}

#ifdef ORVEX_FUZZ_TARGET

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    orvex::fuzz::ORVEX_FUZZ_TARGET({data, size});
    return 0;
}

#else

namespace {

constexpr struct {
    const char* name;
    void (*feed)(orvex::fuzz::Input);
} TARGETS[] = {
    {"model_file", orvex::fuzz::model_file}, {"formats", orvex::fuzz::formats},
    {"settings", orvex::fuzz::settings},     {"starts", orvex::fuzz::starts},
    {"checkpoint", orvex::fuzz::checkpoint}, {"way_back", orvex::fuzz::way_back},
    {"flat_lists", orvex::fuzz::flat_lists}, {"presolve", orvex::fuzz::presolve},
    {"planted", orvex::fuzz::planted},
};

std::vector<std::uint8_t> contents(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

}  // namespace

int main(int count, char** words) {
    if (count < 3) {
        std::fprintf(stderr, "usage: orvex_fuzz_replay TARGET FOLDER...\n");
        return 2;
    }
    for (const auto& target : TARGETS) {
        if (std::strcmp(target.name, words[1]) != 0) continue;
        std::vector<std::filesystem::path> files;
        for (int i = 2; i < count; ++i)
            for (const auto& entry : std::filesystem::directory_iterator(words[i]))
                files.push_back(entry.path());
        std::sort(files.begin(), files.end());
        for (const auto& file : files) {
            std::printf("%s\n", file.filename().c_str());
            std::fflush(stdout);
            target.feed(contents(file));
        }
        std::printf("%zu inputs replayed\n", files.size());
        return files.empty() ? 1 : 0;
    }
    std::fprintf(stderr, "there is no target %s\n", words[1]);
    return 2;
}

#endif
