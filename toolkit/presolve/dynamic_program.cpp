// Statement. Eliminate the nodes one by one. With scope S of v, the table of v holds for each
// assignment of S the least energy of all couplings of v and of the nodes below it, over their
// spins:
//
//     T_v(S) = min over s_v of  s_v (field + sum of J_vu s_u over S) + sum of T_w over w next
//     below.
//
// Why exact. Each coupling is counted once, in the table of the end that goes first; and the scope
// of w holds nothing but v and members of S, so that everything of v and below is known given S.
// Source. U. Bertele, F. Brioschi, "Nonserial dynamic programming" (1972); Y. Crama, P. Hansen,
// B. Jaumard, "The basic algorithm for pseudo-Boolean programming revisited" (1990).
// Cost. A node with a scope of k takes 2^k times the number of tables that it reads. The field's
// spin is fixed; where a piece has no coupling to it, all spins turned give the same energy, and
// the last terminal is fixed instead.
#include "toolkit/presolve/dynamic_program.hpp"

#include <algorithm>
#include <unordered_map>
#include <utility>

namespace orvex::toolkit {
namespace {

std::size_t at(int i) {
    return static_cast<std::size_t>(i);
}

/** Where in the table of a part of a scope an assignment of the scope is. */
class Indices {
  public:
    Indices(std::span<const std::int32_t> scope, std::span<const std::int32_t> part,
            unsigned shift) {
        low_.push_back(0);
        high_.push_back(0);
        std::size_t next = 0;
        for (std::size_t bit = 0; bit < scope.size(); ++bit) {
            const bool there = next < part.size() && part[next] == scope[bit];
            const std::uint32_t value = there ? std::uint32_t{1} << (next++ + shift) : 0;
            auto& half = bit < LOW ? low_ : high_;
            for (std::size_t k = 0, count = half.size(); k < count; ++k)
                half.push_back(half[k] | value);
        }
    }
    /** Calls with each assignment and its place. */
    template <class Function>
    void for_each(Function&& call) const {
        std::size_t assignment = 0;
        for (const std::uint32_t high : high_)
            for (const std::uint32_t low : low_)
                call(assignment++, high | low);
    }

