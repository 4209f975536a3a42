#include "toolkit/io/formats/one_hot.hpp"

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {

void add_one_hot(int n, const Costs& costs, const ReadOptions& options, const Lines& lines,
                 Statement& statement) {
    const Wide enough =
        costs.negative == 0 ? costs.most_of_a_bit / 2 + 1 : costs.positive - costs.negative + 1;
    const Wide penalty = options.penalty ? Wide{*options.penalty} : enough;
    if (penalty < 1)
        throw InputError(lines.file() + ": the penalty is " + to_string(penalty) +
                         ", not at least 1");
    for (int i = 0; i < n; ++i)
        for (int k = 0; k < n; ++k) {
            const int bit = i * n + k;
            statement.add(bit, bit, -2 * penalty);
            for (int other = k + 1; other < n; ++other)
                statement.add(bit, i * n + other, 2 * penalty);
            for (int other = i + 1; other < n; ++other)
                statement.add(bit, other * n + k, 2 * penalty);
        }
    Convention& convention = statement.convention;
    convention.offset += 2 * Wide{n} * penalty;
    convention.note = "penalty " + to_string(penalty);
    if (penalty >= enough) {
        convention.note += ", proven to be enough";
    } else {
        convention.note += ", not proven to be enough as " + to_string(enough) + " is";
        statement.warnings.push_back(lines.file() + ": " + convention.note);
    }
}

}  // namespace orvex::toolkit
