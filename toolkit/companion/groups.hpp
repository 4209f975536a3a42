// One-hot groups: sets of variables of which exactly one, or at most one, is 1 in every sensible
// solution. Invariant: a group is only ever a hint where to move. Energies are the model's own, so
// a group that does not hold costs time and nothing else.
#pragma once

#include <cstdint>
#include <vector>

#include "toolkit/model/sparse_qubo.hpp"

namespace orvex::toolkit {

/** Groups of variables of which exactly one (or at most one) is 1 in every sensible solution. */
struct Groups {
    std::vector<std::vector<std::int32_t>> members;  ///< the variables of each group
    std::vector<bool> exactly_one;                   ///< of each group; otherwise at most one

    bool empty() const { return members.empty(); }
};

/**
 * The groups that a model's weights enforce: cliques of couplings each of which outweighs what a
 * second 1 in the group could gain. None is found where the weights do not prove it for each pair.
 */
Groups find_groups(const SparseQubo& qubo);

/**
 * @param size number of variables of the model
 * @throws InputError when a member is not a variable or is twice in its group, a variable is in
 *     more than two groups, two groups share more than one variable, a group has fewer than two
 *     members, or the numbers of groups and of their kinds differ
 */
void expect_groups(const Groups& groups, int size);

}  // namespace orvex::toolkit
