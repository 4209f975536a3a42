// Checkpoints: read for a search that goes on from one, and kept up by a caller that has found
// something elsewhere.
#include <memory>
#include <vector>

#include "support.hpp"
#include "toolkit/run/checkpoint_writer.hpp"

using namespace orvex::python;
using namespace orvex::toolkit;

using ORVEX_PYTHON_SOLUTIONS = std::vector<Kept>;

/** The solutions of a checkpoint of the problem, the best first. */
ORVEX_PYTHON_API ORVEX_PYTHON_SOLUTIONS* orvex_python_read_checkpoint(const Problem* problem,
                                                                      const char* file) {
    return guarded(static_cast<ORVEX_PYTHON_SOLUTIONS*>(nullptr), [&] {
        return std::make_unique<ORVEX_PYTHON_SOLUTIONS>(read_checkpoint(file, *problem)).release();
    });
}

ORVEX_PYTHON_API std::int64_t orvex_python_kept(const ORVEX_PYTHON_SOLUTIONS* solutions) {
    return static_cast<std::int64_t>(solutions->size());
}

/** The bits of a solution. */
ORVEX_PYTHON_API const std::uint64_t* orvex_python_kept_words(
    const ORVEX_PYTHON_SOLUTIONS* solutions, std::int64_t index) {
    return (*solutions)[static_cast<std::size_t>(index)].words.data();
}

ORVEX_PYTHON_API void orvex_python_free_kept(ORVEX_PYTHON_SOLUTIONS* solutions) {
    delete solutions;
}

/** Keeps a checkpoint up until it is closed; the problem outlives it. */
ORVEX_PYTHON_API CheckpointWriter* orvex_python_open_checkpoint(const Problem* problem,
                                                                const char* file) {
    return guarded(static_cast<CheckpointWriter*>(nullptr),
                   [&] { return std::make_unique<CheckpointWriter>(file, *problem).release(); });
}

/** A solution that was found. @return 0, or 1 when it could not be noted */
ORVEX_PYTHON_API int orvex_python_note(CheckpointWriter* writer, const Problem* problem,
                                       const std::uint64_t* words) {
    return guarded(1, [&] {
        const orvex::Sol solution = orvex::python::solution_of(problem->size, words);
        writer->note(static_cast<long>(problem->weights.energy(solution)), solution);
        return 0;
    });
}

/** Writes what is not written yet. @return why the file is not up to date; empty when it is */
ORVEX_PYTHON_API const char* orvex_python_close_checkpoint(CheckpointWriter* writer) {
    thread_local std::string failure;
    failure = writer->finish();
    delete writer;
    return failure.c_str();
}
