#pragma once

#include <QDialog>

#include "core/ui/setting_form.h"

class QBoxLayout;
class QPushButton;

namespace vyn {

/// A dialog over settings of a data set: filled when it is made, stored by `accept` once every
/// number parses, left alone by `reject`.
class SettingDialog : public QDialog {
    Q_OBJECT
  public:
    void accept() override;

  protected:
    SettingDialog(dataSetInterface& settings, QWidget* parent);

    dataSetInterface& settings() { return settings_; }
    SettingForm& form() { return form_; }
    /// Called by `accept` for settings that are fit to be stored.
    virtual void store() { form_.write(settings_); }

    struct Buttons {
        QPushButton* ok;
        QPushButton* cancel;
    };
    /// Adds the row of buttons at the layout's end, OK being the default one.
    Buttons add_buttons(QBoxLayout& layout);

  private:
    dataSetInterface& settings_;
    SettingForm form_;
};

}  // namespace vyn
