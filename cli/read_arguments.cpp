#include "cli/read_arguments.h"

#include <map>
#include <string>

namespace vyn::cli {

void add_read_arguments(CLI::App& app, ImageReadOptions& options) {
    using FirstRow = ImageReadOptions::FirstRow;
    using Stacks = ImageReadOptions::Stacks;
    static const std::map<std::string, FirstRow> rows{{"top", FirstRow::top},
                                                      {"bottom", FirstRow::bottom}};
    static const std::map<std::string, Stacks> stacks{{"refused", Stacks::refused},
                                                      {"averaged", Stacks::averaged}};
    app.add_option("--fits-first-row", options.fits_first_row,
                   "top or bottom: where the first row of a FITS picture belongs that does not say "
                   "it; without it top")
        ->transform(CLI::CheckedTransformer(rows).description("top or bottom"));
    app.add_option("--stacks", options.stacks,
                   "refused or averaged: TIFF files whose pages are channels or slices; without it "
                   "refused")
        ->transform(CLI::CheckedTransformer(stacks).description("refused or averaged"));
    app.add_option("--data-set", options.data_set,
                   "path of the picture in an HDF5 file that holds several");
    app.add_option("--raw", options.raw_layout,
                   "layout of a file without a header: \"width=W height=H type=u16 order=little "
                   "first_row=top offset=0 frames=1 gap=0\"");
}

}  // namespace vyn::cli
