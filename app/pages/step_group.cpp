#include "app/pages/step_group.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/pages/page_parts.h"

namespace vyn {

namespace {

/// What most users come for stands out.
void make_primary(QPushButton& button) {
    QFont bold = button.font();
    bold.setBold(true);
    button.setFont(bold);
    QPalette colours = button.palette();
    for (const auto group : {QPalette::Active, QPalette::Inactive}) {
        colours.setColor(group, QPalette::Button, colours.color(group, QPalette::Highlight));
        colours.setColor(group, QPalette::ButtonText,
                         colours.color(group, QPalette::HighlightedText));
    }
    button.setPalette(colours);
    button.setMinimumHeight(button.fontMetrics().height() * 2);
}

}  // namespace

StepGroup::StepGroup(bool two_channels, QWidget* parent)
    : QGroupBox(tr("Calculate"), parent), run_state_(new QLabel(this)) {
    auto* column = new QVBoxLayout(this);
    const QString correction =
        two_channels ? tr("Dark level, dark image, flat field and lens distortion, both channels")
                     : tr("Dark level, dark image, flat field and lens distortion");
    add(*column, PageStep::correct_wind_off, "calc_wind_off_btn",
        tr("Calculate corrected Wind-&off image"), correction);
    add(*column, PageStep::correct_wind_on, "calc_wind_on_btn",
        tr("Calculate corrected Wind-o&n image"), correction);
    add(*column, PageStep::try_texture, "try_texture_btn", tr("Tr&y alignment by texture"),
        tr("Shows the displacement and how many cells could be measured; the ratio stays as it "
           "is"));
    add(*column, PageStep::ratio, "calc_ratio_btn", tr("Align and calculate &I/Iref"),
        two_channels ? tr("Corrects and aligns all pictures and forms the ratio of the channels")
                     : tr("Moves wind-on to wind-off and divides the images"));
    add(*column, PageStep::field, "calc_field_btn", tr("Calculate fi&eld"),
        tr("Converts I/Iref by the paint's law"));
    auto* last = new QHBoxLayout;
    auto* all = add(*last, PageStep::all, "calc_all_btn", tr("Calculate &All"),
                    tr("All steps one after another; results are not saved"));
    make_primary(*all);
    add(*last, PageStep::save_field, "save_field_btn", tr("&Save field"),
        tr("Writes the field and its markers into the project directory"));
    column->addLayout(last);
    auto* dialogs = new QHBoxLayout;
    add(*dialogs, PageStep::in_situ, "in_situ_btn", tr("In-situ cali&bration..."),
        tr("Fits the paint's law to the pressures at the ports"));
    add(*dialogs, PageStep::check, "check_btn", tr("Chec&k of the point..."),
        tr("Alignment, valid pixels, pressures at the ports, and a report"));
    column->addLayout(dialogs);
    run_state_->setObjectName(QStringLiteral("run_state"));
    run_state_->setWordWrap(true);
    run_state_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    column->addWidget(run_state_);
    column->addStretch(1);
}

QPushButton* StepGroup::add(QBoxLayout& layout, PageStep step, const char* object_name,
                            const QString& text, const QString& tip) {
    QPushButton* button = text_button(object_name, text, this);
    button->setEnabled(false);
    layout.addWidget(button, 1);
    connect(button, &QPushButton::clicked, this, [this, step] { Q_EMIT wanted(step); });
    lines_.push_back({step, button, tip});
    return button;
}

void StepGroup::show_needs(const StepNeeds& needs) {
    for (const Line& line : lines_) {
        const std::string& missing = needs[static_cast<std::size_t>(line.step)];
        line.button->setEnabled(missing.empty());
        line.button->setToolTip(
            wrapped(missing.empty() ? line.tip : QString::fromStdString(missing)));
    }
}

void StepGroup::show_run(const QString& text, bool failed) {
    run_state_->setText(text);
    QPalette colours = palette();
    if (failed) colours.setColor(QPalette::WindowText, warning_colour(colours));
    run_state_->setPalette(colours);
}

}  // namespace vyn
