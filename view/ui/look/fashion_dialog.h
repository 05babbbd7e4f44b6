#pragma once

#include <QDialog>
#include <memory>

#include "render/fashion.h"
#include "render/picture_values.h"
#include "view/ui/canvas/preparation.h"

class QCheckBox;
class QComboBox;
class QGridLayout;
class QGroupBox;
class QLabel;
class QSpinBox;
class QVBoxLayout;

namespace vyn {

class IsoForm;
class NumberEdit;
class PaletteBox;
class VectorForm;

/// Limits, palette, iso-lines and vectors of a viewer. Every sound change shows in the viewer at
/// once; Apply keeps it, Restore brings back what was shown when the dialog opened, Cancel what was
/// kept last.
class QFashionDlg : public QDialog {
    Q_OBJECT
  public:
    explicit QFashionDlg(const Fashion& fashion, QWidget* parent = nullptr);
    ~QFashionDlg() override;

    /// The image, less `subtracted` unless that is null, that extremes, percentiles and so on are
    /// taken from, as soon as its values are counted.
    void set_picture(const std::shared_ptr<const image>& picture,
                     const std::shared_ptr<const image>& subtracted);
    /// For a window that has its own choice of them.
    void hide_iso_lines();
    /// The viewer's fashion changed by other means.
    virtual void show_fashion(const Fashion& fashion);

  public Q_SLOTS:
    void apply_pressed();
    void restore_limits();
    void accept() override;
    void reject() override;

  Q_SIGNALS:
    /// To be shown.
    void fashion_chosen(const Fashion& fashion);

  protected:
    /// What is shown and sent; sound at any time.
    Fashion fashion() const { return fashion_; }
    void choose(const Fashion& fashion);
    virtual void show_values(const PictureValues& values);
    QGridLayout& paint_grid() const { return *paint_grid_; }
    QVBoxLayout& groups() const { return *groups_; }
    void set_limit_labels(const QString& minimum, const QString& maximum);

  private:
    QGroupBox* make_paint_group();
    QGroupBox* make_vector_group();
    QGroupBox* make_palette_group();
    QGroupBox* make_iso_group();
    QWidget* make_buttons();
    void read_widgets();
    void add_palette();
    void choose_limits(const Limits& limits);
    void choose_percentiles();
    bool sound() const;

    Fashion fashion_;
    Fashion kept_;
    const Fashion at_start_;
    PictureValues values_;
    Preparation preparation_;  ///< of the values
    Preparation percentiles_;
    bool writing_ = false;  ///< widgets are being set; their changes are not the user's

    QVBoxLayout* groups_ = nullptr;
    QGridLayout* paint_grid_ = nullptr;
    QLabel* minimum_label_ = nullptr;
    QLabel* maximum_label_ = nullptr;
    NumberEdit* minimum_ = nullptr;
    NumberEdit* maximum_ = nullptr;
    QLabel* image_minimum_ = nullptr;
    QLabel* image_maximum_ = nullptr;
    QLabel* complaint_ = nullptr;
    NumberEdit* low_percent_ = nullptr;
    NumberEdit* high_percent_ = nullptr;
    QGroupBox* vector_group_ = nullptr;
    VectorForm* vectors_ = nullptr;
    PaletteBox* palettes_ = nullptr;
    QCheckBox* inverted_ = nullptr;
    QSpinBox* levels_ = nullptr;
    IsoForm* iso_ = nullptr;
};

}  // namespace vyn
