#pragma once

#include "core/keys.h"
#include "core/ui/number_edit.h"

namespace vyn {

/// An edit of one number of the project, written when it loses the focus. A text that is no number
/// is marked and not written.
class SettingEdit : public NumberEdit {
    Q_OBJECT
  public:
    explicit SettingEdit(Key<double> key, QWidget* parent = nullptr);

    /// Shows the setting as it is now, unless the user is at it.
    void show_setting();

  Q_SIGNALS:
    void written();

  private:
    void write_setting();

    const Key<double> key_;
};

}  // namespace vyn
