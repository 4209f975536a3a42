// Flips per second of one CPU block, by rule, size, form of the rows and instruction set, beside
// the machine's limit measured in the same run: random rows that only add up in the deltas while
// the lowest delta is looked up. Writes one line of comma-separated values per case.
//
//   flips [SIZES [RULES [FORMS [all]]]]   separated by commas: sizes, rules by their numbers, forms
//                                        of rows by their names ("8-bit" has a second model of
//                                        weights 1 and -1, "sparse" is a sparse model of
//                                        these); all: with each instruction set of the processor
//                                        that there are loops for, not only with the best
//
// `ns_per_flip` is a whole step of the search with walks and descents, `limit_ns` that of the
// limit with the same rows and instructions; both are medians of rounds that take turns.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <numeric>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <hwy/highway.h>

#include "engine/device/cpu/block.hpp"
#include "engine/device/cycle.hpp"
#include "engine/device/flip_rules.hpp"

using namespace orvex::device;

namespace {

using E = std::int32_t;
using D = std::int32_t;

/** The time that this thread has run: other work on the machine takes no part of it. */
struct CLOCK {
    using duration = std::chrono::nanoseconds;
    using rep = duration::rep;
    using period = duration::period;
    using time_point = std::chrono::time_point<CLOCK>;
    static time_point now() {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return time_point(std::chrono::seconds(time.tv_sec) +
                          std::chrono::nanoseconds(time.tv_nsec));
    }
};

constexpr int ROUNDS = 5;
constexpr double ROUND_SECONDS = 0.15;

double seconds_since(CLOCK::time_point start) {
    return std::chrono::duration<double>(CLOCK::now() - start).count();
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    return values[values.size() / 2];
}

/** Smallest band that holds n bits. */
int band_of(int n) {
    if (n <= 4096) return std::max((n + 127) / 128 * 128, 128);
    return (n + 2047) / 2048 * 2048;
}

/** A symmetric matrix in row order. */
struct MODEL {
    MODEL(int variables, double density, int limit)
        : n(variables), shape(band_of(n)), weights(cells(shape.size)), diagonal(shape.size, 255) {
        std::mt19937_64 draw(1);
        const auto weight = [&] {
            const int magnitude = 1 + static_cast<int>(draw() % static_cast<unsigned>(limit));
            return static_cast<E>((draw() & 1) != 0 ? magnitude : -magnitude);
        };
        const auto chance = static_cast<std::uint64_t>(density * 4294967296.0);
        for (int i = 0; i < n; ++i)
            for (int j = i + 1; j < n; ++j)
                if ((draw() >> 32) < chance) at(i, j) = at(j, i) = weight();
        for (int i = 0; i < shape.size; ++i) {
            if (i < n) diagonal[shape.place(i)] = weight();
            at(i, i) = diagonal[shape.place(i)];
        }
    }
    static std::size_t cells(int size) {
        return static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
    }
    E& at(int i, int j) {
        return weights[static_cast<std::size_t>(i) * static_cast<std::size_t>(shape.size) +
                       static_cast<std::size_t>(shape.place(j))];
    }

    int n;
    SHAPE shape;
    std::vector<E> weights;
    std::vector<E> diagonal;
};

/** A block with one island's rings, to which instances are sent one at a time. */
template <class N>
class LAUNCH {
  public:
    static constexpr unsigned RING = 4;

    LAUNCH(const MODEL& model, const CPU_ROWS<E>& rows)
        : size_(model.shape.size),
          model_size_(model.n),
          rings_(2 * RING * instance_bytes(size_)),
          seeds_(static_cast<std::size_t>(model.shape.threads)) {
        std::mt19937_64 draw(7);
        for (unsigned long& seed : seeds_)
            seed = draw();
        state_.state_a = locks_;
        state_.state_b = locks_ + 1;
        state_.state_c = counters_;
        block_ =
            std::make_unique<CPU_BLOCK<E, D, N>>(0, CPU_LAUNCH<E>{.size = size_,
                                                                  .seeds = seeds_.data(),
                                                                  .weights = model.weights.data(),
                                                                  .diagonal = model.diagonal.data(),
                                                                  .rows = &rows,
                                                                  .model_size = model.n,
                                                                  .ring_size = RING,
                                                                  .islands_per_gpu = 1,
                                                                  .rings = rings_.data(),
                                                                  .device_state = &state_,
                                                                  .params = &params_});
    }

