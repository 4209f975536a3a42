// The lists that the flat interface takes: sizes, counts, indices, coefficients, settings. What it
// refuses leaves a reason; what it takes is searched now and then, and the solution has no bit
// above the last variable and, if it was started from one, no energy above that of the start.
#include <algorithm>
#include <map>
#include <memory>
#include <new>
#include <vector>

#include <orvex/tarvik_orvex.h>

#include "fuzz.hpp"

namespace orvex::fuzz {
namespace {

using Wide = __int128;
using Weights = std::map<std::pair<std::uint32_t, std::uint32_t>, std::int64_t>;

Wide energy(const Weights& weights, const std::vector<std::uint64_t>& words) {
    const auto bit = [&](std::uint32_t i) { return (words[i / 64] >> i % 64 & 1) != 0; };
    Wide sum = 0;
    for (const auto& [pair, weight] : weights)
        if (bit(pair.first) && bit(pair.second)) sum += weight;
    return sum;
}

struct Lists {
    std::vector<std::uint32_t> linear_index, pairs;
    std::vector<std::int64_t> linear_value, values;
};

std::int64_t coefficient(Bytes& bytes) {
    switch (bytes.below(8)) {
        case 0:
            return bytes.take<std::int64_t>();
        case 1:
            return bytes.take<std::int32_t>();
        default:
            return bytes.take<std::int8_t>();
    }
}

/** Mostly variables, at times anything. */
std::uint32_t index(Bytes& bytes, std::uint32_t n) {
    const auto byte = bytes.take<std::uint8_t>();
    return byte == 255 ? bytes.take<std::uint32_t>() : byte % std::max(n, 1U);
}

Lists lists_of(Bytes& bytes, std::uint32_t n) {
    Lists lists;
    for (int k = bytes.below(12); k > 0; --k) {
        lists.linear_index.push_back(index(bytes, n));
        lists.linear_value.push_back(coefficient(bytes));
    }
    for (int k = bytes.below(30); k > 0; --k) {
        lists.pairs.push_back(index(bytes, n));
        lists.pairs.push_back(index(bytes, n));
        lists.values.push_back(coefficient(bytes));
    }
    return lists;
}

Weights weights_of(const Lists& lists) {
    Weights weights;
    for (std::size_t k = 0; k < lists.linear_value.size(); ++k)
        weights[{lists.linear_index[k], lists.linear_index[k]}] = lists.linear_value[k];
    for (std::size_t k = 0; k < lists.values.size(); ++k)
        weights[std::minmax(lists.pairs[2 * k], lists.pairs[2 * k + 1])] = lists.values[k];
    return weights;
}

/** Sums that neither width of arithmetic could fail to hold. */
bool moderate(const Weights& weights) {
    for (const auto& [pair, weight] : weights)
        if (weight > (1L << 40) || weight < -(1L << 40)) return false;
    return true;
}

void search(tarvik_orvex_handle* handle, std::uint32_t n, const Weights& weights, Bytes& bytes) {
    const std::size_t words = (n + 63) / 64;
    std::vector<std::uint64_t> start(words), solution(words, ~std::uint64_t{0});
    for (auto& word : start)
        word = bytes.take<std::uint64_t>();
    const char* const settings[] = {"trial_limit", "1", "time_limit", "5", nullptr};
    require(tarvik_orvex_search(handle, settings, start.data(), solution.data()) == 0,
            "a search is taken");
    require(n % 64 == 0 || solution.back() >> n % 64 == 0, "no bit above the last variable is set");
    require(energy(weights, solution) <= energy(weights, start),
            "the result is no worse than its start");
}

}  // namespace

void flat_lists(Input input) {
    Bytes bytes(input);
    const bool searched = bytes.below(64) == 0;
    const auto byte = bytes.take<std::uint8_t>();
    const std::uint32_t n = byte == 255 ? bytes.take<std::uint32_t>() : byte % 65;
    const Lists lists = lists_of(bytes, n);
    const auto counted = [&](std::size_t count) { return std::uint64_t{count}; };
    const int missing = bytes.below(64);  // one of the arrays, seldom
    const auto given = [&](int which, const auto& list) {
        return missing == which || list.empty() ? nullptr : list.data();
    };
    try {
        tarvik_orvex_handle* const handle = tarvik_orvex_create(
            n, counted(lists.linear_value.size()), given(1, lists.linear_index),
            given(2, lists.linear_value), counted(lists.values.size()), given(3, lists.pairs),
            given(4, lists.values), static_cast<std::int32_t>(bytes.below(2)));
        const std::string reason = tarvik_orvex_last_error();
        require((handle == nullptr) == !reason.empty(), "a refusal and no other has a reason");
        if (handle == nullptr) return;
        const std::unique_ptr<tarvik_orvex_handle, decltype(&tarvik_orvex_destroy)> owner(
            handle, tarvik_orvex_destroy);
        const Weights weights = weights_of(lists);
        for (const auto& [pair, weight] : weights)
            require(pair.first < n && pair.second < n, "no index out of range is taken");
        require(std::string(tarvik_orvex_info(handle, "runtime")).empty(),
                "there is no result before a search");
        if (searched && moderate(weights)) search(handle, n, weights, bytes);
    } catch (const Ended& ended) {
        const std::string text = ended.what();
        require(text.find("No ORVEX kernel can hold") != std::string::npos ||
                    text.find("rather") != std::string::npos,
                "the process ends for no other reason: " + text);
    } catch (const std::bad_alloc&) {
    }
}

}  // namespace orvex::fuzz
