// Everything that comes as the text of a setting: lines of key=value. What check_parameter() lets
// pass never ends the process when a run reads it; the same text goes to a callback's requests, to
// the bound of a start solution, to the scale of a file and to a target.
#include <sstream>
#include <stdexcept>

#include <orvex/orvex.hpp>
#include <orvex/parameters.hpp>

#include "engine/run_state.hpp"
#include "fuzz.hpp"
#include "toolkit/io/scale.hpp"
#include "toolkit/model/errors.hpp"
#include "toolkit/settings/check_settings.hpp"

namespace orvex::fuzz {
namespace {

class Silent : public Callback {
  public:
    void callback(const std::string&) override {}
};

void read_as_run(const Param& param, const Sol* start, Callback* callback) {
    Model model(60, 8);
    Sol sol(60);
    Param::Impl given = param.impl();
    given.callback = callback;
    engine::RUN_STATE run{.sol = &sol.impl(),
                          .model = &model.impl(),
                          .param = &given,
                          .start = start ? &start->impl() : nullptr,
                          .size = 60};
    run.available_gpus = 1;
    device::GPU_PARAMS gpu{};
    engine::read_params(run, gpu, 64);
}

/** A setting of a run: the check and the run agree on what is no value at all. */
void one_setting(const std::string& key, const std::string& value) {
    const std::string wrong = check_parameter(key, value);
    Param param;
    param.set(key, value);
    try {
        read_as_run(param, nullptr, nullptr);
    } catch (const Ended& ended) {
        require(!wrong.empty(), "what passes the check does not end the process: " + key + "=" +
                                    value + ": " + ended.what());
    }
    try {
        toolkit::expect_settings({{key, value}});
        require(wrong.empty(), "the toolkit refuses what the check refuses");
    } catch (const toolkit::InputError&) {
        require(!wrong.empty(), "the toolkit takes what the check takes");
    }
}

void request(const std::string& operation, const std::string& value) {
    Silent callback;
    try {
        callback.set(operation, value);
        read_as_run(Param(), nullptr, &callback);
    } catch (const Ended&) {
    } catch (const std::invalid_argument&) {
    } catch (const std::out_of_range&) {
    }
}

void texts(const std::string& value) {
    try {
        toolkit::Scale::of(value);
    } catch (const toolkit::InputError&) {
    }
    try {
        toolkit::target_of(value, {.scale = 100, .decimals = 2});
    } catch (const toolkit::InputError&) {
    }
    Sol start(60);
    start.set("bound", value);
    try {
        read_as_run(Param(), &start, nullptr);
    } catch (const Ended&) {
    } catch (const std::invalid_argument&) {
    } catch (const std::out_of_range&) {
    }
}

}  // namespace

void settings(Input input) {
    std::istringstream lines(Bytes(input).rest());
    for (std::string line; std::getline(lines, line);) {
        const std::size_t sign = line.find('=');
        if (sign == std::string::npos) {
            texts(line);
            continue;
        }
        const std::string key = line.substr(0, sign), value = line.substr(sign + 1);
        one_setting(key, value);
        request(key, value);
    }
}

}  // namespace orvex::fuzz
