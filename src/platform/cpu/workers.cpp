#include "platform/cpu/workers.hpp"

#include <exception>

#include "platform/cpu/signal.hpp"

namespace orvex::platform {

LAUNCH::LAUNCH(std::vector<std::unique_ptr<BLOCK_TASK>> blocks, int workers)
    : entries_(blocks.size()), live_(blocks.size()) {
    for (std::size_t i = 0; i < blocks.size(); ++i)
        entries_[i].block = std::move(blocks[i]);
    const std::size_t count = static_cast<std::size_t>(workers);
    workers_.reserve(count);
    for (std::size_t w = 0; w < count; ++w)
        try {
            workers_.emplace_back(&LAUNCH::work, this, w * entries_.size() / count);
        } catch (const std::exception&) {  // each worker goes to all blocks, so fewer will do
            if (workers_.empty()) throw;
            break;
        }
}

void LAUNCH::wait() {
    if (workers_.empty()) return;
    for (std::thread& worker : workers_)
        worker.join();
    workers_.clear();
    end_ = clock::now();
}

// Each worker starts its rounds at a home of its own: while all blocks have work, the workers keep
// to different blocks, whose state stays in their caches.
void LAUNCH::work(std::size_t home) {
    while (live_.load(std::memory_order_acquire) != 0) {
        const std::uint32_t seen = host_wrote().epoch();
        bool worked = false;
        for (std::size_t i = 0; i < entries_.size(); ++i)
            worked |= advance(entries_[(home + i) % entries_.size()]);
        if (!worked && live_.load(std::memory_order_acquire) != 0) host_wrote().wait(seen);
    }
}

bool LAUNCH::advance(ENTRY& entry) {
    if (entry.claimed.exchange(true, std::memory_order_acquire)) return false;
    bool worked = false;
    if (!entry.gone) {
        const BLOCK_TASK::OUTCOME outcome = entry.block->advance();
        worked = outcome != BLOCK_TASK::OUTCOME::WAITING;
        if (outcome == BLOCK_TASK::OUTCOME::LEFT) {
            entry.gone = true;
            // The others may sleep for this block's sake; the last one to leave wakes them.
            if (live_.fetch_sub(1, std::memory_order_acq_rel) == 1) host_wrote().notify();
        }
    }
    entry.claimed.store(false, std::memory_order_release);
    return worked;
}

}  // namespace orvex::platform
