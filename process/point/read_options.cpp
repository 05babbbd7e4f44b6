#include "process/point/read_options.h"

#include <algorithm>

#include "core/ascii.h"
#include "core/keys.h"

namespace vyn {

ImageReadOptions read_options(const dataSetInterface& data, const std::filesystem::path& file) {
    ImageReadOptions options;
    if (read(data, keys::files_fits_first_row) == "bottom")
        options.fits_first_row = ImageReadOptions::FirstRow::bottom;
    if (read(data, keys::files_stacks) == "averaged")
        options.stacks = ImageReadOptions::Stacks::averaged;
    options.data_set = read(data, keys::files_data_set);
    // Other pictures of the project have headers.
    if (lower_extension(file) == "raw") options.raw_layout = read(data, keys::files_raw_layout);
    return options;
}

AverageOptions average_options(const dataSetInterface& data) {
    const auto name = std::ranges::find(average_method_names, read(data, keys::files_average));
    return {.method = static_cast<AverageMethod>(name - average_method_names.begin()),
            .clip = read(data, keys::files_clip)};
}

}  // namespace vyn
