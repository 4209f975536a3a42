// Allocations of C++ and of matrices, threads, and operations on files.
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <system_error>
#include <zlib.h>

#include "faults.hpp"

namespace {

using orvex::faults::fails;
using orvex::faults::Kind;

void* allocated(std::size_t size, std::size_t alignment) {
    if (fails(Kind::ALLOCATION)) return nullptr;
    if (alignment <= alignof(std::max_align_t)) return std::malloc(size);
    return std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void* allocated_or_thrown(std::size_t size, std::size_t alignment) {
    void* const memory = allocated(size, alignment);
    if (memory == nullptr) throw std::bad_alloc();
    return memory;
}

}  // namespace

void* operator new(std::size_t size) {
    return allocated_or_thrown(size, 1);
}
void* operator new[](std::size_t size) {
    return allocated_or_thrown(size, 1);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocated_or_thrown(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocated(size, 1);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    std::free(memory);
}

extern "C" {

void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size) {
    return fails(Kind::ALLOCATION) ? nullptr : __real_calloc(count, size);
}

/** What the constructor of std::thread calls; the first argument is the thread, the second a
 * reference to its work, the third holds a symbol. */
void __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
    void*, void*, void (*)());
void __wrap__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
    void*, void*, void (*)());
void __wrap__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
    void* thread, void* work, void (*depend)()) {
    if (fails(Kind::THREAD))
        throw std::system_error(EAGAIN, std::generic_category(), "no thread is left");
    __real__ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE(
        thread, work, depend);
}

std::FILE* __real_fopen(const char* name, const char* mode);
std::FILE* __wrap_fopen(const char* name, const char* mode);
std::FILE* __wrap_fopen(const char* name, const char* mode) {
    if (!fails(Kind::FILE)) return __real_fopen(name, mode);
    errno = EMFILE;
    return nullptr;
}

gzFile __real_gzopen(const char* name, const char* mode);
gzFile __wrap_gzopen(const char* name, const char* mode);
gzFile __wrap_gzopen(const char* name, const char* mode) {
    if (!fails(Kind::FILE)) return __real_gzopen(name, mode);
    errno = EMFILE;
    return nullptr;
}

gzFile __real_gzdopen(int descriptor, const char* mode);
gzFile __wrap_gzdopen(int descriptor, const char* mode);
gzFile __wrap_gzdopen(int descriptor, const char* mode) {
    return fails(Kind::FILE) ? nullptr : __real_gzdopen(descriptor, mode);
}

int __real_gzwrite(gzFile file, const void* bytes, unsigned count);
int __wrap_gzwrite(gzFile file, const void* bytes, unsigned count);
int __wrap_gzwrite(gzFile file, const void* bytes, unsigned count) {
    if (!fails(Kind::FILE)) return __real_gzwrite(file, bytes, count);
    errno = ENOSPC;
    return 0;
}

int __real_gzclose(gzFile file);
int __wrap_gzclose(gzFile file);
int __wrap_gzclose(gzFile file) {
    const int status = __real_gzclose(file);
    if (!fails(Kind::FILE)) return status;
    errno = EIO;
    return Z_ERRNO;
}

int __real_mkstemp(char* name);
int __wrap_mkstemp(char* name);
int __wrap_mkstemp(char* name) {
    if (!fails(Kind::FILE)) return __real_mkstemp(name);
    errno = ENOSPC;
    return -1;
}

int __real_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to);
int __wrap_rename(const char* from, const char* to) {
    if (!fails(Kind::FILE)) return __real_rename(from, to);
    errno = EIO;
    return -1;
}

}  // extern "C"
