#include "toolkit/companion/moves.hpp"

#include <algorithm>
#include <cassert>

namespace orvex::toolkit {
namespace {

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

std::uint64_t key_of(std::int32_t first, std::int32_t second) {
    return static_cast<std::uint64_t>(first) << 32 | static_cast<std::uint32_t>(second);
}

/** A matrix of rows pays where at least this share of it is not 0, up to this size. */
constexpr double LEAST_DENSITY = 0.1;
constexpr std::size_t LARGEST_MATRIX = 4096;

/** Groups up to which crossings are looked up in a table. */
constexpr std::size_t LARGEST_TABLE = 2048;

}  // namespace

// ---- families ------------------------------------------------------------------------------

Families::Families(const Groups& groups, int size)
    : homes_(static_cast<std::size_t>(size), {NONE, NONE}) {
    // Groups that overlap go to different families, group after group along the overlaps.
    const std::size_t count = groups.members.size();
    std::vector<std::vector<std::size_t>> of_variable(at(size));
    for (std::size_t g = 0; g < count; ++g)
        for (const std::int32_t i : groups.members[g])
            of_variable[at(i)].push_back(g);
    std::vector<bool> seen(count);
    for (std::size_t start = 0; start < count; ++start) {
        if (seen[start]) continue;
        seen[start] = true;
        std::vector<std::size_t> row{start};
        for (std::size_t next = 0; next < row.size(); ++next) {
            const std::size_t g = row[next];
            const auto is_free = [&](std::size_t family) {
                return std::all_of(groups.members[g].begin(), groups.members[g].end(),
                                   [&](std::int32_t i) { return homes_[at(i)][family] == NONE; });
            };
            for (const std::int32_t i : groups.members[g])
                for (const std::size_t other : of_variable[at(i)])
                    if (!seen[other]) {
                        seen[other] = true;
                        row.push_back(other);
                    }
            const std::size_t family = is_free(0) ? 0 : 1;
            if (!is_free(family)) continue;
            for (const std::int32_t i : groups.members[g])
                homes_[at(i)][family] = static_cast<std::int32_t>(members_.size());
            members_.push_back(groups.members[g]);
            exactly_one_.push_back(groups.exactly_one[g]);
        }
    }
    if (this->groups() <= LARGEST_TABLE) table_.assign(this->groups() * this->groups(), NONE);
    for (std::int32_t i = 0; i < size; ++i) {
        const auto& [first, second] = homes_[at(i)];
        if (first == NONE || second == NONE) continue;
        if (table_.empty())
            crossings_[key_of(first, second)] = i;
        else
            table_[at(first) * this->groups() + at(second)] = i;
    }
}

std::int32_t Families::crossing(std::int32_t first, std::int32_t second) const {
    if (!table_.empty()) return table_[at(first) * groups() + at(second)];
    const auto found = crossings_.find(key_of(first, second));
    return found == crossings_.end() ? NONE : found->second;
}

// ---- moves ---------------------------------------------------------------------------------

template <class T>
Mover<T>::Mover(const SparseQubo& qubo, const Families& families)
    : qubo_(&qubo), families_(&families), fields_(qubo.linear.size()) {
    const std::size_t size = qubo.linear.size();
    const double pairs = static_cast<double>(size) * static_cast<double>(size);
    if (size <= LARGEST_MATRIX &&
        static_cast<double>(qubo.neighbours.size()) >= LEAST_DENSITY * pairs) {
        rows_.resize(size * size);
        for (std::int32_t i = 0; i < qubo.size(); ++i)
            for (std::size_t k = 0; k < qubo.degree(i); ++k)
                rows_[at(i) * size + at(qubo.neighbours_of(i)[k])] =
                    static_cast<T>(qubo.weights_of(i)[k]);
    } else {
        weights_.reserve(qubo.weights.size());
        for (const std::int64_t weight : qubo.weights)
            weights_.push_back(static_cast<T>(weight));
    }
}

template <class T>
T Mover<T>::weight(std::int32_t i, std::int32_t j) const {
    if (!rows_.empty()) return rows_[at(i) * fields_.size() + at(j)];
    const auto neighbours = qubo_->neighbours_of(i);
    const auto found = std::lower_bound(neighbours.begin(), neighbours.end(), j);
    if (found == neighbours.end() || *found != j) return 0;
    return weights_[qubo_->starts[at(i)] + static_cast<std::size_t>(found - neighbours.begin())];
}

template <class T>
void Mover<T>::flip(std::int32_t variable) {
    const bool on = bits_[at(variable)] == 0;
    const std::size_t size = fields_.size();
    if (!rows_.empty()) {
        const T* row = rows_.data() + at(variable) * size;
        T* fields = fields_.data();
        if (on)
            for (std::size_t j = 0; j < size; ++j)
                fields[j] = static_cast<T>(fields[j] + row[j]);
        else
            for (std::size_t j = 0; j < size; ++j)
                fields[j] = static_cast<T>(fields[j] - row[j]);
    } else {
        const T* weights = weights_.data() + qubo_->starts[at(variable)];
        const auto neighbours = qubo_->neighbours_of(variable);
        for (std::size_t k = 0; k < neighbours.size(); ++k)
            fields_[at(neighbours[k])] =
                static_cast<T>(fields_[at(neighbours[k])] + (on ? weights[k] : -weights[k]));
    }
    hold(variable, on);
}

template <class T>
void Mover<T>::hold(std::int32_t variable, bool on) {
    bits_[at(variable)] = on;
    for (std::size_t family = 0; family < 2; ++family)
        if (const std::int32_t group = families_->group_of(variable, family);
            group != Families::NONE) {
            assert(!on || holders_[at(group)] == Families::NONE);
            holders_[at(group)] = on ? variable : Families::NONE;
        }
}

template <class T>
void Mover<T>::stand_at(const Bits& bits, std::mt19937_64& random) {
    bits_.assign(bits.size(), 0);
    holders_.assign(families_->groups(), Families::NONE);
    for (std::size_t i = 0; i < fields_.size(); ++i)
        fields_[i] = static_cast<T>(qubo_->linear[i]);
    const auto is_free = [&](std::int32_t i) {
        for (std::size_t family = 0; family < 2; ++family)
            if (const std::int32_t group = families_->group_of(i, family);
                group != Families::NONE && holders_[at(group)] != Families::NONE)
                return false;
        return true;
    };
    for (std::int32_t i = 0; i < qubo_->size(); ++i)
        if (bits[at(i)] != 0 && is_free(i)) flip(i);
    for (std::size_t g = 0; g < families_->groups(); ++g) {
        const auto group = static_cast<std::int32_t>(g);
        if (!families_->exactly_one(group) || holders_[g] != Families::NONE) continue;
        std::vector<std::int32_t> members = families_->members(group);
        std::shuffle(members.begin(), members.end(), random);
        const auto found = std::find_if(members.begin(), members.end(), is_free);
        if (found != members.end()) flip(*found);
    }
}

template <class T>
Move Mover<T>::move_of(std::int32_t variable) const {
    Move move;
    const std::array<std::int32_t, 2> groups{families_->group_of(variable, 0),
                                             families_->group_of(variable, 1)};
    if (bits_[at(variable)] != 0) {
        for (const std::int32_t group : groups)
            if (group != Families::NONE && families_->exactly_one(group)) return move;
        move.add(variable);
        return move;
    }
    move.add(variable);
    const auto holder_of = [&](std::int32_t group) {
        return group == Families::NONE ? Families::NONE : holders_[at(group)];
    };
    const std::int32_t first = holder_of(groups[0]);
    const std::int32_t second = holder_of(groups[1]);
    if (first != Families::NONE) move.add(first);
    if (second != Families::NONE) move.add(second);
    if (first == Families::NONE || second == Families::NONE) return move;
    // Both are freed on their other sides; where these cross, the fourth bit fills both.
    const std::int32_t row = families_->group_of(second, 0);
    const std::int32_t column = families_->group_of(first, 1);
    if (row == Families::NONE || column == Families::NONE) return move;
    if (const std::int32_t fourth = families_->crossing(row, column); fourth != Families::NONE)
        move.add(fourth);
    return move;
}

/** The same for a swap, whose second and third variable are 1. Their rows are in the cache. */
template <class T>
T Mover<T>::delta_of_swap(const Move& swap) const {
    const auto [up, down, other_down, other_up] = swap.variables;
    assert(!bits_[at(up)] && bits_[at(down)] && bits_[at(other_down)] && !bits_[at(other_up)]);
    const T* row = rows_.data() + at(down) * fields_.size();
    const T* other_row = rows_.data() + at(other_down) * fields_.size();
    const T fields = static_cast<T>(fields_[at(up)] - fields_[at(down)] - fields_[at(other_down)] +
                                    fields_[at(other_up)]);
    const T mixed = static_cast<T>(row[at(up)] + row[at(other_up)] + other_row[at(up)] +
                                   other_row[at(other_up)]);
    return static_cast<T>(fields - mixed + row[at(other_down)] + weight(up, other_up));
}

template <class T>
T Mover<T>::delta_of(const Move& move) const {
    if (move.count == 4 && !rows_.empty()) return delta_of_swap(move);
    T delta = 0;
    for (int a = 0; a < move.count; ++a) {
        const std::int32_t i = move.variables[static_cast<std::size_t>(a)];
        const bool one = bits_[at(i)] != 0;
        T field = fields_[at(i)];
        for (int b = 0; b < a; ++b) {
            const std::int32_t j = move.variables[static_cast<std::size_t>(b)];
            // Rows of what is 1 are few and used all the time, so they are in the cache.
            const T pair = weight(i, j);
            field = static_cast<T>(bits_[at(j)] != 0 ? field - pair : field + pair);
        }
        delta = static_cast<T>(one ? delta - field : delta + field);
    }
    return delta;
}

/** The same for a swap: all four rows in one go over the fields. */
template <class T>
void Mover<T>::make_swap(const Move& swap) {
    const auto [up, down, other_down, other_up] = swap.variables;
    const std::size_t size = fields_.size();
    const auto row_of = [&](std::int32_t i) { return rows_.data() + at(i) * size; };
    const T *plus = row_of(up), *minus = row_of(down);
    const T *other_plus = row_of(other_up), *other_minus = row_of(other_down);
    T* fields = fields_.data();
    for (std::size_t j = 0; j < size; ++j)
        fields[j] =
            static_cast<T>(fields[j] + (plus[j] - minus[j]) + (other_plus[j] - other_minus[j]));
    hold(down, false);
    hold(other_down, false);
    hold(up, true);
    hold(other_up, true);
}

template <class T>
void Mover<T>::make(const Move& move) {
    if (move.count == 4 && !rows_.empty()) return make_swap(move);
    // What is 1 goes first, so that no group ever holds two.
    std::array<bool, 4> ones{};
    for (std::size_t a = 0; a < at(move.count); ++a)
        ones[a] = bits_[at(move.variables[a])] != 0;
    for (const bool one : {true, false})
        for (std::size_t a = 0; a < at(move.count); ++a)
            if (ones[a] == one) flip(move.variables[a]);
}

template class Mover<std::int32_t>;
template class Mover<std::int64_t>;

}  // namespace orvex::toolkit
