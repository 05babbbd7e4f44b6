#include "cli/commands.h"

namespace vyn::cli {

const std::array<Command, 9>& commands() {
    static constexpr std::array<Command, 9> table{{
        {"new", "write a project file", prepare_new},
        {"run", "load a project's images, calculate everything and save what is asked for",
         prepare_run},
        {"get", "print settings of a project, or the table of all settings", prepare_get},
        {"calibrate", "fit the paint's law to pressure ports on the model", prepare_calibrate},
        {"convert", "convert an image into another format", prepare_convert},
        {"filter", "smooth an image, fill its excluded pixels", prepare_filter},
        {"markers", "convert a marker file into another format; find, refine and pair markers",
         prepare_markers},
        {"sample", "make a test point whose true field is known", prepare_sample},
        {"compare", "measure how far a field is from the truth", prepare_compare},
    }};
    return table;
}

}  // namespace vyn::cli
