// The steps in which the library searches: prepared or not, from a start or from nothing, with
// events or without; and the dispatch of all steps.
#include <csignal>

#include "ending.hpp"
#include "receiver.hpp"
#include "world.hpp"

namespace orvex::model_test {
namespace {

constexpr std::size_t MOST = 6;

/** The sizes that this build holds. */
int largest_size(Solver& solver) {
    return std::stoi(solver.get("max_size"));
}

}  // namespace

void World::run(const Step& step) {
    using Member = void (World::*)(const Numbers&);
    static const std::map<std::string, Member> MEMBERS = {
        {"make_model", &World::make_model},
        {"fill_model", &World::fill_model},
        {"set_weight", &World::set_weight},
        {"set_attribute", &World::set_attribute},
        {"copy_model", &World::copy_model},
        {"assign_model", &World::assign_model},
        {"drop_model", &World::drop_model},
        {"print_model", &World::print_model},
        {"write_and_read", &World::write_and_read},
        {"make_param", &World::make_param},
        {"set_param", &World::set_param},
        {"copy_param", &World::copy_param},
        {"print_param", &World::print_param},
        {"set_callback", &World::set_callback},
        {"prepare", &World::prepare},
        {"solve", &World::solve},
        {"solve_from", &World::solve_from},
        {"release", &World::release},
        {"set_bit", &World::set_bit},
        {"copy_solution", &World::copy_solution},
        {"move_solution", &World::move_solution},
        {"print_solution", &World::print_solution},
        {"refused_object_call", &World::refused_object_call},
        {"create", &World::create},
        {"create_wrongly", &World::create_wrongly},
        {"on_events", &World::on_events},
        {"search", &World::search},
        {"search_wrongly", &World::search_wrongly},
        {"request_outside", &World::request_outside},
        {"destroy", &World::destroy},
        {"refused_flat_call", &World::refused_flat_call},
    };
    const auto found = MEMBERS.find(step.name);
    if (found == MEMBERS.end()) throw std::runtime_error("there is no step " + step.name);
    (this->*found->second)(step.numbers);
    check_models();
}

World::~World() {
    for (const auto& handle : handles_)
        tarvik_orvex_destroy(handle->real);
    solver_.release();
}

void World::release_if_stale() {
    if (stale_) solver_.release();
    stale_ = false;
}

void World::release(const Numbers&) {
    solver_.release();
    stale_ = false;
}

void World::set_callback(const Numbers& numbers) {
    ParamPair* const param = chosen(params_, numbers[0]);
    if (param == nullptr) return;
    const std::uint32_t requests[] = {numbers[1] | 1, numbers[2], numbers[3]};
    param->receiver = std::make_shared<Receiver>(requests);
    param->real.set(*param->receiver);
}

/** The chosen one with limits, so that every run ends soon. */
ParamPair* World::limited_param(std::uint32_t number) {
    if (params_.empty()) params_.push_back(std::make_unique<ParamPair>());
    ParamPair* const param = chosen(params_, number);
    param->settings["trial_limit"] = std::to_string(1 + number / 7 % 20);
    param->settings["time_limit"] = "2";
    for (const char* key : {"trial_limit", "time_limit"})
        param->real.set(key, param->settings[key]);
    return param;
}

void World::prepare(const Numbers& numbers) {
    const ModelPair* const model = chosen(models_, numbers[0]);
    if (model == nullptr || model->weights.size > largest_size(solver_)) return;
    release_if_stale();
    solver_.prepare(*model->real, limited_param(numbers[1])->real);
}

void World::solve(const Numbers& numbers) {
    search_model(numbers, nullptr);
}

void World::solve_from(const Numbers& numbers) {
    const ModelPair* const model = chosen(models_, numbers[0]);
    if (model == nullptr) return;
    SolutionPair start{.real = Sol(model->weights.size),
                       .bits = random_bits(model->weights.size, numbers[2]),
                       .attributes = {}};
    for (std::size_t i = 0; i < start.bits.size(); ++i)
        start.real.set(static_cast<int>(i), start.bits[i]);
    search_model(numbers, &start);
}

void World::search_model(const Numbers& numbers, const SolutionPair* start) {
    ModelPair* const model = chosen(models_, numbers[0]);
    if (model == nullptr || model->weights.size > largest_size(solver_)) return;
    ParamPair* const param = limited_param(numbers[1]);
    if (param->settings.contains("arithmetic_bits") && model->weights.width == 64) return;
    release_if_stale();
    Receiver* const receiver = param->receiver.get();
    if (receiver != nullptr) receiver->begin(model->weights);

    auto result = std::make_unique<SolutionPair>();
    result->real = start == nullptr ? solver_(*model->real, param->real)
                                    : solver_(*model->real, param->real, start->real);
    if (planted() == "crash") std::raise(SIGSEGV);
    if (planted() == "wrong_bit" && model->weights.size > 2)
        result->real.set(2, !result->real.get(2));
    require_true_energy(model->weights, result->real);
    result->bits = bits_of(result->real);
    if (receiver != nullptr) {
        require(receiver->wrong.empty(), "in an event: " + receiver->wrong);
        require(receiver->saw_init(), "there is a beginning");
    }
    const bool asked_to_end = receiver != nullptr && receiver->ended;
    const bool has_result = result->real.get("energy") != std::to_string(INT64_MAX);
    require(has_result || asked_to_end, "a run that nobody ends has a result");
    if (start != nullptr && has_result && !asked_to_end)
        require(model->weights.energy(result->bits) <= model->weights.energy(start->bits),
                "a result is no worse than its start");
    require(result->real.get("solver") == "orvex", "a result names its solver");
    require(result->real.get("size") == std::to_string(model->weights.size), "and its size");
    require(std::stod(result->real.get("runtime")) < 2.5, "a run keeps its time limit");
    if (solutions_.size() >= MOST) solutions_.erase(solutions_.begin());
    solutions_.push_back(std::move(result));
}

void World::refused_object_call(const Numbers& numbers) {
    const Param param = [] {
        Param with_limit;
        with_limit.set("trial_limit", "1");
        return with_limit;
    }();
    const auto solved_with = [&](const char* key, const char* value) {
        return [&param, key, value, this] {
            Param wrong = param;
            wrong.set(key, value);
            const Model model(3, 8);
            solver_(model, wrong);
        };
    };
    class Silent : public Callback {
        void callback(const std::string&) override {}
    };
    switch (numbers[0] % 7) {
        case 0:
            return require_end(1, "Error: Parameter key not found : \"colour\"\n",
                               solved_with("colour", "red"));
        case 1:
            return require_end(1, "Error: wrong parameter [time_limit].\n",
                               solved_with("time_limit", "soon"));
        case 2:
            return require_end(1, "Error: pool_size must be at least 2.\n",
                               solved_with("pool_size", "1"));
        case 3:
            return require_end(1, "Error: bits=12 must be 8, 16, 32, or 64.\n",
                               [] { const Model model(3, 12); });
        case 4:
            return require_end(1, "Error: Cannot open /nowhere/model\n",
                               [] { const Model model(std::string("/nowhere/model")); });
        case 5:
            return require_end(1, "Error: Wrong operation stop.\n", [] { Silent().set("stop"); });
        default:
            return require_end(1, "Error: Wrong callback set operation [stop].\n",
                               [] { Silent().set("stop", "1"); });
    }
}

}  // namespace orvex::model_test
