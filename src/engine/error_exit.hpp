// How the engine fails: it ends the process. There is no error return.
#pragma once

#include <string>

#include "platform/platform.hpp"

namespace orvex::engine {

/** Writes "Error: " and the message to the standard error stream; ends the process, status 1. */
[[noreturn]] void error_exit(const std::string& message);

/** Ends the process with `status` as exit code unless it is success; see cuda_check. */
void check_device_call(platform::cudaError_t status, const char* file, int line);

}  // namespace orvex::engine

/** Every device operation that returns a status goes through this. */
#define cuda_check(status) ::orvex::engine::check_device_call((status), __FILE_NAME__, __LINE__)
