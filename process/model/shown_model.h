#pragma once

#include <filesystem>
#include <memory>
#include <utility>

#include "core/task.h"
#include "mesh/prepared_mesh.h"
#include "process/model/loads_table.h"
#include "process/model/model_ports.h"
#include "process/model/painted_patches.h"
#include "process/point/session.h"

namespace vyn {

/// The model as a window shows it: what the mesh held when it was looked at, made ready for
/// drawing.
struct ShownModel {
    field_data<double> mesh;
    std::shared_ptr<const PreparedMesh> prepared;
    double mm_per_unit = 1;
    std::vector<ModelPort> ports;  ///< of the point, with values of its field
    /// The flow's, in the unit of the mesh's pressure; 0 and 1 where that is not known.
    double static_pressure = 0;
    double dynamic_pressure = 1;
    /// Of the point's settings, without the pressures.
    LoadsReference reference{.area = 1, .chord = 1, .span = 1};
    PaintedPatches patches;       ///< of the point's settings
    std::string patches_problem;  ///< why they are not taken; empty when they are

    const Surface& surface() const { return prepared->surface; }
};

/// Makes the session's mesh, or that of a file where one is given, ready to be shown. Raises
/// AlgoError "Field3D:3d field is absent", FileError.
class ShowModelTask final : public Task {
  public:
    explicit ShowModelTask(Session session, std::filesystem::path file = {})
        : session_(session), file_(std::move(file)) {}
    TaskOutcome run(TaskContext& context) override;
    /// Filled when the task is done.
    std::shared_ptr<const ShownModel> model() const { return model_; }

  private:
    void take_flow();
    void take_patches();

    Session session_;
    std::filesystem::path file_;
    std::shared_ptr<ShownModel> model_ = std::make_shared<ShownModel>();
};

}  // namespace vyn
