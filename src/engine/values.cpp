#include "engine/values.hpp"

#include <cassert>
#include <cerrno>
#include <cstdlib>
#include <type_traits>

#include "engine/error_exit.hpp"

namespace orvex::engine {

namespace {

constexpr const char* SEPARATORS = " \t\n\r";

template <class T>
bool convert(const std::string& token, T& out) {
    if constexpr (std::is_same_v<T, bool>) {
        if (token == "1" || token == "true") return out = true, true;
        if (token == "0" || token == "false") return out = false, true;
        return false;
    } else {
        const char* begin = token.c_str();
        char* end = nullptr;
        errno = 0;
        if constexpr (std::is_floating_point_v<T>)
            out = static_cast<T>(std::strtod(begin, &end));
        else
            out = static_cast<T>(std::strtoll(begin, &end, 10));
        return end != begin && end == begin + token.size() && errno != ERANGE;
    }
}

[[noreturn]] void wrong_value(const std::string& key) {
    error_exit("wrong parameter [" + key + "].");
}

}  // namespace

std::string next_token(const std::string& text, std::size_t& pos) {
    assert(pos <= text.size());
    const std::size_t begin = text.find_first_not_of(SEPARATORS, pos);
    if (begin == std::string::npos) return "";
    pos = text.find_first_of(SEPARATORS, begin);
    if (pos == std::string::npos) pos = text.size();
    assert(begin < pos && pos <= text.size());
    return text.substr(begin, pos - begin);
}

template <class T>
bool parse_string_pos(const std::string& text, std::size_t& pos, T& out) {
    const std::string token = next_token(text, pos);
    return !token.empty() && convert(token, out);
}

template <class T>
void parse_param(const PARAM_ENTRY& kv, T& out) {
    std::size_t pos = 0;
    if (!parse_string_pos(kv.second, pos, out)) wrong_value(kv.first);
}

template <class T, class U>
void parse_param(const PARAM_ENTRY& kv, T& a, U& b) {
    std::size_t pos = 0;
    if (!parse_string_pos(kv.second, pos, a) || !parse_string_pos(kv.second, pos, b))
        wrong_value(kv.first);
}

template <class T, class U>
std::string to_string(T a, U b) {
    return std::to_string(a) + " " + std::to_string(b);
}

void wrong_param(const std::string& text) {
    error_exit("wrong parameter \"" + text + "\"");
}

template void parse_param(const PARAM_ENTRY&, int&);
template void parse_param(const PARAM_ENTRY&, unsigned int&);
template void parse_param(const PARAM_ENTRY&, short&);
template void parse_param(const PARAM_ENTRY&, long&);
template void parse_param(const PARAM_ENTRY&, float&);
template void parse_param(const PARAM_ENTRY&, bool&);
template void parse_param(const PARAM_ENTRY&, int&, int&);
template void parse_param(const PARAM_ENTRY&, float&, float&);
template bool parse_string_pos(const std::string&, std::size_t&, int&);
template bool parse_string_pos(const std::string&, std::size_t&, long&);
template bool parse_string_pos(const std::string&, std::size_t&, float&);
template bool parse_string_pos(const std::string&, std::size_t&, double&);
template std::string to_string(int, int);

}  // namespace orvex::engine
