#include "toolkit/companion/narrowing.hpp"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <numeric>

namespace orvex::toolkit {
namespace {

std::size_t at(std::int32_t i) {
    return static_cast<std::size_t>(i);
}

std::uint64_t magnitude(std::int64_t weight) {
    return weight < 0 ? 0 - static_cast<std::uint64_t>(weight) : static_cast<std::uint64_t>(weight);
}

std::uint64_t divisor_of(const SparseQubo& qubo) {
    std::uint64_t divisor = 0;
    for (const std::int64_t weight : qubo.linear)
        divisor = std::gcd(divisor, magnitude(weight));
    for (std::size_t k = 0; divisor != 1 && k < qubo.weights.size(); ++k)
        divisor = std::gcd(divisor, magnitude(qubo.weights[k]));
    return std::max<std::uint64_t>(divisor, 1);
}

/** Largest magnitude of a field in any state. */
Wide reach_of(const SparseQubo& qubo) {
    Wide reach = 0;
    for (std::int32_t i = 0; i < qubo.size(); ++i) {
        Wide low = qubo.linear[at(i)];
        Wide high = low;
        for (const std::int64_t weight : qubo.weights_of(i))
            (weight < 0 ? low : high) += weight;
        reach = std::max({reach, high, -low});
    }
    return reach;
}

/** What the lanes are for is the typical variable: the root mean square of its halved couplings. */
double strength_of(const SparseQubo& qubo) {
    double sum = 0;
    for (const std::int64_t weight : qubo.weights) {
        const double half = static_cast<double>(weight) / 2;
        sum += half * half;
    }
    if (sum == 0)
        for (const std::int64_t weight : qubo.linear)
            sum += static_cast<double>(weight) * static_cast<double>(weight);
    return std::sqrt(sum / std::max(1, qubo.size()));
}

constexpr Wide MOST = Wide{1} << 61;  ///< of a field of 64 bits, so that no threshold is beyond

}  // namespace

std::int64_t Narrowing::narrowed(Wide weight) const {
    if (unit == 1) return static_cast<std::int64_t>(weight);
    const Wide half = unit / 2;
    return static_cast<std::int64_t>((weight < 0 ? weight - half : weight + half) / unit);
}

Narrowing narrowing_of(const SparseQubo& qubo) {
    Narrowing narrowing;
    const Wide widest = reach_of(qubo);
    narrowing.unit = static_cast<Wide>(divisor_of(qubo));
    if (widest / narrowing.unit > MOST)
        for (narrowing.unit = 1; widest / narrowing.unit > MOST / 2;)
            narrowing.unit *= 2;
    const Wide reach = widest / narrowing.unit;
    narrowing.bytes = reach <= 127 ? 1 : reach <= 32767 ? 2 : reach < (Wide{1} << 30) ? 4 : 8;
    narrowing.by_table = reach < TABLE_SIZE;
    narrowing.scale = std::max(strength_of(qubo) / static_cast<double>(narrowing.unit), 0.25);
    return narrowing;
}

template <class T>
Part<T> whole_of(const SparseQubo& qubo, const Narrowing& narrowing) {
    Part<T> part;
    part.linear.reserve(qubo.linear.size());
    for (const std::int64_t weight : qubo.linear)
        part.linear.push_back(static_cast<T>(narrowing.narrowed(weight)));
    part.starts.assign(qubo.starts.begin(), qubo.starts.end());
    part.neighbours = qubo.neighbours;
    part.weights.reserve(qubo.weights.size());
    for (const std::int64_t weight : qubo.weights)
        part.weights.push_back(static_cast<T>(narrowing.narrowed(weight)));
    return part;
}

template <class T>
Cutter<T>::Cutter(const Part<T>& whole) : whole_(&whole), places_(whole.size(), -1) {}

template <class T>
void Cutter<T>::choose(std::size_t size, std::mt19937_64& random,
                       std::vector<std::int32_t>& variables) {
    assert(size <= places_.size());
    variables.clear();
    std::uniform_int_distribution<std::size_t> any(0, places_.size() - 1);
    const auto take = [&](std::int32_t i) {
        if (places_[at(i)] >= 0) return;
        places_[at(i)] = 0;
        variables.push_back(i);
    };
    for (std::size_t next = 0; variables.size() < size;) {
        if (next == variables.size()) {
            take(static_cast<std::int32_t>(any(random)));
            continue;
        }
        const std::size_t i = at(variables[next++]);
        for (std::uint32_t k = whole_->starts[i]; k < whole_->starts[i + 1]; ++k)
            if (variables.size() < size) take(whole_->neighbours[k]);
    }
    for (const std::int32_t i : variables)
        places_[at(i)] = -1;
}

template <class T>
void Cutter<T>::cut(const std::vector<std::int32_t>& variables, const Bits& bits, Part<T>& part) {
    part.linear.clear();
    part.starts.assign(1, 0);
    part.neighbours.clear();
    part.weights.clear();
    for (std::size_t place = 0; place < variables.size(); ++place)
        places_[at(variables[place])] = static_cast<std::int32_t>(place);
    for (const std::int32_t i : variables) {
        std::int64_t field = whole_->linear[at(i)];
        for (std::uint32_t k = whole_->starts[at(i)]; k < whole_->starts[at(i) + 1]; ++k) {
            const std::int32_t j = whole_->neighbours[k];
            if (const std::int32_t place = places_[at(j)]; place >= 0) {
                part.neighbours.push_back(place);
                part.weights.push_back(whole_->weights[k]);
            } else if (bits[at(j)] != 0) {
                field += whole_->weights[k];
            }
        }
        part.linear.push_back(static_cast<T>(field));
        part.starts.push_back(static_cast<std::uint32_t>(part.neighbours.size()));
    }
    for (const std::int32_t i : variables)
        places_[at(i)] = -1;
}

#define ORVEX_PARTS_OF(T)                                           \
    template Part<T> whole_of(const SparseQubo&, const Narrowing&); \
    template class Cutter<T>;
ORVEX_PARTS_OF(std::int8_t)
ORVEX_PARTS_OF(std::int16_t)
ORVEX_PARTS_OF(std::int32_t)
ORVEX_PARTS_OF(std::int64_t)
#undef ORVEX_PARTS_OF

}  // namespace orvex::toolkit
