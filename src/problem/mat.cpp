// The matrix: allocation, copies, and the four pairs of element access. The pairs differ in nothing
// but the element type, so they are one template. Elements are moved with memcpy, since the array
// is one of bytes.
#include "orvex/mat.hpp"

#include <cstring>

#include "problem/exit_with_message.hpp"
#include "problem/mat_bytes.hpp"

namespace orvex {
namespace {

std::unique_ptr<unsigned char[]> allocate(unsigned size, unsigned bytes) {
    return std::make_unique_for_overwrite<unsigned char[]>(allocated_bytes(size, bytes));
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
    std::memset(data.get(), 0, allocated_bytes(size, bytes));
}

MAT::MAT(const MAT& other)
    : size(other.size),
      bits(other.bits),
      bytes(other.bytes),
      data(allocate(other.size, other.bytes)) {
    init_func();
    std::memcpy(data.get(), other.data.get(), allocated_bytes(size, bytes));
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
