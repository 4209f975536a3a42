#include "toolkit/generate/model_text.hpp"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>

namespace orvex::toolkit::generate {
namespace {

/** Numbers as text, handed to the file in large pieces. */
class Text {
  public:
    explicit Text(OutputFile& file) : file_(file) { buffer_.reserve(FULL + 128); }

    void number(std::int64_t value, char behind) {
        char digits[24];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        buffer_.append(digits, end);
        buffer_ += behind;
        if (buffer_.size() >= FULL) flush();
    }

    void flush() {
        file_.write(buffer_);
        buffer_.clear();
    }

  private:
    static constexpr std::size_t FULL = 1 << 16;
    OutputFile& file_;
    std::string buffer_;
};

}  // namespace

void write_model(const GeneratedModel& model, OutputFile& file) {
    std::int64_t entries = 0;
    std::int64_t smallest = std::numeric_limits<std::int64_t>::max();
    std::int64_t largest = std::numeric_limits<std::int64_t>::min();
    model.each_row([&](int, const Row& row) {
        for (const Entry& entry : row) {
            ++entries;
            smallest = std::min(smallest, entry.weight);
            largest = std::max(largest, entry.weight);
        }
    });
    if (entries == 0) smallest = largest = 0;

    Text text(file);
    text.number(model.size, ' ');
    text.number(entries, ' ');
    text.number(smallest, ' ');
    text.number(largest, '\n');
    model.each_row([&](int number, const Row& row) {
        for (const Entry& entry : row) {
            text.number(number, ' ');
            text.number(entry.column, ' ');
            text.number(entry.weight, '\n');
        }
    });
    text.flush();
}

}  // namespace orvex::toolkit::generate
