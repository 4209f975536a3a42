// The small runs whose every operation fails once: through the flat interface, through the objects,
// through the toolkit. What they find is known.
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <orvex/orvex.hpp>
#include <orvex/tarvik_orvex.h>

#include "faults.hpp"
#include "platform/platform.hpp"
#include "toolkit/io/formats/format.hpp"
#include "toolkit/io/read.hpp"
#include "toolkit/solve.hpp"

namespace orvex::faults {
namespace {

// The least energy is -5, at x = (1, 0, 1) and nowhere else.
constexpr char MODEL_TEXT[] = "3 4 -4 6\n0 0 -4\n0 1 6\n0 2 -1\n1 1 -3\n";
constexpr long OPTIMUM = -5;

void expect(bool holds, const char* what) {
    if (!holds) throw std::logic_error(what);
}

long energy_of(std::uint64_t x) {
    const long a = x & 1, b = x >> 1 & 1, c = x >> 2 & 1;
    return -4 * a + 6 * a * b - 3 * b - a * c;
}

struct Handle {
    ~Handle() { tarvik_orvex_destroy(real); }
    tarvik_orvex_handle* real = nullptr;
};

void on_event(void* user, int event, const std::uint64_t* words, double) {
    auto* const handle = static_cast<tarvik_orvex_handle*>(user);
    if (event == 0) tarvik_orvex_cb_timer(handle, 0.001);
    if (event == 1) tarvik_orvex_cb_hint(handle, words);
}

void flat(const std::string&) {
    const std::uint32_t index[] = {0, 1}, pairs[] = {0, 1, 0, 2};
    const std::int64_t linear[] = {-4, -3}, quadratic[] = {6, -1};
    Handle handle;
    handle.real = tarvik_orvex_create(3, 2, index, linear, 2, pairs, quadratic, 0);
    expect(handle.real != nullptr, "the problem is taken");
    tarvik_orvex_set_callback(handle.real, on_event, handle.real);
    const std::uint64_t start = 2;
    std::uint64_t solution = ~std::uint64_t{0};
    const char* const settings[] = {"target_energy", "-5", "time_limit", "5", nullptr};
    expect(tarvik_orvex_search(handle.real, settings, &start, &solution) == 0,
           "the search is taken");
    expect(solution < 8, "no bit above the last variable is set");
    expect(energy_of(solution) == OPTIMUM, "the target is reached");
    expect(tarvik_orvex_info(handle.real, "runtime")[0] != '\0', "the results are there");
}

void objects(const std::string& folder) {
    const Model model(folder + "/model");
    expect(model.get(0, 1) == 6 && model.get(2, 0) == -1, "the file is read");
    std::ostringstream text;
    model.print("", text);
    if (!text) throw std::bad_alloc();  // a stream keeps to itself what its buffer threw
    const Model copy(model);
    Param param;
    param.set("target_energy", std::to_string(OPTIMUM));
    param.set("time_limit", "5");
    Solver solver(false);
    solver.prepare(copy, param);
    const Sol solution = solver(copy, param);
    expect(solution.get("energy") == std::to_string(OPTIMUM), "the target is reached");
    expect(energy_of(solution.impl().data[0]) == OPTIMUM, "the energy is that of the bits");
    solver.release();
    expect(text.str() == MODEL_TEXT, "the model is written as it was read");
}

std::string contents(const std::string& file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/** What stood at a place that cannot be written stays there. */
void write(const toolkit::Problem& problem, const std::string& file) {
    try {
        toolkit::OutputFile output(file);
        toolkit::OWN.write(problem, output);
        output.finish();
    } catch (...) {
        plan->armed = false;
        expect(contents(file) == "what was there\n", "what was there is still there");
        throw;
    }
    expect(contents(file) == MODEL_TEXT, "the file is written");
}

void with_toolkit(const std::string& folder) {
    const toolkit::Problem problem = toolkit::read_problem(folder + "/model.gz");
    const toolkit::SolveOptions options{.time_limit = 5,
                                        .target = OPTIMUM,
                                        .presolve = toolkit::PresolveEffort::OFF,
                                        .companion = 0.5};
    const toolkit::Result result = toolkit::solve(problem, options);
    expect(result.energy == OPTIMUM, "the target is reached");
    expect(energy_of(result.solution.impl().data[0]) == OPTIMUM, "the energy is that of the bits");
    write(problem, folder + "/written");
}

void planted(const std::string& folder) {
    switch (plan->kind) {
        case Kind::ALLOCATION: {  // a wrong result that nobody is told of
            bool allocated = false;
            try {
                allocated = !std::string(100, 'a').empty();
            } catch (const std::bad_alloc&) {
            }
            return expect(allocated, "the result is right");
        }
        case Kind::THREAD: {  // a crash
            try {
                std::thread([] {}).join();
            } catch (const std::system_error&) {
                std::raise(SIGSEGV);
            }
            return;
        }
        case Kind::FILE:  // an end without its message
            try {
                toolkit::read_problem(folder + "/model");
            } catch (const toolkit::InputError&) {
                std::_Exit(1);
            }
            return;
        case Kind::DEVICE: {  // memory that is given back twice
            void* memory = nullptr;
            if (platform::allocate(&memory, 64) != platform::cudaSuccess) return;
            if (platform::release(memory) != platform::cudaSuccess)
                for (int i = 0; i < 2; ++i)
                    platform::release(memory);
        }
    }
}

}  // namespace

const Run PLANTED = {"planted", planted};
const Run RUNS[3] = {{"flat", flat}, {"objects", objects}, {"toolkit", with_toolkit}};

void prepare_files(const std::string& folder) {
    std::ofstream(folder + "/model") << MODEL_TEXT;
    std::ofstream(folder + "/model.gz") << MODEL_TEXT;  // known by its contents, not by its name
    std::ofstream(folder + "/written") << "what was there\n";
}

}  // namespace orvex::faults
