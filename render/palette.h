#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>

namespace vyn {

/// A colour of a palette, in the byte order of a 32-bit pixel.
struct PaletteColour {
    std::uint8_t blue = 0;
    std::uint8_t green = 0;
    std::uint8_t red = 0;
    std::uint8_t fourth = 0;

    bool operator==(const PaletteColour&) const = default;
    /// Opaque, as 0xAARRGGBB.
    std::uint32_t argb() const {
        return 0xFF000000U | std::uint32_t{red} << 16 | std::uint32_t{green} << 8 | blue;
    }
};

/// Moves each of blue, green and red two thirds of the way to white, in whole numbers.
PaletteColour lightened(PaletteColour colour);

/// A palette: 256 colours, of which some are the main ramp (pixels inside the region), some the
/// pale ramp (outside), and one beside each marks background.
///
/// A new palette is the rainbow.
struct palette_array {
    palette_array();
    /// Copying takes the texts, the main ramp with the colour behind it, and its indices, and
    /// builds the pale ramp anew. Where that cannot be built the old one stays, unless the other
    /// palette has one of its own.
    palette_array(const palette_array& other);
    palette_array& operator=(const palette_array& other);
    bool operator==(const palette_array&) const = default;

    /// Every second colour of the main ramp, lightened, behind it; only for a ramp of 128 colours
    /// (which begins at 10). False, and nothing is changed, for any other.
    bool build_pale_ramp();

    std::string file_name;
    std::string name;  ///< as the chooser shows it
    std::array<PaletteColour, 256> entries{};
    std::uint8_t first = 10;  ///< of the main ramp
    std::uint8_t last = 137;
    std::uint8_t over = 138;  ///< background inside the region
    std::uint8_t pale_first = 139;
    std::uint8_t pale_last = 202;
    std::uint8_t pale_over = 203;  ///< background outside the region
    bool own_pale_ramp = false;    ///< the pale ramp does not follow from the rule
};

/// Reads a text file "TITLE N" and N triples of red, green and blue, fractions from 0 to 1. As many
/// triples are used as the indices of a palette hold: the ramp ends one past the last triple, with
/// the rainbow's colour there. Raises FileError "File error!" naming the file and what is wrong.
palette_array read_lut(const std::filesystem::path& file);

/// The program's palettes: the rainbow, then the other built-in ones, then those that were added.
/// References stay valid while palettes are added behind. For one thread at a time.
std::deque<palette_array>& get_palette_list();

/// Where a palette stands in the list: the one itself, or else the first equal to it; -1 when there
/// is none.
int get_palette_idx(const palette_array& palette);

/// The first palette of that name; null when there is none.
const palette_array* find_palette(const std::string& name);

}  // namespace vyn
