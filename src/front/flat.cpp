// The flat interface: handles, searches and events, on top of the solver object. Errors that can be
// foreseen become texts here, before any layer below would end the process for them. Invariant: a
// handle holds a loaded problem, and its results are those of its last search or, when that was
// refused, none.
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "orvex/orvex.hpp"
#include "orvex/registry.hpp"
#include "orvex/tarvik_orvex.h"

#include "front/flat_build.hpp"
#include "front/flat_terms.hpp"
#include "front/flat_words.hpp"

using orvex::Callback;
using orvex::Model;
using orvex::Param;
using orvex::Sol;
using orvex::Solver;
using namespace orvex::flat;

namespace {

/** From here on, energies are no longer trusted to 32 bits, of which they might take all. */
constexpr std::int64_t LARGEST_SUM_OF_32_BITS = 2000000000;

/** What a search hands on of what is known about its result. */
constexpr const char* INFO_KEYS[] = {
    "solver",  "gpu",           "solver_size", "solver_bits", "arithmetic_bits",
    "runtime", "search_cycles", "total_flips", "tts"};

/** Turns the engine's events into calls of the caller's function, and its requests into theirs. */
class Bridge : public Callback {
  public:
    explicit Bridge(tarvik_orvex_handle* handle) : handle_(handle) {}
    void callback(const std::string& event) override;

  private:
    void carry_requests();

    tarvik_orvex_handle* handle_;
};

}  // namespace

struct tarvik_orvex_handle {
    Solver solver{false};
    std::unique_ptr<Model> model;
    std::int32_t variables = 0;
    std::int32_t gpus = 0;      ///< 0 or less means not given
    std::uint64_t abs_sum = 0;  ///< of the magnitudes of all coefficients given
    bool prepared = false;      ///< the engine has loaded the model
    tarvik_orvex_event_function callback_fn = nullptr;
    void* callback_user = nullptr;
    std::unique_ptr<Bridge> bridge;  ///< null outside of a search

    // What an event asks for. The first and the last are looked at by threads that do not own the
    // event: a request that comes too late, and a call to end the search from outside.
    std::atomic<Callback*> current = nullptr;  ///< the bridge while an event is in progress
    double timer_seconds = -1.0;
    bool timer_set = false;
    std::vector<std::uint64_t> hint_words;
    bool hint_set = false;
    std::atomic<bool> terminate = false;

    std::vector<std::uint64_t> event_words;   ///< the bits that the event function is shown
    std::map<std::string, std::string> info;  ///< what is known about the last result

    bool in_event() const { return current.load(std::memory_order_relaxed) != nullptr; }
};

namespace {

void Bridge::callback(const std::string& event) {
    tarvik_orvex_handle& handle = *handle_;
    handle.current.store(this, std::memory_order_relaxed);
    handle.event_words.assign(words_of(handle.variables), 0);
    int code = 0;
    if (event == "init") {
        set("new");
    } else {
        code = event == "alarm" ? 2 : 1;
        write_words(get(), handle.variables, handle.event_words.data());
    }
    handle.timer_set = false;
    handle.hint_set = false;
    if (handle.callback_fn != nullptr) {
        handle.callback_fn(handle.callback_user, code, handle.event_words.data(), 0.0);
        carry_requests();
    }
    if (handle.terminate.load(std::memory_order_relaxed)) set("abort");
    handle.current.store(nullptr, std::memory_order_relaxed);
}

void Bridge::carry_requests() {
    const tarvik_orvex_handle& handle = *handle_;
    if (handle.timer_set && handle.timer_seconds >= 0) {
        char text[336];  // the largest double has 309 digits before the point
        std::snprintf(text, sizeof text, "%.6f", handle.timer_seconds);
        set("alarm", text);
    }
    if (handle.hint_set) set(sol_of(handle.hint_words.data(), handle.variables));
}

std::nullptr_t refused_handle(const std::string& text) {
    last_error() = text;
    return nullptr;
}

int refused_search(const std::string& text) {
    last_error() = text;
    return 1;
}

/** The settings that follow from the handle alone. */
Param settings_of(const tarvik_orvex_handle& handle) {
    Param param;
    if (handle.gpus > 0) param.set("gpus", std::to_string(handle.gpus));
    return param;
}

bool offers_arith_bits(const char* value) {
    return qubo_multi::has_arith_bits(static_cast<int>(std::strtol(value, nullptr, 10)));
}

/** Takes over the caller's list of settings; returns why one is refused, or nothing. */
std::string take_settings(const char* const* params, Param& param) {
    if (params == nullptr) return "";
    for (; params[0] != nullptr && params[1] != nullptr; params += 2) {
        const std::string key = params[0], value = params[1];
        if (key == "gpus") {
            return "ORVEX: 'gpus' cannot be set per search; pass it to the constructor";
        }
        if (key == "arithmetic_bits" && !offers_arith_bits(params[1])) {
            return "ORVEX: arithmetic_bits = " + value + " is not available in this build (has " +
                   qubo_multi::arith_bits_list() + ")";
        }
        param.set(key, value);
    }
    return "";
}

bool chose_arith_bits(const Param& param) {
    return param.impl().params.contains("arithmetic_bits");
}

bool needs_64_bits(const tarvik_orvex_handle& handle) {
    return static_cast<std::int64_t>(handle.abs_sum) > LARGEST_SUM_OF_32_BITS;
}

Sol run(const tarvik_orvex_handle& handle, const Param& param, const std::uint64_t* start) {
    if (start == nullptr) return handle.solver(*handle.model, param);
    return handle.solver(*handle.model, param, sol_of(start, handle.variables));
}

/**
 * What Model::set does for each term in turn, for millions of them: the elements are stored here,
 * without three calls for each.
 */
template <class ELEMENT>
void store_terms(const TERMS& terms, Model::Impl& model) {
    unsigned char* const elements = model.mat.data.get();
    const std::size_t size = model.mat.size;
    const auto store = [&](std::size_t row, std::size_t column, std::int64_t value) {
        const auto element = static_cast<ELEMENT>(value);
        std::memcpy(elements + (row * size + column) * sizeof element, &element, sizeof element);
    };
    for (std::uint64_t k = 0; k < terms.count; ++k) {
        const std::uint32_t* const variables = terms.index + k * terms.variables_each;
        const std::size_t i = variables[0], j = variables[terms.variables_each - 1];
        store(i, j, terms.value[k]);
        store(j, i, terms.value[k]);
    }
    model.revision += terms.count;
}

void store_terms(const TERMS& terms, Model::Impl& model) {
    switch (model.bits) {
        case 8:
            return store_terms<std::int8_t>(terms, model);
        case 16:
            return store_terms<std::int16_t>(terms, model);
        case 32:
            return store_terms<std::int32_t>(terms, model);
        default:
            return store_terms<std::int64_t>(terms, model);
    }
}

}  // namespace

