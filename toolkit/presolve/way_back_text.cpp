// A way back as text. Reading follows the list as the rules made it: a node that is gone is never
// named again, so every list of steps that is accepted can be walked in both directions.
#include <algorithm>
#include <istream>
#include <limits>
#include <ostream>
#include <string>

#include "toolkit/model/errors.hpp"
#include "toolkit/presolve/way_back.hpp"

namespace orvex::toolkit {
namespace {

constexpr const char* TITLE = "orvex-way-back-1";

/** Trying the assignments of a ball takes two to this, so a file may not ask for more. */
constexpr std::int64_t LARGEST_BALL = 20;

std::size_t at(std::int64_t i) {
    return static_cast<std::size_t>(i);
}

}  // namespace

void write_way_back(const WayBack& way_back, std::ostream& out) {
    out << TITLE << '\n'
        << way_back.size_ << ' ' << way_back.left_.size() << ' ' << way_back.steps_.size() << ' '
        << to_string(way_back.offset_) << '\n';
    for (const WayBack::Step& step : way_back.steps_) {
        if (const Tie* const tie = std::get_if<Tie>(&step)) {
            out << "tie " << tie->gone << ' ' << tie->kept << ' ' << int{tie->sign} << ' '
                << int{tie->kept_yields};
        } else if (const Piece* const piece = std::get_if<Piece>(&step)) {
            out << "piece " << piece->count;
            for (const std::int32_t terminal : piece->terminals)
                out << ' ' << terminal;
            for (std::size_t k = piece->first; k < piece->first + piece->count; ++k)
                out << ' ' << way_back.nodes_[k] << ' ' << int{way_back.choices_[k]};
        } else if (const Ball* const ball = std::get_if<Ball>(&step)) {
            out << "ball " << ball->count << ' ' << ball->couplings << ' ' << ball->one << ' '
                << ball->other << ' ' << int{ball->sign};
            for (std::size_t k = ball->first; k < ball->first + ball->count; ++k)
                out << ' ' << way_back.nodes_[k];
            for (std::size_t k = 0; k < ball->couplings; ++k) {
                const Coupling& coupling = way_back.couplings_[ball->first_coupling + k];
                out << ' ' << coupling.i << ' ' << coupling.j << ' ' << coupling.weight;
            }
        }
        out << '\n';
    }
    for (std::size_t i = 0; i < way_back.left_.size(); ++i)
        out << way_back.left_[i] << ' ' << way_back.references_[i] << '\n';
    out << "end\n";
}

class WayBackReader {
  public:
    explicit WayBackReader(std::istream& in) : in_(in) {}

    WayBack read() {
        if (word() != TITLE) fail("it does not begin with " + std::string(TITLE));
        const std::int64_t size = number(0, std::numeric_limits<std::int32_t>::max() - 1);
        const std::int64_t left = number(0, size);
        const std::int64_t steps = number(0, 2 * size);
        WayBack way_back(0);
        way_back.size_ = static_cast<int>(size);
        way_back.offset_ = offset();
        there_.assign(at(size + 1), true);
        for (std::int64_t k = 0; k < steps; ++k)
            read_step(way_back);
        read_left(way_back, left);
        if (word() != "end") fail("it does not end where it should");
        return way_back;
    }

  private:
    [[noreturn]] static void fail(const std::string& text) {
        throw InputError("not a way back from a reduced model: " + text);
    }

    std::string word() {
        std::string text;
        in_ >> text;
        return text;
    }

    std::int64_t number(std::int64_t smallest, std::int64_t largest) {
        std::int64_t value = 0;
        if (!(in_ >> value)) fail("a number is missing");
        if (value < smallest || value > largest)
            fail("the number " + std::to_string(value) + " is not from " +
                 std::to_string(smallest) + " to " + std::to_string(largest));
        return value;
    }

    int sign() {
        const std::int64_t value = number(-1, 1);
        if (value == 0) fail("a sign is 0");
        return static_cast<int>(value);
    }

    Wide offset() {
        const std::string text = word();
        const std::size_t digits = text.substr(0, 1) == "-" ? 1 : 0;
        // Every sum over a model has fewer digits, and these never overflow.
        const bool right = text.size() > digits && text.size() - digits <= 37 &&
                           text.find_first_not_of("0123456789", digits) == std::string::npos;
        if (!right) fail("its offset is not a number");
        Wide value = 0;
        for (std::size_t k = digits; k < text.size(); ++k)
            value = 10 * value + (text[k] - '0');
        return digits != 0 ? -value : value;
    }

