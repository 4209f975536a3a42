// The two small files that accompany a problem: a solution to begin with, and one-hot groups. The
// first byte is the number of variables, the second the number of the first of them.
#include <algorithm>

#include "fuzz.hpp"
#include "toolkit/io/groups_file.hpp"
#include "toolkit/io/solution.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::fuzz {

void starts(Input input) {
    using namespace orvex::toolkit;
    Bytes bytes(input);
    const int size = 1 + bytes.below(200), index_base = bytes.below(2);
    const std::string text = bytes.rest();
    const MemoryFile file(text);
    try {
        const Sol solution = read_solution(file.path(), size);
        const std::string digits = digits_of(solution, size);
        require(text.starts_with(digits), "the solution is what the file says");
        const int above = size % 64;
        const std::uint64_t last = solution.impl().data[static_cast<std::size_t>((size - 1) / 64)];
        require(above == 0 || last >> above == 0, "nothing is set above the last variable");
    } catch (const InputError&) {
    }
    try {
        const Groups groups = read_groups(file.path(), index_base, size);
        require(groups.members.size() == groups.exactly_one.size(), "every group has its kind");
        for (const auto& members : groups.members)
            for (const std::int32_t member : members)
                require(0 <= member && member < size, "a member is a variable");
    } catch (const InputError&) {
    }
}

}  // namespace orvex::fuzz
