// Solves a problem's file without ever ending the process: whatever is wrong, a bad setting too,
// comes as an exception.
#include <exception>
#include <iostream>

#include <orvex/toolkit.hpp>

using namespace orvex;

/** Shows each new best, and stops at the tenth. */
class Watch : public toolkit::Events {
    void improved(const toolkit::Moment& moment, const Sol&, toolkit::Steering& steering) override {
        std::cout << moment.elapsed << " s: energy " << moment.best << "\n";
        if (++bests_ == 10) steering.stop();
    }
    int bests_ = 0;
};

int main(int argc, char** argv) {
    try {
        const toolkit::Problem problem = toolkit::read_problem(argc > 1 ? argv[1] : "model.qubo");

        // The library alone would end the process here; the toolkit says what is wrong.
        try {
            toolkit::solve(problem, {.settings = {{"time_limit", "soon"}}});
        } catch (const toolkit::InputError& error) {
            std::cout << "refused: " << error.what() << "\n";
        }

        Watch watch;
        const toolkit::Result result = toolkit::solve(problem, {.time_limit = 2}, watch);
        std::cout << "energy " << result.energy << ", " << toolkit::text_of(result.ending)
                  << ", found by " << toolkit::text_of(result.history.back().source) << "\n";
    } catch (const std::exception& error) {  // a file, a problem, a lack of memory or of a device
        std::cerr << error.what() << "\n";
        return 1;
    }
}
