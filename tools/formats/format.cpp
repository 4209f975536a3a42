#include "formats/format.hpp"

#include <array>

#include "exit_status.hpp"
#include "formats/readers.hpp"

namespace orvex::cli {
namespace {

constexpr std::array<const Format*, 10> ALL = {&OWN,        &QBSOLV, &MAX_CUT,       &BIQ_MAC,
                                               &OR_LIBRARY, &COO,    &MATRIX_MARKET, &QOBLIB,
                                               &QAPLIB,     &TSPLIB};

}  // namespace

std::span<const Format* const> formats() {
    return ALL;
}

const Format& format_named(const std::string& name) {
    for (const Format* format : ALL)
        if (name == format->name) return *format;
    throw InputError("There is no format \"" + name + "\"; there are " + format_names(false));
}

std::string format_names(bool to_write) {
    std::string names;
    for (const Format* format : ALL) {
        if (format->write == nullptr && to_write) continue;
        if (!names.empty()) names += ", ";
        names += format->name;
    }
    return names;
}

}  // namespace orvex::cli
