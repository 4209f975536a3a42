// Which sanitizers the tests are compiled with: some tests cannot hold under one, and those that
// repeat a whole run hundreds of times do so less often there. GCC tells by a macro, Clang by a
// feature.
#pragma once

#ifndef __has_feature
#define __has_feature(feature) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
#define ORVEX_ADDRESS_SANITIZER 1
#else
#define ORVEX_ADDRESS_SANITIZER 0
#endif

#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
#define ORVEX_THREAD_SANITIZER 1
#else
#define ORVEX_THREAD_SANITIZER 0
#endif

namespace orvex::test {

inline constexpr bool SANITIZED = ORVEX_ADDRESS_SANITIZER || ORVEX_THREAD_SANITIZER;

}  // namespace orvex::test
