#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace vyn {

/// Bytes as text (RFC 4648), padded.
std::string base64(std::span<const std::byte> bytes);

}  // namespace vyn
