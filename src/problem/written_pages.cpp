#include "problem/written_pages.hpp"

#include <cstdio>
#include <memory>
#include <unistd.h>

namespace orvex {

namespace {

/** Below this many bytes, reading costs no more than asking. */
constexpr std::size_t WORTH_ASKING = std::size_t{64} << 20;

struct CLOSE {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

// The system keeps a word for each page: bit 63 for one in memory, bit 62 for one that was swapped
// out. A page that nobody wrote has neither, unless it was read, in which case it counts as
// written.
WRITTEN_PAGES::WRITTEN_PAGES(const void* memory, std::size_t bytes)
    : start_(static_cast<const unsigned char*>(memory) -
             reinterpret_cast<std::uintptr_t>(memory) % PAGE) {
    if (bytes < WORTH_ASKING || sysconf(_SC_PAGESIZE) != static_cast<long>(PAGE)) return;
    const std::unique_ptr<std::FILE, CLOSE> file(std::fopen("/proc/self/pagemap", "rb"));
    if (!file) return;
    const auto first = reinterpret_cast<std::uintptr_t>(start_) / PAGE;
    if (fseeko(file.get(), static_cast<off_t>(first * sizeof(std::uint64_t)), SEEK_SET) != 0)
        return;

    const unsigned char* const end = static_cast<const unsigned char*>(memory) + bytes;
    const std::size_t count = (static_cast<std::size_t>(end - start_) + PAGE - 1) / PAGE;
    std::vector<std::uint8_t> written;
    written.reserve(count);
    std::uint64_t words[4096];
    while (written.size() < count) {
        const std::size_t wanted = std::min(count - written.size(), std::size(words));
        if (std::fread(words, sizeof(words[0]), wanted, file.get()) != wanted) return;
        for (std::size_t i = 0; i < wanted; ++i)
            written.push_back(words[i] >> 62 != 0);
    }
    written_ = std::move(written);
}

}  // namespace orvex
