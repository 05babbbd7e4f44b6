#pragma once

#include "app/pages/basic_page.h"

namespace vyn {

/// The page of a test point with two channels: binary paint, or the two gates of a lifetime
/// measurement.
class FormDoubleBasic final : public BasicPage {
    Q_OBJECT
  public:
    explicit FormDoubleBasic(Worker& worker, QWidget* parent = nullptr);
    QString label() const override;
};

}  // namespace vyn
