// What does not depend on a problem: the last failure, the library, this machine.
#include <string_view>

#include <orvex/orvex.hpp>
#include <orvex/plan.hpp>

#include "support.hpp"
#include "toolkit/io/formats/format.hpp"
#include "toolkit/model/memory.hpp"

namespace orvex::python {
namespace {

thread_local Failure last_failure = Failure::NONE;
thread_local std::string last_text;

}  // namespace

void fail(Failure failure, const char* text) {
    last_failure = failure;
    last_text = text;
}

}  // namespace orvex::python

using namespace orvex::python;

ORVEX_PYTHON_API int orvex_python_failure() {
    return static_cast<int>(last_failure);
}

ORVEX_PYTHON_API const char* orvex_python_failure_text() {
    return last_text.c_str();
}

/** What the library tells of itself: "version", "max_size"; and of the toolkit, "max_variables". */
ORVEX_PYTHON_API const char* orvex_python_library(const char* key) {
    thread_local std::string text;
    text = std::string_view(key) == "max_variables" ? std::to_string(orvex::toolkit::MAX_VARIABLES)
                                                    : orvex::Solver(false).get(key);
    return text.c_str();
}

/** The names of the formats that are read, with commas between them. */
ORVEX_PYTHON_API const char* orvex_python_formats() {
    static const std::string names = orvex::toolkit::format_names();
    return names.c_str();
}

ORVEX_PYTHON_API int orvex_python_devices() {
    return static_cast<int>(orvex::devices().size());
}

ORVEX_PYTHON_API std::int64_t orvex_python_machine_memory() {
    return orvex::toolkit::machine_memory();
}

ORVEX_PYTHON_API std::int64_t orvex_python_free_memory() {
    return orvex::toolkit::free_memory();
}
