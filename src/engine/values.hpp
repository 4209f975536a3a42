// Parameter values: text to number. A value is a row of tokens separated by blanks, tabs, line
// feeds or carriage returns; a form takes the tokens that it needs and ignores what follows
// them.
#pragma once

#include <cstddef>
#include <string>
#include <utility>

namespace orvex::engine {

/** A key and its value, as they stand in the parameter map. */
using PARAM_ENTRY = std::pair<const std::string, std::string>;

/**
 * Converts the first token of the value. T is int, unsigned int, short, long, float or bool.
 * Integers are read as 64-bit decimal numbers and cut to T's width without a test; bool takes 1,
 * true, 0, false. A value that does not convert ends the process with "wrong parameter [key].".
 */
template <class T>
void parse_param(const PARAM_ENTRY& kv, T& out);

/** Converts the first two tokens; (int, int) and (float, float). */
template <class T, class U>
void parse_param(const PARAM_ENTRY& kv, T& a, U& b);

/** The next token from `pos` on, which moves to its end; empty if there is none. */
std::string next_token(const std::string& text, std::size_t& pos);

/**
 * Converts the next token of `text` from `pos` on and moves `pos` to its end. T is int, long, float
 * or double. False if there is no token or it does not convert.
 */
template <class T>
bool parse_string_pos(const std::string& text, std::size_t& pos, T& out);

/** The inverse of the pair form: both numbers with a blank between them. */
template <class T, class U>
std::string to_string(T a, U b);

/** Ends the process with: wrong parameter "text". */
[[noreturn]] void wrong_param(const std::string& text);

}  // namespace orvex::engine
