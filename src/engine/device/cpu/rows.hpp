// The rows of a matrix as CPU blocks read them, one set for all blocks of a device: the record's,
// or a form of them that is kept beside it and made straight from the model. In the latter a row's
// own element is 0, since it does not count in a flip.
#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "orvex/model.hpp"

#include "engine/device/row_form.hpp"

namespace orvex::device {

template <class E>
class CPU_ROWS {
  public:
    /**
     * Looks at the model and keeps the best form of its rows, or none where the machine has no room
     * for that. Rows in the form RECORD are read from `weights`, S * S elements in row order, which
     * the caller then fills and keeps as long as this.
     */
    CPU_ROWS(const E* weights, int size, const Model::Impl& model);
    /** The same of a record that is filled already. */
    CPU_ROWS(const E* weights, int size);
    /** The same with a form of the caller's choice, which must be able to hold the elements. */
    CPU_ROWS(const E* weights, int size, ROW_FORM form);

    const ROW_STATISTICS& statistics() const { return statistics_; }
    ROW_FORM form() const { return form_; }

    /** The dense row of a bit in the present form. */
    const void* row(int bit) const {
        assert(bit >= 0 && bit < size_ && form_ != ROW_FORM::LISTS);
        return dense_ + static_cast<std::size_t>(bit) * row_bytes_;
    }

    /** The row of a bit in the form LISTS. */
    const LIST_ENTRY<E>* begin(int bit) const {
        assert(bit >= 0 && bit < size_ && form_ == ROW_FORM::LISTS);
        return entries_ + starts_[bit];
    }
    const LIST_ENTRY<E>* end(int bit) const {
        assert(bit >= 0 && bit < size_ && starts_[bit] <= starts_[bit + 1]);
        return entries_ + starts_[bit + 1];
    }

  private:
    CPU_ROWS(int size, const E* weights);
    template <class SOURCE>
    std::vector<std::uint32_t> look(const SOURCE& source);
    template <class SOURCE>
    void take(const SOURCE& source, ROW_FORM form, const std::vector<std::uint32_t>& lengths);
    template <class NARROW, class SOURCE>
    void narrowRows(const SOURCE& source);
    template <class SOURCE>
    void listRows(const SOURCE& source, const std::vector<std::uint32_t>& lengths);

    const E* const weights_;
    const int size_;
    ROW_STATISTICS statistics_;
    ROW_FORM form_ = ROW_FORM::RECORD;
    std::unique_ptr<void, void (*)(void*)> memory_;
    const unsigned char* dense_;
    std::size_t row_bytes_;
    const std::uint64_t* starts_ = nullptr;
    const LIST_ENTRY<E>* entries_ = nullptr;
};

}  // namespace orvex::device
