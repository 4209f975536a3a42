// The host's side of a launch, played by a test: the rings of some islands, the record that the
// blocks share, and what goes in and comes out. Slots are written and read as the host does it,
// with the platform's copies, the ticket word last.
#pragma once

#include <cstdint>
#include <cstring>
#include <optional>
#include <vector>

#include "engine/device/cpu/block.hpp"
#include "engine/device/records.hpp"
#include "model.hpp"
#include "platform/platform.hpp"

namespace orvex::device::test {

/** What a test sends. The target may be shorter than the band; the rest is 0. */
struct INSTANCE {
    BITS target = {};
    std::int8_t algorithm = MAX_MIN;
    std::uint32_t budget = 0;
    std::uint32_t steps = 0;
    std::uint16_t generation = 1;
    std::int8_t inst = 0;
    std::int8_t param = 0;
    std::uint8_t flag = 0;
};

/** What comes back. */
struct RESULT {
    std::int64_t energy;
    BITS bits;
    INST_TAIL tail;
};

class TEST_RINGS {
  public:
    TEST_RINGS(int size, int islands, unsigned slots)
        : ring_size(slots),
          size_(size),
          memory_(2 * static_cast<std::size_t>(islands) * slots * instance_bytes(size)),
          state_a_(static_cast<std::size_t>(islands)),
          state_b_(static_cast<std::size_t>(islands)),
          state_c_(2 * static_cast<std::size_t>(islands)),
          sent_(static_cast<std::size_t>(islands)),
          received_(static_cast<std::size_t>(islands)) {
        state.state_a = state_a_.data();
        state.state_b = state_b_.data();
        state.state_c = state_c_.data();
    }
    TEST_RINGS(const TEST_RINGS&) = delete;
    TEST_RINGS& operator=(const TEST_RINGS&) = delete;

    const unsigned ring_size;
    DeviceState state{};
    GPU_PARAMS params;

    template <class E>
    CPU_LAUNCH<E> launch(const TEST_MODEL<E>& model, const std::vector<unsigned long>& seeds,
                         const CPU_ROWS<E>* rows = nullptr) {
        return {.size = size_,
                .seeds = seeds.data(),
                .weights = model.weights(),
                .diagonal = model.diagonal(),
                .rows = rows,
                .model_size = model.n,
                .ring_size = ring_size,
                .islands_per_gpu = static_cast<unsigned char>(state_a_.size()),
                .rings = memory_.data(),
                .device_state = &state,
                .params = &params};
    }

    void send(int island, const INSTANCE& instance) {
        std::vector<unsigned char> record(instance_bytes(size_));
        for (std::size_t j = 0; j < instance.target.size(); ++j)
            record[8 + j / 8] |= static_cast<unsigned char>(instance.target[j] << j % 8);
        INST_TAIL tail{};
        tail.cycles = instance.budget;
        tail.annealing = instance.steps;
        tail.inst = instance.inst;
        tail.algorithm = instance.algorithm;
        tail.param = instance.param;
        tail.flag = instance.flag;
        tail.generation = instance.generation;
        std::memcpy(record.data() + tail_offset(), &tail, sizeof(tail));
        const std::size_t ticket = sent_[static_cast<std::size_t>(island)]++;
        platform::cudaMemcpy(sendSlot(island, ticket), record.data(), record.size(),
                             platform::cudaMemcpyHostToDevice);
        announce(sendSlot(island, ticket), static_cast<std::int64_t>(ticket) + 1);
    }

    void sendStop(int island) {
        const std::size_t ticket = sent_[static_cast<std::size_t>(island)]++;
        announce(sendSlot(island, ticket), STOP_TICKET);
    }

    /** The island's next result, if it is there. */
    std::optional<RESULT> receive(int island) {
        std::size_t& received = received_[static_cast<std::size_t>(island)];
        const unsigned char* slot = receiveSlot(island, received);
        if (ticketAt(slot) != static_cast<std::int64_t>(received) + 1) return std::nullopt;
        ++received;
        std::vector<unsigned char> record(instance_bytes(size_));
        platform::cudaMemcpy(record.data(), slot, record.size(), platform::cudaMemcpyDeviceToHost);
        RESULT result;
        std::memcpy(&result.energy, record.data(), sizeof(result.energy));
        std::memcpy(&result.tail, record.data() + tail_offset(), sizeof(result.tail));
        for (int j = 0; j < size_; ++j)
            result.bits.push_back(record[static_cast<std::size_t>(8 + j / 8)] >> j % 8 & 1);
        return result;
    }

    void kill() {
        const std::uint8_t one = 1;
        platform::cudaMemcpy(&state.kill, &one, sizeof(one), platform::cudaMemcpyHostToDevice);
    }

    /** As if that many instances had gone to the island and come back already. */
    void startTicketsAt(int island, std::uint32_t ticket) {
        const std::size_t i = static_cast<std::size_t>(island);
        sent_[i] = received_[i] = ticket;
        state_c_[2 * i] = state_c_[2 * i + 1] = static_cast<int>(ticket);
    }

    int ticketsTaken(int island) const { return state_c_[static_cast<std::size_t>(2 * island)]; }
    int resultsHandedIn(int island) const {
        return state_c_[static_cast<std::size_t>(2 * island + 1)];
    }

    unsigned char* sendSlot(int island, std::size_t ticket) { return slot(2 * island, ticket); }
    unsigned char* receiveSlot(int island, std::size_t ticket) {
        return slot(2 * island + 1, ticket);
    }
    const std::int64_t* ticketWord(const unsigned char* slot) const {
        return reinterpret_cast<const std::int64_t*>(slot + tail_offset() +
                                                     offsetof(INST_TAIL, ticket));
    }

  private:
    std::size_t tail_offset() const { return static_cast<std::size_t>(size_) / 8 + 8; }

    unsigned char* slot(int ring, std::size_t ticket) {
        const std::size_t first = static_cast<std::size_t>(ring) * ring_size;
        return memory_.data() + (first + ticket % ring_size) * instance_bytes(size_);
    }

    void announce(unsigned char* slot, std::int64_t ticket) {
        platform::cudaMemcpy(const_cast<std::int64_t*>(ticketWord(slot)), &ticket, sizeof(ticket),
                             platform::cudaMemcpyHostToDevice);
    }

    std::int64_t ticketAt(const unsigned char* slot) const {
        std::int64_t ticket = 0;
        platform::cudaMemcpy(&ticket, ticketWord(slot), sizeof(ticket),
                             platform::cudaMemcpyDeviceToHost);
        return ticket;
    }

    int size_;
    std::vector<unsigned char> memory_;
    std::vector<int> state_a_, state_b_, state_c_;
    std::vector<std::size_t> sent_, received_;
};

}  // namespace orvex::device::test
