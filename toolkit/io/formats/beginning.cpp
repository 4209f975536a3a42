#include "toolkit/io/formats/beginning.hpp"

#include <algorithm>
#include <charconv>

#include "toolkit/io/formats/words.hpp"

namespace orvex::toolkit {

long number_of(std::string_view word) {
    long number = 0;
    const char* const end = word.data() + word.size();
    const auto [stop, error] = std::from_chars(word.data(), end, number);
    return stop == end && error == std::errc() ? number : -1;
}

Beginning::Beginning(std::string_view text, bool is_whole) : whole(is_whole) {
    if (!whole) {
        const std::size_t end = text.rfind('\n');
        text =
            text.substr(0, end != std::string_view::npos ? end + 1 : text.find_last_of(" \t") + 1);
    }
    first_line = text.substr(0, text.find('\n'));
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string_view line = text.substr(begin, end - begin);
        std::vector<std::string_view> words;
        split_words(line, words);
        if (!words.empty() && words.front().front() == '#')
            comments.push_back(line);
        else if (!words.empty())
            lines.push_back(std::move(words));
        begin = end + 1;
    }
}

bool Beginning::starts_with_numbers(std::size_t count) const {
    if (!has_words(0, count)) return false;
    // The smallest weight of a header may be negative.
    return std::all_of(lines[0].begin(), lines[0].end(), [](std::string_view word) {
        if (word.size() > 1 && word.front() == '-') word.remove_prefix(1);
        return !word.empty() && word.find_first_not_of("0123456789") == std::string_view::npos;
    });
}

bool Beginning::has_words(std::size_t k, std::size_t least, std::size_t most) const {
    return k < lines.size() && least <= lines[k].size() && lines[k].size() <= most;
}

bool Beginning::all_have_words(std::size_t k, std::size_t least, std::size_t most) const {
    for (; k < lines.size(); ++k)
        if (!has_words(k, least, most)) return false;
    return true;
}

bool Beginning::has_comment(std::string_view text) const {
    return std::any_of(comments.begin(), comments.end(), [&](std::string_view comment) {
        return comment.find(text) != std::string_view::npos;
    });
}

bool Beginning::lists_entries() const {
    if (!starts_with_numbers(2) || number_of(lines[0][0]) < 1) return false;
    if (!has_words(1, 2, 3)) return lines.size() == 1 && number_of(lines[0][1]) == 0;
    return number_of(lines[1][0]) != 0 && number_of(lines[1][1]) != 0;
}

bool Beginning::has_diagonal() const {
    return std::any_of(lines.begin() + 1, lines.end(),
                       [](const auto& words) { return words.size() >= 2 && words[0] == words[1]; });
}

bool Beginning::lists_unit_edges() const {
    return lists_entries() && lines.size() > 1 && !has_diagonal() &&
           std::all_of(lines.begin() + 1, lines.end(), [](const auto& words) {
               return words.size() == 3 && (words[2] == "1" || words[2] == "-1");
           });
}

}  // namespace orvex::toolkit
