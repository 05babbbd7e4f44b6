#include "app/pages/setting_edit.h"

namespace vyn {

SettingEdit::SettingEdit(Key<double> key, QWidget* parent) : NumberEdit(parent), key_(key) {
    const Allowed& allowed = find_key(key.path)->allowed;
    if (allowed.kind == Allowed::Kind::range) set_range(allowed.low, allowed.high);
    setMaximumWidth(fontMetrics().averageCharWidth() * 14);
    show_setting();
    connect(this, &QLineEdit::editingFinished, this, &SettingEdit::write_setting);
}

void SettingEdit::show_setting() {
    if (isModified()) return;
    const double value = read(vyn_db(), key_);
    if (number() != value) set_number(value);
}

void SettingEdit::write_setting() {
    const std::optional<double> value = number();
    if (!value) return;
    setModified(false);
    if (*value == read(vyn_db(), key_)) return;
    write(vyn_db(), key_, *value);
    Q_EMIT written();
}

}  // namespace vyn
