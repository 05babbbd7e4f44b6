#include "view/ui/markers/marker_finding.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>
#include <QSpinBox>

#include "core/keys.h"
#include "core/ui/busy_box.h"
#include "core/ui/number_edit.h"
#include "process/point/detect_markers_task.h"
#include "view/edit/marker_numbers.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/canvas/picture_window.h"
#include "view/ui/markers/marker_controller.h"

namespace vyn {

namespace {

const QColor found_colour(0, 229, 255);

NumberEdit* size_edit(const char* name, double size, QWidget* parent) {
    auto* edit = new NumberEdit(parent);
    edit->setObjectName(QLatin1String(name));
    edit->set_range(min_dot_size, max_dot_size);
    edit->set_number(size);
    return edit;
}

}  // namespace

MarkerFindingDialog::MarkerFindingDialog(PictureWindow& viewer, MarkerController& markers)
    : QDialog(&viewer),
      viewer_(viewer),
      markers_(markers),
      found_(std::make_shared<MarkerSet>()),
      overlay_(found_colour),
      shown_(viewer.view(), overlay_),
      polarity_(new QComboBox(this)),
      min_size_(size_edit("min_size", DetectionOptions().min_size, this)),
      max_size_(size_edit("max_size", DetectionOptions().max_size, this)),
      expect_(new QSpinBox(this)),
      keep_(new QCheckBox(tr("&Keep the markers that are there"), this)),
      result_(new QLabel(this)),
      ok_(nullptr) {
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("MarkerFinding"));
    setWindowTitle(tr("Find Markers"));
    polarity_->addItems({tr("Dark dots"), tr("Bright dots")});
    polarity_->setObjectName(QStringLiteral("polarity"));
    polarity_->setCurrentIndex(read(vyn_db(), keys::marker_pit) != 0 ? 0 : 1);
    constexpr int most_dots = 100000;
    expect_->setObjectName(QStringLiteral("expect"));
    expect_->setRange(0, most_dots);
    expect_->setSpecialValueText(tr("all that are sure"));
    expect_->setToolTip(tr("So many of the surest dots at most"));
    keep_->setObjectName(QStringLiteral("keep"));
    keep_->setToolTip(tr("Dots beside the present markers are added; otherwise they replace them"));
    result_->setObjectName(QStringLiteral("result"));

    auto* form = new QFormLayout;
    form->addRow(tr("&Dots"), polarity_);
    form->addRow(tr("&Smallest diameter, pix"), min_size_);
    form->addRow(tr("&Largest diameter, pix"), max_size_);
    form->addRow(tr("At &most"), expect_);
    form->addRow(keep_);
    form->addRow(result_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    ok_ = buttons->button(QDialogButtonBox::Ok);
    ok_->setText(tr("&Accept"));
    QPushButton* find_button = buttons->addButton(tr("&Find"), QDialogButtonBox::ActionRole);
    find_button->setObjectName(QStringLiteral("find"));
    find_button->setDefault(true);
    connect(find_button, &QPushButton::clicked, this, &MarkerFindingDialog::find);
    connect(buttons, &QDialogButtonBox::accepted, this, &MarkerFindingDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &MarkerFindingDialog::reject);
    auto* column = new QVBoxLayout(this);
    column->addLayout(form);
    column->addWidget(buttons);

    connect(&viewer_.view(), &VynFieldView::updated, this, [this] {
        const auto shown = viewer_.picture();
        if (!searched_ || !shown || !searched_->shares_values_with(*shown)) forget_found();
    });
    forget_found();
}

void MarkerFindingDialog::find() {
    const bool sound = min_size_->check() && max_size_->check();
    if (!sound || !viewer_.picture()) return;
    DetectionOptions options;
    options.polarity = polarity_->currentIndex() == 0 ? DotPolarity::dark : DotPolarity::bright;
    options.min_size = std::min(*min_size_->number(), *max_size_->number());
    options.max_size = std::max(*min_size_->number(), *max_size_->number());
    options.expect = expect_->value();

    forget_found();
    const auto searched = viewer_.picture();
    auto job = std::make_shared<Job>();
    job->append(std::make_unique<DetectMarkersTask>(searched, options, found_));
    if (QBusyBox(viewer_.worker(), this).run(job) != TaskOutcome::done) return;
    searched_ = searched;
    show_found();
}

void MarkerFindingDialog::show_found() {
    overlay_.set_markers(*found_, {});
    viewer_.view().update();
    const std::size_t count = found_->markers.size();
    result_->setText(count == 0 ? tr("No dots of these sizes are found.")
                                : tr("%1 dots are found.").arg(count));
    ok_->setEnabled(count > 0);
}

void MarkerFindingDialog::forget_found() {
    searched_.reset();
    found_->markers.clear();
    show_found();
    result_->setText(tr("Nothing is searched yet."));
}

void MarkerFindingDialog::accept() {
    if (!min_size_->check()) return;
    const MarkerSet found = *found_;
    const double distance = *min_size_->number() / 2;
    const bool keep = keep_->isChecked();
    markers_.change([&](MarkerEdit& edit) {
        edit.replace(keep ? joined(edit.set(), found, distance) : found);
    });
    viewer_.set_mode(MouseMode::marker_edit);  // saving means the markers now
    QDialog::accept();
}

}  // namespace vyn
