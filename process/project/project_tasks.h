#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "calib/in_situ_calibration.h"
#include "core/any.h"
#include "core/data_set.h"
#include "core/task.h"
#include "process/point/session.h"
#include "process/report/run_report.h"

namespace vyn {

/// True for the name of a container (.ims), false for that of a project file (.xml).
bool is_container(const std::filesystem::path& file);

/// How a project is opened.
struct ReadProject {
    /// `if_named`: the mesh is read where the project names mesh and markers of it, and nothing is
    /// said where it does not; one that cannot be read is a warning.
    enum class Geometry { leave_out, if_named, read };
    std::filesystem::path file;  ///< .xml or .ims
    Geometry geometry = Geometry::leave_out;
    /// Files that the project names but that are not there: it cannot be read, or is read without
    /// them, with a warning each.
    enum class MissingFiles { refuse, leave_out };
    MissingFiles missing = MissingFiles::refuse;
    /// A container whose camera pictures, dark images and flat fields are taken where the settings
    /// name the same files, since it may hold masks and markers that no file has; may be empty.
    std::filesystem::path inputs{};
    /// Pictures, dark images and flat fields that were read for another point: one that would come
    /// out the same now is taken instead of its file.
    std::vector<std::shared_ptr<const image>> loaded{};
    /// Settings that replace those of the file before anything that they name is read.
    std::vector<std::pair<std::string, any>> settings;
    /// Where warnings of settings go beside the log; may be null.
    std::shared_ptr<RunReport> report{};
};

/// Reads a project file or container into the data set, then the images that it names into the
/// image list; images of a container win over the paths. The data set and the list stay as they
/// were when anything fails.
class ReadProjectTask final : public Task {
  public:
    ReadProjectTask(Session session, ReadProject request)
        : session_(session), request_(std::move(request)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    std::vector<image> load_wanted(const imagesList& present, RunReport& report,
                                   TaskContext& context) const;

    Session session_;
    ReadProject request_;
};

/// Writes settings as a new project file or container without images.
class CreateProjectTask final : public Task {
  public:
    CreateProjectTask(std::shared_ptr<simpleNamedDataSet> settings, std::filesystem::path file)
        : settings_(std::move(settings)), file_(std::move(file)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    std::shared_ptr<simpleNamedDataSet> settings_;
    std::filesystem::path file_;
};

/// Writes the project: a container for ".ims", else the settings as XML.
class WriteProjectTask final : public Task {
  public:
    WriteProjectTask(Session session, std::filesystem::path file)
        : session_(session), file_(std::move(file)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    std::filesystem::path file_;
};

/// Puts a law fitted to ports into a project file or container (`store_calibration`). Everything
/// else stays as it is.
class StoreLawTask final : public Task {
  public:
    StoreLawTask(std::filesystem::path file, InSituCalibration calibration,
                 std::string wind_off_ratio)
        : file_(std::move(file)),
          calibration_(std::move(calibration)),
          wind_off_ratio_(std::move(wind_off_ratio)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    std::filesystem::path file_;
    InSituCalibration calibration_;
    std::string wind_off_ratio_;
};

}  // namespace vyn
