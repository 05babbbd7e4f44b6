#include "api/image_io.h"
#include "api/parallel.h"
#include "calib/units.h"
#include "core/log.h"
#include "core/version.h"
#include "python/binding.h"
#include "python/texts.h"

namespace vyn::python {

namespace {

/// For the rest of the process; the scheduler is gone before static objects are.
void set_threads(int count) {
    if (count < 0) throw py::value_error("the number of threads must not be negative");
    static ThreadLimit* limit = nullptr;
    delete limit;
    limit = nullptr;
    if (count > 0) limit = new ThreadLimit(count);
}

py::list take_log() {
    py::list lines;
    for (const LogLine& line : get_log_mgr().take_new_lines())
        lines.append(py::make_tuple(number(line.level), text(line.text)));
    return lines;
}

void bind(py::module_& module) {
    bind_errors(module);
    bind_markers(module);
    bind_image(module);
    bind_image_files(module);
    bind_dots(module);
    bind_pixels(module);
    bind_align(module);
    bind_law(module);
    bind_in_situ(module);
    bind_model(module);
    bind_pose(module);
    bind_chain(module);
    module.def("set_threads", &set_threads, py::arg("count"),
               "Limits the threads of all computations; 0: all cores. Results are the same bits "
               "with any number.");
    // A copy of a process has the calling thread only; the scheduler starts others in it when it
    // knows that its own have ended.
    py::module_::import("os").attr("register_at_fork")(
        py::arg("before") = py::cpp_function([] { end_idle_threads(); }));
    module.def(
        "take_log", &take_log,
        "The lines that the program has logged since the last call, as (level, text): 0 to 2 "
        "are errors, 3 is information, 4 progress.");
}

}  // namespace

}  // namespace vyn::python

PYBIND11_MODULE(_vynlite, module) {
    using namespace vyn;
    // Names of classes and errors tell the package, not the file in it.
    const pybind11::object own_name = module.attr("__name__");
    module.attr("__name__") = "vynlite";
    module.attr("__version__") = program_version;
    python::bind(module);
    module.attr("__name__") = own_name;
    set_unit_messages(UnitMessages::logged);
    register_plugins("*.2dio");
    register_plugins("*.3dio");
}
