// The beginning of a file, which decides what format it may be in: a small file's is all of it.
#pragma once

#include <string_view>
#include <vector>

namespace orvex::toolkit {

struct Beginning {
    std::string_view first_line;
    std::vector<std::string_view> comments;            ///< lines that begin with #
    std::vector<std::vector<std::string_view>> lines;  ///< words of the others, but for blank ones
    bool whole = false;                                ///< whether that is the whole file

    /** @param whole whether nothing follows the text; else its last line, or word, is left out */
    Beginning(std::string_view text, bool whole);

    /** Whether the first line has that many words, all of which are whole numbers. */
    bool starts_with_numbers(std::size_t count) const;

    /** Whether line k exists and has at least `least` and at most `most` words. */
    bool has_words(std::size_t k, std::size_t least, std::size_t most) const;
    bool has_words(std::size_t k, std::size_t count) const { return has_words(k, count, count); }

    /** Whether the lines from k on have that many words. */
    bool all_have_words(std::size_t k, std::size_t least, std::size_t most) const;

    /** Whether a comment has this text in it. */
    bool has_comment(std::string_view text) const;

    /** Whether the first line is "n m" and each other one an entry "i j" or "i j w", i and j
     * from 1. */
    bool lists_entries() const;
    /** Whether one of them has i = j. */
    bool has_diagonal() const;
    /** Whether they are the edges of a graph with weights of 1 and -1, as the G-set has them. */
    bool lists_unit_edges() const;
};

/** The whole number that a word is, or -1. */
long number_of(std::string_view word);

}  // namespace orvex::toolkit
