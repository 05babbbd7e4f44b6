#include "process/steps/chain.h"

#include <pybind11/stl.h>

#include "core/errors.h"
#include "core/keys.h"
#include "process/model/mesh_tasks.h"
#include "process/point/find_markers_task.h"
#include "process/point/project_lock.h"
#include "process/point/save_image_task.h"
#include "process/project/new_project.h"
#include "process/project/project_tasks.h"
#include "process/steps/port_point.h"
#include "python/binding.h"
#include "python/choices.h"
#include "python/dots.h"
#include "python/image.h"
#include "python/in_situ.h"
#include "python/model.h"
#include "python/session.h"
#include "python/settings.h"
#include "python/texts.h"

namespace vyn::python {

namespace {

namespace fs = std::filesystem;

std::unique_ptr<PointSession> new_session(const py::object& settings) {
    auto session = std::make_unique<PointSession>();
    dataSetInterface& data = session->get().data;
    write(data, keys::test_single, 1);
    start_project(data);
    apply_settings(data, settings);
    return session;
}

std::unique_ptr<PointSession> open_session(const fs::path& project, const py::object& settings,
                                           const py::object& progress) {
    auto session = std::make_unique<PointSession>();
    ReadProject request;
    request.file = project;
    request.geometry = ReadProject::Geometry::if_named;
    request.settings = settings_of(settings);
    request.report = session->report();
    session->run(std::make_unique<ReadProjectTask>(session->get(), std::move(request)), progress);
    return session;
}

Goal goal_named(const std::string& name) {
    constexpr Choices<Goal, 8> goals{{{"all", Goal::all},
                                      {"correct_wind_off", Goal::correct_wind_off},
                                      {"correct_wind_on", Goal::correct_wind_on},
                                      {"ratio_of_corrected", Goal::ratio_of_corrected},
                                      {"displacement", Goal::displacement},
                                      {"ratio", Goal::ratio},
                                      {"field", Goal::field},
                                      {"model", Goal::model}}};
    return chosen(goals, name, "goal");
}

/// What keeps a goal from being reached.
std::string missing_for(Goal goal, const StepView& view) {
    if (std::string missing = missing_input(view); goal == Goal::all || !missing.empty())
        return missing;
    std::string names;
    for (const std::string& name : missing_images(goal, view))
        names += (names.empty() ? "missing: " : ", ") + name;
    return names;
}

void calculate_goal(PointSession& session, const std::string& goal_name, bool allow_unaligned,
                    const py::object& progress) {
    const Goal goal = goal_named(goal_name);
    const auto job = calculate(goal, session.get(), session.report());
    if (job->empty()) throw StateError("State error!", missing_for(goal, view_of(session.get())));
    if (session.run(job, progress) == TaskOutcome::done_with_errors && !allow_unaligned)
        throw AlgoError("Aligning Images FAILED!", unaligned_text(*session.report()));
}

void find_session_markers(PointSession& session, const std::string& polarity, double min_size,
                          double max_size, int expect, const py::object& progress) {
    session.run(std::make_unique<FindMarkersTask>(
                    session.get(), detection_options(polarity, min_size, max_size, expect, {}),
                    session.report()),
                progress);
}

std::unique_ptr<PointSession> run_project(const fs::path& project, const py::object& settings,
                                          bool find_markers, bool allow_unaligned,
                                          const py::object& progress) {
    auto session = open_session(project, settings, progress);
    if (find_markers) {
        const DetectionOptions usual;
        find_session_markers(*session, "dark", usual.min_size, usual.max_size, usual.expect,
                             progress);
    }
    calculate_goal(*session, "all", allow_unaligned, progress);
    return session;
}

ImageHandle image_named(PointSession& session, const std::string& name) {
    auto picture = session.get().images.find(name);
    if (!picture) throw py::key_error(name);
    return picture;
}

void put_image(PointSession& session, const std::string& name, const ImageHandle& handle) {
    const PointSession::Turn turn(session);
    image picture = handle.get();
    picture.name = name;
    session.get().images.add(std::move(picture));
}

void remove_image(PointSession& session, const std::string& name) {
    const PointSession::Turn turn(session);
    if (!session.get().images.remove(name)) throw py::key_error(name);
}

py::object setting(PointSession& session, const std::string& path) {
    const KeyInfo* const key = find_key(path);
    if (!key) throw py::key_error(path);
    const any value = std::as_const(session.get().data).value(path);
    return object_of(value.type() == key->fallback.type() ? value : key->fallback);
}

py::dict all_settings(PointSession& session) {
    py::dict settings;
    session.get().data.for_each([&](const std::string& path, const any& value) {
        settings[text(path)] = object_of(value);
    });
    return settings;
}

void change_settings(PointSession& session, const py::object& settings) {
    const PointSession::Turn turn(session);
    apply_settings(session.get().data, settings);
}

py::object mesh_of(PointSession& session) {
    const PointSession::Turn turn(session);
    const field_data<double>& mesh = session.get().field;
    if (!mesh.has_data()) return py::none();
    return py::cast(MeshHandle{std::make_shared<const field_data<double>>(mesh)});
}

InSituCalibration calibrate_session(PointSession& session, const fs::path& ports, int terms,
                                    int side, const std::string& unit, const std::string& model,
                                    double port_sigma) {
    const PointSession::Turn turn(session);
    const InSituOptions options{.terms = terms,
                                .side = side,
                                .pressure_unit = unit,
                                .model = calibration_model(model),
                                .port_sigma = port_sigma};
    return calibrated(ports, session.get().images.find(image_names::ratio),
                      for_point(options, session.get()));
}

void save_project(PointSession& session, const fs::path& path, const py::object& progress) {
    const auto lock = lock_project(path);
    session.run(std::make_unique<WriteProjectTask>(session.get(), path), progress);
}

void bind_results(py::class_<PointSession>& type) {
    type.def("__getitem__", &image_named, py::arg("name"),
             "An image by name, such as 'field_P', 'Iref' or 'wind_on_sens_aligned'. Raises "
             "KeyError.")
        .def("__setitem__", &put_image, py::arg("name"), py::arg("image"))
        .def("__delitem__", &remove_image, py::arg("name"))
        .def(
            "__contains__",
            [](PointSession& session, const std::string& name) {
                return session.get().images.find(name) != nullptr;
            },
            py::arg("name"))
        .def("__len__", [](PointSession& session) { return session.get().images.names().size(); })
        .def("__iter__",
             [](PointSession& session) { return py::iter(py::cast(session.get().images.names())); })
        .def(
            "keys", [](PointSession& session) { return session.get().images.names(); },
            "The names of the images, sorted.")
        .def_property_readonly("mesh", &mesh_of,
                               "A copy of the model's mesh with its values, or None.")
        .def_property_readonly(
            "report", &PointSession::told,
            "What the tasks found out, as a dictionary: outcome, alignment, law, warnings, inputs.")
        .def(
            "save_image",
            [](PointSession& session, const std::string& name, const fs::path& path,
               const py::object& progress) {
                session.run(std::make_unique<SaveImageTask>(session.get(), name, path), progress);
            },
            py::arg("name"), py::arg("path"), py::kw_only(), py::arg("progress") = py::none(),
            "Writes an image with all that it came from; the extension picks the format. Raises "
            "StateError when "
            "there is none, FileError.")
        .def(
            "save_mesh",
            [](PointSession& session, const fs::path& path, const py::object& progress) {
                session.run(std::make_unique<SaveMeshTask>(session.get(), path), progress);
            },
            py::arg("path"), py::kw_only(), py::arg("progress") = py::none(),
            "Writes the mesh with its values.")
        .def("save", &save_project, py::arg("path"), py::kw_only(),
             py::arg("progress") = py::none(),
             "Writes the project: its settings (.xml), or a container with all images (.ims). "
             "Raises StateError "
             "while it is open in a window.");
}

}  // namespace

void bind_chain(py::module_& module) {
    const DetectionOptions dots;
    const InSituOptions law;
    py::class_<PointSession> type(module, "Session",
                                  "A test point: settings, images by name, mesh. Several can stand "
                                  "side by side, and work in different "
                                  "threads of Python. One session does one task at a time.");
    type.def(py::init(&new_session), py::arg("settings") = py::none(),
             "A new point of one channel with the settings of the program's New and those given by "
             "path.")
        .def_static("open", &open_session, py::arg("project"), py::arg("settings") = py::none(),
                    py::kw_only(), py::arg("progress") = py::none(),
                    "Reads a project file (.xml) or container (.ims) and the images that it names. "
                    "`settings` replace "
                    "its own. Raises FileError, and AlgoError for a setting that there is not.")
        .def("calculate", &calculate_goal, py::arg("goal") = "all", py::kw_only(),
             py::arg("allow_unaligned") = false, py::arg("progress") = py::none(),
             "Computes 'correct_wind_off', 'correct_wind_on', 'displacement', 'ratio', "
             "'ratio_of_corrected', "
             "'field', 'model' or 'all'. Raises StateError that tells what is missing; AlgoError "
             "when the pictures "
             "could not be aligned, or poorly, unless that is allowed (the results stand in the "
             "session either way).")
        .def("find_markers", &find_session_markers, py::kw_only(), py::arg("polarity") = "dark",
             py::arg("min_size") = dots.min_size, py::arg("max_size") = dots.max_size,
             py::arg("expect") = dots.expect, py::arg("progress") = py::none(),
             "Finds the markers of pictures that have none and whose marker file the project does "
             "not name.")
        .def("calibrate", &calibrate_session, py::arg("ports"), py::kw_only(),
             py::arg("terms") = law.terms, py::arg("side") = law.side,
             py::arg("unit") = law.pressure_unit, py::arg("model") = "polynomial",
             py::arg("port_sigma") = law.port_sigma,
             "Fits a law to pressure ports on the ratio image, as `fit_in_situ`; model 'k', "
             "'offset-gain' or "
             "'temperature' fits constants of the project's law. Nothing is stored. Raises "
             "AlgoError with the reason.")
        .def(
            "accept",
            [](PointSession& session, const InSituCalibration& calibration,
               const std::string& wind_off_ratio) {
                const PointSession::Turn turn(session);
                store_calibration(session.get().data, calibration, wind_off_ratio);
            },
            py::arg("calibration"), py::arg("wind_off_ratio") = "unity",
            "Makes a calibration the law of the session's field.")
        .def("setting", &setting, py::arg("path"),
             "A setting's value, its default where none is set. Raises KeyError.")
        .def("settings", &all_settings, "The settings that are set, by path.")
        .def("set", &change_settings, py::arg("settings"),
             "Changes settings by path. Raises AlgoError, and changes none, for a path or value "
             "that there is not.")
        .def("__repr__", [](PointSession& session) {
            return "<vynlite.Session, " + std::to_string(session.get().images.names().size()) +
                   " images>";
        });
    bind_results(type);
    module.def("run", &run_project, py::arg("project"), py::arg("settings") = py::none(),
               py::kw_only(), py::arg("find_markers") = false, py::arg("allow_unaligned") = false,
               py::arg("progress") = py::none(),
               "Opens a project and computes everything, as `vynlite-batch run` does and to the "
               "same bits: a Session "
               "with the results. `settings`: by path, in the place of the project's; "
               "`find_markers`: find dots of "
               "pictures without marker files; `progress`: called with status and share of the "
               "step done. Raises "
               "Error; KeyboardInterrupt of Ctrl-C stops the computation.");
}

}  // namespace vyn::python
