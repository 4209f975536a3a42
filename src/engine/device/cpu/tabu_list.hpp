// Which bits are barred, and until when. A flipped bit carries the time at which it is free again,
// so counting down costs the bits that come free and not a pass over all. Time is the number of
// times that was counted down; rules that do not count down leave it where it is, and their bits
// barred.
//
// Invariant: `barred` is 0 for a free bit and 1 for any other, which is all that selections look
// at; a barred bit's counter, as the rules tell it, is the time it waits for less the present time.
#pragma once

#include <algorithm>
#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>

namespace orvex::device {

class TABU_LIST {
  public:
    TABU_LIST() = default;
    /** On arrays of `size` bytes, which the owner keeps. */
    TABU_LIST(std::uint8_t* barred, std::uint8_t* until, int size)
        : barred_(barred), until_(until), size_(size) {
        assert(barred && until && size > 0);
        clear();
    }

    void clear() {
        std::fill_n(barred_, size_, std::uint8_t{0});
        for (auto& places : waiting_)
            places.fill(NOBODY);
        freed_.fill(NOBODY);
    }

    /**
     * Bars a bit for that many counts; 0 frees it. A search has two tenures, of `kind` 1 in its
     * first steps and 0 after them, and counts down after each flip: so no two bits of a kind come
     * free at the same time. Bits that were barred while time stood stay so until all are cleared.
     */
    void bar(int place, std::uint8_t tenure, std::size_t kind) {
        assert(place >= 0 && place < size_ && kind < 2);
        barred_[place] = tenure != 0;
        until_[place] = static_cast<std::uint8_t>(now_ + tenure);
        if (tenure != 0) waiting_[kind][until_[place]] = place;
    }

    /** Frees the bits whose time has come. */
    void countDown() {
        ++now_;
        for (std::size_t kind = 0; kind < 2; ++kind) {
            int& place = waiting_[kind][now_];
            freed_[kind] = NOBODY;
            assert(place >= NOBODY && place < size_);
            // A bit that was flipped again meanwhile waits for another time.
            if (place != NOBODY && barred_[place] != 0 && until_[place] == now_) {
                barred_[place] = 0;
                freed_[kind] = place;
            }
            place = NOBODY;
        }
    }

    /** The places that the last count freed, or NOBODY. */
    const std::array<int, 2>& freed() const { return freed_; }

    /** The bit's tabu counter. */
    std::uint8_t value(int place) const {
        assert(place >= 0 && place < size_);
        return barred_[place] == 0 ? std::uint8_t{0}
                                   : static_cast<std::uint8_t>(until_[place] - now_);
    }

    static constexpr int NOBODY = -1;

  private:
    std::uint8_t* barred_ = nullptr;
    std::uint8_t* until_ = nullptr;
    int size_ = 0;
    std::uint8_t now_ = 0;
    std::array<std::array<int, 256>, 2> waiting_{};  // by kind and time
    std::array<int, 2> freed_{NOBODY, NOBODY};
};

}  // namespace orvex::device
