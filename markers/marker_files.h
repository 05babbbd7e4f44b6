#pragma once

#include <string>

#include "markers/marker.h"

namespace vyn {

/// What became of a marker file. The two operations stay silent about all of these but a file that
/// cannot be opened; their callers decide what to tell the user.
enum class MarkerFileOutcome {
    done,
    no_name,            ///< empty file name: nothing was done
    unknown_extension,  ///< nothing was done
    no_markers,         ///< nothing to write, no file made; or nothing could be read from the text
    malformed,          ///< not parseable as the format: the set is unchanged
};

struct MarkerFileResult {
    MarkerFileOutcome outcome = MarkerFileOutcome::done;
    std::string detail;  ///< for the user: the file and what is wrong with it. When done: what was
                         ///< left out (a column, the rest of a text); empty when all was read.
    explicit operator bool() const { return outcome == MarkerFileOutcome::done; }
};

/// Writes "mrk" (XML) or "mpt" (text) by the extension, in any letter case; atomically. Values keep
/// six significant digits. Raises FileError "File error!" when the file cannot be written.
MarkerFileResult write_markers(const std::string& file_name, const MarkerSet& set);

/// True for names of files whose rows count from the bottom, so that reading needs the height.
bool rows_count_from_bottom(const std::string& file_name);

/// Reads "mrk", "mpt", "inm" or "apm" by the extension and replaces the set's markers wholesale.
/// `image_height` (pixels) turns the rows of "inm", which count from the bottom. Raises FileError
/// "File error!" when the file cannot be opened; the set is then unchanged.
MarkerFileResult read_markers(const std::string& file_name, MarkerSet& set, int image_height);

/// The same for markers of an image: a set with markers but without a usable x or y column is
/// malformed, and the detail says what is wrong with the column.
MarkerFileResult read_image_markers(const std::string& file_name, MarkerSet& set, int image_height);

}  // namespace vyn
