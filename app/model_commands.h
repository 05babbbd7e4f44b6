#pragma once

#include <QObject>
#include <QPointer>
#include <string>

#include "core/task.h"
#include "core/worker.h"

class QAction;
class QMenu;
class QWidget;

namespace vyn {

class ModelViewer;

/// The commands of the window that deal with the model: its mesh and the markers on it, where the
/// camera stood, the view of it.
class ModelCommands : public QObject {
    Q_OBJECT
  public:
    /// Its actions are put into `file_menu` before `before`.
    ModelCommands(Worker& worker, QWidget* window, QMenu& file_menu, QAction* before);
    ~ModelCommands() override;

    /// Brings the actions in line with the project.
    void refresh();
    /// After a computation: the model gets its new values where it is shown.
    void follow();
    ModelViewer* viewer() const;
    void close_viewer();

    /// Without a name the mesh is removed, or the markers are.
    void open_mesh_file(const std::string& file);
    void open_markers_file(const std::string& file);

  public Q_SLOTS:
    void open_markers();
    void open_mesh();
    void resect();
    /// The dialog of resection and projection.
    void settings();
    void save_field();
    void show_model();
    /// How the field on the model stands to settings and files.
    void mark(const std::string& result, bool out_of_date, const QString& why);

  Q_SIGNALS:
    /// Settings changed.
    void changed();

  private:
    TaskOutcome run(std::unique_ptr<Task> task);
    /// False when the model could not be made ready, which the user was told.
    bool update_viewer();
    void keep_reference();
    void keep_patches();
    QAction* add(QMenu& menu, QAction* before, const char* name, const QString& text,
                 void (ModelCommands::*slot)());

    Worker& worker_;
    QWidget* window_;
    QAction* resect_;
    QAction* save_;
    QAction* show_;
    QPointer<ModelViewer> viewer_;
};

}  // namespace vyn
