// The program's namespace. The program is a thin caller of the toolkit and names its things as if
// they were its own.
#pragma once

namespace orvex::toolkit {}

namespace orvex::cli {
using namespace toolkit;
}  // namespace orvex::cli
