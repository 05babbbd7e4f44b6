#pragma once

#include <QDialog>

#include "render/picture.h"

class QCheckBox;
class QLabel;
class QLineEdit;

namespace vyn {

class NumberEdit;

/// What a picture of a field for presentation shows.
class PictureDialog : public QDialog {
    Q_OBJECT
  public:
    /// Starts from these options for an image of this size.
    PictureDialog(const PictureOptions& options, int width, int height, bool has_markers,
                  QWidget* parent = nullptr);

    PictureOptions options() const;

  public Q_SLOTS:
    void accept() override;

  private:
    void show_size();

    PictureOptions options_;
    int width_;
    int height_;
    QLineEdit* title_ = nullptr;
    NumberEdit* scale_ = nullptr;
    QLabel* size_ = nullptr;
    QCheckBox* colour_bar_ = nullptr;
    QCheckBox* limits_ = nullptr;
    QCheckBox* markers_ = nullptr;
    QCheckBox* hatching_ = nullptr;
};

}  // namespace vyn
