// TSPLIB's .tsp and .atsp: lines "KEYWORD: value" and sections of numbers, cities from 1. The
// length of the tour is minimised; bit c * n + p says that city c is at place p of the tour.
#include <algorithm>
#include <array>
#include <limits>
#include <map>
#include <utility>

#include "toolkit/io/formats/decimal.hpp"
#include "toolkit/io/formats/entries.hpp"
#include "toolkit/io/formats/one_hot.hpp"
#include "toolkit/io/formats/tsplib_distances.hpp"
#include "toolkit/io/formats/words.hpp"

namespace orvex::toolkit {
namespace {

constexpr std::string_view KEYWORDS[] = {
    "NAME", "TYPE", "COMMENT", "DIMENSION", "EDGE_WEIGHT_TYPE", "EDGE_WEIGHT_FORMAT"};

std::string_view keyword_of(std::string_view word) {
    return word.substr(0, word.find(':'));
}

bool may_be(const Beginning& beginning) {
    if (beginning.lines.empty()) return false;
    const std::string_view first = keyword_of(beginning.lines[0][0]);
    return std::find(std::begin(KEYWORDS), std::end(KEYWORDS), first) != std::end(KEYWORDS);
}

class Reader {
  public:
    explicit Reader(Lines& lines) : lines_(lines) {}

    /** Reads all of the file. @return the distances, row after row */
    Distances read() {
        while (lines_.next()) {
            const std::string keyword(keyword_of(lines_.word(0)));
            if (keyword == "EOF") {
                lines_.expect_end("\"EOF\"");
                break;
            }
            if (keyword.ends_with("_SECTION"))
                read_section(keyword);
            else
                read_value(keyword);
        }
        if (!distances_.empty()) return std::move(distances_);
        if (coordinates_.empty())
            lines_.fail("the file has neither NODE_COORD_SECTION nor EDGE_WEIGHT_SECTION");
        Distances distances = distances_by(values_["EDGE_WEIGHT_TYPE"], coordinates_);
        if (distances.empty())
            lines_.fail("the coordinates are too far apart: a distance is beyond 2^53");
        return distances;
    }

    int size() const { return size_; }

  private:
    void read_value(const std::string& keyword) {
        std::string_view text = lines_.text();
        const std::size_t colon = text.find(':');
        if (colon == std::string_view::npos)
            lines_.fail(Lines::quoted(lines_.word(0)) +
                        " is neither a keyword with a value nor a section");
        std::vector<std::string_view> words;
        split_words(text.substr(colon + 1), words);
        const std::string value = words.empty() ? "" : std::string(words[0]);
        // A section that has been read goes by what came before it.
        if (!values_.emplace(keyword, value).second && keyword != "COMMENT")
            lines_.fail(keyword + " is given twice");
        if (keyword == "TYPE" && value != "TSP" && value != "ATSP")
            lines_.fail("the type is " + Lines::quoted(value) + "; only TSP and ATSP are read");
        if (keyword == "EDGE_WEIGHT_TYPE" && value != "EXPLICIT" && !is_distance(value))
            lines_.fail("the edge weight type " + Lines::quoted(value) + " is not known");
        if (keyword == "DIMENSION") {
            size_ = lines_.size(value, "the dimension", MOST_THINGS);
            if (size_ < 2) lines_.fail("a tour has at least 2 cities");
        }
    }

    void read_section(const std::string& section) {
        for (const char* keyword : {"TYPE", "DIMENSION", "EDGE_WEIGHT_TYPE"})
            if (!values_.contains(keyword))
                lines_.fail(std::string("there is no line \"") + keyword + ": ...\" before " +
                            section);
        const bool is_explicit = values_["EDGE_WEIGHT_TYPE"] == "EXPLICIT";
        if (section == "NODE_COORD_SECTION" && !is_explicit)
            coordinates_ = read_coordinates();
        else if (section == "NODE_COORD_SECTION" || section == "DISPLAY_DATA_SECTION")
            read_coordinates();
        else if (section == "EDGE_WEIGHT_SECTION" && is_explicit)
            read_matrix();
        else
            lines_.fail(Lines::quoted(section) + " is not known here");
    }