    /** A node that is still there. */
    std::int32_t node() {
        const std::int64_t v = number(0, static_cast<std::int64_t>(there_.size()) - 1);
        if (!there_[at(v)])
            fail("the variable " + std::to_string(v) + " is named after it is gone");
        return static_cast<std::int32_t>(v);
    }

    /** The same, and not the field. */
    std::int32_t variable() {
        const std::int32_t v = node();
        if (at(v) + 1 == there_.size()) fail("the field takes the place of a variable");
        return v;
    }

    void read_step(WayBack& way_back) {
        const std::string kind = word();
        if (kind == "tie")
            read_tie(way_back);
        else if (kind == "piece")
            read_piece(way_back);
        else if (kind == "ball")
            read_ball(way_back);
        else
            fail("no step is called \"" + kind.substr(0, 20) + "\"");
    }

    void read_tie(WayBack& way_back) {
        Tie tie{};
        tie.gone = variable();
        there_[at(tie.gone)] = false;
        tie.kept = node();
        tie.sign = static_cast<std::int8_t>(sign());
        tie.kept_yields = number(0, 1) != 0;
        way_back.add(tie);
    }

    void read_piece(WayBack& way_back) {
        const std::int64_t count = number(1, way_back.size_);
        std::vector<std::int32_t> terminals, nodes;
        std::vector<std::uint8_t> choices;
        bool ended = false;
        for (int k = 0; k < 3; ++k) {
            // Only the first must be there, and none follows one that is not.
            in_ >> std::ws;
            if (k > 0 && in_.peek() == '-') {
                number(-1, -1);
                ended = true;
                continue;
            }
            if (ended) fail("a terminal after the last one");
            terminals.push_back(node());
        }
        for (std::int64_t k = 0; k < count; ++k) {
            const std::int32_t v = variable();
            if (std::find(terminals.begin(), terminals.end(), v) != terminals.end())
                fail("a terminal is in its piece");
            there_[at(v)] = false;
            nodes.push_back(v);
            choices.push_back(static_cast<std::uint8_t>(number(0, 15)));
        }
        way_back.add_piece(nodes, terminals, choices);
    }

    void read_ball(WayBack& way_back) {
        const std::int64_t count = number(1, LARGEST_BALL);
        const std::int64_t many = number(0, std::numeric_limits<std::int32_t>::max());
        const std::int32_t one = node(), other = node();
        const int product = sign();
        std::vector<std::int32_t> nodes;
        const auto inside = [&](std::int32_t v) {
            return std::find(nodes.begin(), nodes.end(), v) != nodes.end();
        };
        for (std::int64_t k = 0; k < count; ++k)
            nodes.push_back(variable());
        if (one == other || !(inside(one) || inside(other))) fail("a ball cannot turn its pair");
        std::vector<Coupling> couplings;
        for (std::int64_t k = 0; k < many; ++k) {
            const std::int32_t i = node(), j = node();
            couplings.push_back({i, j,
                                 number(std::numeric_limits<std::int64_t>::min() + 1,
                                        std::numeric_limits<std::int64_t>::max())});
        }
        way_back.add_ball(nodes, couplings, one, other, product);
    }

    void read_left(WayBack& way_back, std::int64_t count) {
        way_back.left_.clear();
        way_back.references_.clear();
        std::vector<bool> known(there_.size());
        for (std::int64_t k = 0; k < count; ++k) {
            const std::int32_t v = variable();
            if (!way_back.left_.empty() && v <= way_back.left_.back())
                fail("the variables that are left do not ascend");
            way_back.left_.push_back(v);
            way_back.references_.push_back(node());
            known[at(v)] = true;
        }
        for (const std::int32_t reference : way_back.references_) {
            const bool is_left =
                std::binary_search(way_back.left_.begin(), way_back.left_.end(), reference);
            if (is_left) fail("a variable is to be understood against another one");
            known[at(reference)] = true;
        }
        for (std::size_t v = 0; v + 1 < there_.size(); ++v)
            if (there_[v] && !known[v])
                fail("nothing says what becomes of the variable " + std::to_string(v));
    }

    std::istream& in_;
    std::vector<bool> there_;  // the field is the last
};

WayBack read_way_back(std::istream& in) {
    return WayBackReader(in).read();
}

}  // namespace orvex::toolkit
