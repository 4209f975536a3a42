// The rings of the CUDA block's text, on fibers, under random schedules.
#include "fiber_block.hpp"
#include "ring_stress.hpp"

namespace orvex::device::test {
namespace {

TEST(KernelRingStress, NothingIsLostAndNothingTakenTwice) {
    playSchedules<FIBER_BLOCK<std::int32_t, std::int32_t>>(40, 12);
}

}  // namespace
}  // namespace orvex::device::test
