#include "toolkit/io/formats/format.hpp"

#include <array>

#include "toolkit/io/formats/readers.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

constexpr std::array<const Format*, 10> ALL = {&OWN,        &QBSOLV, &MAX_CUT,       &BIQ_MAC,
                                               &OR_LIBRARY, &COO,    &MATRIX_MARKET, &QOBLIB,
                                               &QAPLIB,     &TSPLIB};

template <class PREDICATE>
std::string names_of_those(const PREDICATE& holds) {
    std::string names;
    for (const Format* format : ALL) {
        if (!holds(*format)) continue;
        if (!names.empty()) names += ", ";
        names += format->name;
    }
    return names;
}

}  // namespace

std::span<const Format* const> formats() {
    return ALL;
}

const Format& format_named(const std::string& name) {
    for (const Format* format : ALL)
        if (name == format->name) return *format;
    throw InputError("There is no format \"" + name + "\"; there are " + format_names());
}

std::string format_names() {
    return names_of_those([](const Format&) { return true; });
}

std::string format_names(bool Format::*property) {
    return names_of_those([&](const Format& format) { return format.*property; });
}

std::string written_format_names() {
    return names_of_those([](const Format& format) { return format.write != nullptr; });
}

std::string format_list() {
    constexpr std::size_t NAME_WIDTH = 14;
    std::string list;
    for (const Format* format : ALL) {
        std::string name = format->name;
        name.resize(NAME_WIDTH, ' ');
        list +=
            "  " + name + format->title + (format->write == nullptr ? " (only read)" : "") + "\n";
    }
    return list;
}

}  // namespace orvex::toolkit