    /** Sends a random instance, lets the block search it and returns its flips. */
    std::uint32_t search(int rule, std::uint32_t budget, std::uint32_t steps) {
        unsigned char* slot = rings_.data() + sent_ % RING * instance_bytes(size_);
        INST_TAIL& tail = *reinterpret_cast<INST_TAIL*>(slot + size_ / 8 + 8);
        std::memset(slot, 0, instance_bytes(size_));
        for (int i = 0; i < model_size_; ++i)
            slot[8 + i / 8] |= static_cast<unsigned char>((draw_() & 1) << i % 8);
        tail.cycles = budget;
        tail.annealing = steps;
        tail.algorithm = static_cast<std::int8_t>(rule);
        tail.generation = 1;
        tail.ticket = ++sent_;
        if (block_->takeInstance() != CPU_BLOCK<E, D, N>::TAKEN::INSTANCE || !runInstance(*block_))
            std::abort();
        return block_->record.flips;
    }

    const CPU_BLOCK<E, D, N>& block() const { return *block_; }

  private:
    int size_;
    int model_size_;
    std::vector<unsigned char> rings_;
    std::vector<unsigned long> seeds_;
    DeviceState state_{};
    GPU_PARAMS params_{};
    int locks_[2] = {};
    int counters_[2] = {};
    std::mt19937_64 draw_{3};
    std::int64_t sent_ = 0;
    std::unique_ptr<CPU_BLOCK<E, D, N>> block_;
};

/** Nanoseconds of a flip that does nothing but add a random row and look up the lowest delta. */
template <class N>
double limit_round(const CPU_BLOCK<E, D, N>& block, const MODEL& model, const CPU_ROWS<E>& rows) {
    BLOCK_ARRAYS<N> arrays = block.arrays();
    std::vector<N> delta(arrays.delta, arrays.delta + arrays.shape.size);
    N* const aligned = static_cast<N*>(std::aligned_alloc(64, delta.size() * sizeof(N)));
    std::copy(delta.begin(), delta.end(), aligned);
    arrays.delta = aligned;
    const BLOCK_OPS<E, N> ops = block_ops<E, N>();
    const auto sweep = rows.form() == ROW_FORM::BYTES   ? ops.byte_rows.nothing
                       : rows.form() == ROW_FORM::WORDS ? ops.word_rows.nothing
                       : rows.form() == ROW_FORM::LISTS ? ops.summed.nothing
                                                        : ops.record_rows.nothing;
    std::mt19937 draw(5);
    long flips = 0;
    volatile N sink = 0;
    const auto start = CLOCK::now();
    double seconds = 0;
    do {
        for (int i = 0; i < 64; ++i, ++flips) {
            const int bit = static_cast<int>(draw() % static_cast<unsigned>(model.n));
            const std::int8_t sign = i & 1 ? -1 : 0;
            if (rows.form() == ROW_FORM::LISTS)
                for (auto entry = rows.begin(bit); entry != rows.end(bit); ++entry)
                    aligned[entry->place] += static_cast<N>((entry->value ^ sign) - sign);
            sink =
                sweep(arrays, rows.form() == ROW_FORM::LISTS ? nullptr : rows.row(bit), sign).low;
        }
        seconds = seconds_since(start);
    } while (seconds < ROUND_SECONDS);
    std::free(aligned);
    return seconds * 1e9 / static_cast<double>(flips);
}

template <class N>
double search_round(LAUNCH<N>& launch, int n, int rule) {
    const std::uint32_t steps = static_cast<std::uint32_t>(std::max(n / 5, 1));
    double flips = 0;
    const auto start = CLOCK::now();
    double seconds = 0;
    do {
        flips += launch.search(rule, static_cast<std::uint32_t>(10 * n), steps);
        seconds = seconds_since(start);
    } while (seconds < ROUND_SECONDS);
    return seconds * 1e9 / flips;
}

std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> items;
    std::stringstream stream(text);
    for (std::string item; std::getline(stream, item, ',');)
        items.push_back(item);
    return items;
}

