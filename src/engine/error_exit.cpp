#include "engine/error_exit.hpp"

#include "problem/exit_with_message.hpp"

namespace orvex::engine {

void error_exit(const std::string& message) {
    end_process(1, std::string("Error: ").append(message).append("\n"));
}

void check_device_call(platform::cudaError_t status, const char* file, int line) {
    if (status == platform::cudaSuccess) return;
    std::string text = "[CUDA Error] ";
    text += platform::cudaGetErrorString(status);
    text += " (code: ";
    text += std::to_string(static_cast<int>(status));
    text += ") at ";
    text += file;
    text += " line ";
    text += std::to_string(line);
    text += "\n";
    end_process(static_cast<int>(status), text);
}

}  // namespace orvex::engine
