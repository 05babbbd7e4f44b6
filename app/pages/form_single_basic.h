#pragma once

#include "app/pages/basic_page.h"

namespace vyn {

/// The page of a single-channel test point, also shown for the type that is not evaluated.
class FormSingleBasic final : public BasicPage {
    Q_OBJECT
  public:
    explicit FormSingleBasic(Worker& worker, QWidget* parent = nullptr);
    QString label() const override;
};

}  // namespace vyn
