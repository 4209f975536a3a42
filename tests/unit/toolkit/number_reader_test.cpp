// Numbers, lines and what may be wrong with a file as such.
#include "toolkit/io/number_reader.hpp"

#include <limits>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "toolkit/model/errors.hpp"
#include "unit/toolkit/temporary_file.hpp"

namespace orvex::toolkit::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

/** What reading all numbers of a file ends with; empty if it reaches the end. */
std::string failure(const std::string& path) {
    try {
        NumberReader reader(path);
        while (reader.more())
            reader.number("the number");
        return "";
    } catch (const InputError& error) {
        return error.what();
    }
}

std::string failure_of(const std::string& contents) {
    return failure(TemporaryFile(contents).path());
}

TEST(NumberReader, TellsTheLineOfEachNumber) {
    const TemporaryFile file("1 2\n\n -3\t+4\r\n5");
    NumberReader reader(file.path());
    const long expected[][2] = {{1, 1}, {2, 1}, {-3, 3}, {4, 3}, {5, 4}};
    for (const auto& [number, line] : expected) {
        EXPECT_TRUE(reader.more());
        EXPECT_EQ(reader.number("the number"), number);
        EXPECT_EQ(reader.line(), line);
    }
    EXPECT_FALSE(reader.more());
}

TEST(NumberReader, ReadsAllOf64Bits) {
    const TemporaryFile file("9223372036854775807 -9223372036854775808 000000000000000000000012");
    NumberReader reader(file.path());
    EXPECT_EQ(reader.number(""), std::numeric_limits<long>::max());
    EXPECT_EQ(reader.number(""), std::numeric_limits<long>::min());
    EXPECT_EQ(reader.number(""), 12);
}

TEST(NumberReader, RefusesWhatIsNoWholeNumberOf64Bits) {
    for (const char* text : {"9223372036854775808", "-9223372036854775809", "99999999999999999999",
                             "1.5", "1e3", "x", "-", "+", "--1", "0x10", "1,2", "12a"})
        EXPECT_THAT(failure_of(std::string("7\n") + text + "\n"),
                    HasSubstr(", line 2: the number must be a whole number of 64 bits, not \""))
            << text;
    EXPECT_THAT(failure_of("1.5"), EndsWith("not \"1.5\""));
    EXPECT_THAT(failure_of(std::string("a\0\x80z", 4)), EndsWith("not \"a??z\""));
}

/** A megabyte of a compressed file can be a gigabyte of one line. */
TEST(NumberReader, RefusesALineWithoutEnd) {
    const TemporaryFile file(compressed("1\n" + std::string(70'000'000, 'a')));
    NumberReader reader(file.path());
    std::string text;
    EXPECT_TRUE(reader.line(text));
    try {
        reader.line(text);
        ADD_FAILURE() << "it was read";
    } catch (const InputError& error) {
        EXPECT_THAT(error.what(), EndsWith("line 2: the line is longer than 64 MiB"));
    }
}

TEST(NumberReader, NumbersMayLieAcrossTheBoundsOfItsBuffer) {
    std::string text;
    long count = 0, sum = 0;
    for (; text.size() < 3'000'000; ++count) {
        text += std::to_string(count) + (count % 7 == 0 ? "\n" : " ");
        sum += count;
    }
    for (const std::string& contents : {text, compressed(text)}) {
        const TemporaryFile file(contents);
        NumberReader reader(file.path());
        long read = 0, total = 0;
        for (; reader.more(); ++read)
            total += reader.number("");
        EXPECT_EQ(read, count);
        EXPECT_EQ(total, sum);
    }
}

TEST(NumberReader, KnowsWhetherTheContentsAreCompressed) {
    EXPECT_TRUE(NumberReader(TemporaryFile(compressed("1")).path()).compressed());
    EXPECT_FALSE(NumberReader(TemporaryFile("1").path()).compressed());
}

TEST(NumberReader, GivesLinesOfAnyLengthWithoutTheirEnds) {
    const std::string large(600000, 'x');
    const TemporaryFile file("first\n\n" + large + "\nlast");
    NumberReader reader(file.path());
    std::string line;
    for (const std::string& expected :
         {std::string("first"), std::string(), large, std::string("last")}) {
        ASSERT_TRUE(reader.line(line));
        EXPECT_EQ(line, expected);
    }
    EXPECT_EQ(reader.line(), 4);
    EXPECT_FALSE(reader.line(line));
}

TEST(NumberReader, ShowsWhatIsAhead) {
    const NumberReader small(TemporaryFile("1 2\n").path());
    EXPECT_EQ(small.ahead(), "1 2\n");
    EXPECT_TRUE(small.ahead_is_all());
    EXPECT_FALSE(NumberReader(TemporaryFile(std::string(600000, '1')).path()).ahead_is_all());
}

TEST(NumberReader, TellsThatACompressedFileIsCutShort) {
    std::string text;
    for (int i = 0; i < 10000; ++i)
        text += std::to_string(i * 7919 % 10007) + "\n";
    std::string bytes = compressed(text);
    bytes.resize(bytes.size() / 2);
    EXPECT_THAT(failure_of(bytes), EndsWith("the compressed file is cut short"));
}

TEST(NumberReader, TellsThatACompressedFileIsDamaged) {
    std::string bytes = compressed("1 2 3 4 5 6 7 8 9 10 11 12\n");
    bytes[bytes.size() - 6] ^= 1;  // in the check sum
    EXPECT_THAT(failure_of(bytes), HasSubstr("the compressed file is damaged"));
}

TEST(NumberReader, TellsWhyAFileCannotBeRead) {
    EXPECT_EQ(failure("/nowhere/model.qubo"),
              "Cannot open /nowhere/model.qubo: No such file or directory");
    EXPECT_THAT(failure("/tmp"), EndsWith("cannot be read: Is a directory"));
}

}  // namespace
}  // namespace orvex::toolkit::test
