#pragma once

#include <QObject>
#include <filesystem>
#include <memory>
#include <optional>

#include "core/task.h"
#include "view/export_task.h"
#include "view/save_rules.h"

namespace vyn {

class VynFieldViewer;

/// The file commands of one viewer. Reading and writing run in the busy box; what goes wrong is
/// shown in a short box.
class ViewerFiles : public QObject {
    Q_OBJECT
  public:
    explicit ViewerFiles(VynFieldViewer& viewer);

    /// Asks for a file and shows what is in it, asking which image where there are several.
    void open();
    void open_file(const QString& file);
    void save();
    void save_as();
    /// Writes what the view shows in a presentation or data format.
    void export_picture();

    /// Another image is shown: where the old one was saved does not count for it.
    void forget() { saved_as_.clear(); }

  private:
    struct Choice {
        ExportType type;
        std::filesystem::path file;
    };
    /// Asks for a file of these types until it is one that may be written; nothing when cancelled.
    std::optional<Choice> choose(const QString& caption, const std::vector<ExportType>& types,
                                 const image& picture);
    bool may_write(const std::filesystem::path& typed, const std::filesystem::path& file,
                   const image& picture);
    bool write_image_file(const std::filesystem::path& file);
    bool write(ExportRequest request);
    bool run(std::unique_ptr<Task> task, const QString& what);

    VynFieldViewer& viewer_;
    std::filesystem::path saved_as_;
    QString folder_;  ///< used last
};

}  // namespace vyn
