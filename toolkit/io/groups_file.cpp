#include "toolkit/io/groups_file.hpp"

#include <utility>
#include <vector>

#include "toolkit/io/formats/lines.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {

Groups read_groups(const std::string& file, int index_base, int size) {
    NumberReader reader(file);
    Lines lines(reader);
    lines.skip_comments("#");
    Groups groups;
    while (lines.next()) {
        const bool at_most_one = lines.word(0) == "<=";
        std::vector<std::int32_t> members;
        for (std::size_t k = at_most_one; k < lines.words(); ++k)
            members.push_back(lines.index(k, "a variable", index_base, size));
        if (members.size() < 2) lines.fail("a group has two variables or more");
        groups.members.push_back(std::move(members));
        groups.exactly_one.push_back(!at_most_one);
    }
    try {
        expect_groups(groups, size);
    } catch (const InputError& error) {
        throw InputError(file + ": " + error.what());
    }
    return groups;
}

}  // namespace orvex::toolkit
