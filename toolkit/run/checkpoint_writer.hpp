// Keeps a checkpoint up while a run goes on, on a thread of its own: a disk may take its time, and
// nobody who finds something waits for it. Invariant: what a file holds already is never given up
// for something worse.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "toolkit/run/checkpoint.hpp"
#include "toolkit/run/events.hpp"

namespace orvex::toolkit {

class CheckpointWriter {
  public:
    /** Solutions in a file. */
    static constexpr std::size_t MOST_SOLUTIONS = 16;

    /**
     * Solutions of a checkpoint that is there already stay in it as long as they are among the
     * best.
     *
     * @param problem outlives the writer
     * @throws InputError when something else than a checkpoint of this problem is there, or nothing
     *     can be written
     */
    CheckpointWriter(std::string file, const Problem& problem);
    CheckpointWriter(const CheckpointWriter&) = delete;
    CheckpointWriter& operator=(const CheckpointWriter&) = delete;
    ~CheckpointWriter();

    /**
     * Something that was found: is written at once if nothing was for a second (longer where
     * writing takes long: at most a twentieth of the time goes into it). The file is written at
     * least each minute. May be called by any thread.
     */
    void note(long energy, const Sol& solution);

    /**
     * Writes for the last time.
     *
     * @return why the file does not hold all that it should; empty when it does
     */
    std::string finish();

  private:
    using Clock = std::chrono::steady_clock;

    void work();
    void write(std::unique_lock<std::mutex>& lock);

    const std::string file_;
    const Problem& problem_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Kept> best_;  // the best first
    bool pending_ = false;    // something is not in the file
    bool over_ = false;
    Clock::time_point earliest_{};  // when may be written again
    std::string failure_;           // of the last time
    std::thread thread_;
};

/** Hands events on, and notes what was found. */
class CheckpointEvents : public Events {
  public:
    CheckpointEvents(Events& events, CheckpointWriter& writer) : events_(events), writer_(writer) {}

    void warned(const std::string& text) override { events_.warned(text); }
    void prepared(const Preparation& preparation) override { events_.prepared(preparation); }
    void planned(const Plan& plan, const Settings& parameters) override {
        events_.planned(plan, parameters);
    }
    void began(const Moment& moment, Steering& steering) override {
        events_.began(moment, steering);
    }
    void improved(const Moment& moment, const Sol& solution, Steering& steering) override {
        writer_.note(moment.best, solution);
        events_.improved(moment, solution, steering);
    }
    void pulsed(const Moment& moment, Steering& steering) override {
        events_.pulsed(moment, steering);
    }

  private:
    Events& events_;
    CheckpointWriter& writer_;
};

}  // namespace orvex::toolkit
