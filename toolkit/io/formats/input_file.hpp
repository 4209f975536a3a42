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

    /** @throws InputError when this machine has not the memory for the model's matrix alone */
    void expect_memory() const;

    /** @throws InputError when this machine has not the memory for a run, so far as it is known */
    void expect_memory_of_run() const;

    /** The problem; to be called once. @throws InputError when anything in the file is wrong */
    Problem read();

  private:
    struct Foreign;

    std::string file_;
    std::unique_ptr<ModelFile> own_;
    std::unique_ptr<Foreign> foreign_;  // in any other format
};

}  // namespace orvex::toolkit
