// The same instances for one block of the kernel, on a GPU and on fibers, and what comes back as
// text: two programs print the same if the device does what the host compiler makes of the text.
// Weights are wide and random, so that no two deltas tie.
//
// "PositiveMin" ranks threads with a power function that may round differently on a device. It
// plays in bands of one bit per thread, where a thread that takes part weighs 1 and its rank is its
// draw; how far the powers of all other weights are apart is for power.cu to say.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "engine/device/flip_rules.hpp"
#include "engine/device/records.hpp"
#include "engine/device/shape.hpp"
#include "engine/device/xor_shift.hpp"

namespace orvex::device::test {

/** The block as the play sees it. */
class STAGE {
  public:
    virtual ~STAGE() = default;
    /** Fills the send slot `ticket` and waits for the result, which replaces the bytes. */
    virtual void exchange(std::uint32_t ticket, std::vector<unsigned char>& record) = 0;
};

struct PROBLEM {
    std::vector<unsigned char> matrix;  ///< rows, diagonal, number of variables
    std::vector<unsigned long> seeds;
};

template <class E>
PROBLEM make_problem(int size) {
    const SHAPE shape(size);
    unsigned long state = 0x9E3779B97F4A7C15u ^ static_cast<unsigned long>(size);
    const auto draw = [&] { return state = xor_shift(state); };
    const std::size_t columns = static_cast<std::size_t>(size);
    PROBLEM problem;
    problem.matrix.resize((columns * columns + columns) * sizeof(E) + sizeof(int));
    E* const weights = reinterpret_cast<E*>(problem.matrix.data());
    for (int i = 0; i < size; ++i)
        for (int j = i; j < size; ++j) {
            const E value = static_cast<E>(static_cast<long>(draw() >> 16 & 0x7FFFF) - 0x40000);
            const std::size_t row = static_cast<std::size_t>(i),
                              other = static_cast<std::size_t>(j);
            weights[row * columns + static_cast<std::size_t>(shape.place(j))] = value;
            weights[other * columns + static_cast<std::size_t>(shape.place(i))] = value;
            if (i == j)
                weights[columns * columns + static_cast<std::size_t>(shape.place(i))] = value;
        }
    std::memcpy(problem.matrix.data() + (columns * columns + columns) * sizeof(E), &size,
                sizeof(size));
    for (int t = 0; t < shape.threads; ++t)
        problem.seeds.push_back(t == 0 ? 0 : draw());
    return problem;
}

inline void play(const char* band, int size, STAGE& stage) {
    unsigned long state = 88172645463325252;
    // On fibers a flip of a large band takes a while, and a walk or a descent makes thousands.
    const bool large = size > 1024;
    std::vector<std::int8_t> rules;
    for (const FLIP_RULE& rule : FLIP_RULES)
        if (rule.number != POSITIVE_MIN || SHAPE(size).own == 1) rules.push_back(rule.number);
    for (std::uint32_t ticket = 0; ticket < (large ? 3 : 24); ++ticket) {
        std::vector<unsigned char> record(instance_bytes(size));
        for (int i = 0; i < size / 8; ++i)
            record[static_cast<std::size_t>(8 + i)] =
                static_cast<unsigned char>((state = xor_shift(state)) >> 24);
        INST_TAIL tail{};
        tail.algorithm = rules[ticket % rules.size()];
        tail.cycles = large ? 256 : 3 * static_cast<std::uint32_t>(size);
        tail.annealing = large ? 64 : static_cast<std::uint32_t>(size) / 4;
        tail.generation = static_cast<std::uint16_t>(1 + ticket / 6);
        unsigned char* const tail_bytes = record.data() + size / 8 + 8;
        std::memcpy(tail_bytes, &tail, sizeof(tail));
        stage.exchange(ticket, record);

        std::int64_t energy = 0;
        std::memcpy(&energy, record.data(), sizeof(energy));
        std::memcpy(&tail, tail_bytes, sizeof(tail));
        std::uint64_t digest = 14695981039346656037u;
        for (int i = 0; i < size / 8; ++i)
            digest = (digest ^ record[static_cast<std::size_t>(8 + i)]) * 1099511628211u;
        std::printf("%s instance %u rule %d energy %ld bits %016lx flips %u overflow %d\n", band,
                    ticket, tail.algorithm, energy, digest, tail.cycles, tail.overflow);
    }
}

}  // namespace orvex::device::test
