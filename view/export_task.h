#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "api/image.h"
#include "core/task.h"
#include "process/point/session.h"
#include "render/picture.h"

namespace vyn {

/// What a shown image can be written as.
enum class ExportKind {
    picture,  ///< for presentation: pixels or a drawing
    tecplot,
    image_file,  ///< values and mask, by a plug-in
};

/// One entry of a list of file types.
struct ExportType {
    ExportKind kind = ExportKind::image_file;
    std::string label;
    std::vector<std::string> extensions;  ///< lower case, without dot; the first is the usual one

    /// "PNG graphics file (*.png)"
    std::string filter() const;
    /// The file with the usual extension behind it unless it has one of this type already.
    std::filesystem::path named(std::filesystem::path file) const;
};

/// The type that a name typed in a file dialog asks for: the one whose extension it has, the chosen
/// one before all others, and the chosen one where it has none or an unknown one.
const ExportType& type_for(const std::vector<ExportType>& types, const ExportType& chosen,
                           const std::filesystem::path& file);

/// The types for presentation, then every format that a plug-in writes.
std::vector<ExportType> export_types();
/// The formats that a plug-in writes, the field file first.
std::vector<ExportType> image_file_types();

struct ExportRequest {
    std::shared_ptr<const image> picture;
    std::filesystem::path file;
    ExportKind kind = ExportKind::image_file;
    PictureOptions options;        ///< of the presentation picture
    std::string caption;           ///< of the plotting package's zone
    bool project_results = false;  ///< the project's settings and inputs are behind the image
    std::shared_ptr<const image> sigma = nullptr;  ///< its standard deviations, for the package
};

/// Writes one file, atomically. The session is the one whose settings and inputs are behind project
/// results.
class ExportTask final : public Task {
  public:
    ExportTask(Session session, ExportRequest request)
        : session_(session), request_(std::move(request)) {}
    TaskOutcome run(TaskContext& context) override;

  private:
    Session session_;
    ExportRequest request_;
};

}  // namespace vyn
