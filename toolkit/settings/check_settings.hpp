// Whether the library takes a caller's settings, found out before it would end the process over
// one.
#pragma once

#include "toolkit/settings/search_settings.hpp"

namespace orvex::toolkit {

/** @throws InputError with what is wrong, an unknown key with the nearest known one */
void expect_settings(const Settings& settings);

}  // namespace orvex::toolkit
