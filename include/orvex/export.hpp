// What leaves the shared library. Everything is compiled with hidden visibility, so that the 150
// engines cannot be reached, or replaced, from outside; a public name opts in with ORVEX_API.
#pragma once

#if defined(__GNUC__) || defined(__clang__)
/** Marks a class or function as part of the library's public interface. */
#define ORVEX_API __attribute__((visibility("default")))
#else
#define ORVEX_API
#endif