    std::vector<Place> read_coordinates() {
        std::vector<Place> places(static_cast<std::size_t>(size_));
        std::vector<bool> known(places.size());
        for (int line = 0; line < size_; ++line) {
            lines_.expect_next("the coordinates of city " + std::to_string(line + 1));
            lines_.expect_words(3, "a city and two coordinates");
            const auto city = static_cast<std::size_t>(lines_.index(0, "the city", 1, size_));
            if (known[city]) lines_.fail("the city already has coordinates");
            known[city] = true;
            for (const std::size_t k : {1u, 2u})
                if (!read_real(lines_.word(k), k == 1 ? places[city].x : places[city].y))
                    lines_.fail("the coordinate " + Lines::quoted(lines_.word(k)) +
                                " is not a number");
        }
        return places;
    }

    void read_matrix() {
        const std::string& form = values_["EDGE_WEIGHT_FORMAT"];
        const Shape* const shape = shape_named(form);
        if (shape == nullptr)
            lines_.fail("the edge weight format " + Lines::quoted(form) + " is not known");
        const auto n = static_cast<std::size_t>(size_);
        distances_.assign(n * n, 0);
        lines_.expect_next("the first distance");
        for (std::size_t i = 0; i < n; ++i)
            for (std::size_t j = shape->first(i); j < shape->last(i, n); ++j) {
                const std::string what =
                    "the distance of " + std::to_string(i + 1) + " and " + std::to_string(j + 1);
                const long distance = lines_.whole(lines_.take(what), what);
                distances_[i * n + j] = distance;
                if (!shape->full) distances_[j * n + i] = distance;
            }
        lines_.expect_line_taken("the last distance");
    }

    Lines& lines_;
    std::map<std::string, std::string> values_;
    int size_ = 0;
    std::vector<Place> coordinates_;
    Distances distances_;
};

void read(Lines& lines, const ReadOptions& options, Statement& statement) {
    Reader reader(lines);
    const Distances distances = reader.read();
    const int n = reader.size();
    const auto distance = [&](int from, int to) {
        return distances[static_cast<std::size_t>(from) * static_cast<std::size_t>(n) +
                         static_cast<std::size_t>(to)];
    };
    statement.resize(n * n);
    statement.convention.index_base = 1;
    statement.convention.objective = "length";
    Costs costs;
    for (int from = 0; from < n; ++from)
        for (int to = 0; to < n; ++to) {
            if (from == to) continue;
            const long length = distance(from, to);
            ++statement.entries;
            (length < 0 ? costs.negative : costs.positive) += Wide{n} * length;
            // A further city has one before it and one after it.
            costs.most_of_a_bit = std::max(costs.most_of_a_bit, 2 * Wide{length});
        }
    expect_couplings(Wide{n} * n * (n - 1) / 2 * 4, options, lines);
    const Wide penalty = choose_penalty(n, costs, options, lines, statement);
    for (int city = 0; city < n; ++city)
        for (int place = 0; place < n; ++place) {
            add_one_hot_bit(city, place, n, penalty, statement);
            for (int other = city + 1; other < n; ++other) {
                std::array<std::pair<int, Wide>, 3> places{
                    {{(place + n - 1) % n, distance(other, city)},
                     {place, 2 * penalty},
                     {(place + 1) % n, distance(city, other)}}};
                std::sort(places.begin(), places.end());
                for (const auto& [at, weight] : places)
                    statement.add(city * n + place, other * n + at, weight);
            }
        }
}

}  // namespace

const Format TSPLIB = {.name = "tsplib",
                       .title = "TSPLIB .tsp",
                       .may_be = may_be,
                       .read = read,
                       .write = nullptr,
                       .has_penalty = true};

}  // namespace orvex::toolkit
