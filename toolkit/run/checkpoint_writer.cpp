#include "toolkit/run/checkpoint_writer.hpp"

#include <algorithm>
#include <filesystem>
#include <unistd.h>
#include <utility>

#include "toolkit/model/errors.hpp"

namespace orvex::toolkit {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr auto SHORTEST_PAUSE = 1s;
constexpr auto LONGEST_PAUSE = 60s;
constexpr int PAUSES_PER_WRITE = 20;

/** Before a long run is spent. */
void expect_place(const std::string& file) {
    std::error_code ignored;
    const fs::path path(file);
    if (fs::exists(path, ignored) && !fs::is_regular_file(path, ignored))
        throw InputError("Cannot write " + file + ": a checkpoint takes a plain file");
    const fs::path folder = path.has_parent_path() ? path.parent_path() : fs::path(".");
    if (access(folder.c_str(), W_OK | X_OK) != 0)
        throw InputError("Cannot write " + file + ": nothing can be written into its folder");
}

}  // namespace

CheckpointWriter::CheckpointWriter(std::string file, const Problem& problem)
    : file_(std::move(file)), problem_(problem) {
    expect_place(file_);
    std::error_code ignored;
    if (fs::exists(file_, ignored)) try {
            best_ = read_checkpoint(file_, problem);
        } catch (const InputError& error) {
            throw InputError("the checkpoint would take the place of another file: " +
                             std::string(error.what()));
        }
    thread_ = std::thread([this] { work(); });
}

CheckpointWriter::~CheckpointWriter() {
    finish();
}

void CheckpointWriter::note(long energy, const Sol& solution) {
    const std::lock_guard lock(mutex_);
    const auto place = std::find_if(best_.begin(), best_.end(),
                                    [&](const Kept& kept) { return kept.energy > energy; });
    if (place == best_.end() && best_.size() >= MOST_SOLUTIONS) return;
    const Sol::Impl& bits = solution.impl();
    Kept kept{energy, {bits.data.get(), bits.data.get() + bits.words}};
    for (auto same = best_.begin(); same != place; ++same)
        if (same->energy == energy && same->words == kept.words) return;
    best_.insert(place, std::move(kept));
    if (best_.size() > MOST_SOLUTIONS) best_.pop_back();
    pending_ = true;
    changed_.notify_one();
}

void CheckpointWriter::work() {
    std::unique_lock lock(mutex_);
    Clock::time_point latest = Clock::now() + LONGEST_PAUSE;
    while (!over_) {
        const Clock::time_point due = pending_ ? std::min(earliest_, latest) : latest;
        if (Clock::now() < due) {
            changed_.wait_until(lock, due);
            continue;
        }
        write(lock);
        latest = Clock::now() + LONGEST_PAUSE;
    }
}

/** Without the lock while the disk works. */
void CheckpointWriter::write(std::unique_lock<std::mutex>& lock) {
    if (best_.empty()) return;
    const std::vector<Kept> solutions = best_;
    pending_ = false;
    lock.unlock();
    const Clock::time_point begin = Clock::now();
    std::string failure;
    try {
        write_checkpoint(file_, problem_, solutions);
    } catch (const std::exception& error) {
        failure = error.what();
    }
    const Clock::time_point end = Clock::now();
    lock.lock();
    failure_ = std::move(failure);
    pending_ |= !failure_.empty();
    earliest_ = end + std::clamp<Clock::duration>(PAUSES_PER_WRITE * (end - begin), SHORTEST_PAUSE,
                                                  LONGEST_PAUSE);
}

std::string CheckpointWriter::finish() {
    {
        const std::lock_guard lock(mutex_);
        over_ = true;
    }
    changed_.notify_one();
    if (!thread_.joinable()) return failure_;
    thread_.join();
    std::unique_lock lock(mutex_);
    write(lock);  // also if nothing is new: what was there may have been removed
    return failure_;
}

}  // namespace orvex::toolkit
