#include "toolkit/run/events.hpp"

#include "toolkit/model/errors.hpp"
#include "toolkit/settings/check_settings.hpp"

namespace orvex::toolkit {

void Steering::change(const std::string& key, const std::string& value) {
    if (key != "batch_factor" && key != "annealing_factor")
        throw InputError(
            key + " cannot be changed during a search; batch_factor and annealing_factor can");
    expect_settings({{key, value}});
    changes_.emplace_back(key, value);
}

const char* text_of(Ending ending) {
    switch (ending) {
        case Ending::OPTIMAL:
            return "optimal";
        case Ending::TARGET:
            return "target reached";
        case Ending::TIME_LIMIT:
            return "time limit";
        case Ending::TRIAL_LIMIT:
            return "trial limit";
        case Ending::STOPPED:
            return "stopped by callback";
        case Ending::INTERRUPTED:
            return "interrupted";
        case Ending::ENDED:
            break;
    }
    return "ended";
}

const char* text_of(Source source) {
    switch (source) {
        case Source::START:
            return "start";
        case Source::PRESOLVE:
            return "presolve";
        case Source::COMPANION:
            return "companion";
        case Source::MERGE:
            return "merge";
        case Source::SEARCH:
            break;
    }
    return "search";
}

}  // namespace orvex::toolkit
