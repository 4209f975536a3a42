// MAT is the dense square matrix under a Model. Its element width is chosen at run time; the pair
// of access functions for that width is bound once, so that element access costs one indirect call
// and no switch. Invariant: bytes == bits / 8, data holds size * size * bytes bytes, and set_func
// and get_func are the pair for bits.
#pragma once

#include <cstdint>
#include <memory>

#include "orvex/export.hpp"

namespace orvex {

static_assert(sizeof(long) == 8, "weights and energies are long, which must have 64 bits");

/**
 * The narrowest element width, in bits, that holds both bounds of a range of weights.
 *
 * @param min the smallest weight
 * @param max the largest weight
 * @return 8, 16, 32 or 64
 */
ORVEX_API int find_wbit(long min, long max);

/** Gives the elements of a matrix back. */
struct ORVEX_API MatRelease {
    void operator()(unsigned char* elements) const;
};

/**
 * A dense square matrix of signed integers of 8, 16, 32 or 64 bits, row-major: element (i, j)
 * is at index i * size + j.
 *
 * Setters keep the low bits of a value that is too wide, without notice; getters extend the sign.
 * Indices are not checked.
 *
 * Of a large matrix the pages of memory that nobody has written to take no room.
 *
 * Concurrent reads are safe; a write excludes every other access.
 */
struct ORVEX_API MAT {
    std::uint32_t size;                                 ///< number of rows and of columns
    std::uint32_t bits;                                 ///< element width: 8, 16, 32 or 64
    std::uint32_t bytes;                                ///< element width in bytes
    std::unique_ptr<unsigned char[], MatRelease> data;  ///< the elements, size * size * bytes bytes
    void (*set_func)(MAT&, unsigned, unsigned, long);   ///< the setter for this width
    long (*get_func)(const MAT&, unsigned, unsigned);   ///< the getter for this width

    /**
     * A matrix of zeros.
     *
     * @param size number of rows and of columns; 0 is allowed
     * @param bits element width. Anything but 8, 16, 32 and 64 ends the process with status 1 and
     *             "Error: bits=<bits> must be 8, 16, 32, or 64." on standard error.
     * @throws std::bad_alloc if the elements cannot be allocated
     */
    MAT(unsigned size, unsigned bits);

    /** A full copy, however large. @throws std::bad_alloc if the elements cannot be allocated */
    MAT(const MAT& other);

    /**
     * Takes over the elements of a matrix of the same shape.
     *
     * The number of bytes is computed with 32 bits: of a matrix of 4 GiB or more only that number
     * modulo 2^32 is copied, which is none at all for 65536 rows. The copy constructor has no such
     * limit.
     *
     * Ends the process with status 1 and "Error: size does not match." or "Error: bits does not
     * match." when the shapes differ.
     */
    MAT& operator=(const MAT& other);

    /** Frees the elements. */
    ~MAT();

    /** Binds set_func and get_func to the pair for bits; the constructors call it. */
    void init_func();

    static void set8(MAT& mat, unsigned i, unsigned j, long value);   ///< stores the low byte
    static void set16(MAT& mat, unsigned i, unsigned j, long value);  ///< stores the low 16 bits
    static void set32(MAT& mat, unsigned i, unsigned j, long value);  ///< stores the low 32 bits
    static void set64(MAT& mat, unsigned i, unsigned j, long value);  ///< stores all 64 bits
    static long get8(const MAT& mat, unsigned i, unsigned j);         ///< loads a signed byte
    static long get16(const MAT& mat, unsigned i, unsigned j);        ///< loads signed 16 bits
    static long get32(const MAT& mat, unsigned i, unsigned j);        ///< loads signed 32 bits
    static long get64(const MAT& mat, unsigned i, unsigned j);        ///< loads 64 bits
};

}  // namespace orvex
