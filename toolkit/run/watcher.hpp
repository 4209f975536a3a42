// The toolkit's side of a run of the library: receives its events, keeps the record of the run and
// the companion supplied with what is found, hands hints over, and ends the run where the record
// asks for it: at the caller's wish, at a time limit with a fraction, at a target of 0, which the
// engine takes for no target. Invariant: no exception leaves an event of the library.
#pragma once

#include <deque>
#include <exception>

#include <orvex/orvex.hpp>

#include "toolkit/companion/companion.hpp"
#include "toolkit/run/record.hpp"

namespace orvex::toolkit {

class Watcher : public Callback {
  public:
    /** @param companion works beside the library; null if there is none */
    explicit Watcher(Record& record, Companion* companion = nullptr);

    void callback(const std::string& event) override;

    /** The run is over: stops the companion, and throws what left an event of the caller's. */
    void finish();

  private:
    void handle(const std::string& event);
    void exchange(bool is_new);
    void request();

    Record& record_;
    Companion* const companion_;
    Wide known_;  // lowest energy of the searched model that library and companion both know
    std::deque<Sol> hints_;  // not handed over yet
    std::exception_ptr failure_;
};

}  // namespace orvex::toolkit
