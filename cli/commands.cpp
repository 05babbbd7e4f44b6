#include "cli/commands.h"

namespace vyn::cli {

const std::array<Command, 21>& commands() {
    static constexpr std::array<Command, 21> table{{
        {"new", "write a project file", prepare_new},
        {"run", "load a project's images, calculate everything and save what is asked for",
         prepare_run},
        {"schedule", "compute a table of points, here or on a cluster, and sum it up",
         prepare_schedule},
        {"get", "print settings of a project, or the table of all settings", prepare_get},
        {"calibrate", "fit the paint's law to pressure ports on the model", prepare_calibrate},
        {"fit-paint", "fit the paint's law to the table of a calibration cell", prepare_fit_paint},
        {"convert", "convert an image into another format", prepare_convert},
        {"average", "make one picture of several of one view", prepare_average},
        {"align", "align a wind-on image to a wind-off image by markers, paint texture or both",
         prepare_align},
        {"filter", "smooth an image, fill its excluded pixels", prepare_filter},
        {"markers", "convert a marker file into another format; find, refine and pair markers",
         prepare_markers},
        {"resect", "find where the camera stood, from markers on the model", prepare_resect},
        {"project", "put fields of one or several cameras on the model's mesh", prepare_project},
        {"section", "cut a mesh with values by planes", prepare_section},
        {"loads", "forces and moments of a mesh with values", prepare_loads},
        {"mesh", "convert a mesh of the model into another format; say what it holds, check it",
         prepare_mesh},
        {"noise", "measure a camera's gain and read-out noise from frames of still scenes",
         prepare_noise},
        {"render", "draw an image in false colour, for papers and reports", prepare_render},
        {"render3d", "draw a mesh with values in false colour", prepare_render3d},
        {"sample", "make a test point whose true field is known", prepare_sample},
        {"compare", "measure how far a field is from the truth", prepare_compare},
    }};
    return table;
}

}  // namespace vyn::cli
