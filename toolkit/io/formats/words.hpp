// Words of a line: what is between white space.
#pragma once

#include <algorithm>
#include <string_view>
#include <vector>

namespace orvex::toolkit {

/** Splits a text into its words. The end of a line may have a carriage return before it. */
inline void split_words(std::string_view text, std::vector<std::string_view>& words) {
    constexpr std::string_view SPACE = " \t\n\v\f\r";
    words.clear();
    std::size_t begin = text.find_first_not_of(SPACE);
    while (begin != std::string_view::npos) {
        const std::size_t end = std::min(text.find_first_of(SPACE, begin), text.size());
        words.push_back(text.substr(begin, end - begin));
        begin = text.find_first_not_of(SPACE, end);
    }
}

}  // namespace orvex::toolkit
