// A folder of its own for a test that needs files; it is gone when the test is.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <unistd.h>

#include <gtest/gtest.h>

namespace orvex::tests {

class TEMPORARY_FOLDER {
  public:
    TEMPORARY_FOLDER() : name_(testing::TempDir() + "orvex_XXXXXX") {
        if (mkdtemp(name_.data()) == nullptr) throw std::runtime_error("no temporary folder");
    }
    ~TEMPORARY_FOLDER() { std::filesystem::remove_all(name_); }
    TEMPORARY_FOLDER(const TEMPORARY_FOLDER&) = delete;
    TEMPORARY_FOLDER& operator=(const TEMPORARY_FOLDER&) = delete;

    /** The name of a file in the folder. */
    std::string path(const std::string& file) const { return name_ + "/" + file; }

    /** Writes a file and returns its name. */
    std::string write(const std::string& file, const std::string& text) const {
        std::ofstream(path(file)) << text;
        return path(file);
    }

    /** Writes a compressed file and returns its name, which gets the ending ".gz". */
    std::string write_compressed(const std::string& file, const std::string& text) const {
        const std::string plain = write(file, text);
        if (std::system(("gzip " + plain).c_str()) != 0) throw std::runtime_error("no gzip");
        return plain + ".gz";
    }

  private:
    std::string name_;
};

}  // namespace orvex::tests
