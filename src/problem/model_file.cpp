// Reads a model file. Its header is taken at its word, for the width as well as for the number of
// entries, and missing entries are zeros; but nothing is written outside the matrix, whatever the
// file says.
#include <cstdio>
#include <limits>
#include <memory>
#include <string>

#include "orvex/model.hpp"

#include "problem/exit_with_message.hpp"

namespace orvex {
namespace {

// A pipe is closed like a file. This closes the reading end first and then waits until the program
// at the other end is gone: one that is still writing entries beyond those that the header
// announced is ended by its next write. How it ended is not looked at.
struct CLOSER {
    void operator()(std::FILE* stream) const { std::fclose(stream); }
};
using STREAM = std::unique_ptr<std::FILE, CLOSER>;

STREAM open(const std::string& file) {
    STREAM stream(file.ends_with(".gz") ? popen(("gunzip < " + file).c_str(), "r")
                                        : std::fopen(file.c_str(), "r"));
    if (!stream) exit_with_message("Cannot open " + file);
    return stream;
}

bool is_index(int index, const Model::Impl& model) {
    return 0 <= index && index < model.size;
}

}  // namespace

Model::Model(const std::string& file) {
    const STREAM stream = open(file);
    const std::string wrong = "Wrong file (" + file + ")";

    long size, entries, smallest, largest;
    const int numbers =
        std::fscanf(stream.get(), "%ld%ld%ld%ld", &size, &entries, &smallest, &largest);
    if (numbers != 4) exit_with_message(wrong);
    if (size < 0 || size > std::numeric_limits<int>::max()) exit_with_message(wrong);
    impl_ = std::make_unique<Impl>(static_cast<int>(size), find_wbit(smallest, largest));

    int i, j;
    long weight;
    for (long entry = 0; entry < entries; ++entry) {
        if (std::fscanf(stream.get(), "%d%d%ld", &i, &j, &weight) != 3) break;
        if (!is_index(i, *impl_) || !is_index(j, *impl_)) exit_with_message(wrong);
        set(i, j, weight);
    }

    // Callers that show "bits" have come to see the size here, not the width.
    set("size", std::to_string(size));
    set("bits", std::to_string(size));
}

}  // namespace orvex
