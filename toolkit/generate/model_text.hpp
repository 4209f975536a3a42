// A generated model as a model file.
#pragma once

#include "toolkit/generate/generated_model.hpp"
#include "toolkit/io/output_file.hpp"

namespace orvex::toolkit::generate {

/**
 * Writes the header and a line "row column weight" for each entry. The rows are asked for twice.
 *
 * @throws WriteError
 */
void write_model(const GeneratedModel& model, OutputFile& file);

}  // namespace orvex::toolkit::generate