std::vector<int> numbers(const std::string& text) {
    std::vector<int> values;
    for (const std::string& word : words(text))
        values.push_back(std::stoi(word));
    return values;
}

/** The best set, or all, best first. */
std::vector<std::int64_t> instruction_sets(bool all) {
    std::vector<std::int64_t> sets = hwy::SupportedAndGeneratedTargets();
    if (!all) sets.resize(1);
    return sets;
}

template <class N>
void measure(const MODEL& model, const char* kind, const CPU_ROWS<E>& rows,
             const std::vector<int>& rules) {
    LAUNCH<N> launch(model, rows);
    for (int rule : rules) {
        std::vector<double> search, limit;
        for (int round = 0; round < ROUNDS; ++round) {
            limit.push_back(limit_round(launch.block(), model, rows));
            search.push_back(search_round(launch, model.n, rule));
        }
        std::printf("%d,%s,%s,%d-bit,%s,%s,%.1f,%.1f,%.2f\n", model.n, kind,
                    form_name(rows.form(), 32), static_cast<int>(8 * sizeof(N)),
                    hwy::TargetName(hwy::SupportedTargets() & -hwy::SupportedTargets()),
                    FLIP_RULES.at(static_cast<std::size_t>(rule)).name.data(), median(search),
                    median(limit), median(search) / median(limit));
        std::fflush(stdout);
    }
}

/** With the deltas that a launch would take. */
void measure(const MODEL& model, const char* kind, ROW_FORM form, const std::vector<int>& rules) {
    const CPU_ROWS<E> rows(model.weights.data(), model.shape.size, form);
    if (rows.statistics().delta_bits(form, model.shape.size, 32) == 16)
        measure<std::int16_t>(model, kind, rows, rules);
    else
        measure<std::int32_t>(model, kind, rows, rules);
}

}  // namespace

int main(int argc, char** argv) {
    const std::vector<int> sizes = numbers(argc > 1 ? argv[1] : "256,1024,2000,4096,10240");
    std::vector<int> rules(FLIP_RULES.size());
    std::iota(rules.begin(), rules.end(), 0);
    if (argc > 2) rules = numbers(argv[2]);
    const std::vector<std::string> forms = words(argc > 3 ? argv[3] : "8-bit,16-bit,32-bit,sparse");
    const auto wanted = [&](ROW_FORM form) {
        return std::count(forms.begin(), forms.end(), form_name(form, 32)) != 0;
    };
    const bool all_sets = argc > 4 && std::strcmp(argv[4], "all") == 0;
    std::puts("n,model,rows,deltas,instructions,rule,ns_per_flip,limit_ns,ratio");
    for (int n : sizes) {
        MODEL dense(n, 1.0, 100);
        MODEL unit(n, 1.0, 1);
        MODEL sparse(n, n <= 2000 ? 0.01 : 4.0 / n, 1);
        for (std::int64_t set : instruction_sets(all_sets)) {
            hwy::SetSupportedTargetsForTest(set);
            hwy::GetChosenTarget().Update(hwy::SupportedTargets());
            for (ROW_FORM form : {ROW_FORM::BYTES, ROW_FORM::WORDS, ROW_FORM::RECORD})
                if (wanted(form)) measure(dense, "dense", form, rules);
            if (wanted(ROW_FORM::BYTES)) measure(unit, "unit", ROW_FORM::BYTES, rules);
            if (wanted(ROW_FORM::LISTS)) measure(sparse, "sparse", ROW_FORM::LISTS, rules);
        }
    }
}