tarvik_orvex_handle* tarvik_orvex_create(uint32_t n, uint64_t linear_count,
                                         const uint32_t* linear_index, const int64_t* linear_value,
                                         uint64_t quadratic_count, const uint32_t* quadratic_pairs,
                                         const int64_t* quadratic_value, int32_t gpus) {
    last_error().clear();
    if (n == 0) return refused_handle("ORVEX: model has no variables");
    if (const int largest = largest_size(); largest >= 1 && n > static_cast<unsigned>(largest)) {
        char text[256];
        std::snprintf(text, sizeof text,
                      "ORVEX: model has %u variables but the largest kernel in this build is %d", n,
                      largest);
        return refused_handle(text);
    }
    const TERMS linear{"linear_count",
                       "linear_index",
                       "linear_value",
                       linear_count,
                       linear_index,
                       linear_value,
                       1};
    const TERMS quadratic{"quadratic_count",
                          "quadratic_pairs",
                          "quadratic_value",
                          quadratic_count,
                          quadratic_pairs,
                          quadratic_value,
                          2};
    for (const TERMS* terms : {&linear, &quadratic})
        if (const std::string text = objection_to(*terms, n); !text.empty())
            return refused_handle(text);

    auto handle = std::make_unique<tarvik_orvex_handle>();
    handle->variables = static_cast<std::int32_t>(n);
    handle->gpus = gpus;
    VALUE_RANGE range;
    range.take(linear);
    range.take(quadratic);
    handle->abs_sum = range.abs_sum;
    handle->model = std::make_unique<Model>(handle->variables, range.min, range.max);
    for (const TERMS* terms : {&linear, &quadratic})
        store_terms(*terms, handle->model->impl());
    handle->solver.prepare(*handle->model, settings_of(*handle));
    handle->prepared = true;
    return handle.release();
}

void tarvik_orvex_destroy(tarvik_orvex_handle* handle) {
    if (handle == nullptr) return;
    if (handle->prepared) handle->solver.release();
    delete handle;
}

void tarvik_orvex_set_callback(tarvik_orvex_handle* handle, tarvik_orvex_event_function function,
                               void* user) {
    if (handle == nullptr) return;
    handle->callback_fn = function;
    handle->callback_user = user;
}

int tarvik_orvex_search(tarvik_orvex_handle* handle, const char* const* params,
                        const uint64_t* start, uint64_t* solution) {
    last_error().clear();
    if (handle == nullptr) return refused_search("ORVEX: handle is null");
    handle->terminate.store(false, std::memory_order_relaxed);
    handle->info.clear();
    if (solution == nullptr) return refused_search("ORVEX: solution is null");

    Param param = settings_of(*handle);
    if (const std::string text = take_settings(params, param); !text.empty())
        return refused_search(text);
    if (!chose_arith_bits(param) && needs_64_bits(*handle)) param.set("arithmetic_bits", "64");
    if (handle->callback_fn != nullptr) {
        handle->bridge = std::make_unique<Bridge>(handle);
        param.set(*handle->bridge);
    }

    const Sol sol = run(*handle, param, start);
    write_words(sol, handle->variables, solution);
    for (const char* key : INFO_KEYS)
        if (std::string value = sol.get(key); !value.empty()) handle->info[key] = std::move(value);
    handle->bridge.reset();
    return 0;
}

const char* tarvik_orvex_info(const tarvik_orvex_handle* handle, const char* key) {
    const std::string wanted(key);  // throws when there is none
    if (handle == nullptr) return "";
    const auto found = handle->info.find(wanted);
    return found == handle->info.end() ? "" : found->second.c_str();
}

void tarvik_orvex_cb_timer(tarvik_orvex_handle* handle, double seconds) {
    if (handle == nullptr || !handle->in_event()) return;
    handle->timer_seconds = seconds <= 0 ? 0 : seconds;
    handle->timer_set = true;
}

void tarvik_orvex_cb_hint(tarvik_orvex_handle* handle, const uint64_t* words) {
    if (handle == nullptr || words == nullptr || !handle->in_event()) return;
    handle->hint_words.assign(words, words + words_of(handle->variables));
    handle->hint_set = true;
}

void tarvik_orvex_cb_terminate(tarvik_orvex_handle* handle) {
    if (handle != nullptr) handle->terminate.store(true, std::memory_order_relaxed);
}
