#pragma once

#include <QMainWindow>
#include <QPointer>
#include <memory>

#include "process/model/shown_model.h"
#include "render/model/model_painter.h"
#include "view/ui/model/model_canvas.h"

class QComboBox;
class QListWidget;
class QMenu;

namespace vyn {

class ColourBar;
class LoadsPanel;
class NumberEdit;
class PaletteBox;
class QFashionDlg;
class SectionPanel;

/// The window in which the model is turned in the hand with the field on it: quantity, palette and
/// limits as in the viewer of images, standard views, the views of its cameras, zones, and a
/// section whose curve follows the plane.
class ModelViewer : public QMainWindow {
    Q_OBJECT
  public:
    explicit ModelViewer(QWidget* parent = nullptr);

    /// Shows a model; of one already seen, view, limits and section stay.
    void show_model(std::shared_ptr<const ShownModel> model, std::vector<Marker> markers,
                    const QString& title);
    ModelCanvas& canvas() const { return *canvas_; }
    SectionPanel& section() const { return *section_; }
    LoadsPanel& loads() const { return *loads_; }

  public Q_SLOTS:
    void choose_quantity(const QString& name);
    void automatic_limits();
    /// The dialog of limits and palette that the viewer of images has.
    void edit_fashion();
    void copy_picture();
    /// Asks for a file; its extension says whether PNG or SVG.
    void save_picture();
    /// Raises FileError.
    void write_picture(const std::string& file);

  private:
    void make_bar();
    void make_isoline_bar();
    void make_menus();
    void make_panels();
    void fill_cameras();
    void fill_zones();
    void display();
    void set_limits(const Limits& limits);
    void choose_levels();
    Fashion fashion() const;
    void show_probe(const std::optional<ModelProbe>& probe);
    void show_section();

    std::shared_ptr<const ShownModel> model_;
    ModelDisplay display_;
    ModelCanvas* canvas_;
    ColourBar* colour_bar_;
    QComboBox* quantity_;
    PaletteBox* palettes_;
    NumberEdit* minimum_;
    NumberEdit* maximum_;
    QListWidget* zones_;
    QComboBox* isolines_;
    NumberEdit* levels_;
    SectionPanel* section_;
    LoadsPanel* loads_;
    QPointer<QFashionDlg> fashion_dialog_;
    QMenu* view_menu_ = nullptr;
    QMenu* cameras_ = nullptr;
    bool writing_ = false;
};

}  // namespace vyn
