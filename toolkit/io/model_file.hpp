// A model file, validated completely before the library sees any of it: the library takes a file at
// its word, ends the process at some errors and overlooks others. The entries go straight into an
// orvex::Model, so that a file is parsed once and never held in memory as a list beside the matrix;
// and since no name of a file is handed to the library, none reaches the shell that its own reader
// of compressed files starts.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <orvex/orvex.hpp>

#include "toolkit/io/formats/convention.hpp"
#include "toolkit/io/number_reader.hpp"
#include "toolkit/model/bounds.hpp"
#include "toolkit/settings/search_settings.hpp"

namespace orvex::toolkit {

/** The largest number of variables of a model file. */
inline constexpr int MAX_SIZE = 65536;

/** A model with what its file tells about it. */
struct Problem {
    std::string file;
    int size = 0;                                  ///< number of variables
    int width = 0;                                 ///< bits of a weight in the model
    long entries = 0;                              ///< entries in the file
    long nonzero = 0;                              ///< pairs whose weight is not zero
    long smallest = 0, largest = 0;                ///< of the header
    long smallest_weight = 0, largest_weight = 0;  ///< of the entries
    Bound bound{};                                 ///< of energies and deltas
    Couplings couplings;                           ///< as far as they decide on "search_cycles"
    Convention convention;                         ///< what the file's own numbers mean
    std::vector<std::string> warnings;             ///< what is odd, but harmless
    std::unique_ptr<orvex::Model> model;

    /** Share of the pairs, each variable's with itself included, whose weight is not zero. */
    double density() const;
};

/**
 * The width of a model's weights. The lowest weight of 32 bits has no negative there, so a flip
 * that subtracts it would add it: such a model is stored with 64 bits.
 */
int weight_width(long smallest, long largest);

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

    /** Reads the rest; to be called once. @throws InputError when anything in it is wrong */
    Problem read();

  private:
    void read_header();
    void read_entries();
    int read_index(const char* what);
    void check_range(long weight);
    void check_end();
    void warn_about_ranges();

    NumberReader reader_;
    Problem problem_;
    long beyond_ = 0;           // weights beyond the header's range
    std::string first_beyond_;  // what the first of them is
};

}  // namespace orvex::toolkit
