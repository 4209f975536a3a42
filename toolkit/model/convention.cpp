#include "toolkit/model/convention.hpp"

namespace orvex::toolkit {

std::string Convention::text() const {
    return "format " + format + ", indices from " + std::to_string(index_base) +
           ", weight of a pair " + std::to_string(factor) + " x its entry, " + sense() + ", " +
           equation() + (note.empty() ? "" : ", " + note);
}

std::string Convention::equation() const {
    std::string text = (objective == "energy" ? "objective" : objective) + " = ";
    if (maximised) return text + (offset == 0 ? "-energy" : to_string(offset) + " - energy");
    text += "energy";
    if (offset > 0) text += " + " + to_string(offset);
    if (offset < 0) text += " - " + to_string(-offset);
    return text;
}

}  // namespace orvex::toolkit