  private:
    static constexpr std::size_t LOW = 8;
    std::vector<std::uint32_t> low_, high_;
};

using Table = std::vector<std::int64_t>;

/** field + sum of couplings to the assigned spins, for all assignments. */
Table towards(std::int64_t field, std::span<const std::int64_t> couplings) {
    Table table(std::size_t{1} << couplings.size());
    table[0] = field;
    for (const std::int64_t coupling : couplings)
        table[0] -= coupling;
    std::size_t filled = 1;
    for (const std::int64_t coupling : couplings) {
        for (std::size_t k = 0; k < filled; ++k)
            table[filled + k] = table[k] + 2 * coupling;
        filled *= 2;
    }
    return table;
}

}  // namespace

DynamicProgram::DynamicProgram(const SpinGraph& graph, const Elimination& elimination,
                               std::span<const std::int32_t> places)
    : steps_(places.size()) {
    const auto top = elimination.scope_of(at(places.back()));
    terminals_.assign(top.begin(), top.end());
    std::unordered_map<std::int32_t, std::int32_t> terminal_numbers;
    for (std::size_t k = 0; k < top.size(); ++k)
        terminal_numbers[top[k]] = static_cast<std::int32_t>(places.size() + k);
    const auto number_of = [&](int v) {
        const int place = elimination.places[at(v)];
        if (place >= 0 && place <= places.back()) {
            const auto found = std::lower_bound(places.begin(), places.end(), place);
            return static_cast<std::int32_t>(found - places.begin());
        }
        return terminal_numbers.at(v);
    };
    for (std::size_t k = 0; k < places.size(); ++k) {
        Step& step = steps_[k];
        const int v = elimination.order[at(places[k])];
        step.field = graph.field_of(v);
        field_ = field_ || step.field != 0;
        for (const std::int32_t u : elimination.scope_of(at(places[k])))
            step.scope.push_back(number_of(u));
        std::sort(step.scope.begin(), step.scope.end());
        for (const std::int32_t number : step.scope) {
            const bool inside = at(number) < places.size();
            const int u = inside ? elimination.order[at(places[at(number)])]
                                 : terminals_[at(number) - places.size()];
            step.couplings.push_back(graph.coupling(v, u));
        }
        if (!step.scope.empty() && at(step.scope.front()) < places.size())
            steps_[at(step.scope.front())].below.push_back(static_cast<std::int32_t>(k));
    }
    if (field_ || terminals_.empty()) terminals_.push_back(graph.field());
}

ProgramCost DynamicProgram::cost() const {
    ProgramCost cost;
    std::uint64_t kept = 0;
    const auto entries = [&](const Step& step) { return std::uint64_t{1} << step.scope.size(); };
    for (const Step& step : steps_) {
        cost.steps +=
            static_cast<double>(entries(step)) * (3 + 2 * static_cast<double>(step.below.size()));
        // Its choices stay until the end, its table until it is read; two more are made of it.
        kept += entries(step) / 8 + sizeof(Step) + 32 * step.scope.size();
        kept += entries(step) * sizeof(std::int64_t);
        cost.bytes = std::max(cost.bytes, kept + 2 * entries(step) * sizeof(std::int64_t));
        for (const std::int32_t below : step.below)
            kept -= entries(steps_[at(below)]) * sizeof(std::int64_t);
    }
    return cost;
}

Solved DynamicProgram::solve() const {
    std::vector<Table> tables(steps_.size());
    std::vector<std::vector<bool>> up(steps_.size());
    for (std::size_t k = 0; k < steps_.size(); ++k) {
        const Step& step = steps_[k];
        Table plus = towards(step.field, step.couplings);
        Table minus(plus.size());
        std::transform(plus.begin(), plus.end(), minus.begin(), std::negate<>());
        for (const std::int32_t below : step.below) {
            const Table table = std::exchange(tables[at(below)], {});
            const std::span<const std::int32_t> scope(steps_[at(below)].scope);
            // The node itself is the first of the scope below.
            Indices(step.scope, scope.subspan(1), 1)
                .for_each([&](std::size_t assignment, std::size_t index) {
                    minus[assignment] += table[index];
                    plus[assignment] += table[index + 1];
                });
        }
        up[k].resize(plus.size());
        for (std::size_t i = 0; i < plus.size(); ++i)
            up[k][i] = plus[i] < minus[i];
        for (std::size_t i = 0; i < plus.size(); ++i)
            plus[i] = std::min(plus[i], minus[i]);
        tables[k] = std::move(plus);
    }

    Solved solved{terminals_, {}, std::vector<std::uint8_t>(steps_.size())};
    const std::size_t free_terminals = terminals_.size() - 1;
    const std::size_t scope = steps_.back().scope.size();
    std::vector<std::uint8_t> spins(steps_.size() + scope);
    for (std::size_t assignment = 0; assignment < std::size_t{1} << free_terminals; ++assignment) {
        // The last terminal, if it is not the field, is fixed to be up.
        const std::size_t index =
            scope > free_terminals ? assignment | std::size_t{1} << free_terminals : assignment;
        solved.energies.push_back(tables.back()[index]);
        for (std::size_t k = 0; k < scope; ++k)
            spins[steps_.size() + k] = index >> k & 1;
        for (std::size_t k = steps_.size(); k-- > 0;) {
            std::size_t place = 0;
            for (std::size_t bit = 0; bit < steps_[k].scope.size(); ++bit)
                place |= std::size_t{spins[at(steps_[k].scope[bit])]} << bit;
            spins[k] = up[k][place];
            solved.choices[k] =
                static_cast<std::uint8_t>(solved.choices[k] | spins[k] << assignment);
        }
    }
    return solved;
}

}  // namespace orvex::toolkit
