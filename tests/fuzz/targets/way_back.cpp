// The text of a way back from a reduced model. Whatever is taken for one restores and projects any
// solution, and is written as it was read.
#include "toolkit/presolve/way_back.hpp"

#include <new>
#include <random>
#include <sstream>

#include "fuzz.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::fuzz {
namespace {

using namespace orvex::toolkit;

WayBack read(const std::string& text) {
    std::istringstream in(text);
    return read_way_back(in);
}

std::string written(const WayBack& way_back) {
    std::ostringstream out;
    write_way_back(way_back, out);
    return out.str();
}

Bits random_bits(int size, std::mt19937& random) {
    Bits bits(static_cast<std::size_t>(size));
    for (auto& bit : bits)
        bit = random() % 2;
    return bits;
}

}  // namespace

void way_back(Input input) {
    try {
        const WayBack way = read(Bytes(input).rest());
        if (way.original_size() > 100000) return;
        std::mt19937 random(static_cast<unsigned>(input.size()));
        for (int trial = 0; trial < 3; ++trial) {
            const Bits original = random_bits(way.original_size(), random);
            const Bits reduced = way.project(original);
            require(reduced.size() == static_cast<std::size_t>(way.reduced_size()),
                    "a projected solution has the reduced size");
            const Bits restored = way.restore(random_bits(way.reduced_size(), random));
            require(restored.size() == original.size(),
                    "a restored solution has the original size");
            for (const std::uint8_t bit : restored)
                require(bit <= 1, "a restored value is a bit");
        }
        require(way.origin().size() == static_cast<std::size_t>(way.reduced_size()),
                "every reduced variable stands for one");
        require(written(read(written(way))) == written(way), "it is written as it was read");
    } catch (const InputError&) {
    } catch (const std::bad_alloc&) {
    }
}

}  // namespace orvex::fuzz
