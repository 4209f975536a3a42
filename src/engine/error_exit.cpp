#include "engine/error_exit.hpp"

#include "problem/exit_with_message.hpp"

namespace orvex::engine {

void error_exit(const std::string& message) {
    end_process(1, "Error: " + message + "\n");
}

void check_device_call(platform::cudaError_t status, const char* file, int line) {
    if (status == platform::cudaSuccess) return;
    const std::string code = std::to_string(static_cast<int>(status));
    end_process(static_cast<int>(status),
                std::string("[CUDA Error] ") + platform::cudaGetErrorString(status) +
                    " (code: " + code + ") at " + file + " line " + std::to_string(line) + "\n");
}

}  // namespace orvex::engine
