#include "toolkit/io/formats/one_hot.hpp"

#include "toolkit/model/errors.hpp"
#include "toolkit/model/memory.hpp"

namespace orvex::toolkit {

Wide choose_penalty(int n, const Costs& costs, const ReadOptions& options, const Lines& lines,
                    Statement& statement) {
    const Wide enough =
        costs.negative == 0 ? costs.most_of_a_bit / 2 + 1 : costs.positive - costs.negative + 1;
    const Wide penalty = options.penalty ? Wide{*options.penalty} : enough;
    if (penalty < 1)
        throw InputError(lines.file() + ": the penalty is " + to_string(penalty) +
                         ", not at least 1");
    Convention& convention = statement.convention;
    convention.offset += 2 * Wide{n} * penalty;
    convention.note = "penalty " + to_string(penalty);
    if (penalty >= enough) {
        convention.note += ", proven to be enough";
    } else {
        convention.note += ", not proven to be enough (" + to_string(enough) + " is)";
        statement.warnings.push_back(lines.file() + ": " + convention.note);
    }
    return penalty;
}

void add_one_hot_bit(int i, int k, int n, Wide penalty, Statement& statement) {
    const int bit = i * n + k;
    statement.add(bit, bit, -2 * penalty);
    for (int other = k + 1; other < n; ++other)
        statement.add(bit, i * n + other, 2 * penalty);
}

void expect_couplings(Wide couplings, const ReadOptions& options, const Lines& lines) {
    constexpr Wide BYTES = 32;          // in the list, and as much again where it is copied
    constexpr Wide MANY = 100'000'000;  // take some seconds
    const auto bytes = static_cast<std::uint64_t>(couplings * BYTES);
    const auto machine = static_cast<std::uint64_t>(machine_memory());
    const std::string count = lines.file() + ": " + to_string(couplings) + " couplings take ";
    if (bytes > machine)
        throw MemoryShortage(count + bytes_text(bytes) + " of memory; this machine has " +
                             bytes_text(machine));
    if (couplings > MANY && options.note)
        options.note(count + bytes_text(bytes) + " of memory and some time to set up");
}

}  // namespace orvex::toolkit
