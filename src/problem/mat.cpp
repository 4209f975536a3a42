// The matrix: allocation, copies, and the four pairs of element access. The pairs differ in nothing
// but the element type, so they are one template. Elements are moved with memcpy, since the array
// is one of bytes.
#include "orvex/mat.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/mman.h>
#include <unistd.h>

#include "problem/exit_with_message.hpp"
#include "problem/mat_bytes.hpp"
#include "problem/written_pages.hpp"

namespace orvex {
namespace {

using ELEMENTS = std::unique_ptr<unsigned char[], MatRelease>;

/** From here on, most matrices are so sparse that pages of the common size are kept small. */
constexpr std::size_t LARGE = std::size_t{64} << 20;

/** Keeps the system from giving a large page for one element. */
void ask_for_small_pages(unsigned char* memory, std::size_t bytes) {
    const auto page = static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE));
    const auto address = reinterpret_cast<std::uintptr_t>(memory);
    const std::uintptr_t first = (address + page - 1) / page * page;
    madvise(reinterpret_cast<void*>(first), address + bytes - first, MADV_NOHUGEPAGE);
}

/** Zeros; of many of them the pages come from the system, which has them for nothing. */
ELEMENTS allocate(unsigned size, unsigned bytes) {
    const std::size_t count = allocated_bytes(size, bytes);
    ELEMENTS elements(static_cast<unsigned char*>(std::calloc(std::max<std::size_t>(count, 1), 1)));
    if (!elements) throw std::bad_alloc();
    if (count >= LARGE) ask_for_small_pages(elements.get(), count);
    return elements;
}

/** Copies what somebody has written, into zeros. */
void copy_written(unsigned char* to, const unsigned char* from, std::size_t bytes) {
    WRITTEN_PAGES(from, bytes)
        .visit(from, from + bytes, [&](const unsigned char* begin, const unsigned char* end) {
            std::memcpy(to + (begin - from), begin, static_cast<std::size_t>(end - begin));
        });
}

template <class ELEMENT>
std::size_t offset(const MAT& mat, unsigned i, unsigned j) {
    return (std::size_t{i} * mat.size + j) * sizeof(ELEMENT);
}

template <class ELEMENT>
void store(MAT& mat, unsigned i, unsigned j, long value) {
    const ELEMENT element = static_cast<ELEMENT>(value);
    std::memcpy(mat.data.get() + offset<ELEMENT>(mat, i, j), &element, sizeof element);
}

template <class ELEMENT>
long load(const MAT& mat, unsigned i, unsigned j) {
    ELEMENT element;
    std::memcpy(&element, mat.data.get() + offset<ELEMENT>(mat, i, j), sizeof element);
    return element;
}

}  // namespace

void MatRelease::operator()(unsigned char* elements) const {
    std::free(elements);
}

int find_wbit(long min, long max) {
    if (max < 128 && min >= -128) return 8;
    if (min >= -32768 && max < 32768) return 16;
    if (min < -2147483648L || max > 2147483647L) return 64;
    return 32;
}

// The elements are allocated before the width is checked, so a width that does not exist is
// reported only when there is memory for it.
MAT::MAT(unsigned size_, unsigned bits_)
    : size(size_), bits(bits_), bytes(bits_ / 8), data(allocate(size_, bits_ / 8)) {
    init_func();
}

MAT::MAT(const MAT& other)
    : size(other.size),
      bits(other.bits),
      bytes(other.bytes),
      data(allocate(other.size, other.bytes)) {
    init_func();
    copy_written(data.get(), other.data.get(), allocated_bytes(size, bytes));
}

MAT::~MAT() = default;

MAT& MAT::operator=(const MAT& other) {
    if (size != other.size) exit_with_message("size does not match.");
    if (bytes != other.bytes) exit_with_message("bits does not match.");
    std::memmove(data.get(), other.data.get(), copied_bytes(size, bytes));
    return *this;
}

void MAT::init_func() {
    switch (bits) {
        case 8:
            set_func = set8;
            get_func = get8;
            return;
        case 16:
            set_func = set16;
            get_func = get16;
            return;
        case 32:
            set_func = set32;
            get_func = get32;
            return;
        case 64:
            set_func = set64;
            get_func = get64;
            return;
        default:
            exit_with_message("bits=" + std::to_string(bits) + " must be 8, 16, 32, or 64.");
    }
}

void MAT::set8(MAT& mat, unsigned i, unsigned j, long value) {
    store<std::int8_t>(mat, i, j, value);
}
void MAT::set16(MAT& mat, unsigned i, unsigned j, long value) {
    store<std::int16_t>(mat, i, j, value);
}
void MAT::set32(MAT& mat, unsigned i, unsigned j, long value) {
    store<std::int32_t>(mat, i, j, value);
}
void MAT::set64(MAT& mat, unsigned i, unsigned j, long value) {
    store<std::int64_t>(mat, i, j, value);
}

long MAT::get8(const MAT& mat, unsigned i, unsigned j) {
    return load<std::int8_t>(mat, i, j);
}
long MAT::get16(const MAT& mat, unsigned i, unsigned j) {
    return load<std::int16_t>(mat, i, j);
}
long MAT::get32(const MAT& mat, unsigned i, unsigned j) {
    return load<std::int32_t>(mat, i, j);
}
long MAT::get64(const MAT& mat, unsigned i, unsigned j) {
    return load<std::int64_t>(mat, i, j);
}

}  // namespace orvex
