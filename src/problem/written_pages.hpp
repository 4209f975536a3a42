// Which pages of a piece of memory somebody has written, as the system tells it. Large models are
// mostly zeros, and memory of zeros that nobody has written takes no room and need not be read.
// Invariant: what is not called written is zero; where the system does not tell, all of it counts
// as written.
#pragma once

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace orvex {

class WRITTEN_PAGES {
  public:
    /**
     * Looks at the pages once; what is written later may be missed. The memory is the process's own
     * and began as zeros.
     */
    WRITTEN_PAGES(const void* memory, std::size_t bytes);

    /** Calls visit(from, to) for stretches of [from, to) that together have all written pages. */
    template <class VISIT>
    void visit(const unsigned char* from, const unsigned char* to, VISIT visit) const {
        if (written_.empty()) {
            visit(from, to);
            return;
        }
        while (from < to) {
            const std::size_t page = pageOf(from);
            std::size_t behind = page + 1;
            while (behind < written_.size() && written_[behind] == written_[page])
                ++behind;
            const unsigned char* const end = std::min(to, start_ + behind * PAGE);
            if (written_[page]) visit(from, end);
            from = end;
        }
    }

  private:
    static constexpr std::size_t PAGE = 4096;  ///< larger pages are told in parts of this size

    std::size_t pageOf(const unsigned char* address) const {
        assert(address >= start_);
        const std::size_t page = static_cast<std::size_t>(address - start_) / PAGE;
        assert(page < written_.size());
        return page;
    }

    const unsigned char* start_;         ///< of the first page
    std::vector<std::uint8_t> written_;  ///< page by page; empty: nothing is known
};

}  // namespace orvex
