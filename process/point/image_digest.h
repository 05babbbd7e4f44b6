#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "api/image.h"

namespace vyn {

/// Short digests that tell whether something changed; no protection against forgery (FNV-1a,
/// 64 bits, hexadecimal).
std::string marker_digest(const MarkerSet& set);

std::string text_digest(std::string_view text);

/// Of the exclusion mask and of what the region of interest leaves out beside it; remembered as
/// long as the image lives, so asking again costs nothing. May be called from any thread.
std::string mask_digest(const std::shared_ptr<const image>& picture);

}  // namespace vyn
