#pragma once

#include <memory>
#include <string>
#include <utility>

#include "core/task.h"
#include "process/model/association.h"
#include "process/point/session.h"

namespace vyn {

/// Camera and options as the settings have them now, for a picture of this size. Raises AlgoError
/// "Resection Failed!" for a camera that cannot be used or is one of other pictures.
void take_settings(AssociationScene& scene, const dataSetInterface& data, const image& picture);

/// Reads the markers on the session's model and makes its mesh, where there is one, ready to hide
/// them. Raises AlgoError "Mesh markers are not defined!" and what `take_settings` raises,
/// FileError.
class AssociationSceneTask final : public Task {
  public:
    AssociationSceneTask(Session session, std::shared_ptr<const image> picture)
        : session_(session), picture_(std::move(picture)) {}
    TaskOutcome run(TaskContext& context) override;
    /// Filled when the task is done.
    std::shared_ptr<AssociationScene> scene() const { return scene_; }

  private:
    Session session_;
    std::shared_ptr<const image> picture_;
    std::shared_ptr<AssociationScene> scene_ = std::make_shared<AssociationScene>();
};

/// `find_association` on the worker.
class FindAssociationTask final : public Task {
  public:
    FindAssociationTask(std::shared_ptr<const AssociationScene> scene, MarkerSet dots)
        : scene_(std::move(scene)), dots_(std::move(dots)) {}
    TaskOutcome run(TaskContext& context) override;
    /// Filled when the task is done.
    std::shared_ptr<const Associated> found() const { return found_; }

  private:
    std::shared_ptr<const AssociationScene> scene_;
    MarkerSet dots_;
    std::shared_ptr<Associated> found_ = std::make_shared<Associated>();
};

/// The pose, and that the dots' numbers tell the pairs, into the settings of the resection.
void store_association(dataSetInterface& data, const Association& association);

}  // namespace vyn
