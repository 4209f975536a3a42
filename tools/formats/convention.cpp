#include "formats/convention.hpp"

namespace orvex::cli {

std::string Convention::text() const {
    return "format " + format + ", indices from " + std::to_string(index_base) +
           ", weight of a pair " + std::to_string(factor) + " x its entry, " + sense() + ", " +
           equation() + (note.empty() ? "" : ", " + note);
}

std::string Convention::equation() const {
    const std::string size = to_string(offset < 0 ? -offset : offset);
    const std::string name = objective == "energy" ? "objective" : objective;
    if (maximised)
        return name + " = " + (offset == 0 ? "" : to_string(offset) + " ") +
               (offset == 0 ? "-energy" : "- energy");
    if (offset == 0) return name + " = energy";
    return name + " = energy " + (offset < 0 ? "- " : "+ ") + size;
}

}  // namespace orvex::cli
