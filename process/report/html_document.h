#pragma once

#include <string>

#include "render/document.h"

namespace vyn {

/// A document as one HTML page that needs no other file: pictures are inside. Only tables, lists
/// and pictures, so that simple viewers show it too; prints on A4.
std::string html_of(const Document& document);

}  // namespace vyn
