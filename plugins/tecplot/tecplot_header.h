#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "plugins/mesh_support/text_scanner.h"

namespace vyn::plugins {

/// What stands before a zone's numbers in a Tecplot text file.
struct TecplotZone {
    enum class Kind { ordered, triangles, quadrangles, lines };
    std::string name;
    Kind kind = Kind::ordered;
    bool block = false;  ///< variable after variable, not point after point
    std::int64_t i = 1;
    std::int64_t j = 1;
    std::int64_t k = 1;
    std::int64_t nodes = 0;
    std::int64_t elements = 0;
    std::vector<bool> at_cells;  ///< by variable; short: the rest is at nodes
    /// By variable: number of the zone, from 1, whose values these are; 0 or short: they follow.
    std::vector<std::int64_t> shared;
    std::int64_t shared_elements = 0;  ///< the same for the corners of the elements
};

/// The variables' names, from after the word VARIABLES.
std::vector<std::string> read_tecplot_variables(TextScanner& text);
/// A zone's header, from after the word ZONE up to its first number.
TecplotZone read_tecplot_zone(TextScanner& text, std::size_t number);
/// A text in quotation marks, or up to white space.
std::string read_tecplot_text(TextScanner& text);
/// Skips comment lines; true when a word in letters follows.
bool at_tecplot_keyword(TextScanner& text);
/// The word, in capitals, up to "=" or white space; an "=" after it is taken, too.
std::string read_tecplot_keyword(TextScanner& text);

}  // namespace vyn::plugins
