// The two readers of model files, of the library and of the toolkit, on the same bytes. The library
// takes a file at its word or ends the process, the toolkit checks all of it; whatever the toolkit
// takes, the library reads as the same weights.
#include "toolkit/io/model_file.hpp"

#include <new>

#include <orvex/orvex.hpp>

#include "fuzz.hpp"
#include "toolkit/model/errors.hpp"

namespace orvex::fuzz {
namespace {

/** Above it, neither reader is asked: memory for the matrix is all that is left to find out. */
constexpr int LARGEST = 2000;

bool begins_with_large_size(const std::string& text) {
    return std::strtol(text.c_str(), nullptr, 10) > LARGEST;
}

bool compressed(const std::string& text) {
    return text.starts_with("\x1f\x8b");
}

}  // namespace

void model_file(Input input) {
    const std::string text = Bytes(input).rest();
    if (begins_with_large_size(text) && input.size() % 16 != 0) return;
    const MemoryFile file(text);

    std::unique_ptr<Model> model;
    bool ended = false;
    try {
        model = std::make_unique<Model>(file.path());
    } catch (const Ended&) {
        ended = true;
    } catch (const std::bad_alloc&) {
    }

    try {
        const toolkit::Problem problem = toolkit::ModelFile(file.path()).read();
        if (compressed(text)) return;  // by its name the library takes it for plain
        require(!ended, "the library reads what the toolkit takes");
        if (!model || problem.size > LARGEST) return;
        require(model->impl().size == problem.size, "both read the same size");
        for (int i = 0; i < problem.size; ++i)
            for (int j = 0; j < problem.size; ++j)
                require(model->get(i, j) == problem.weights.get(i, j), "both read the same weight");
    } catch (const toolkit::InputError&) {
    } catch (const std::bad_alloc&) {
    }
}

}  // namespace orvex::fuzz
