// Checkpoints: what is in the file, what is refused, and runs that go on from one.
#include "toolkit/run/checkpoint.hpp"

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <sys/resource.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolkit/model/build.hpp"
#include "toolkit/run/checkpoint_writer.hpp"
#include "toolkit/solve.hpp"
#include "unit/toolkit/random_problem.hpp"
#include "unit/toolkit/temporary_file.hpp"

namespace orvex::toolkit::test {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

/** The problem -5 x0 - 3 x4 + 2 x0 x4 of five variables. */
Problem small_problem() {
    Model model(5, 32);
    model.set(0, 0, -5);
    model.set(4, 4, -3);
    model.set(0, 4, 2);
    return problem_of(model);
}

constexpr const char* SMALL_CHECKPOINT =
    "orvex checkpoint 1\nsize 5\nnonzero 3\nenergies -8 0\n"
    "solution -6 11\nsolution -5 10\nsolution -5 30\nend 3\n";

std::string refusal(const std::string& contents, const Problem& problem = small_problem()) {
    const TemporaryFile file(contents, ".checkpoint");
    try {
        read_checkpoint(file.path(), problem);
        return "";
    } catch (const InputError& error) {
        return error.what();
    }
}

std::string replaced(std::string text, const std::string& what, const std::string& with) {
    return text.replace(text.find(what), what.size(), with);
}

TEST(Checkpoint, HoldsSolutionsWithTheirEnergies) {
    const TemporaryFile file("");
    write_checkpoint(file.path(), small_problem(), {{-6, {17}}, {-5, {1}}, {-5, {3}}});
    EXPECT_EQ(file.contents(), SMALL_CHECKPOINT);
    const std::vector<Kept> read = read_checkpoint(file.path(), small_problem());
    ASSERT_EQ(read.size(), 3u);
    EXPECT_EQ(read[0].energy, -6);
    EXPECT_EQ(read[0].words, std::vector<std::uint64_t>{17});
    const Sol last = solution_of(read[2], 5);
    EXPECT_TRUE(last.get(0) && last.get(1) && !last.get(2) && !last.get(4));
}

TEST(Checkpoint, TellsWhatIsWrong) {
    const std::string good = SMALL_CHECKPOINT;
    EXPECT_EQ(refusal(good), "");
    EXPECT_THAT(refusal(""), HasSubstr("line 1: the file ends too early"));
    EXPECT_THAT(refusal("3 3 -3 2\n"), HasSubstr("line 1: this is no checkpoint"));
    EXPECT_THAT(refusal(std::string(100'000, 'x')), HasSubstr("is so long"));
    EXPECT_THAT(refusal(good.substr(0, good.size() - 6)), HasSubstr("ends too early"));
    EXPECT_THAT(refusal(replaced(good, "end 3", "end 2")), HasSubstr("there are 3 solutions"));
    EXPECT_THAT(refusal(replaced(good, "-6 11", "-6 1g")), HasSubstr("hexadecimal digits"));
    EXPECT_THAT(refusal(replaced(good, "-6 11", "-6 113")), HasSubstr("has 2 digits, not 3"));
    EXPECT_THAT(refusal(replaced(good, "-6 11", "-6 12")), HasSubstr("that the problem has not"));
    EXPECT_THAT(refusal(replaced(good, "-6 11", "-6 01")), HasSubstr("the energy -3, not -6"));
    EXPECT_EQ(refusal(replaced(good, "-6 11", "-6 31")), "");
    EXPECT_THAT(refusal(replaced(good, "-6 11", "six 11")), HasSubstr("a number is expected"));
    EXPECT_THAT(refusal(replaced(good, "-6 11", "-99999999999999999999 11")),
                HasSubstr("a number is expected"));
    EXPECT_THAT(refusal(replaced(good, "-6 11", "0 00")), HasSubstr("the best solution comes"));
    EXPECT_THAT(refusal(replaced(good, "-5 10", "-5 20")), HasSubstr("line 6"));
}

TEST(Checkpoint, OfAnotherProblemIsRefused) {
    EXPECT_THAT(refusal(SMALL_CHECKPOINT, random_problem(6, 9)),
                HasSubstr("of another problem: it has \"size 5\", this one \"size 6\""));
    EXPECT_THAT(refusal(SMALL_CHECKPOINT, random_problem(5, 9)), HasSubstr("of another problem"));
    // The sums of the weights are the same, the weights are not.
    Model model(5, 32);
    model.set(0, 0, -3);
    model.set(4, 4, -5);
    model.set(0, 4, 2);
    EXPECT_THAT(refusal(SMALL_CHECKPOINT, problem_of(model)), HasSubstr("of another problem"));
    EXPECT_THROW(read_checkpoint("/nonexistent/file", small_problem()), InputError);
    EXPECT_THROW(read_checkpoint("/", small_problem()), InputError);
}

/** A file that was written by one caller is read by another, who states the problem otherwise. */
TEST(Checkpoint, DoesNotDependOnHowTheProblemWasStated) {
    const std::vector<std::uint32_t> pairs{0, 0, 4, 4, 0, 4};
    const std::vector<std::int64_t> values{-5, -3, 2};
    EXPECT_EQ(refusal(SMALL_CHECKPOINT, problem_of_terms(5, pairs, values)), "");
    EXPECT_EQ(refusal(SMALL_CHECKPOINT,
                      problem_of(sparse_qubo({-5, 0, 0, 0, -3}, {{.i = 0, .j = 4, .weight = 2}}))),
              "");
}

TEST(Checkpoint, WhatIsThereStaysUntilTheNewOneIsWhole) {
    const TemporaryFile file(SMALL_CHECKPOINT);
    const rlimit before = [] {
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        return limit;
    }();
    signal(SIGXFSZ, SIG_IGN);
    const rlimit small{20, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_THROW(write_checkpoint(file.path(), small_problem(), {{-6, {17}}}), std::runtime_error);
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(file.contents(), SMALL_CHECKPOINT);
    const fs::path path(file.path());
    for (const auto& entry : fs::directory_iterator(path.parent_path()))
        EXPECT_FALSE(entry.path().string().starts_with(file.path() + ".part")) << entry.path();
}

TEST(Checkpoint, KeepsTheBestOfWhatWasThereAndWhatIsFound) {
    const TemporaryFile file(SMALL_CHECKPOINT);
    const Problem problem = small_problem();
    {
        CheckpointWriter writer(file.path(), problem);
        Sol found(5);
        found.set(4, true);
        writer.note(-3, found);
        writer.note(-3, found);
        EXPECT_EQ(writer.finish(), "");
    }
    const std::vector<Kept> kept = read_checkpoint(file.path(), problem);
    ASSERT_EQ(kept.size(), 4u);
    EXPECT_EQ(kept.front().energy, -6);
    EXPECT_EQ(kept.back().energy, -3);
}

TEST(Checkpoint, NeverTakesThePlaceOfSomethingElse) {
    const Problem problem = small_problem();
    const auto refused = [&](const std::string& file) -> std::string {
        try {
            const CheckpointWriter writer(file, problem);
            return "";
        } catch (const InputError& error) {
            return error.what();
        }
    };
    const TemporaryFile notes("notes of years\n");
    EXPECT_THAT(refused(notes.path()), HasSubstr("would take the place of another file"));
    EXPECT_EQ(notes.contents(), "notes of years\n");
    EXPECT_THAT(refused("/dev/null"), HasSubstr("a plain file"));
    EXPECT_THAT(refused("/nonexistent/file"), HasSubstr("into its folder"));
}

/** While the search goes on, not only at its end. */
TEST(Checkpoint, IsWrittenDuringTheSearch) {
    const TemporaryFile file("");
    fs::remove(file.path());
    const Problem problem = random_problem(60, 99);
    struct Seen : Events {
        void pulsed(const Moment& moment, Steering& steering) override {
            if (moment.elapsed > 0.5 && fs::exists(path)) {
                energy = read_checkpoint(path, problem).front().energy;
                steering.stop();
            }
        }
        Seen(const std::string& file, const Problem& of) : path(file), problem(of) {}
        const std::string path;
        const Problem& problem;
        long energy = 0;
    } seen(file.path(), problem);
    const Result result = solve(problem, {.time_limit = 20, .checkpoint = file.path()}, seen);
    EXPECT_EQ(result.ending, Ending::STOPPED);
    EXPECT_LT(seen.energy, 0);
    EXPECT_EQ(result.checkpoint_failure, "");
    EXPECT_EQ(read_checkpoint(file.path(), problem).front().energy, result.energy);
}

class CheckpointResumed : public testing::TestWithParam<double> {};

/** By the library, by both, by the companion. */
TEST_P(CheckpointResumed, IsWhereTheNextSearchBegins) {
    const TemporaryFile file("");
    fs::remove(file.path());
    const Problem problem = random_problem(120, 99);
    SolveOptions options{.time_limit = 0.5, .checkpoint = file.path()};
    options.presolve = PresolveEffort::OFF;
    options.companion = GetParam();
    const Result first = solve(problem, options);
    options = {.time_limit = 0.05, .resume = file.path()};
    options.presolve = PresolveEffort::OFF;
    options.companion = GetParam();
    const Result again = solve(problem, options);
    EXPECT_EQ(again.history.front().energy, first.energy);
    EXPECT_EQ(again.history.front().source, Source::START);
    EXPECT_LE(again.energy, first.energy);
    EXPECT_EQ(problem.weights.energy(again.solution), again.energy);
}

INSTANTIATE_TEST_SUITE_P(Searches, CheckpointResumed, testing::Values(0.0, 0.5, 1.0));

TEST(Checkpoint, ThatCannotBeWrittenInTheMiddleLeavesTheResult) {
    const TemporaryFile folder("");
    fs::remove(folder.path());
    fs::create_directory(folder.path());
    const std::string file = folder.path() + "/run.checkpoint";
    struct Remover : Events {
        void began(const Moment&, Steering&) override { fs::remove_all(folder); }
        explicit Remover(const std::string& path) : folder(path) {}
        const std::string folder;
    } remover(folder.path());
    const Problem problem = random_problem(60, 99);
    const Result result = solve(problem, {.time_limit = 0.3, .checkpoint = file}, remover);
    EXPECT_THAT(result.checkpoint_failure, HasSubstr("Cannot write " + file));
    EXPECT_LT(result.energy, 0);
}

}  // namespace
}  // namespace orvex::toolkit::test
