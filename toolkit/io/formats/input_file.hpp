// A problem's file in any format. Invariant: a file is taken for what its contents can only be, or
// for what the caller says; where both leave a choice, it is refused.
#pragma once

#include <memory>
#include <string>

#include "toolkit/io/formats/format.hpp"
#include "toolkit/io/model_file.hpp"

namespace orvex::toolkit {

class InputFile {
  public:
    /**
     * Opens the file and reads as much as tells the model's size and width: of the system's own
     * format the header, of others everything.
     *
     * @throws InputError when anything is wrong, or the format is not known
     */
    InputFile(const std::string& file, const ReadOptions& options);
    ~InputFile();

    int size() const;
    int width() const;

    /** Whether the problem will be a matrix, not lists. */
    bool has_matrix() const;

    /** @throws InputError when this machine has not the memory for the problem's matrix, if any */
    void expect_memory() const;

    /** @throws InputError when it has not the memory for a run on that matrix, as far as is known
     */
    void expect_memory_of_run() const;

    /** The problem; to be called once. @throws InputError when anything in the file is wrong */
    Problem read();

  private:
    struct Foreign;

    std::string file_;
    ReadOptions options_;
    std::unique_ptr<ModelFile> own_;
    std::unique_ptr<Foreign> foreign_;  // in any other format
};

}  // namespace orvex::toolkit
