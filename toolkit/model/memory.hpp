// The memory of this machine, as far as the process can have it.
#pragma once

#include <cstdint>
#include <string>

namespace orvex::toolkit {

/** Bytes that the process can have at all, by the machine and by its container. */
long machine_memory();

/** Bytes that are free at present, or can be made free, there and in the container. */
long free_memory();

/** "12.3 GiB", "4.1 MiB": three digits that matter. */
std::string bytes_text(std::uint64_t bytes);

}  // namespace orvex::toolkit
