#pragma once

#include <QObject>
#include <QPointer>
#include <string>
#include <vector>

#include "core/worker.h"

namespace vyn {

class VynFieldViewer;

/// The viewers that are open: one for each image.
class ViewerWindows : public QObject {
    Q_OBJECT
  public:
    explicit ViewerWindows(Worker& worker, QObject* parent = nullptr);
    ~ViewerWindows() override;

    /// Opens a viewer of an image of the list, or raises the one that there is.
    void show(const std::string& name, bool flag, const QString& title);
    /// Opens a viewer of an image file that belongs to no project.
    void show_file(const QString& file);
    void mark(const std::string& name, bool out_of_date, const QString& why);
    /// Closes the viewers of the project's images; those of files of their own stay.
    void close_project_images();
    /// False when the user keeps one open for what is drawn in it.
    bool close_all();

  private:
    VynFieldViewer* find(const std::string& name) const;
    static bool close(const QPointer<VynFieldViewer>& viewer);
    VynFieldViewer* open(const std::string& name, bool flag, const QString& title);

    Worker& worker_;
    std::vector<QPointer<VynFieldViewer>> viewers_;
};

}  // namespace vyn
