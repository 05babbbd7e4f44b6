#pragma once

#include <QDialog>

namespace vyn {

/// Version of the program and of the libraries it is made with.
class QVynLiteAbout : public QDialog {
    Q_OBJECT
  public:
    explicit QVynLiteAbout(QWidget* parent = nullptr);
};

}  // namespace vyn
