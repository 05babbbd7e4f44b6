#pragma once

#include <filesystem>
#include <memory>

#include "core/task.h"
#include "process/point/raw_images.h"
#include "process/point/session.h"

namespace vyn {

/// Writes the exclusion mask of an image as an 8-bit PNG (255 = excluded). Raises FileError.
void write_mask(const image& picture, const std::filesystem::path& file, Progress& progress);

/// Writes such a mask and, for a camera picture of the project (else null), makes it the mask file
/// that the project names for it.
class SaveMaskTask final : public Task {
  public:
    SaveMaskTask(Session session, std::shared_ptr<const image> picture, std::filesystem::path file,
                 const RawImage* raw)
        : session_(session), picture_(std::move(picture)), file_(std::move(file)), raw_(raw) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    std::shared_ptr<const image> picture_;
    std::filesystem::path file_;
    const RawImage* raw_;
};

}  // namespace vyn
