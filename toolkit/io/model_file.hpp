// A model file, validated completely before the library sees any of it: the library takes a file at
// its word, ends the process at some errors and overlooks others. The entries of a dense model go
// straight into its matrix and those of a sparse one into lists, so memory grows with the file; and
// since no name of a file is handed to the library, none reaches the shell that its own reader
// of compressed files starts.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <orvex/orvex.hpp>

#include "toolkit/io/number_reader.hpp"
#include "toolkit/model/problem.hpp"

namespace orvex::toolkit {

/** What is odd about a file's name, if anything is. */
void warn_about_name(const NumberReader& reader, std::vector<std::string>& warnings);

class ModelFile {
  public:
    /** Opens the file and reads its header. @throws InputError when anything in it is wrong */
    explicit ModelFile(const std::string& file) : ModelFile(NumberReader(file)) {}
    /** Reads the header of an open file. @throws InputError when anything in it is wrong */
    explicit ModelFile(NumberReader reader);

    int size() const { return problem_.size; }
    int width() const { return problem_.width; }
    long entries() const { return problem_.entries; }

    /** Reads the rest; to be called once. @throws InputError when anything in it is wrong */
    Problem read();

  private:
    void read_header();
    void read_entries();
    SparseQubo listed();
    int read_index(const char* what);
    void check_range(long weight);
    void check_end();
    void warn_about_ranges();

    NumberReader reader_;
    Problem problem_;
    std::unique_ptr<Model> model_;   // where the entries are worth a matrix
    std::vector<Coupling> entries_;  // where they are not, i <= j
    long repeated_ = 0;              // entries of pairs that have been named before
    long beyond_ = 0;                // weights beyond the header's range
    std::string first_beyond_;       // what the first of them is
};

}  // namespace orvex::toolkit
