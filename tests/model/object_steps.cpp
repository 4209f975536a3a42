// Models, parameters and solutions as objects: made, written, copied, assigned, printed, read.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <set>
#include <sstream>
#include <unistd.h>

#include "ending.hpp"
#include "rescore.hpp"
#include "world.hpp"

namespace orvex::model_test {
namespace {

constexpr std::size_t MOST = 6;  ///< objects of a kind that are there at a time

/** Sizes on both sides of words and bands; now and then none at all. */
int size_of(std::uint32_t number) {
    constexpr int EDGES[] = {0, 1, 2, 63, 64, 65, 127, 128, 129, 255, 256};
    if (number % 4 == 0) return EDGES[number / 4 % std::size(EDGES)];
    return 1 + static_cast<int>(number / 4 % 80);
}

constexpr int WIDTHS[] = {8, 16, 32, 64};

std::string key_of(std::uint32_t number) {
    return "key" + std::to_string(number % 5);
}

std::set<std::string> entries(const std::string& line, char delimiter) {
    std::set<std::string> list;
    std::istringstream words(line);
    for (std::string word; std::getline(words, word, delimiter);)
        if (!word.empty() && word != "\n") list.insert(word.substr(0, word.find('\n')));
    return list;
}

std::set<std::string> entries(const Texts& texts) {
    std::set<std::string> list;
    for (const auto& [key, value] : texts)
        list.insert(key + "=" + value);
    return list;
}

template <class OBJECT>
std::string printed(const OBJECT& object, const std::string& option) {
    std::ostringstream out;
    object.print(option, out);
    std::ostringstream other_way_round;
    object.print(other_way_round, option);
    require(out.str() == other_way_round.str(), "both ways to print are one");
    return out.str();
}

template <class PAIR>
void keep(std::vector<std::unique_ptr<PAIR>>& list, std::unique_ptr<PAIR> pair) {
    if (list.size() >= MOST) list.erase(list.begin());
    list.push_back(std::move(pair));
}

void require_same(const ModelPair& model) {
    const int n = model.weights.size;
    require(model.real->impl().size == n, "a model keeps its size");
    require(model.real->impl().bits == model.weights.width, "a model keeps its width");
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            if (model.real->get(i, j) != model.weights.get(i, j))
                require(false, "a weight is what was set last: " + std::to_string(i) + " " +
                                   std::to_string(j));
    for (const auto& [key, value] : model.attributes)
        require(model.real->get(key) == value, "an attribute is what was set last");
}

}  // namespace

void World::make_model(const Numbers& numbers) {
    auto model = std::make_unique<ModelPair>();
    const int size = size_of(numbers[0]);
    if (numbers[1] % 2 == 0) {
        model->weights = Weights(size, WIDTHS[numbers[2] % 4]);
        model->real = std::make_unique<Model>(size, model->weights.width);
    } else {
        const long most = std::int64_t{1} << numbers[2] % 40,
                   least = -(std::int64_t{1} << numbers[3] % 40);
        model->weights = Weights(size, width_of(least, most));
        model->real = std::make_unique<Model>(size, least, most);
    }
    model->attributes = {{"size", std::to_string(size)},
                         {"bits", std::to_string(model->weights.width)}};
    require_same(*model);
    if (models_.size() >= MOST) stale_ = true;
    keep(models_, std::move(model));
}

void World::fill_model(const Numbers& numbers) {
    ModelPair* const model = chosen(models_, numbers[0]);
    if (model == nullptr) return;
    std::mt19937_64 random(numbers[1]);
    const std::int64_t largest = model->weights.largest();
    const std::uint32_t share = 1 + numbers[2] % 100;
    for (int i = 0; i < model->weights.size; ++i)
        for (int j = i; j < model->weights.size; ++j) {
            if (random() % 100 >= share) continue;
            const long weight =
                static_cast<long>(random() % static_cast<std::uint64_t>(2 * largest + 1)) - largest;
            model->real->set(j, i, weight);
            model->weights.set(i, j, weight);
        }
}

void World::set_weight(const Numbers& numbers) {
    ModelPair* const model = chosen(models_, numbers[0]);
    if (model == nullptr || model->weights.size == 0) return;
    const auto n = static_cast<std::uint32_t>(model->weights.size);
    const int i = static_cast<int>(numbers[1] % n), j = static_cast<int>(numbers[2] % n);
    // Of what is too wide for 8 or 16 bits, the low bits stay.
    const auto any = static_cast<std::int32_t>(numbers[3]);
    const bool narrow = model->weights.width <= 16;
    const std::int64_t weight = narrow ? any : any % (model->weights.largest() + 1);
    model->real->set(i, j, weight);
    model->weights.set(i, j, weight);
    require(model->real->get(j, i) == model->weights.get(i, j),
            "a weight stands in both triangles");
}

void World::set_attribute(const Numbers& numbers) {
    const std::string key = key_of(numbers[1]), value = std::to_string(numbers[2]);
    if (ModelPair* const model = chosen(models_, numbers[0])) {
        model->real->set(key, value);
        model->attributes[key] = value;
    }
    if (SolutionPair* const solution = chosen(solutions_, numbers[0])) {
        solution->real.set(key, value);
        solution->attributes[key] = value;
        require(solution->real.get(key) == value, "an attribute of a solution is what was set");
    }
}

void World::copy_model(const Numbers& numbers) {
    const ModelPair* const from = chosen(models_, numbers[0]);
    if (from == nullptr) return;
    auto copy = std::make_unique<ModelPair>();
    copy->real = std::make_unique<Model>(*from->real);
    copy->weights = from->weights;
    require(copy->real->get("size").empty(), "a copy has no attributes");
    require(copy->real->impl().revision == 0, "a copy begins anew");
    require_same(*copy);
    if (models_.size() >= MOST) stale_ = true;
    keep(models_, std::move(copy));
}

void World::assign_model(const Numbers& numbers) {
    ModelPair* const to = chosen(models_, numbers[0]);
    const ModelPair* const from = chosen(models_, numbers[1]);
    if (to == nullptr) return;
    if (to->weights.size != from->weights.size)
        return require_end(1, "Error: size does not match.\n", [&] { *to->real = *from->real; });
    if (to->weights.width != from->weights.width)
        return require_end(1, "Error: bits does not match.\n", [&] { *to->real = *from->real; });
    *to->real = *from->real;
    to->weights = from->weights;
    stale_ = true;
    require_same(*to);
}

void World::drop_model(const Numbers& numbers) {
    if (models_.empty()) return;
    models_.erase(models_.begin() + static_cast<std::ptrdiff_t>(numbers[0] % models_.size()));
    stale_ = true;
}

void World::print_model(const Numbers& numbers) {
    const ModelPair* const model = chosen(models_, numbers[0]);
    if (model == nullptr) return;
    require(entries(printed(*model->real, "attrs"), ' ') == entries(model->attributes),
            "all attributes are printed");
    require(entries(printed(*model->real, "attrs;"), ';') == entries(model->attributes),
            "with any delimiter");
    require_end(1, "Error: Wrong model print option \"no\".\n",
                [&] { model->real->print("no", std::cerr); });
}

void World::write_and_read(const Numbers& numbers) {
    const ModelPair* const model = chosen(models_, numbers[0]);
    if (model == nullptr) return;
    const std::string path = "/tmp/orvex-model-" + std::to_string(getpid()) + ".qubo";
    const std::string text = printed(*model->real, "");
    std::ofstream(path) << text;
    // The header's bounds leave the first weight out, so they may be too narrow for it.
    std::istringstream header(text);
    long size = 0, count = 0, least = 0, most = 0;
    header >> size >> count >> least >> most;
    require(size == model->weights.size, "the header tells the size");
    auto again = std::make_unique<ModelPair>();
    again->real = std::make_unique<Model>(path);
    std::remove(path.c_str());
    again->weights = Weights(model->weights.size, width_of(least, most));
    long entries_seen = 0;
    for (int i = 0; i < model->weights.size; ++i)
        for (int j = i; j < model->weights.size; ++j) {
            again->weights.set(i, j, model->weights.get(i, j));
            entries_seen += model->weights.get(i, j) != 0;
        }
    require(entries_seen == count, "the header tells the number of entries");
    again->attributes = {{"size", std::to_string(size)}, {"bits", std::to_string(size)}};
    require_same(*again);
    if (models_.size() >= MOST) stale_ = true;
    keep(models_, std::move(again));
}

void World::make_param(const Numbers&) {
    keep(params_, std::make_unique<ParamPair>());
}

void World::set_param(const Numbers& numbers) {
    ParamPair* const param = chosen(params_, numbers[0]);
    if (param == nullptr) return;
    static const std::pair<const char*, std::vector<const char*>> CHOICES[] = {
        {"pool_size", {"2", "3", "10", "100"}},
        {"islands_per_gpu", {"1", "2", "3"}},
        {"blocks_per_island", {"1", "2"}},
        {"search_cycles", {"100 20", "200 50", "1000 1000"}},
        {"fix_algorithm", {"MaxMin", "CyclicMin", "RandomMin", "PositiveMin", "Random"}},
        {"tabu_cycles", {"0", "1", "8", "255"}},
        {"arithmetic_bits", {"32", "64"}},
        {"restart_t0", {"0", "0.001"}},
        {"target_energy", {"-1000000000", "-1", "0"}},
        {"batch_factor", {"0.5", "2"}},
        {"log", {"0", "1"}},
        {"hash_table", {"0", "1"}},
        {"best_priority", {"0", "1"}},
    };
    const auto& [key, values] = CHOICES[numbers[1] % std::size(CHOICES)];
    const std::string value = values[numbers[2] % values.size()];
    if (!check_parameter(key, value).empty()) return;  // the name of a rule that there is not
    param->real.set(key, value);
    param->settings[key] = value;
    require(param->real.get(key) == value, "a setting is what was set last");
}

void World::copy_param(const Numbers& numbers) {
    const ParamPair* const from = chosen(params_, numbers[0]);
    if (from == nullptr) return;
    if (numbers[1] % 2 == 0) {
        keep(params_, std::make_unique<ParamPair>(*from));
        return;
    }
    ParamPair* const to = chosen(params_, numbers[2]);
    *to = *from;
    for (const auto& [key, value] : to->settings)
        require(to->real.get(key) == value, "an assigned setting is the other's");
}

void World::print_param(const Numbers& numbers) {
    const ParamPair* const param = chosen(params_, numbers[0]);
    if (param == nullptr) return;
    require(entries(printed(param->real, ";"), ';') == entries(param->settings),
            "all settings are printed");
}

void World::set_bit(const Numbers& numbers) {
    SolutionPair* const solution = chosen(solutions_, numbers[0]);
    if (solution == nullptr || solution->bits.empty()) return;
    const std::size_t i = numbers[1] % solution->bits.size();
    solution->real.set(static_cast<int>(i), numbers[2] % 2 != 0);
    solution->bits[i] = numbers[2] % 2 != 0;
    require(bits_of(solution->real) == solution->bits, "one bit was set and no other");
}

void World::copy_solution(const Numbers& numbers) {
    const SolutionPair* const from = chosen(solutions_, numbers[0]);
    if (from == nullptr) {
        const int size = size_of(numbers[1]);
        auto fresh = std::make_unique<SolutionPair>();
        fresh->real = Sol(size);
        fresh->bits.assign(static_cast<std::size_t>(size), false);
        require(bits_of(fresh->real) == fresh->bits, "a new solution is all zeros");
        keep(solutions_, std::move(fresh));
        return;
    }
    SolutionPair* const to = chosen(solutions_, numbers[2]);
    const std::string logs = to->real.impl().log.str() + from->real.impl().log.str();
    *to = *from;
    require(bits_of(to->real) == from->bits, "an assigned solution has the other's bits");
    require(to->real.impl().log.str() == logs, "its log has the other's at its end");
    keep(solutions_, std::make_unique<SolutionPair>(*from));
    require(bits_of(solutions_.back()->real) == solutions_.back()->bits, "a copy has the bits");
}

void World::move_solution(const Numbers& numbers) {
    SolutionPair* const from = chosen(solutions_, numbers[0]);
    if (from == nullptr) return;
    auto moved = std::make_unique<SolutionPair>(SolutionPair{
        .real = std::move(from->real), .bits = from->bits, .attributes = from->attributes});
    require(bits_of(moved->real) == moved->bits, "a moved solution is what it was");
    from->real = moved->real;  // the one thing, besides its end, that may happen to it now
    require(bits_of(from->real) == from->bits, "what was moved from can be assigned to");
    keep(solutions_, std::move(moved));
}

void World::print_solution(const Numbers& numbers) {
    const SolutionPair* const solution = chosen(solutions_, numbers[0]);
    if (solution == nullptr) return;
    std::string digits;
    for (const bool bit : solution->bits)
        digits += bit ? '1' : '0';
    require(printed(solution->real, "sol") == digits + "\n", "the digits are the bits");
    for (const std::string& entry : entries(solution->attributes))
        require(entries(printed(solution->real, "attrs;"), ';').contains(entry),
                "all attributes are printed");
    require_end(1, "Error: wrong sol print option \"no\".\n",
                [&] { solution->real.print("no", std::cerr); });
}

void World::check_models() const {
    for (const auto& model : models_)
        require_same(*model);
}

}  // namespace orvex::model_test
