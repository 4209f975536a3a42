#include "toolkit/presolve/way_back.hpp"

#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolkit/model/errors.hpp"
#include "unit/toolkit/presolve/small_models.hpp"

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

TEST(WAY_BACK_TEST, text_restores_and_projects_as_what_wrote_it) {
    std::mt19937 random(5);
    for (int trial = 0; trial < 300; ++trial) {
        const SparseQubo qubo = small_models::random_model(random);
        const Presolved presolved = presolve(qubo);
        const WayBack again = read(written(presolved));
        EXPECT_EQ(again.offset(), presolved.offset());
        EXPECT_EQ(again.origin(), presolved.origin());
        EXPECT_EQ(written(again), written(presolved));
        for (unsigned x = 0; x < 1U << qubo.size(); ++x) {
            const Bits bits = small_models::bits_of_number(x, qubo.size());
            const Bits reduced = presolved.project(bits);
            ASSERT_EQ(again.project(bits), reduced);
            ASSERT_EQ(again.restore(reduced), presolved.restore(reduced));
        }
    }
}

TEST(WAY_BACK_TEST, a_way_to_the_model_itself_changes_nothing) {
    const WayBack way_back(3);
    EXPECT_EQ(way_back.restore({1, 0, 1}), (Bits{1, 0, 1}));
    EXPECT_EQ(way_back.project({1, 0, 1}), (Bits{1, 0, 1}));
    EXPECT_THAT(way_back.origin(), testing::ElementsAre(0, 1, 2));
}

TEST(WAY_BACK_TEST, what_could_not_have_been_written_is_refused) {
    const std::string title = "orvex-way-back-1\n";
    EXPECT_NO_THROW(read(title + "2 1 1 -7\ntie 0 1 -1 0\n1 2\nend\n"));
    for (const char* const wrong : {
             "",
             "2 1 1 -7\ntie 0 1 -1 0\n1 2\n",                  // cut off
             "2 1 1 -7\ntie 0 1 -1 0\n1 2 3 2\nend",           // more left than there are
             "2 1 1 x\ntie 0 1 -1 0\n1 2\nend",                // no offset
             "2 1 1 -7\ntie 0 1 0 0\n1 2\nend",                // no sign
             "2 1 1 -7\ntie 0 0 1 0\n1 2\nend",                // tied to itself
             "2 1 1 -7\ntie 0 3 1 0\n1 2\nend",                // no such node
             "2 1 1 -7\ntie 2 1 1 0\n1 2\nend",                // the field goes
             "2 0 2 0\ntie 0 1 1 0\ntie 1 0 1 0\nend",         // tied to what is gone
             "2 1 1 -7\ntie 0 1 -1 0\n0 2\nend",               // left and gone
             "2 2 0 0\n1 2 0 2\nend",                          // not ascending
             "2 1 0 0\n1 2\nend",                              // a variable forgotten
             "2 2 0 0\n0 1 1 2\nend",                          // against another variable
             "2 0 1 0\npiece 2 2 -1 -1 0 1 0 1\nend",          // twice in a piece
             "2 0 1 0\npiece 2 1 -1 -1 0 1 1 1\nend",          // its own terminal
             "2 0 1 0\npiece 2 2 -1 2 0 1 1 1\nend",           // a terminal after the last
             "2 0 1 0\npiece 2 -1 -1 -1 0 1 1 1\nend",         // no terminal
             "2 0 1 0\npiece 2 2 -1 -1 0 16 1 1\nend",         // no choice
             "2 0 1 0\npiece 99999999 2 -1 -1 0 1 1 1\nend",   // longer than it can be
             "2 2 1 0\nball 1 0 0 0 1 0\n0 2 1 2\nend",        // a pair of one
             "2 2 1 0\nball 1 0 0 1 1 2\n0 2 1 2\nend",        // the field in a ball
             "2 2 1 0\nball 40 0 0 1 1 0\n0 2 1 2\nend",       // more than can be tried
             "2 2 1 0\nball 1 9 0 1 1 0 0 1 5\n0 2 1 2\nend",  // couplings missing
             "2 2 1 0\nhole 1 0\n0 2 1 2\nend",                // no such step
             "99999999999 0 0 0\nend",                         // too many
         })
        EXPECT_THROW(read(title + wrong), InputError) << wrong;
    EXPECT_THROW(read("2 1 1 -7\ntie 0 1 -1 0\n1 2\nend\n"), InputError);
}

TEST(WAY_BACK_TEST, no_changed_letter_leads_outside) {
    std::mt19937 random(7);
    for (int trial = 0; trial < 200; ++trial) {
        const SparseQubo qubo = small_models::random_model(random);
        std::string text = written(presolve(qubo));
        text[random() % text.size()] = "0123456789- \nx"[random() % 14];
        try {
            const WayBack way_back = read(text);
            const Bits bits(static_cast<std::size_t>(way_back.original_size()));
            way_back.restore(way_back.project(bits));
        } catch (const InputError&) {
        }
    }
}

}  // namespace
