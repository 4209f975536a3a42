#include "toolkit/generate/planted.hpp"

#include <algorithm>
#include <functional>
#include <numeric>
#include <set>
#include <utility>

#include "toolkit/generate/sequences.hpp"
#include "toolkit/generate/terms.hpp"

namespace orvex::toolkit::generate {
namespace {

using Numbers = std::vector<std::int64_t>;

std::size_t at(int k) {
    return static_cast<std::size_t>(k);
}

int below(Congruential& sequence, int count) {
    return static_cast<int>(sequence.between(0, count - 1));
}

template <class T>
void shuffle(std::vector<T>& list, Congruential& sequence) {
    for (int k = static_cast<int>(list.size()); k > 1; --k)
        std::swap(list[at(k - 1)], list[at(below(sequence, k))]);
}

/** 0 to count - 1 in a random order. */
std::vector<int> permutation(int count, Congruential& sequence) {
    std::vector<int> order(at(count));
    std::iota(order.begin(), order.end(), 0);
    shuffle(order, sequence);
    return order;
}

Numbers drawn(int count, int largest, Congruential& sequence) {
    Numbers numbers(at(count));
    for (std::int64_t& number : numbers)
        number = sequence.between(1, largest);
    return numbers;
}

/** times (1 - the sum of the bits)^2. */
void add_exactly_one(Terms& terms, int first, int step, int count, std::int64_t times) {
    std::vector<Terms::Part> parts;
    for (int k = 0; k < count; ++k)
        parts.push_back({first + k * step, 1});
    terms.add_square(parts, -1, times);
}

/** Each thing one place, each place one thing. */
void add_one_to_one(Terms& terms, int size, std::int64_t penalty) {
    for (int k = 0; k < size; ++k) {
        add_exactly_one(terms, k * size, 1, size, penalty);
        add_exactly_one(terms, k, size, size, penalty);
    }
}

struct Items {
    Numbers weights, values;
    std::int64_t capacity;

    Items(int count, int largest, std::uint64_t seed) {
        Congruential sequence(seed);
        weights = drawn(count, largest, sequence);
        values = drawn(count, largest, sequence);
        capacity = std::accumulate(weights.begin(), weights.end(), std::int64_t{0}) / 2;
    }

    /** 1, 2, 4, ... and what is left of the capacity: their sums are all numbers up to it. */
    Numbers slack() const {
        Numbers parts;
        std::int64_t left = capacity;
        for (std::int64_t part = 1; left > 0; part *= 2) {
            parts.push_back(std::min(part, left));
            left -= parts.back();
        }
        return parts;
    }

