// A generated model as a model file.
#pragma once

#include "output_file.hpp"
#include "rows.hpp"

namespace orvex::generate {

/**
 * Writes the header and a line "row column weight" for each entry. The rows are asked for twice.
 *
 * @throws cli::WriteError
 */
void write_model(const Rows& model, cli::OutputFile& file);

}  // namespace orvex::generate
