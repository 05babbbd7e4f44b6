#pragma once

#include <filesystem>
#include <memory>
#include <utility>

#include "api/image_list.h"
#include "core/task.h"

namespace vyn {

/// Reads what there is to look at in a file into a list, the project untouched: the images of a
/// container (.ims), the camera images that a project file (.xml) names, or one image file. An
/// image that carries no name gets its file's.
class OpenImagesTask final : public Task {
  public:
    OpenImagesTask(std::filesystem::path file, std::shared_ptr<imagesList> into)
        : file_(std::move(file)), into_(std::move(into)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    std::filesystem::path file_;
    std::shared_ptr<imagesList> into_;
};

}  // namespace vyn
