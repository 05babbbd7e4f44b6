#pragma once

#include <QWidget>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "process/model/loads_table.h"
#include "process/model/shown_model.h"
#include "view/ui/model/model_canvas.h"

class QLabel;
class QListWidget;
class QListWidgetItem;
class QSpinBox;
class QTableWidget;
class QToolButton;

namespace vyn {

class NumberEdit;

/// Patches of the model, zones and those that the user paints, and the loads on them.
class LoadsPanel : public QWidget {
    Q_OBJECT
  public:
    explicit LoadsPanel(QWidget* parent = nullptr);
    ~LoadsPanel() override;

    /// Painted patches stay while the mesh is the same.
    void set_model(std::shared_ptr<const ShownModel> model, const std::string& quantity);
    void paint(const std::vector<std::size_t>& faces, ModelCanvas::Stroke stroke);
    void set_reference(const LoadsReference& reference);

    /// By face the number of its painted patch, from 1; empty where nothing is painted.
    const std::vector<std::uint8_t>& painted() const { return painted_; }
    /// Of the ticked patches, with the sums of zones and of painted ones behind them.
    const std::vector<PatchLoads>& loads() const { return loads_; }

  public Q_SLOTS:
    /// Adds a patch and begins to paint it.
    void add_patch();
    void remove_patch();
    void calculate();
    void copy_table();
    void save_table();
    void open_reference();

  Q_SIGNALS:
    /// Pixels; 0: no painting.
    void brush_chosen(int radius);
    void patches_changed();

  private:
    QLayout* patch_buttons();
    QLayout* reference_form();
    QLayout* table_buttons();
    void fill_list();
    void choose_brush();
    std::uint8_t current_patch() const;
    void show_loads(const std::string& problem);
    LoadsReference reference() const;
    std::string table() const;

    std::shared_ptr<const ShownModel> model_;
    std::string quantity_;
    std::vector<std::uint8_t> painted_;
    std::vector<PatchLoads> loads_;

    QListWidget* list_;  ///< zones, then painted patches
    QToolButton* brush_;
    QSpinBox* size_;
    std::array<NumberEdit*, 10> numbers_{};
    QTableWidget* table_;
    QLabel* complaint_;
    bool writing_ = false;
};

}  // namespace vyn
