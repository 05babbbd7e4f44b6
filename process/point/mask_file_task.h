#pragma once

#include <filesystem>
#include <memory>

#include "core/task.h"
#include "process/point/raw_images.h"
#include "process/point/session.h"

namespace vyn {

/// Writes the exclusion mask of an image as an 8-bit PNG (255 = excluded). Raises FileError.
void write_mask(const image& picture, const std::filesystem::path& file, Progress& progress);

/// True when a part of the image lies outside its region of interest.
bool has_drawn_region(const image& picture);

/// Writes the region of interest of an image as an 8-bit PNG (0 = outside). Raises FileError.
void write_region(const image& picture, const std::filesystem::path& file, Progress& progress);

/// Writes such a mask, and the region of interest beside it where one is drawn ("NAME_region.png").
/// For a camera picture of the project (else null) they become the files that the project names for
/// it.
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
