// All that a sequence of calls has made so far: objects of the library side by side with what must
// be in them. Each step makes its calls and looks at their results; what does not hold is thrown as
// a Violation. Invariant: a step makes only calls that callers may make, and where the interface
// says that a model must be released first, it is.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include <orvex/orvex.hpp>
#include <orvex/tarvik_orvex.h>

#include "reference.hpp"
#include "steps.hpp"

namespace orvex::model_test {

using Texts = std::map<std::string, std::string>;

struct ModelPair {
    std::unique_ptr<Model> real;
    Weights weights;
    Texts attributes;
};

/** What a receiver of events asks for, and what it saw. */
struct EventPlan {
    std::uint32_t requests[3] = {};  ///< bits, at "init", "new" and "alarm"
    bool notes = false;              ///< "new" events were asked for
};

class Receiver;

struct ParamPair {
    Param real;
    Texts settings;
    std::shared_ptr<Receiver> receiver;
};

struct SolutionPair {
    Sol real;
    std::vector<bool> bits;
    Texts attributes;
};

struct HandlePair {
    tarvik_orvex_handle* real = nullptr;
    Weights weights;
    bool searched = false;
    std::uint32_t requests[3] = {};
    bool listens = false;
    Wide best_shown = 0;
    int events = 0;
    std::string wrong;  ///< what an event found; events must not throw
};

class World {
  public:
    World() = default;
    World(const World&) = delete;
    World& operator=(const World&) = delete;
    ~World();

    void run(const Step& step);

  private:
    using Numbers = std::array<std::uint32_t, 4>;

    // object_steps.cpp
    void make_model(const Numbers& numbers);
    void fill_model(const Numbers& numbers);
    void set_weight(const Numbers& numbers);
    void set_attribute(const Numbers& numbers);
    void copy_model(const Numbers& numbers);
    void assign_model(const Numbers& numbers);
    void drop_model(const Numbers& numbers);
    void print_model(const Numbers& numbers);
    void write_and_read(const Numbers& numbers);
    void make_param(const Numbers& numbers);
    void set_param(const Numbers& numbers);
    void copy_param(const Numbers& numbers);
    void print_param(const Numbers& numbers);
    void set_bit(const Numbers& numbers);
    void copy_solution(const Numbers& numbers);
    void move_solution(const Numbers& numbers);
    void print_solution(const Numbers& numbers);
    void check_models() const;

    // run_steps.cpp
    void set_callback(const Numbers& numbers);
    void prepare(const Numbers& numbers);
    void solve(const Numbers& numbers);
    void solve_from(const Numbers& numbers);
    void release(const Numbers& numbers);
    void refused_object_call(const Numbers& numbers);
    void search_model(const Numbers& numbers, const SolutionPair* start);
    ParamPair* limited_param(std::uint32_t number);

    // flat_steps.cpp
    void create(const Numbers& numbers);
    void create_wrongly(const Numbers& numbers);
    void on_events(const Numbers& numbers);
    void search(const Numbers& numbers);
    void search_wrongly(const Numbers& numbers);
    void request_outside(const Numbers& numbers);
    void destroy(const Numbers& numbers);
    void refused_flat_call(const Numbers& numbers);

    /** Before models are loaded: those that are loaded may look like others that were there. */
    void release_if_stale();

    template <class PAIR>
    static PAIR* chosen(std::vector<std::unique_ptr<PAIR>>& list, std::uint32_t number) {
        return list.empty() ? nullptr : list[number % list.size()].get();
    }

    Solver solver_{false};
    std::vector<std::unique_ptr<ModelPair>> models_;
    std::vector<std::unique_ptr<ParamPair>> params_;
    std::vector<std::unique_ptr<SolutionPair>> solutions_;
    std::vector<std::unique_ptr<HandlePair>> handles_;
    bool stale_ = false;  ///< a model went, or was assigned to, since the last release
};

}  // namespace orvex::model_test
