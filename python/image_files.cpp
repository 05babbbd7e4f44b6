#include "python/image_files.h"

#include <nlohmann/json.hpp>
#include <pybind11/stl.h>

#include "api/image_io.h"
#include "core/errors.h"
#include "process/report/json_text.h"
#include "process/report/provenance.h"
#include "python/binding.h"
#include "python/interruptible.h"
#include "python/texts.h"
#include "render/figure_file.h"
#include "render/picture.h"

namespace vyn::python {

namespace {

namespace fs = std::filesystem;

ImageHandle read_file_of(const fs::path& path, const std::string& fits_first_row,
                         bool average_stacks, const std::string& data_set,
                         const std::string& raw_layout, const py::object& progress) {
    using Options = ImageReadOptions;
    if (fits_first_row != "top" && fits_first_row != "bottom")
        throw py::value_error("fits_first_row is 'top' or 'bottom'");
    const Options options{
        .fits_first_row =
            fits_first_row == "top" ? Options::FirstRow::top : Options::FirstRow::bottom,
        .stacks = average_stacks ? Options::Stacks::averaged : Options::Stacks::refused,
        .data_set = data_set,
        .raw_layout = raw_layout};
    return interruptibly(progress, [&](TaskContext& context) {
        return ImageHandle(read_image(path, options, context));
    });
}

void write_file_of(const ImageHandle& handle, const fs::path& path, bool stretch,
                   const py::object& progress) {
    ImageWriteOptions options;
    if (stretch) options.scale = ImageWriteOptions::Scale::stretch;
    const auto picture = handle.picture;
    run_interruptibly(progress, [&](TaskContext& context) {
        options.provenance = json_text(provenance(*picture, imagesList()));
        write_image(*picture, path, options, context);
    });
}

/// How a picture in false colour is asked for.
struct Look {
    std::string palette = "rainbow";
    std::optional<std::pair<double, double>> limits;
    bool colour_bar = true;
    std::optional<std::string> label;
    std::string title;
    double scale = 1;
    bool markers = false;
};

palette_array palette_named(const std::string& name) {
    if (const palette_array* const palette = find_palette(name)) return *palette;
    std::string names;
    for (const palette_array& palette : get_palette_list())
        names += (names.empty() ? "" : ", ") + palette.name;
    throw py::value_error("there is no palette '" + name + "', but " + names);
}

PictureOptions drawing_of(const image& picture, const Look& look, Progress& progress) {
    PictureOptions drawing;
    drawing.palette = palette_named(look.palette);
    drawing.limits = look.limits ? Limits{look.limits->first, look.limits->second}
                                 : robust_limits(picture, progress);
    if (const std::string complaint = complaint_about(drawing.limits); !complaint.empty())
        throw py::value_error("limits: " + complaint);
    drawing.colour_bar = look.colour_bar;
    drawing.label = look.label.value_or(field_label(picture).text());
    drawing.title = look.title;
    drawing.scale = look.scale;
    drawing.markers = look.markers;
    return drawing;
}

py::bytes png_of(const image& picture, const PictureOptions& drawing) {
    const std::vector<std::byte> file = png_bytes(field_figure(picture, drawing));
    return {reinterpret_cast<const char*>(file.data()), file.size()};
}

py::object render(const ImageHandle& handle, const std::optional<fs::path>& path,
                  const Look& look) {
    Progress progress;
    const PictureOptions drawing = drawing_of(handle.get(), look, progress);
    if (!path) return png_of(handle.get(), drawing);
    write_figure(field_figure(handle.get(), drawing), *path);
    return py::none();
}

}  // namespace

py::bytes thumbnail(const ImageHandle& handle) {
    constexpr int longest_side = 800;
    Look look;
    look.scale = scale_for_side(handle.get(), longest_side);
    Progress progress;
    return png_of(handle.get(), drawing_of(handle.get(), look, progress));
}

void bind_image_files(py::module_& module) {
    module.def("read", &read_file_of, py::arg("path"), py::kw_only(),
               py::arg("fits_first_row") = "top", py::arg("average_stacks") = false,
               py::arg("data_set") = "", py::arg("raw_layout") = "",
               py::arg("progress") = py::none(),
               "Reads an image by the content of its file: TIFF, PNG, FITS, field files (.imp), "
               "NumPy, PGM, SPE, "
               "B16 and what plug-ins add; the frames of a burst are averaged. `fits_first_row`: "
               "where the first "
               "row belongs in FITS files that do not say it; `average_stacks`: take channels and "
               "heights for a "
               "burst instead of refusing them; `data_set`: path of the picture in a file that "
               "holds several; "
               "`raw_layout`: describes pixels of a file without a header. Raises FileError naming "
               "the file and "
               "what is wrong.");
    module.def("write", &write_file_of, py::arg("image"), py::arg("path"), py::kw_only(),
               py::arg("stretch") = false, py::arg("progress") = py::none(),
               "Writes an image in the format that the extension names, with what it came from. An "
               "old file is "
               "replaced as a whole, or stays as it was when anything fails or the user "
               "interrupts. `stretch`: "
               "integer formats take the full range instead of clipping. Raises FileError.");
    module.def(
        "render",
        [](const ImageHandle& image, const std::optional<fs::path>& path,
           const std::string& palette, const std::optional<std::pair<double, double>>& limits,
           bool colour_bar, const std::optional<std::string>& label, const std::string& title,
           double scale, bool markers) {
            return render(image, path, {palette, limits, colour_bar, label, title, scale, markers});
        },
        py::arg("image"), py::arg("path") = py::none(), py::kw_only(),
        py::arg("palette") = "rainbow", py::arg("limits") = py::none(),
        py::arg("colour_bar") = true, py::arg("label") = py::none(), py::arg("title") = "",
        py::arg("scale") = 1.0, py::arg("markers") = false,
        "The image in false colour: bytes of a PNG file, or a file of PNG, SVG or PDF by its "
        "extension. "
        "`limits`: (lowest, highest) value, by default the 0.5 and 99.5 percentiles; `scale`: "
        "picture pixels "
        "per image pixel; `markers`: draw the image's markers. Raises ValueError for a palette "
        "that there is "
        "not and limits that span nothing, AlgoError for a scale that cannot be drawn.");
}

}  // namespace vyn::python
