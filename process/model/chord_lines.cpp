#include "process/model/chord_lines.h"

#include <algorithm>
#include <cmath>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "core/quotes.h"

namespace vyn {

namespace {

constexpr const char* cannot_read = "Can't open file for reading!";

/// Takes what stands before the next comma off a row.
std::string_view next_cell(std::string_view& row) {
    const std::size_t comma = std::min(row.find(','), row.size());
    const std::string_view cell = trim(row.substr(0, comma));
    row.remove_prefix(std::min(comma + 1, row.size()));
    return cell;
}

}  // namespace

ChordLines read_chord_lines(const std::filesystem::path& file) {
    constexpr std::size_t largest_file = std::size_t{16} << 20;
    const std::string text = read_file(file, largest_file);
    ChordLines lines;
    int row = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string_view line = trim(std::string_view(text).substr(begin, end - begin));
        begin = end + 1;
        ++row;
        if (line.empty() || row == 1) continue;  // the columns' names
        std::string_view rest = line;
        const std::string_view name = next_cell(rest);
        bool sound = name == "leading" || name == "trailing";
        Vec3 place{};
        for (double& coordinate : place) {
            const auto number = parse_double(next_cell(rest));
            sound = sound && number && std::isfinite(*number);
            coordinate = number.value_or(0);
        }
        if (!sound || !rest.empty())
            throw FileError(cannot_read, file.string() + ": row " + std::to_string(row) +
                                             ": expected leading or trailing, x, y, z, found " +
                                             in_quotes(line));
        (name == "leading" ? lines.leading : lines.trailing).push_back(place);
    }
    if (lines.leading.size() < 2 || lines.trailing.size() < 2)
        throw FileError(cannot_read, file.string() +
                                         ": a leading and a trailing line of two points at least "
                                         "are needed");
    return lines;
}

}  // namespace vyn
