#pragma once

#include <QWidget>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "process/model/shown_model.h"
#include "view/edit/patch_edit.h"
#include "view/ui/model/model_canvas.h"

class QAction;
class QLayout;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QSpinBox;
class QToolButton;

namespace vyn {

/// Zones of the model and the patches that the user paints on it, each with a tick; what is painted
/// is undone and redone by strokes.
class PatchList : public QWidget {
    Q_OBJECT
  public:
    explicit PatchList(QWidget* parent = nullptr);

    /// Of the same mesh with the same patches everything stays.
    void set_model(std::shared_ptr<const ShownModel> model);
    void paint(const std::vector<std::size_t>& faces, ModelCanvas::Stroke stroke);
    /// Ends a stroke.
    void commit();

    const PaintedPatches& patches() const { return edit_.patches(); }
    std::vector<std::string> ticked_zones() const;
    std::vector<FacePatch> ticked_patches() const;

    QAction* undo_action() const { return undo_; }
    QAction* redo_action() const { return redo_; }

    /// Takes the patches of a file in the place of all; can be undone. Raises FileError.
    void open(const std::filesystem::path& file);
    void save(const std::filesystem::path& file) const;

  public Q_SLOTS:
    /// Adds a patch and begins to paint it.
    void add_patch();
    void remove_patch();
    void undo();
    void redo();

  Q_SIGNALS:
    /// Pixels; 0: no painting.
    void brush_chosen(int radius);
    /// Faces look otherwise, perhaps within a stroke.
    void painted();
    /// A step was done, undone or redone.
    void edited();
    void ticks_changed();

  private:
    QLayout* buttons();
    void fill();
    void show_patches();
    void take_item(QListWidgetItem* item);
    void choose_brush();
    void show_step();
    int zone_count() const;
    std::optional<std::size_t> current_patch() const;

    std::shared_ptr<const ShownModel> model_;
    PatchEdit edit_;
    QListWidget* list_;  ///< zones, then painted patches
    QPushButton* new_;
    QToolButton* brush_;
    QSpinBox* size_;
    QAction* undo_;
    QAction* redo_;
    bool writing_ = false;
};

}  // namespace vyn
