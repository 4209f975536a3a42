#include "toolkit/settings/check_settings.hpp"

#include <orvex/parameters.hpp>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {

void expect_settings(const Settings& settings) {
    for (const auto& [key, value] : settings)
        if (const std::string wrong = check_parameter(key, value); !wrong.empty())
            throw InputError(wrong);
}

}  // namespace orvex::toolkit
