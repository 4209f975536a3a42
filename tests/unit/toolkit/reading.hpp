// What the tests of file formats share: texts read as files, refusals, and models as numbers.
#pragma once

#include <string>
#include <vector>

#include "toolkit/io/formats/input_file.hpp"
#include "toolkit/io/solution.hpp"
#include "toolkit/model/energy.hpp"
#include "toolkit/model/errors.hpp"
#include "unit/toolkit/temporary_file.hpp"

namespace orvex::toolkit::test {

inline Problem read(const std::string& contents, ReadOptions options = {}) {
    return InputFile(TemporaryFile(contents, ".txt").path(), options).read();
}

inline Problem read_as(const std::string& format, const std::string& contents) {
    return read(contents, {.format = format});
}

/** The message after the name of the file; empty if it is read. */
inline std::string refusal(const std::string& contents, ReadOptions options = {}) {
    const TemporaryFile file(contents, ".txt");
    try {
        InputFile(file.path(), options).read();
        return "";
    } catch (const InputError& error) {
        const std::string text = error.what();
        return text.rfind(file.path(), 0) == 0 ? text.substr(file.path().size() + 2) : text;
    }
}

/** What is refused where only whole numbers are taken. */
inline std::string exact_refusal(const std::string& contents, const std::string& format = "") {
    return refusal(contents, {.format = format, .scale = {.rule = Scale::Rule::EXACT}});
}

inline std::string refusal_as(const std::string& format, const std::string& contents) {
    return refusal(contents, {.format = format});
}

/** The upper triangle of the weights, row after row. */
inline std::vector<long> weights(const Problem& problem) {
    std::vector<long> list;
    for (int i = 0; i < problem.size; ++i)
        for (int j = i; j < problem.size; ++j)
            list.push_back(problem.weights.get(i, j));
    return list;
}

/** The objective of a bit vector, in the words of the file. */
inline long objective(const Problem& problem, const std::string& digits) {
    Sol solution(problem.size);
    for (int i = 0; i < problem.size; ++i)
        solution.set(i, digits[static_cast<std::size_t>(i)] == '1');
    const Wide energy = problem.weights.energy(solution);
    return static_cast<long>(problem.convention.objective_at(energy));
}

}  // namespace orvex::toolkit::test
