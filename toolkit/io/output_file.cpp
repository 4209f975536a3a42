#include "toolkit/io/output_file.hpp"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include <climits>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

namespace fs = std::filesystem;

/** What a signal removes; a C string, since that is all a handler can use. Changed while signals
 * are blocked or nothing is left to be removed. */
char unfinished_name[PATH_MAX];
const char* volatile unfinished = nullptr;

extern "C" void remove_unfinished(int number) {
    if (unfinished != nullptr) unlink(unfinished);
    signal(number, SIG_DFL);
    raise(number);
}

/** A signal that is ignored stays ignored. */
void remove_at_signals(const std::string& file) {
    if (file.size() >= sizeof unfinished_name) return;  // cannot be: the system has made it
    std::memcpy(unfinished_name, file.c_str(), file.size() + 1);
    unfinished = unfinished_name;
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        if (signal(number, remove_unfinished) == SIG_IGN) signal(number, SIG_IGN);
}

std::string reason() {
    return errno != 0 ? std::strerror(errno) : "out of memory";
}

/** The permissions that a new file gets, which mkstemp would not give it. */
mode_t usual_mode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

}  // namespace

OutputFile::OutputFile(const std::string& name) : name_(name), target_(name) {
    errno = 0;
    int descriptor = -1;
    if (name == "-") {
        descriptor = dup(STDOUT_FILENO);
    } else {
        std::error_code ignored;
        if (fs::exists(name, ignored)) target_ = fs::canonical(name, ignored).string();
        const fs::file_status status = fs::status(name, ignored);
        if (fs::is_directory(status)) throw InputError("Cannot write " + name + ": a directory");
        descriptor = fs::exists(status) && !fs::is_regular_file(status)
                         ? open(name.c_str(), O_WRONLY | O_CLOEXEC)
                         : open_temporary();
    }
    // "T": as it is, without compression.
    if (descriptor >= 0) stream_ = gzdopen(descriptor, name.ends_with(".gz") ? "wb6" : "wbT");
    if (stream_ != nullptr) return;
    const std::string why = reason();
    remove_temporary();
    throw InputError("Cannot write " + name + ": " + why);
}

int OutputFile::open_temporary() {
    std::string path = target_ + ".XXXXXX";
    sigset_t all, before;
    sigfillset(&all);
    // None comes before it is known what to remove, and nothing is allocated until then.
    pthread_sigmask(SIG_BLOCK, &all, &before);
    const int descriptor = mkstemp(path.data());
    const int error = errno;
    if (descriptor >= 0) {
        temporary_ = std::move(path);
        remove_at_signals(temporary_);
        fchmod(descriptor, usual_mode());
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = error;
    return descriptor;
}

OutputFile::~OutputFile() {
    if (stream_ != nullptr) gzclose(stream_);
    remove_temporary();
}

void OutputFile::remove_temporary() {
    if (temporary_.empty()) return;
    unlink(temporary_.c_str());
    unfinished = nullptr;
}

void OutputFile::fail() const {
    throw WriteError("Cannot write " + name_ + ": " + reason());
}

void OutputFile::write(std::string_view text) {
    errno = 0;
    if (text.empty()) return;
    if (gzwrite(stream_, text.data(), static_cast<unsigned>(text.size())) == 0) fail();
}

void OutputFile::finish() {
    errno = 0;
    gzFile stream = std::exchange(stream_, nullptr);
    if (gzclose(stream) != Z_OK) fail();
    if (temporary_.empty()) return;
    if (rename(temporary_.c_str(), target_.c_str()) != 0) fail();
    unfinished = nullptr;
    temporary_.clear();
}

}  // namespace orvex::toolkit
