#include "toolkit/run/checkpoint.hpp"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <unistd.h>
#include <utility>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

namespace fs = std::filesystem;

constexpr const char* FIRST_LINE = "orvex checkpoint 1";
constexpr const char* DIGITS = "0123456789abcdef";

/** Digits of a solution. */
std::size_t digits_for(int size) {
    return (static_cast<std::size_t>(size) + 3) / 4;
}

/** What must be the same for a checkpoint to be of the problem, beside its energies. */
std::vector<std::string> lines_of(const Problem& problem) {
    return {"size " + std::to_string(problem.size), "nonzero " + std::to_string(problem.nonzero),
            "energies " + to_string(problem.bound.lowest_energy) + " " +
                to_string(problem.bound.highest_energy)};
}

// ---- reading -------------------------------------------------------------------------------

/** Reads line after line, none of them longer than a checkpoint's can be: the file may be any. */
class Lines {
  public:
    Lines(const std::string& file, std::size_t longest) : file_(file), buffer_(longest + 2, '\0') {
        errno = 0;
        std::error_code ignored;
        if (fs::is_directory(file, ignored)) errno = EISDIR;
        if (errno == 0) stream_.open(file);
        if (!stream_.is_open()) throw InputError("Cannot read " + file + ": " + strerror(errno));
    }

    std::string_view next() {
        stream_.getline(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
        ++number_;
        if (stream_.bad()) fail("cannot be read");
        if (stream_.eof()) fail("the file ends too early");
        if (stream_.fail()) fail("no line of a checkpoint of this problem is so long");
        return {buffer_.data(), static_cast<std::size_t>(stream_.gcount()) - 1};
    }

    [[noreturn]] void fail(const std::string& reason) const {
        throw InputError(file_ + ", line " + std::to_string(number_) + ": " + reason);
    }

  private:
    const std::string& file_;
    std::ifstream stream_;
    std::string buffer_;
    long number_ = 0;
};

/** The number that a text begins with, which is cut off. */
long take_number(std::string_view& text, const Lines& lines) {
    long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) lines.fail("a number is expected");
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

bool take_word(std::string_view& text, std::string_view word) {
    if (!text.starts_with(word)) return false;
    text.remove_prefix(word.size());
    return true;
}

std::vector<std::uint64_t> words_of(std::string_view digits, int size, const Lines& lines) {
    const auto bits = static_cast<std::size_t>(size);
    if (digits.size() != digits_for(size))
        lines.fail("a solution of this problem has " + std::to_string(digits_for(size)) +
                   " digits, not " + std::to_string(digits.size()));
    std::vector<std::uint64_t> words((bits + 63) / 64);
    for (std::size_t k = 0; k < digits.size(); ++k) {
        const char* const digit = std::strchr(DIGITS, digits[k]);
        if (digit == nullptr || *digit == '\0') lines.fail("a solution has hexadecimal digits");
        words[k / 16] |= static_cast<std::uint64_t>(digit - DIGITS) << (k % 16 * 4);
    }
    if (bits % 64 != 0 && words.back() >> (bits % 64) != 0)
        lines.fail("the last digit has variables that the problem has not");
    return words;
}

void expect_problem(Lines& lines, const Problem& problem) {
    if (lines.next() != FIRST_LINE) lines.fail("this is no checkpoint");
    for (const std::string& expected : lines_of(problem))
        if (const std::string found(lines.next()); found != expected)
            lines.fail("the checkpoint is of another problem: it has \"" + found +
                       "\", this one \"" + expected + "\"");
}

// ---- writing -------------------------------------------------------------------------------

std::string text_of(const Problem& problem, const std::vector<Kept>& solutions) {
    std::string text = std::string(FIRST_LINE) + "\n";
    for (const std::string& line : lines_of(problem))
        text += line + "\n";
    for (const Kept& kept : solutions) {
        text += "solution " + std::to_string(kept.energy) + " ";
        for (std::size_t k = 0; k < digits_for(problem.size); ++k)
            text += DIGITS[kept.words[k / 16] >> (k % 16 * 4) & 15];
        text += "\n";
    }
    return text + "end " + std::to_string(solutions.size()) + "\n";
}

/** A descriptor that is closed with it. */
struct Descriptor {
    int number;
    ~Descriptor() {
        if (number >= 0) close(number);
    }
};

bool write_through(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = write(descriptor, text.data(), text.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return fsync(descriptor) == 0;
}

}  // namespace

std::vector<Kept> read_checkpoint(const std::string& file, const Problem& problem) {
    constexpr std::size_t BEFORE_DIGITS = 128;
    Lines lines(file, BEFORE_DIGITS + digits_for(problem.size));
    expect_problem(lines, problem);
    std::vector<Kept> solutions;
    for (;;) {
        std::string_view line = lines.next();
        if (take_word(line, "end ")) {
            if (take_number(line, lines) != static_cast<long>(solutions.size()) || !line.empty())
                lines.fail("there are " + std::to_string(solutions.size()) + " solutions");
            return solutions;
        }
        if (!take_word(line, "solution ")) lines.fail("neither a solution nor the end");
        const long energy = take_number(line, lines);
        if (!take_word(line, " ")) lines.fail("a blank is expected");
        Kept kept{energy, words_of(line, problem.size, lines)};
        const Wide sum = problem.weights.energy(solution_of(kept, problem.size));
        if (sum != energy)
            lines.fail(
                "the checkpoint is damaged or of another problem: the solution has the "
                "energy " +
                to_string(sum) + ", not " + std::to_string(energy));
        if (!solutions.empty() && energy < solutions.back().energy)
            lines.fail("the best solution comes first");
        solutions.push_back(std::move(kept));
    }
}

void write_checkpoint(const std::string& file, const Problem& problem,
                      const std::vector<Kept>& solutions) {
    const auto fail = [&] {
        throw std::runtime_error("Cannot write " + file + ": " + strerror(errno));
    };
    std::error_code ignored;
    const fs::path known = fs::weakly_canonical(file, ignored);  // what a link leads to
    const fs::path target = known.empty() ? fs::path(file) : known;
    const std::string part = target.string() + ".part-" + std::to_string(getpid());
    {
        const Descriptor written{
            open(part.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)};
        if (written.number < 0) fail();
        if (!write_through(written.number, text_of(problem, solutions)) ||
            rename(part.c_str(), target.c_str()) != 0) {
            const int why = errno;
            unlink(part.c_str());
            errno = why;
            fail();
        }
    }
    // The new name itself; some file systems know no such thing, and have it anyway.
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    const Descriptor names{open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
    if (names.number >= 0) fsync(names.number);
}

Sol solution_of(const Kept& kept, int size) {
    Sol solution(size);
    std::copy(kept.words.begin(), kept.words.end(), solution.impl().data.get());
    return solution;
}

}  // namespace orvex::toolkit
