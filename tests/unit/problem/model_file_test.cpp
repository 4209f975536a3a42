#include <cerrno>
#include <fstream>
#include <sys/wait.h>

#include "orvex/model.hpp"

#include "support/refusal.hpp"
#include "support/temporary_file.hpp"

namespace orvex {
namespace {

class ModelFile : public testing::Test {
  protected:
    /** The model in a file of this text. */
    Model read(const std::string& text) { return Model(folder.write("model", text)); }

    void expect_wrong(const std::string& text) {
        const std::string file = folder.write("model", text);
        EXPECT_REFUSAL(Model model(file), "Wrong file (" + file + ")");
    }

    tests::TEMPORARY_FOLDER folder;
};

TEST_F(ModelFile, HoldsHeaderAndEntries) {
    const Model model = read("3 2 -1 1\n0 0 1\n1 2 -1\n");
    EXPECT_EQ(model.impl().size, 3);
    EXPECT_EQ(model.impl().bits, 8);
    EXPECT_EQ(model.get(0, 0), 1);
    EXPECT_EQ(model.get(1, 2), -1);
    EXPECT_EQ(model.get(2, 1), -1);
    EXPECT_EQ(model.get(2, 2), 0);
}

TEST_F(ModelFile, MakesOneRevisionOfEachEntry) {
    const Model model(folder.write("model", "3 2 -1 1\n0 0 1\n1 2 -1\n"));
    EXPECT_EQ(model.impl().revision, 2u);
}

TEST_F(ModelFile, SetsBothAttributesToTheSize) {
    const Model model(folder.write("model", "3 2 -1 1\n0 0 1\n1 2 -1\n"));
    EXPECT_EQ(model.get("size"), "3");
    EXPECT_EQ(model.get("bits"), "3");
}

TEST_F(ModelFile, NeedsNoLinesButWhiteSpace) {
    EXPECT_EQ(read("  2\t1\n\n0 5\r\n1\n1\f+5 ").get(1, 1), 5);
}

TEST_F(ModelFile, TakesEntriesInAnyOrderAndEitherTriangle) {
    const Model model = read("3 3 1 3 2 2 3 2 0 2 0 1 1");
    EXPECT_EQ(model.get(2, 2), 3);
    EXPECT_EQ(model.get(0, 2), 2);
    EXPECT_EQ(model.get(0, 1), 1);
}

TEST_F(ModelFile, KeepsTheLastWeightOfARepeatedPair) {
    EXPECT_EQ(read("2 2 0 9 0 1 4 1 0 9").get(0, 1), 9);
}

TEST_F(ModelFile, WithFewerEntriesThanItSaysIsAccepted) {
    const Model model = read("3 5 -1 1\n0 0 1\n1 2 -1\n");
    EXPECT_EQ(model.get(0, 0), 1);
    EXPECT_EQ(model.get(1, 2), -1);
    EXPECT_EQ(model.get(1, 1), 0);
}

TEST_F(ModelFile, IsReadUpToTheFirstEntryThatIsNone) {
    const Model model = read("3 3 -1 1\n0 0 1\n1 x -1\n2 2 1\n");
    EXPECT_EQ(model.get(0, 0), 1);
    EXPECT_EQ(model.get(2, 2), 0);
}

TEST_F(ModelFile, IsReadNoFurtherThanItsNumberOfEntries) {
    EXPECT_EQ(read("3 1 -1 1\n0 0 1\n1 1 1\n").get(1, 1), 0);
    EXPECT_EQ(read("3 0 -1 1\n0 0 1\n").get(0, 0), 0);
    EXPECT_EQ(read("3 -1 -1 1\n0 0 1\n").get(0, 0), 0);
}

TEST_F(ModelFile, TakesTheWidthFromTheHeaderAndCutsWiderWeights) {
    const Model model = read("2 2 0 1\n0 0 300\n1 1 -1\n");
    EXPECT_EQ(model.impl().bits, 8);
    EXPECT_EQ(model.get(0, 0), 44);
    EXPECT_EQ(model.get(1, 1), -1);
}

TEST_F(ModelFile, HoldsWeightsOf64Bits) {
    const Model model = read(
        "2 2 -9223372036854775808 9223372036854775807\n"
        "0 0 -9223372036854775808 1 1 9223372036854775807");
    EXPECT_EQ(model.impl().bits, 64);
    EXPECT_EQ(model.get(0, 0), -9223372036854775807L - 1);
    EXPECT_EQ(model.get(1, 1), 9223372036854775807L);
}

TEST_F(ModelFile, OfSize0IsAccepted) {
    EXPECT_EQ(read("0 0 9223372036854775807 -9223372036854775808\n").impl().size, 0);
}

TEST_F(ModelFile, WhoseNameEndsInGzIsDecompressed) {
    const Model model(folder.write_compressed("model", "3 2 -1 1\n0 0 1\n1 2 -1\n"));
    EXPECT_EQ(model.get(2, 1), -1);
}

TEST_F(ModelFile, WhoseNameGoesOnAfterGzIsOpenedDirectly) {
    EXPECT_EQ(Model(folder.write("model.gz.txt", "2 1 0 1 1 1 1")).get(1, 1), 1);
}

TEST_F(ModelFile, NamedGzWithoutADotIsOpenedDirectly) {
    EXPECT_EQ(Model(folder.write("gz", "2 1 0 1 1 1 1")).get(1, 1), 1);
}

TEST_F(ModelFile, ThatIsMissingIsRefused) {
    const std::string file = folder.path("missing");
    EXPECT_REFUSAL(Model model(file), "Cannot open " + file);
}

TEST_F(ModelFile, CompressedWithFarMoreEntriesThanItSaysLeavesNoProcessBehind) {
    std::string text = "2 1 0 9 0 1 4\n";
    for (int i = 0; i < 100000; ++i)  // more than a pipe holds
        text += "0 1 9\n";
    EXPECT_EQ(Model(folder.write_compressed("model", text)).get(0, 1), 4);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(ModelFile, CompressedAndMissingIsWrong) {
    // After what the shell has to say.
    const std::string file = folder.path("missing.gz");
    EXPECT_EXIT(Model model(file), testing::ExitedWithCode(1),
                testing::EndsWith("Error: Wrong file (" + file + ")\n"));
}

TEST_F(ModelFile, WithoutAWholeHeaderIsWrong) {
    expect_wrong("");
    expect_wrong("3 2 -1");
    expect_wrong("3 2 -1 x");
}

TEST_F(ModelFile, WhoseSizeIsNoneIsWrong) {
    expect_wrong("-1 0 0 0");
    expect_wrong("2147483648 0 0 0");
    expect_wrong("99999999999999999999 0 0 0");
}

TEST_F(ModelFile, WithAnIndexOutsideOfTheMatrixIsWrong) {
    expect_wrong("2 1 0 1 0 2 1");
    expect_wrong("2 1 0 1 2 0 1");
    expect_wrong("2 1 0 1 -1 0 1");
    expect_wrong("2 1 0 1 0 -1 1");
    expect_wrong("0 1 0 1 0 0 1");
}

TEST_F(ModelFile, WrittenByPrintGivesTheSameWeights) {
    Model model(5, -1000, 1000);
    model.set(0, 0, -3);
    model.set(0, 4, 1000);
    model.set(2, 3, -1000);
    std::ofstream file(folder.path("printed"));
    model.print("", file);

    const Model copy(folder.path("printed"));
    EXPECT_EQ(copy.impl().bits, 16);
    for (int i = 0; i < 5; ++i) {
        for (int j = 0; j < 5; ++j)
            EXPECT_EQ(copy.get(i, j), model.get(i, j));
    }
}

TEST_F(ModelFile, WrittenByPrintCutsAWideWeightThatTheHeaderDoesNotCount) {
    Model model(2, 16);
    model.set(0, 0, 300);
    std::ofstream file(folder.path("printed"));
    model.print("", file);
    EXPECT_EQ(Model(folder.path("printed")).get(0, 0), 44);
}

}  // namespace
}  // namespace orvex
