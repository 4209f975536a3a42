#include "engine/support/band_64_32_32.hpp"
#include <gtest/gtest.h>
using namespace orvex;
struct Exits : Callback { void callback(const std::string& e) override { if (e=="init") set("new"); else { std::this_thread::sleep_for(std::chrono::milliseconds(300)); std::exit(3);}} };
TEST(First, Exit) {
    Model model(3, 32);
    model.set(0, 0, -5); model.set(1,1,3); model.set(0,1,-4); model.set(2,2,7);
    Exits cb;
    Param param; param.set("time_limit","3"); param.set(cb);
    Sol sol(3);
    qb64_32_32::band_solve(sol.impl(), model.impl(), param.impl(), nullptr);
    EXPECT_EQ(sol.get("energy"), "-6");
}
