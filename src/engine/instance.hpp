// An instance record of any band: one candidate solution with its energy and the bookkeeping that
// travels with it between host and device. A band's own record (INST_t) has the same fields at the
// same places; here the number of words is known at run time, so that the engine is compiled once
// for all bands. These are views: they own nothing unless their name says so.
#pragma once

#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <utility>

#include "orvex/sol.hpp"

#include "engine/device/records.hpp"

namespace orvex::engine {

/** The fields of one record. Copies are of the same record; it may lie in device memory, where
 * only the addresses of its fields are of use to the host. */
class INSTANCE {
  public:
    /** The record of that many words that begins at `memory`. */
    INSTANCE(void* memory, int word_count)
        : INSTANCE(static_cast<unsigned char*>(memory), word_count,
                   *reinterpret_cast<device::INST_TAIL*>(
                       static_cast<unsigned char*>(memory) + sizeof(std::int64_t) +
                       static_cast<std::size_t>(word_count) * sizeof(std::uint64_t))) {}

    /** A band's own record. */
    template <int W>
    INSTANCE(device::INST_BODY<W>& record) : INSTANCE(&record, W) {}

    /** As the record type of a band, which must be this record's. */
    template <class RECORD>
    operator RECORD&() const {
        assert(sizeof(RECORD) == bytes());
        return *reinterpret_cast<RECORD*>(&energy);
    }

    std::size_t bytes() const { return device::instance_bytes(64 * words); }
    void* memory() const { return &energy; }

    /** All zero, and marked as made by nobody and found at no time. */
    void makeFresh(std::int64_t with_energy) const;
    void clear() const;
    void copy(const INSTANCE& from) const;
    /** The same for records that others read without a lock. */
    void copyRelaxed(const INSTANCE& from) const;

    /** Takes over the bits of the solution; bits that it does not have stay as they are. */
    void load(const Sol& sol) const;
    /** Takes over the words of a caller's solution; words that it does not have stay as they are.
     */
    void loadWords(const Sol::Impl& sol) const;
    /** Writes the first `size` bits as digits and the energy. */
    void print(FILE* out, int size) const;

    static constexpr std::int64_t NEVER_FOUND = -1000000000;

    const int words;
    std::int64_t& energy;
    std::uint64_t* const bits;
    std::int32_t& island;
    std::int64_t& found_time;
    std::int64_t& ticket;
    std::uint32_t& cycles;
    std::uint32_t& annealing;
    std::int8_t& inst;
    std::int8_t& algorithm;
    std::int8_t& param;
    std::uint8_t& flag;
    std::uint16_t& generation;
    std::int16_t& wait_exponent;
    std::int16_t& block;
    std::uint8_t& overflow;

  private:
    INSTANCE(unsigned char* memory, int word_count, device::INST_TAIL& tail)
        : words(word_count),
          energy(*reinterpret_cast<std::int64_t*>(memory)),
          bits(reinterpret_cast<std::uint64_t*>(memory + sizeof(std::int64_t))),
          island(tail.island),
          found_time(tail.found_time),
          ticket(tail.ticket),
          cycles(tail.cycles),
          annealing(tail.annealing),
          inst(tail.inst),
          algorithm(tail.algorithm),
          param(tail.param),
          flag(tail.flag),
          generation(tail.generation),
          wait_exponent(tail.wait_exponent),
          block(tail.block),
          overflow(tail.overflow) {
        assert(word_count > 0);
        assert(reinterpret_cast<std::uintptr_t>(memory) % alignof(std::int64_t) == 0);
    }
};

/** A row of records side by side: a ring, a pool. */
class INSTANCES {
  public:
    INSTANCES() = default;
    INSTANCES(void* memory, int words, std::size_t count)
        : memory_(static_cast<unsigned char*>(memory)), words_(words), count_(count) {
        assert(memory && words > 0);
    }

    template <std::integral INDEX>
    INSTANCE operator[](INDEX i) const {
        assert(std::cmp_greater_equal(i, 0) && std::cmp_less(i, count_));
        return {memory_ + static_cast<std::size_t>(i) * stride(), words_};
    }

    /** `count` of the records, from the one at `first` on. */
    INSTANCES part(std::size_t first, std::size_t count) const {
        assert(first + count <= count_);
        return {memory_ + first * stride(), words_, count};
    }

    void* memory() const { return memory_; }
    std::size_t size() const { return count_; }
    std::size_t bytes() const { return count_ * stride(); }
    bool operator==(const INSTANCES&) const = default;

  private:
    std::size_t stride() const { return device::instance_bytes(64 * words_); }

    unsigned char* memory_ = nullptr;
    int words_ = 0;
    std::size_t count_ = 0;
};

/** The memory of a row of records on the host. */
using INSTANCE_MEMORY = std::unique_ptr<std::uint64_t[]>;
INSTANCE_MEMORY allocate_instances(int words, std::size_t count);

/** A record with its memory, at first all zero. */
class OWN_INSTANCE : private INSTANCE_MEMORY, public INSTANCE {
  public:
    explicit OWN_INSTANCE(int word_count)
        : INSTANCE_MEMORY(allocate_instances(word_count, 1)),
          INSTANCE(INSTANCE_MEMORY::get(), word_count) {}
};

/** Page-locked memory, or the end of the process. */
void* allocate_page_locked(std::size_t bytes);
template <class X>
X* allocate_page_locked() {
    return static_cast<X*>(allocate_page_locked(sizeof(X)));
}

/** A word in page-locked memory. */
struct UNLOCK_WORD {
    void operator()(std::int64_t* word) const;
};
using LOCKED_WORD = std::unique_ptr<std::int64_t, UNLOCK_WORD>;

/** Gives back the page-locked memory of a record and the view of it. */
struct UNLOCK_INSTANCE {
    void operator()(INSTANCE* instance) const;
};
using LOCKED_INSTANCE = std::unique_ptr<INSTANCE, UNLOCK_INSTANCE>;
/** A record in page-locked memory, all zero. */
LOCKED_INSTANCE make_locked_instance(int words);

}  // namespace orvex::engine
