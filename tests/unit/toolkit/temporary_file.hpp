// Files that a test writes and that go with it.
#pragma once

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>
#include <zlib.h>

namespace orvex::toolkit::test {

class TemporaryFile {
  public:
    /** A file with the given contents; `ending` is the end of its name. */
    explicit TemporaryFile(const std::string& contents, const std::string& ending = ".qubo") {
        static int count = 0;
        path_ = (std::filesystem::temp_directory_path() /
                 ("orvex-test-" + std::to_string(getpid()) + "-" + std::to_string(count++)))
                    .string() +
                ending;
        std::ofstream(path_, std::ios::binary) << contents;
    }
    ~TemporaryFile() { std::remove(path_.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& path() const { return path_; }

    std::string contents() const {
        std::ifstream file(path_, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

  private:
    std::string path_;
};

/** A text as a compressed file has it. */
inline std::string compressed(const std::string& text) {
    const TemporaryFile file("", ".gz");
    gzFile stream = gzopen(file.path().c_str(), "wb");
    gzwrite(stream, text.data(), static_cast<unsigned>(text.size()));
    gzclose(stream);
    return file.contents();
}

}  // namespace orvex::toolkit::test
