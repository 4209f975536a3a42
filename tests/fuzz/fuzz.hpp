// What the fuzzing targets share: the bytes that an input consists of, files that exist in memory
// only, and what happens where the library would end the process. Invariant: a target takes any
// bytes, and a property that does not hold ends it with abort(), which every driver reports.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <type_traits>
#include <unistd.h>

namespace orvex::fuzz {

using Input = std::span<const std::uint8_t>;

/** Each of these is one target; its file in targets/ tells what it feeds and what must hold. */
void model_file(Input input);
void formats(Input input);
void settings(Input input);
void starts(Input input);
void checkpoint(Input input);
void way_back(Input input);
void flat_lists(Input input);
void presolve(Input input);
void planted(Input input);

/** The library wanted to end the process with this text, and was kept from it (ended.cpp). */
class Ended : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

inline void require(bool holds, const std::string& what) {
    if (holds) return;
    std::fprintf(stderr, "This does not hold: %s\n", what.c_str());
    std::abort();
}

/** Takes numbers from the front of an input; behind its end all bytes are 0. */
class Bytes {
  public:
    explicit Bytes(Input input) : input_(input) {}

    bool empty() const { return input_.empty(); }

    template <class NUMBER>
    NUMBER take() {
        static_assert(std::is_integral_v<NUMBER>);
        NUMBER number = 0;
        const std::size_t count = std::min(sizeof number, input_.size());
        std::memcpy(&number, input_.data(), count);
        input_ = input_.subspan(count);
        return number;
    }

    /** A number from 0 to limit - 1. */
    int below(int limit) { return take<std::uint8_t>() % limit; }

    std::string rest() const {
        return {reinterpret_cast<const char*>(input_.data()), input_.size()};
    }

  private:
    Input input_;
};

/** A file without a place on a disk. */
class MemoryFile {
  public:
    explicit MemoryFile(const std::string& contents)
        : descriptor_(memfd_create("orvex-fuzz", 0)),
          path_("/proc/self/fd/" + std::to_string(descriptor_)) {
        require(descriptor_ >= 0, "a file in memory can be made");
        require(write(descriptor_, contents.data(), contents.size()) ==
                    static_cast<ssize_t>(contents.size()),
                "it can be written");
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(descriptor_); }

    const std::string& path() const { return path_; }

  private:
    int descriptor_;
    std::string path_;
};

}  // namespace orvex::fuzz
