// Writes a model: its weights in the format of model files, or its attributes for display.
#include <limits>
#include <ostream>

#include "orvex/model.hpp"

#include "problem/exit_with_message.hpp"
#include "problem/print_option.hpp"
#include "problem/text_map.hpp"

namespace orvex {
namespace {

struct HEADER {
    long entries = 0;
    long smallest = std::numeric_limits<long>::max();
    long largest = std::numeric_limits<long>::min();

    // Part of the format: a weight that lowers smallest is not looked at for largest, so the very
    // first one never counts there.
    void count(long weight) {
        if (weight != 0) ++entries;
        if (weight < smallest) {
            smallest = weight;
        } else if (weight > largest) {
            largest = weight;
        }
    }
};

HEADER header_of(const Model& model) {
    const int n = model.impl().size;
    HEADER header;
    for (int i = 0; i < n; ++i) {
        for (int j = i; j < n; ++j)
            header.count(model.get(i, j));
    }
    return header;
}

void print_weights(const Model& model, std::ostream& out) {
    const int n = model.impl().size;
    const HEADER header = header_of(model);
    out << n << ' ' << header.entries << ' ' << header.smallest << ' ' << header.largest
        << std::endl;
    for (int i = 0; i < n; ++i) {
        for (int j = i; j < n; ++j) {
            const long weight = model.get(i, j);
            if (weight != 0) out << i << ' ' << j << ' ' << weight << std::endl;
        }
    }
}

}  // namespace

void Model::print(const std::string& option, std::ostream& out) const {
    const PRINT_OPTION wanted(option);
    if (wanted.section.empty()) {
        print_weights(*this, out);
    } else if (wanted.section == "attrs") {
        print_attributes(impl_->attrs, wanted.delimiter, out);
    } else {
        exit_with_message("Wrong model print option \"" + option + "\".");
    }
}

void Model::print(std::ostream& out, const std::string& option) const {
    print(option, out);
}

}  // namespace orvex
