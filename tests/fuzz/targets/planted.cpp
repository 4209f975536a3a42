// A fault that is planted for the fuzzer: one input of some thousand million, to which each byte
// that is right brings it nearer. A fuzzer that is not led by what the program does never finds it.
#include "fuzz.hpp"

namespace orvex::fuzz {

void planted(Input input) {
    constexpr char WORD[] = "orvex";
    std::size_t right = 0;
    for (const char letter : WORD) {
        if (right == input.size() || input[right] != static_cast<std::uint8_t>(letter)) return;
        ++right;
        if (letter == 'x') require(false, "nobody says orvex");
    }
}

}  // namespace orvex::fuzz
