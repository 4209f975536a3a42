#include "toolkit/io/model_file.hpp"

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

#include "toolkit/io/pair_set.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

constexpr long LOWEST_64 = std::numeric_limits<long>::min();

std::string range_text(long smallest, long largest) {
    return std::to_string(smallest) + ".." + std::to_string(largest);
}

bool fits(long weight, int width) {
    return find_wbit(weight, weight) <= width;
}

}  // namespace

void warn_about_name(const NumberReader& reader, std::vector<std::string>& warnings) {
    // The library's own reader goes by the name; standard input has none.
    if (reader.file() == "/dev/stdin") return;
    const bool named_gz = reader.file().ends_with(".gz");
    if (named_gz == reader.compressed()) return;
    warnings.push_back(reader.file() + (named_gz
                                            ? " is not compressed, although its name says so"
                                            : " is compressed, but its name does not end in .gz"));
}

ModelFile::ModelFile(NumberReader reader) : reader_(std::move(reader)) {
    problem_.file = reader_.file();
    warn_about_name(reader_, problem_.warnings);
    read_header();
}

void ModelFile::read_header() {
    const long size = reader_.number("the number of variables");
    if (size < 1 || size > MAX_VARIABLES)
        reader_.fail("the number of variables is " + std::to_string(size) + ", not from 1 to " +
                     std::to_string(MAX_VARIABLES));
    problem_.size = static_cast<int>(size);

    problem_.entries = reader_.number("the number of entries");
    if (problem_.entries < 0)
        reader_.fail("the number of entries is " + std::to_string(problem_.entries));

    problem_.smallest = reader_.number("the smallest weight");
    problem_.largest = reader_.number("the largest weight");
    // The library's writer never looks at the first weight for the largest; with one variable, none
    // is left and the starting value remains.
    const bool written_so = size == 1 && problem_.largest == LOWEST_64;
    if (problem_.smallest > problem_.largest && !written_so)
        reader_.fail("the header's smallest weight is above its largest (" +
                     range_text(problem_.smallest, problem_.largest) + ")");
    problem_.width = weight_width(problem_.smallest, problem_.largest);
}

Problem ModelFile::read() {
    const bool lists = worth_lists(problem_.size, static_cast<std::size_t>(problem_.entries));
    if (!lists) model_ = std::make_unique<Model>(problem_.size, problem_.width);
    read_entries();
    check_end();
    warn_about_ranges();
    Problem facts = lists ? problem_of(listed()) : problem_of(std::move(model_));
    problem_.nonzero = facts.nonzero;
    problem_.bound = facts.bound;
    problem_.couplings = facts.couplings;
    // The matrix has the width of the header's range, whatever the entries are.
    problem_.weights = lists ? Weights(SparseQubo(facts.weights.sparse()), problem_.width)
                             : std::move(facts.weights);
    return std::move(problem_);
}

SparseQubo ModelFile::listed() {
    const auto before = [](const Coupling& a, const Coupling& b) {
        return std::tie(a.i, a.j) < std::tie(b.i, b.j);
    };
    if (repeated_ > 0) std::stable_sort(entries_.begin(), entries_.end(), before);
    std::vector<std::int64_t> linear(static_cast<std::size_t>(problem_.size));
    std::vector<Coupling> couplings;
    for (std::size_t k = 0; k < entries_.size(); ++k) {
        const Coupling& entry = entries_[k];
        const bool last_of_pair =
            repeated_ == 0 || k + 1 == entries_.size() || before(entry, entries_[k + 1]);
        if (!last_of_pair) continue;
        if (entry.i == entry.j)
            linear[static_cast<std::size_t>(entry.i)] = entry.weight;
        else
            couplings.push_back(entry);
    }
    entries_ = {};
    return sparse_qubo(std::move(linear), std::move(couplings));
}

int ModelFile::read_index(const char* what) {
    const long index = reader_.number(what);
    if (index < 0 || index >= problem_.size)
        reader_.fail(std::string(what) + " is " + std::to_string(index) + ", not from 0 to " +
                     std::to_string(problem_.size - 1));
    return static_cast<int>(index);
}

void ModelFile::read_entries() {
    PairSet pairs;
    std::string first_repeated;
    problem_.smallest_weight = std::numeric_limits<long>::max();
    problem_.largest_weight = LOWEST_64;

    for (long entry = 0; entry < problem_.entries; ++entry) {
        if (!reader_.more())
            reader_.fail("the file ends after " + std::to_string(entry) + " of the " +
                         std::to_string(problem_.entries) + " entries that its header promises");
        const int i = read_index("the first index");
        const int j = read_index("the second index");
        const long weight = reader_.number("the weight");
        check_range(weight);
        if (!pairs.insert(i, j) && repeated_++ == 0) first_repeated = reader_.place();
        if (model_)
            model_->set(i, j, weight);
        else
            entries_.push_back({std::min(i, j), std::max(i, j), weight});
    }
    if (repeated_ > 0)
        problem_.warnings.push_back(first_repeated + ": a pair is repeated (" +
                                    std::to_string(repeated_) +
                                    " in all); the last weight of a pair counts");
}

void ModelFile::check_range(long weight) {
    problem_.smallest_weight = std::min(problem_.smallest_weight, weight);
    problem_.largest_weight = std::max(problem_.largest_weight, weight);
    if (problem_.smallest <= weight && weight <= problem_.largest) return;

    const int width = find_wbit(problem_.smallest, problem_.largest);
    const std::string range = range_text(problem_.smallest, problem_.largest);
    if (!fits(weight, width))
        reader_.fail("the weight " + std::to_string(weight) + " would be cut to " +
                     std::to_string(width) + " bits, which is what the header's range " + range +
                     " gives; the header must be corrected");
    if (beyond_++ == 0) first_beyond_ = reader_.place() + ": the weight " + std::to_string(weight);
}

void ModelFile::check_end() {
    if (!reader_.more()) return;
    reader_.fail("unexpected text after the " + std::to_string(problem_.entries) +
                 " entries that the header promises");
}

void ModelFile::warn_about_ranges() {
    if (beyond_ > 0)
        problem_.warnings.push_back(first_beyond_ + " is outside the header's range " +
                                    range_text(problem_.smallest, problem_.largest) + " (" +
                                    std::to_string(beyond_) + " in all); it fits the " +
                                    std::to_string(problem_.width) + " bits of a weight");
    if (problem_.entries == 0) problem_.smallest_weight = problem_.largest_weight = 0;
}

}  // namespace orvex::toolkit
