// The final table of a run and the occupancy of its devices, as the islands' figures make them.
#include "engine/names.hpp"
#include "engine/support/run_by_hand.hpp"

namespace {

using namespace orvex;
using namespace engine_tests;

class FinalPrint : public RunByHand {
  protected:
    /** A run of three islands with two blocks each; the second island has found the best. */
    void prepareResults() {
        prepare(3, 2);
        for (int i = 0; i < 3; ++i) {
            band::ISLAND& member = island(i);
            record(member.best) = result_of(i == 1 ? -50 : -10 * i);
            member.best.inst = engine::CROSS;
            member.received = 10 * (i + 1);
            member.flips = 1000 * (i + 1);
            member.instance_count[engine::CROSS] = member.received;
            member.algorithm_count[2] = member.received;
            member.block_results[i] = 4;
        }
        island(0).block_results[5] = 1;
        allbest() = island(1).best;
        allbest().island = 1;
        devices->threads[0].kernel_ms = 1500;
    }

    std::string printed() {
        return stderr_of([&] { run->allisland->print(); });
    }

    static std::vector<std::string> lines(const std::string& text) {
        std::vector<std::string> list;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);)
            list.push_back(line);
        return list;
    }

    const std::string generators =
        " | R 0.0% B 0.0% M 0.0%\033[31m C100.0%\033[39m X 0.0% Z 0.0% O 0.0% I 0.0% H 0.0% A "
        "0.0%";
    const std::string rules = " | M 0.0% P 0.0%\033[31m C100.0%\033[39m R 0.0% T 0.0%";
};

TEST_F(FinalPrint, HasARowForEachIslandAndOneForAll) {
    param.set("verbose", "1");
    prepareResults();
    const std::vector<std::string> table = lines(printed());
    ASSERT_EQ(table.size(), 4u);
    const std::string shares = "\033[49m\033[39m" + generators + rules;
    EXPECT_EQ(table[0], "[0] CM 0 0.250s" + shares + " | 10 1000");
    EXPECT_EQ(table[1], "\033[44m\033[31m[1] CM -50 0.250s" + shares + " | 20 2000");
    EXPECT_EQ(table[2], "[2] CM -20 0.250s" + shares + " | 30 3000");
    EXPECT_EQ(table[3], "\033[44m\033[31m[A] CM -50 0.250s" + shares + " | 60 6000");
}

TEST_F(FinalPrint, OmitsTheRulesWhenOneIsFixed) {
    param.set("verbose", "1");
    param.set("fix_algorithm", "Cyclic");
    prepareResults();
    EXPECT_EQ(lines(printed())[0], "[0] CM 0 0.250s\033[49m\033[39m" + generators + " | | 10 1000");
}

TEST_F(FinalPrint, AtLevel2ShowsTheBlocksThatDelivered) {
    param.set("verbose", "2");
    prepareResults();
    run->prop.multiProcessorCount = 4;
    run->prop.maxThreadsPerMultiProcessor = 256;
    const std::vector<std::string> table = lines(printed());
    ASSERT_EQ(table.size(), 5u);
    EXPECT_EQ(table[4],
              "[SM 0]  1.500s Isl 0: 2 blocks Isl 1: 1 blocks Isl 2: 1 blocks 4 total blocks with "
              "256/1024 total threads occupancy=25.00%");
}

TEST_F(FinalPrint, AtLevel2OneIslandOnADeviceIsNotShownByItself) {
    param.set("verbose", "2");
    prepare(1, 2);
    island(0).received = 1;
    island(0).block_results[1] = 1;
    const std::vector<std::string> table = lines(printed());
    EXPECT_EQ(table.back(),
              "[SM 0]  0.000s 1 total blocks with 64/128 total threads occupancy=50.00%");
}

TEST_F(FinalPrint, SaysNothingUnlessAskedFor) {
    prepareResults();
    EXPECT_EQ(printed(), "");
}

TEST_F(FinalPrint, AddsUpTheSummary) {
    prepareResults();
    run->allisland->print();
    const band::ISLAND& summary = run->allisland->summary;
    EXPECT_EQ(summary.received, 60);
    EXPECT_EQ(summary.flips, 6000);
    EXPECT_EQ(summary.instance_count[engine::CROSS], 60);
    EXPECT_EQ(summary.algorithm_count[2], 60);
}

TEST_F(FinalPrint, TextIsWrittenFromItsLevelOn) {
    prepare(1, 1);
    const auto both = [] {
        band::write_stderr1("one %d\n", 1);
        band::write_stderr2("two %s\n", "2");
    };
    EXPECT_EQ(stderr_of(both), "");
    run->verbose = 1;
    EXPECT_EQ(stderr_of(both), "one 1\n");
    run->verbose = 2;
    EXPECT_EQ(stderr_of(both), "one 1\ntwo 2\n");
    run->verbose = -1;
    EXPECT_EQ(stderr_of(both), "");
}

}  // namespace
