// The CPU block's rings under thousands of random schedules.
#include "ring_stress.hpp"

namespace orvex::device::test {
namespace {

TEST(RingStress, NothingIsLostAndNothingTakenTwice) {
    playSchedules<CPU_BLOCK<std::int32_t, std::int32_t>>(3000, 25);
}

}  // namespace
}  // namespace orvex::device::test
