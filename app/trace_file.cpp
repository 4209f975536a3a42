#include "app/trace_file.hpp"

#include <cerrno>
#include <cstring>
#include <iostream>

#include "toolkit/model/errors.hpp"

namespace orvex::cli {

TraceFile::TraceFile(const std::string& name) : name_(name) {
    if (name_.empty() || name_ == "-") return;
    errno = 0;
    file_.open(name_);
    if (!file_) throw InputError("Cannot write " + name_ + ": " + std::strerror(errno));
}

TraceOptions TraceFile::options() {
    if (name_.empty()) return {};
    return {.write = [this](const std::string& line) { write(line); }};
}

void TraceFile::write(const std::string& line) {
    if (!written_) return;
    std::ostream& out = name_ == "-" ? std::cout : file_;
    out << line << std::endl;
    written_ = out.good();
}

}  // namespace orvex::cli
