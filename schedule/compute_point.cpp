#include "schedule/compute_point.h"

#include <chrono>

#include <nlohmann/json.hpp>
#include <unistd.h>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/keys.h"
#include "process/model/mesh_tasks.h"
#include "process/point/find_markers_task.h"
#include "process/point/project_paths.h"
#include "process/point/save_image_task.h"
#include "process/report/html_document.h"
#include "process/report/json_text.h"
#include "process/report/point_report.h"
#include "process/report/report_document.h"
#include "process/report/run_report_json.h"
#include "process/steps/chain.h"
#include "render/figure_file.h"
#include "schedule/point_lock.h"
#include "schedule/point_project.h"
#include "schedule/point_settings.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

using Outcome = PointState::Outcome;

constexpr int thumbnail_side = 128;  // pixels; many stand on one page
constexpr const char* mesh_name = "field.vtp";

/// Why a computation stopped short.
struct Failure {
    std::string reason;
};

/// One computation of a point.
class Computation {
  public:
    Computation(const Schedule& schedule, const SchedulePoint& point, TaskContext& context)
        : schedule_(schedule), point_(point), context_(context), session_(own_.get()) {}

    void compute(const SharedPart& shared, Unaligned unaligned) {
        ReadProject request = point_request(schedule_, point_, report_);
        request.loaded = shared.loaded;
        run(ReadProjectTask(session_, std::move(request)));
        if (const std::string missing = missing_input(view_of(session_)); !missing.empty())
            throw Failure{missing};
        if (point_.auto_markers &&
            FindMarkersTask(session_, {}, report_).run(context_) != TaskOutcome::done)
            throw Failure{report_->warnings.back().text};
        const std::vector<StepId> done = take_shared_part(shared, session_, *report_);
        outcome_ = calculate(Goal::all, session_, report_, done)->run(context_);
        if (outcome_ == TaskOutcome::failed) throw Failure{"the computation failed"};
        if (outcome_ == TaskOutcome::done_with_errors && unaligned == Unaligned::refused)
            throw Failure{unaligned_text(*report_)};
    }

    void save() {
        for (const auto& [image, file] : point_.saves) {
            const fs::path target = schedule_.results / file;
            fs::create_directories(target.parent_path());
            run(SaveImageTask(session_, image, target));
        }
        if (point_.saves.empty()) run(SaveFieldTask(session_));
        const bool unnamed = read(session_.data, keys::field_3d_file).empty();
        if (!session_.field.quantities.empty() && (unnamed || !point_.saves.empty()))
            run(SaveMeshTask(session_, schedule_.folder_of(point_) / mesh_name));
    }

    void remove_results() const {
        std::error_code ignored;
        for (const auto& save : point_.saves)
            fs::remove(schedule_.results / save.second, ignored);
        // By the point's own settings: of a project that could not be read the session has none,
        // and names would mean files of the working folder.
        OwnSession named;
        put_point_settings(schedule_, point_, named.data);
        std::vector<fs::path> files = named_field_files(named.get());
        if (const std::string mesh = read(named.data, keys::field_3d_file); !mesh.empty())
            files.push_back(output_folder(named.data) / mesh);
        for (const fs::path& file : files)
            fs::remove(file, ignored);
        for (const char* name : {mesh_name, "thumbnail.png"})
            fs::remove(schedule_.folder_of(point_) / name, ignored);
    }

    /// Pages and figures of what there is.
    void tell(PointState& state, double seconds) {
        const fs::path folder = schedule_.folder_of(point_);
        if (!state.reason.empty())
            report_->warnings.push_back(
                {WarningKind::failure, "The run ended with: " + state.reason});
        const MarkerSet ports = ports_of_point(session_.data, session_.images);
        const PointReport page = make_point_report(*report_, session_.data, session_.images,
                                                   session_.field, ports, context_);
        state.figures = figures_of(*report_, page.check, session_, seconds);
        state.experiment = page.check.experiment;
        state.quantity = page.check.quantity;
        for (const Warning& warning : page.check.warnings) {
            ++state.warning_kinds[name(warning.kind)];
            state.warnings.push_back(warning.text);
        }
        write_file(folder / "page.html", html_of(report_document(page)));
        write_file(folder / "report.json",
                   json_text(to_json(*report_, session_.data, session_.images, outcome_,
                                     state.reason, context_.finish_stages()),
                             2) +
                       "\n");
        const auto field = session_.images.find(image_names::field);
        if (!field || state.outcome != Outcome::done) return;
        write_figure(thumbnail_of(*field, thumbnail_side, context_), folder / "thumbnail.png");
    }

  private:
    void run(Task&& task) {
        if (task.run(context_) >= TaskOutcome::failed) throw Failure{"the computation failed"};
    }

    const Schedule& schedule_;
    const SchedulePoint& point_;
    TaskContext& context_;
    OwnSession own_;
    Session session_;
    std::shared_ptr<RunReport> report_ = std::make_shared<RunReport>();
    TaskOutcome outcome_ = TaskOutcome::failed;
};

/// Calls `work`; gives what ended it early, or nothing.
template <class Work>
std::string reason_of_failure(Outcome& outcome, const Work& work) {
    outcome = Outcome::failed;
    try {
        work();
        outcome = Outcome::done;
        return {};
    } catch (const Failure& failure) {
        return failure.reason;
    } catch (const Aborted&) {
        outcome = Outcome::aborted;
        return "interrupted";
    } catch (const std::bad_alloc&) {
        return "not enough memory";
    } catch (const std::exception& error) {
        return error.what();
    }
}

}  // namespace

PointState compute_point(const Schedule& schedule, const SchedulePoint& point,
                         const SharedPart& shared, Unaligned unaligned, TaskContext& context) {
    const auto start = std::chrono::steady_clock::now();
    PointState state;
    state.digest = point.digest;
    state.started = utc_now();
    state.host = host_name();
    Computation computation(schedule, point, context);
    state.reason = reason_of_failure(state.outcome, [&] {
        write_point_project(schedule, point);
        state.inputs = stamp_inputs(point, {});
        computation.compute(shared, unaligned);
        computation.save();
    });
    if (state.outcome != Outcome::done) computation.remove_results();
    if (state.outcome != Outcome::aborted) {
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        Outcome told = Outcome::done;
        const std::string problem =
            reason_of_failure(told, [&] { computation.tell(state, seconds.count()); });
        if (state.outcome == Outcome::done && told != Outcome::done) {
            state.outcome = told;
            state.reason = problem;
        }
    }
    state.finished = utc_now();
    state.attempt = state.host + "/" + std::to_string(getpid()) + "/" + state.started;
    return state;
}

}  // namespace vyn
