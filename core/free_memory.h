#pragma once

#include <cstdint>

namespace vyn {

/// Bytes that this process can still take without driving others, or itself, out of memory: what
/// the system calls available, less what limits of the process or its group keep from it. The
/// largest number where the system does not tell.
std::uint64_t free_memory();

}  // namespace vyn
