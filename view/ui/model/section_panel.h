#pragma once

#include <QWidget>
#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "mesh/sections.h"
#include "process/model/shown_model.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QSlider;

namespace vyn {

class NumberEdit;
class SectionPlot;
class SectionWindow;

/// A plane through the model, moved by hand, and the values along its cut.
class SectionPanel : public QWidget {
    Q_OBJECT
  public:
    explicit SectionPanel(QWidget* parent = nullptr);
    ~SectionPanel() override;

    void set_model(std::shared_ptr<const ShownModel> model, const std::string& quantity);
    const Section& section() const { return section_; }
    /// Null until it was opened.
    SectionWindow* window() const { return window_; }
    /// Writes the section as a table (CSV). Raises FileError.
    void write_table(const std::string& file) const;

  public Q_SLOTS:
    void set_plane(int axis, double value);
    /// Opens the graph window.
    void show_window();

  Q_SIGNALS:
    /// Another cut, or none.
    void section_changed();

  private:
    void cut();
    void draw();
    void save_table();
    double low() const;
    double high() const;

    std::shared_ptr<const ShownModel> model_;
    std::string quantity_;
    Section section_;
    SectionPlane plane_;
    std::array<std::pair<double, double>, 3> extents_{};  ///< of the model along x, y, z
    QComboBox* axis_;
    QSlider* slider_;
    NumberEdit* value_;
    QCheckBox* turned_over_;
    QLabel* coefficients_;
    SectionPlot* plot_;
    SectionWindow* window_ = nullptr;  ///< a child
    bool writing_ = false;
};

}  // namespace vyn