    /** The best value of each capacity, item after item (R. Bellman, "Dynamic programming", 1957).
     */
    std::int64_t best() const {
        Numbers best(static_cast<std::size_t>(capacity) + 1);
        for (std::size_t item = 0; item < weights.size(); ++item)
            for (std::int64_t room = capacity; room >= weights[item]; --room) {
                std::int64_t& here = best[static_cast<std::size_t>(room)];
                here = std::max(
                    here, best[static_cast<std::size_t>(room - weights[item])] + values[item]);
            }
        return best.back();
    }
};

}  // namespace

std::int64_t most_edges_of_colouring(int vertices, int colours) {
    const std::int64_t each = vertices / colours, one_more = vertices % colours;
    const auto pairs = [](std::int64_t count) { return count * (count - 1) / 2; };
    return pairs(vertices) - one_more * pairs(each + 1) - (colours - one_more) * pairs(each);
}

Planted colouring(int vertices, int colours, std::int64_t edges, std::uint64_t seed) {
    Congruential sequence(seed);
    const std::vector<int> place = permutation(vertices, sequence);
    Terms terms(vertices * colours);
    for (int vertex = 0; vertex < vertices; ++vertex)
        add_exactly_one(terms, vertex * colours, 1, colours, 1);
    std::set<std::pair<int, int>> pairs;
    while (edges > 0) {
        const int u = below(sequence, vertices), v = below(sequence, vertices);
        const bool differ = place[at(u)] % colours != place[at(v)] % colours;
        if (!differ || !pairs.insert(std::minmax(u, v)).second) continue;
        for (int colour = 0; colour < colours; ++colour)
            terms.add(u * colours + colour, v * colours + colour, 1);
        --edges;
    }
    return {terms.model(), -vertices};
}

Planted knapsack(int count, int largest, std::uint64_t seed) {
    const Items items(count, largest, seed);
    const Numbers slack = items.slack();
    const std::int64_t penalty = *std::max_element(items.values.begin(), items.values.end()) + 1;
    Terms terms(count + static_cast<int>(slack.size()));
    std::vector<Terms::Part> parts;
    for (int item = 0; item < count; ++item) {
        parts.push_back({item, items.weights[at(item)]});
        terms.add(item, item, -items.values[at(item)]);
    }
    for (std::size_t k = 0; k < slack.size(); ++k)
        parts.push_back({count + static_cast<int>(k), slack[k]});
    terms.add_square(parts, -items.capacity, penalty);
    return {terms.model(), -items.best() - penalty * items.capacity * items.capacity};
}

Planted assignment(int size, int largest, std::uint64_t seed) {
    Congruential sequence(seed);
    const std::vector<int> hidden = permutation(size, sequence);
    const Numbers of_things = drawn(size, largest, sequence);
    const Numbers of_places = drawn(size, largest, sequence);
    const std::int64_t penalty = (3 * std::int64_t{largest}) / 2 + 1;  // twice: above every cost
    Terms terms(size * size);
    std::int64_t least = 0;
    for (int thing = 0; thing < size; ++thing)
        for (int place = 0; place < size; ++place) {
            const bool is_hidden = hidden[at(thing)] == place;
            const std::int64_t prices = of_things[at(thing)] + of_places[at(place)];
            const std::int64_t more = is_hidden ? 0 : sequence.between(0, largest);
            terms.add(thing * size + place, thing * size + place, prices + more);
            least += is_hidden ? prices : 0;
        }
    add_one_to_one(terms, size, penalty);
    return {terms.model(), least - 2 * penalty * size};
}

Planted quadratic_assignment(int size, int largest, std::uint64_t seed) {
    Congruential sequence(seed);
    const std::vector<int> hidden = permutation(size, sequence);
    const int pairs = size * (size - 1) / 2;
    Numbers flows = drawn(pairs, largest, sequence), distances = drawn(pairs, largest, sequence);
    std::sort(flows.begin(), flows.end());
    std::sort(distances.begin(), distances.end(), std::greater<>());
    const std::vector<int> order = permutation(pairs, sequence);

    Numbers flow(at(size) * at(size)), distance(at(size) * at(size));
    const auto place = [&](int i, int j) { return at(i) * at(size) + at(j); };
    std::int64_t least = 0;
    for (int i = 0, pair = 0; i < size; ++i)
        for (int j = i + 1; j < size; ++j, ++pair) {
            const std::size_t rank = at(order[at(pair)]);
            const int k = hidden[at(i)], l = hidden[at(j)];
            flow[place(i, j)] = flow[place(j, i)] = flows[rank];
            distance[place(k, l)] = distance[place(l, k)] = distances[rank];
            least += 2 * flows[rank] * distances[rank];
        }

    // What one bit can cost: the flows of its facility at the farthest sites.
    const std::int64_t most = 2 * (std::int64_t{size} - 1) * flows.back() * distances.front();
    const std::int64_t penalty = most / 2 + 1;
    Terms terms(size * size);
    for (int i = 0; i < size; ++i)
        for (int j = i + 1; j < size; ++j)
            for (int k = 0; k < size; ++k)
                for (int l = 0; l < size; ++l)
                    if (k != l)
                        terms.add(i * size + k, j * size + l,
                                  2 * flow[place(i, j)] * distance[place(k, l)]);
    add_one_to_one(terms, size, penalty);
    return {terms.model(), least - 2 * penalty * size};
}

Planted schedule(int machines, int jobs, int time, std::uint64_t seed) {
    Congruential sequence(seed);
    Numbers lengths;
    for (int machine = 0; machine < machines; ++machine) {
        // Jobs of at least 1: what is above that is cut at random places.
        std::vector<int> cuts{0, time - jobs};
        for (int k = 1; k < jobs; ++k)
            cuts.push_back(below(sequence, time - jobs + 1));
        std::sort(cuts.begin(), cuts.end());
        for (int k = 0; k < jobs; ++k)
            lengths.push_back(cuts[at(k + 1)] - cuts[at(k)] + 1);
    }
    shuffle(lengths, sequence);

    const std::int64_t penalty = *std::max_element(lengths.begin(), lengths.end());
    const int all = machines * jobs;
    Terms terms(all * machines);
    for (int job = 0; job < all; ++job)
        add_exactly_one(terms, job * machines, 1, machines, penalty);
    for (int machine = 0; machine < machines; ++machine) {
        std::vector<Terms::Part> load;
        for (int job = 0; job < all; ++job)
            load.push_back({job * machines + machine, lengths[at(job)]});
        terms.add_square(load, -time, 1);
    }
    return {terms.model(), -penalty * all - std::int64_t{machines} * time * time};
}

}  // namespace orvex::toolkit::generate
