#pragma once

#include <QWidget>
#include <array>
#include <memory>
#include <string>
#include <vector>

#include "process/model/loads_table.h"
#include "process/model/shown_model.h"

class QLabel;
class QTableWidget;

namespace vyn {

class NumberEdit;
class PatchList;

/// Patches of the model, zones and those that the user paints, and the loads on them.
class LoadsPanel : public QWidget {
    Q_OBJECT
  public:
    explicit LoadsPanel(QWidget* parent = nullptr);
    ~LoadsPanel() override;

    /// Reference and patches are the model's; while they are the same, what is edited stays.
    void set_model(std::shared_ptr<const ShownModel> model, const std::string& quantity);
    void set_reference(const LoadsReference& reference);
    LoadsReference reference() const;

    PatchList& patches() const { return *patches_; }
    /// Of the ticked patches, with the sums of zones and of painted ones behind them.
    const std::vector<PatchLoads>& loads() const { return loads_; }

  public Q_SLOTS:
    void calculate();
    void copy_table();
    void save_table();
    void open_reference();
    void open_patches();
    void save_patches();

  Q_SIGNALS:
    /// By the user.
    void reference_edited();
    void patches_edited();

  private:
    QLayout* reference_form();
    QLayout* table_buttons();
    void calculate_again();
    void show_loads(const std::string& problem);
    std::string table() const;

    std::shared_ptr<const ShownModel> model_;
    std::string quantity_;
    std::vector<PatchLoads> loads_;

    PatchList* patches_;
    std::array<NumberEdit*, 10> numbers_{};
    QTableWidget* table_;
    QLabel* complaint_;
};

}  // namespace vyn
