#include "toolkit/run/events.hpp"

namespace orvex::toolkit {

const char* text_of(Ending ending) {
    switch (ending) {
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

}  // namespace orvex::toolkit
