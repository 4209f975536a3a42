// The flat interface: handles from lists of coefficients, searches with events, refusals with their
// reasons.
#include <algorithm>
#include <cstring>
#include <limits>

#include "ending.hpp"
#include "rescore.hpp"
#include "world.hpp"

namespace orvex::model_test {
namespace {

constexpr std::size_t MOST = 4;

using Words = std::vector<std::uint64_t>;

struct Lists {
    std::vector<std::uint32_t> linear_index, pairs;
    std::vector<std::int64_t> linear_value, values;

    tarvik_orvex_handle* create(std::uint32_t n) const {
        return tarvik_orvex_create(n, linear_value.size(), linear_index.data(), linear_value.data(),
                                   values.size(), pairs.data(), values.data(), 0);
    }
};

/** Terms in any order, of which some say again what others said. */
Lists random_lists(std::uint32_t n, std::mt19937& random, std::int64_t largest) {
    Lists lists;
    const auto value = [&] {
        return static_cast<std::int64_t>(random() % static_cast<std::uint64_t>(2 * largest + 1)) -
               largest;
    };
    for (std::uint32_t k = random() % (n + 1); k > 0; --k) {
        lists.linear_index.push_back(static_cast<std::uint32_t>(random() % n));
        lists.linear_value.push_back(value());
    }
    for (std::uint32_t k = random() % (3 * n); k > 0; --k) {
        lists.pairs.push_back(static_cast<std::uint32_t>(random() % n));
        lists.pairs.push_back(static_cast<std::uint32_t>(random() % n));
        lists.values.push_back(value());
    }
    return lists;
}

/** Stored, not added up: linear terms first, and the last of a pair stays. */
Weights weights_of(const Lists& lists, int n) {
    Weights weights(n, 64);
    for (std::size_t k = 0; k < lists.linear_value.size(); ++k) {
        const int i = static_cast<int>(lists.linear_index[k]);
        weights.set(i, i, lists.linear_value[k]);
    }
    for (std::size_t k = 0; k < lists.values.size(); ++k)
        weights.set(static_cast<int>(lists.pairs[2 * k]), static_cast<int>(lists.pairs[2 * k + 1]),
                    lists.values[k]);
    return weights;
}

std::vector<bool> bits_of_words(const std::uint64_t* words, int n) {
    std::vector<bool> bits;
    for (int i = 0; i < n; ++i)
        bits.push_back((words[i / 64] >> i % 64 & 1) != 0);
    return bits;
}

Words words_of_bits(const std::vector<bool>& bits) {
    Words words((bits.size() + 63) / 64);
    for (std::size_t i = 0; i < bits.size(); ++i)
        if (bits[i]) words[i / 64] |= std::uint64_t{1} << i % 64;
    return words;
}

/** In words that the library reads, what lies above the last variable means nothing. */
void spoil_filler(Words& words, int n) {
    if (n % 64 != 0) words.back() |= ~std::uint64_t{0} << n % 64;
}

void on_event(void* user, int event, const std::uint64_t* words, double value) {
    HandlePair& handle = *static_cast<HandlePair*>(user);
    const int n = handle.weights.size;
    try {
        require(value == 0.0, "the value of an event is 0");
        require_no_filler(words, n);
        require((event == 0) == (handle.events == 0), "the beginning comes once, and first");
        require(0 <= event && event <= 2, "there are three events");
        const Wide energy = handle.weights.energy(bits_of_words(words, n));
        if (event == 0) require(energy == 0, "nothing is shown at the beginning");
        if (event == 1)
            require(handle.events == 1 || energy < handle.best_shown, "a new best is better");
        if (event == 1) handle.best_shown = energy;
    } catch (const Violation& violation) {
        handle.wrong = violation.what();
    }
    ++handle.events;
    const std::uint32_t requests = handle.requests[event];
    if (requests & 1) tarvik_orvex_cb_timer(handle.real, 0.0003);
    if (requests & 2) tarvik_orvex_cb_timer(handle.real, std::numeric_limits<double>::quiet_NaN());
    if (requests & 4) tarvik_orvex_cb_hint(handle.real, nullptr);
    if (requests & 8) {
        Words hint = words_of_bits(random_bits(n, requests));
        spoil_filler(hint, n);
        tarvik_orvex_cb_hint(handle.real, hint.data());
    }
    if ((requests >> 4) % 8 == 0) tarvik_orvex_cb_terminate(handle.real);
}

void require_refused(const std::string& reason) {
    require(tarvik_orvex_last_error() == reason,
            "expected the reason \"" + reason + "\", got \"" + tarvik_orvex_last_error() + "\"");
}

}  // namespace

void World::create(const Numbers& numbers) {
    constexpr std::uint32_t EDGES[] = {1, 63, 64, 65, 127, 128};
    const std::uint32_t n =
        numbers[0] % 3 == 0 ? EDGES[numbers[0] / 3 % std::size(EDGES)] : 1 + numbers[0] % 100;
    std::mt19937 random(numbers[1]);
    const std::int64_t largest = std::vector<std::int64_t>{1, 127, 30000, 1L << 35}[numbers[2] % 4];
    const Lists lists = random_lists(n, random, largest);
    release_if_stale();
    auto handle = std::make_unique<HandlePair>();
    handle->real = lists.create(n);
    require(handle->real != nullptr, "a right problem is taken");
    require_refused("");
    handle->weights = weights_of(lists, static_cast<int>(n));
    require(std::strlen(tarvik_orvex_info(handle->real, "solver")) == 0,
            "there is nothing to tell before a search");
    if (handles_.size() >= MOST) destroy({0, 0, 0, 0});
    handles_.push_back(std::move(handle));
}

void World::create_wrongly(const Numbers& numbers) {
    const std::uint32_t index[] = {0, 7}, pairs[] = {0, 1, 2, 9};
    const std::int64_t values[] = {1, -1};
    const auto reason = [&]() -> std::string {
        switch (numbers[0] % 6) {
            case 0:
                require(
                    tarvik_orvex_create(0, 0, nullptr, nullptr, 0, nullptr, nullptr, 0) == nullptr,
                    "no variables are refused");
                return "ORVEX: model has no variables";
            case 1: {
                const auto largest = static_cast<std::uint32_t>(tarvik_orvex_max_size());
                const std::uint32_t n = largest + 1 + numbers[1] % (~std::uint32_t{0} - largest);
                require(
                    tarvik_orvex_create(n, 0, nullptr, nullptr, 0, nullptr, nullptr, 0) == nullptr,
                    "too many variables are refused");
                return "ORVEX: model has " + std::to_string(n) +
                       " variables but the largest kernel in this build is " +
                       std::to_string(largest);
            }
            case 2:
                require(
                    tarvik_orvex_create(5, 2, nullptr, values, 0, nullptr, nullptr, 0) == nullptr,
                    "a missing array is refused");
                return "ORVEX: linear_index is null but linear_count is 2";
            case 3:
                require(
                    tarvik_orvex_create(5, 0, nullptr, nullptr, 1, pairs, nullptr, 0) == nullptr,
                    "a missing array is refused");
                return "ORVEX: quadratic_value is null but quadratic_count is 1";
            case 4:
                require(tarvik_orvex_create(5, 2, index, values, 0, nullptr, nullptr, 0) == nullptr,
                        "an index that is no variable is refused");
                return "ORVEX: linear_index[1] is 7 but the model has 5 variables";
            default:
                require(tarvik_orvex_create(5, 0, nullptr, nullptr, 2, pairs, values, 0) == nullptr,
                        "an index that is no variable is refused");
                return "ORVEX: quadratic_pairs[3] is 9 but the model has 5 variables";
        }
    }();
    require_refused(reason);
}

void World::on_events(const Numbers& numbers) {
    HandlePair* const handle = chosen(handles_, numbers[0]);
    if (handle == nullptr) return;
    std::copy_n(numbers.begin() + 1, 3, handle->requests);
    handle->listens = numbers[1] % 4 != 0;
    tarvik_orvex_set_callback(handle->real, handle->listens ? on_event : nullptr, handle);
}

void World::search(const Numbers& numbers) {
    HandlePair* const handle = chosen(handles_, numbers[0]);
    if (handle == nullptr) return;
    release_if_stale();
    const int n = handle->weights.size;
    const std::vector<bool> start_bits = random_bits(n, numbers[1]);
    Words start = words_of_bits(start_bits), solution(start.size(), ~std::uint64_t{0});
    spoil_filler(start, n);
    const bool starts = numbers[2] % 2 == 0;
    const std::string trials = std::to_string(1 + numbers[3] % 20);
    const char* const settings[] = {"time_limit", "9", "trial_limit", trials.c_str(),
                                    "time_limit", "2", nullptr};
    handle->events = 0;
    const int status = tarvik_orvex_search(handle->real, settings, starts ? start.data() : nullptr,
                                           solution.data());
    require(status == 0, std::string("a search is taken: ") + tarvik_orvex_last_error());
    require_refused("");
    if (planted() == "filler" && n % 64 != 0) solution.back() |= std::uint64_t{1} << n % 64;
    require_no_filler(solution.data(), n);
    require(handle->wrong.empty(), "in an event: " + handle->wrong);
    require(!handle->listens || handle->events > 0, "there is a beginning");
    const Wide energy = handle->weights.energy(bits_of_words(solution.data(), n));
    test::count_rescored(true);
    if (starts && !handle->listens)
        require(energy <= handle->weights.energy(start_bits),
                "a result is no worse than its start");
    for (const char* key : {"solver", "gpu", "solver_size", "runtime", "total_flips"})
        require(std::strlen(tarvik_orvex_info(handle->real, key)) > 0,
                "there is something to tell");
    require(std::strlen(tarvik_orvex_info(handle->real, "energy")) == 0, "but not the energy");
    handle->searched = true;
}

void World::search_wrongly(const Numbers& numbers) {
    HandlePair* const handle = chosen(handles_, numbers[0]);
    if (handle == nullptr) return;
    Words solution(2, 42);
    const char* const devices[] = {"gpus", "1", nullptr};
    const char* const widths[] = {"arithmetic_bits", "48", nullptr};
    const auto refused = [&](tarvik_orvex_handle* whose, const char* const* settings, Words* to) {
        require(tarvik_orvex_search(whose, settings, nullptr, to ? to->data() : nullptr) == 1,
                "a wrong search is refused");
    };
    switch (numbers[1] % 4) {
        case 0:
            refused(handle->real, devices, &solution);
            require_refused("ORVEX: 'gpus' cannot be set per search; pass it to the constructor");
            break;
        case 1:
            refused(handle->real, widths, &solution);
            require_refused("ORVEX: arithmetic_bits = 48 is not available in this build (has " +
                            std::string(tarvik_orvex_arith_bits()) + ")");
            break;
        case 2:
            refused(nullptr, nullptr, &solution);
            return require_refused("ORVEX: handle is null");
        default:
            refused(handle->real, nullptr, nullptr);
            require_refused("ORVEX: solution is null");
    }
    require(solution == Words(2, 42), "what is refused writes nothing");
    require(std::strlen(tarvik_orvex_info(handle->real, "solver")) == 0,
            "what is refused leaves nothing to tell");
}

void World::request_outside(const Numbers& numbers) {
    HandlePair* const handle = chosen(handles_, numbers[0]);
    tarvik_orvex_handle* const real =
        handle == nullptr || numbers[1] % 4 == 0 ? nullptr : handle->real;
    const Words words(4, ~std::uint64_t{0});
    tarvik_orvex_cb_timer(real, 0);
    tarvik_orvex_cb_hint(real, words.data());
    tarvik_orvex_cb_terminate(real);
    if (real == nullptr) tarvik_orvex_set_callback(nullptr, on_event, nullptr);
}

void World::destroy(const Numbers& numbers) {
    tarvik_orvex_destroy(nullptr);
    if (handles_.empty()) return;
    const auto which = static_cast<std::ptrdiff_t>(numbers[0] % handles_.size());
    tarvik_orvex_destroy(handles_[static_cast<std::size_t>(which)]->real);
    handles_.erase(handles_.begin() + which);
}

void World::refused_flat_call(const Numbers& numbers) {
    HandlePair* const handle = chosen(handles_, numbers[0]);
    if (handle == nullptr) return;
    const char* const colour[] = {"colour", "red", nullptr};
    Words solution(2);
    require_end(1, "Error: Parameter key not found : \"colour\"\n",
                [&] { tarvik_orvex_search(handle->real, colour, nullptr, solution.data()); });
}

}  // namespace orvex::model_test
