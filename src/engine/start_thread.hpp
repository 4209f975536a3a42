// How the engine starts its threads.
#pragma once

#include <functional>
#include <thread>
#include <utility>

namespace orvex::engine {

/**
 * A thread that does the work. The thread's own type knows nothing of a band: the standard library
 * makes a type for each kind of callable that a thread is started with, and the library would
 * export it.
 */
inline std::thread start_thread(std::function<void()> work) {
    return std::thread(std::move(work));
}

}  // namespace orvex::engine
