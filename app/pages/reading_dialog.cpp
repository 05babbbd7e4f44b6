#include "app/pages/reading_dialog.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>

#include "app/pages/raw_layout_edit.h"
#include "core/keys.h"
#include "core/ui/form_grid.h"
#include "core/ui/number_edit.h"

namespace vyn {

ReadingDialog::ReadingDialog(dataSetInterface& settings, QWidget* parent)
    : SettingDialog(settings, parent) {
    setWindowTitle(tr("Vyn Reading of files"));
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(average_group());
    layout->addWidget(format_group());
    layout->addWidget(raw_group());
    add_buttons(*layout);
    form().show(settings);
}

QWidget* ReadingDialog::average_group() {
    auto* group = new QGroupBox(tr("Several files for one picture"));
    auto* rows = new FormGrid(group);
    QComboBox* method =
        form().choice(keys::files_average.path, {{tr("Mean"), "mean"},
                                                 {tr("Median"), "median"},
                                                 {tr("Mean without what is far off"), "clipped"}});
    NumberEdit* clip = form().number(keys::files_clip.path);
    rows->add_row(tr("They &become their:"), method);
    rows->add_row(tr("F&ar off is beyond:"), clip, tr("standard deviations"));
    const auto enable = [method, clip] { clip->setEnabled(method->currentIndex() == 2); };
    connect(&form(), &SettingForm::changed, clip, enable);
    enable();
    return group;
}

QWidget* ReadingDialog::format_group() {
    auto* group = new QGroupBox(tr("What files leave open"));
    auto* rows = new FormGrid(group);
    rows->add_row(tr("TIFF, &stacks of channels or slices:"),
                  form().choice(keys::files_stacks.path, {{tr("Are refused"), "refused"},
                                                          {tr("Are averaged"), "averaged"}}));
    rows->add_row(tr("FI&TS, first row:"),
                  form().choice(keys::files_fits_first_row.path,
                                {{tr("At the top"), "top"}, {tr("At the bottom"), "bottom"}}));
    QLineEdit* data_set = form().text(keys::files_data_set.path);
    data_set->setPlaceholderText(tr("the one to be shown"));
    rows->add_row(tr("HDF5, path of the pict&ure:"), data_set);
    return group;
}

QWidget* ReadingDialog::raw_group() {
    auto* group = new QGroupBox(tr("Files named .raw, pixels without a header"));
    auto* layout = new QVBoxLayout(group);
    raw_ = new RawLayoutEdit;
    raw_->show_text(read(settings(), keys::files_raw_layout));
    layout->addWidget(raw_);
    return group;
}

void ReadingDialog::store() {
    SettingDialog::store();
    write(settings(), keys::files_raw_layout, raw_->text());
}

}  // namespace vyn
