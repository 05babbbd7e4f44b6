#include "view/ui/markers/marker_finding.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTableWidget>
#include <cmath>
#include <functional>
#include <map>
#include <span>

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
const QColor doubtful_colour(255, 171, 0);

/// Steps of the slider from quality 0 to 1.
constexpr int cut_steps = 100;
/// More lines help nobody.
constexpr std::size_t most_lines = 2000;

int step_of(double quality) {
    return static_cast<int>(std::ceil(quality * cut_steps));
}

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
      candidates_(std::make_shared<DotCandidates>()),
      sure_overlay_(found_colour),
      doubtful_overlay_(doubtful_colour, MarkerLabels::doubted_numbers),
      left_out_overlay_(found_colour, MarkerLabels::none),
      left_out_shown_(viewer.view(), left_out_overlay_),
      doubtful_shown_(viewer.view(), doubtful_overlay_),
      sure_shown_(viewer.view(), sure_overlay_),
      polarity_(new QComboBox(this)),
      min_size_(size_edit("min_size", DetectionOptions().min_size, this)),
      max_size_(size_edit("max_size", DetectionOptions().max_size, this)),
      expect_(new QSpinBox(this)),
      cut_(new QSlider(Qt::Horizontal, this)),
      cut_text_(new QLabel(this)),
      table_(new QTableWidget(0, 6, this)),
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
    cut_->setObjectName(QStringLiteral("cut"));
    cut_->setRange(0, cut_steps);
    cut_->setToolTip(
        tr("Candidates of a smaller quality are left out; Find puts it into the widest "
           "gap of the qualities"));
    connect(cut_, &QSlider::valueChanged, this, &MarkerFindingDialog::choose);
    table_->setObjectName(QStringLiteral("candidates"));
    table_->setHorizontalHeaderLabels({tr("Number"), tr("x, pix"), tr("y, pix"),
                                       tr("Diameter, pix"), tr("Contrast"), tr("Quality")});
    table_->verticalHeader()->hide();
    table_->horizontalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->setTabKeyNavigation(false);
    auto* slide = new QHBoxLayout;
    slide->addWidget(cut_);
    slide->addWidget(cut_text_);
    cut_text_->setMinimumWidth(cut_text_->fontMetrics().horizontalAdvance(QStringLiteral("0.000")));

    auto* form = new QFormLayout;
    form->addRow(tr("&Dots"), polarity_);
    form->addRow(tr("&Smallest diameter, pix"), min_size_);
    form->addRow(tr("&Largest diameter, pix"), max_size_);
    form->addRow(tr("At &most"), expect_);
    auto* label = new QLabel(tr("Least &quality"), this);
    label->setBuddy(cut_);
    form->addRow(label, slide);
    form->addRow(keep_);
    form->addRow(result_);
    form->addRow(table_);
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

DetectionOptions MarkerFindingDialog::options() const {
    DetectionOptions options;
    options.polarity = polarity_->currentIndex() == 0 ? DotPolarity::dark : DotPolarity::bright;
    options.min_size = std::min(*min_size_->number(), *max_size_->number());
    options.max_size = std::max(*min_size_->number(), *max_size_->number());
    options.expect = expect_->value();
    return options;
}

void MarkerFindingDialog::find() {
    const bool sound = min_size_->check() && max_size_->check();
    if (!sound || !viewer_.picture()) return;
    forget_found();
    const auto searched = viewer_.picture();
    auto job = std::make_shared<Job>();
    job->append(std::make_unique<DetectMarkersTask>(searched, options(), candidates_));
    if (QBusyBox(viewer_.worker(), this).run(job) != TaskOutcome::done) return;
    searched_ = searched;
    const bool expected = expect_->value() > 0;
    {
        const QSignalBlocker quiet(cut_);
        cut_->setValue(expected ? 0 : step_of(candidates_->gap));
    }
    choose();
}

void MarkerFindingDialog::choose() {
    const double cut = static_cast<double>(cut_->value()) / cut_steps;
    cut_text_->setText(QString::number(cut, 'f', 2));
    if (!searched_) return;
    const std::size_t taken = taken_count(*candidates_, {.expect = expect_->value(), .cut = cut});
    const std::span<const DetectedDot> dots(candidates_->dots);
    found_ = number_dots(dots.first(taken));
    MarkerSet sure = found_;
    MarkerSet doubtful = found_;
    std::map<std::pair<double, double>, double> qualities;
    for (const DetectedDot& dot : dots.first(taken))
        qualities[{dot.fit.centre.x, dot.fit.centre.y}] = dot.quality;
    const auto is_sure = [&](const Marker& marker) {
        return qualities.at({marker.x, marker.y}) >= sure_quality;
    };
    std::erase_if(sure.markers, std::not_fn(is_sure));
    std::erase_if(doubtful.markers, is_sure);
    MarkerSet left_out = number_dots(dots.subspan(taken));
    for (Marker& marker : left_out.markers)
        marker.active = false;
    sure_overlay_.set_markers(sure, {});
    doubtful_overlay_.set_markers(doubtful, {});
    left_out_overlay_.set_markers(left_out, {});
    viewer_.view().update();

    const std::size_t count = found_.markers.size();
    QString text =
        count == 0 ? tr("No dots of these sizes are found.") : tr("%1 dots are found.").arg(count);
    if (!doubtful.markers.empty())
        text += tr(" %1 of them are doubtful (?).").arg(doubtful.markers.size());
    if (taken < dots.size()) text += tr(" %1 candidates are left out.").arg(dots.size() - taken);
    result_->setText(text);
    ok_->setEnabled(count > 0);
    show_table(taken);
}

void MarkerFindingDialog::show_table(std::size_t taken) {
    std::map<std::pair<double, double>, std::int32_t> numbers;
    for (const Marker& marker : found_.markers)
        numbers[{marker.x, marker.y}] = marker.id;
    const std::size_t lines = std::min(candidates_->dots.size(), most_lines);
    table_->setRowCount(static_cast<int>(lines));
    for (std::size_t i = 0; i < lines; ++i) {
        const DetectedDot& dot = candidates_->dots[i];
        const Point centre = dot.fit.centre;
        const QString number =
            i < taken ? QString::number(numbers.at({centre.x, centre.y})) : QString();
        int column = 0;
        for (const QString& text :
             {number, QString::number(centre.x, 'f', 2), QString::number(centre.y, 'f', 2),
              QString::number(2 * dot.fit.radius, 'f', 1), QString::number(dot.contrast, 'f', 2),
              QString::number(dot.quality, 'f', 2)}) {
            auto* cell = new QTableWidgetItem(text);
            cell->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            if (i >= taken)
                cell->setForeground(palette().brush(QPalette::Disabled, QPalette::Text));
            table_->setItem(static_cast<int>(i), column++, cell);
        }
    }
}

void MarkerFindingDialog::forget_found() {
    searched_.reset();
    candidates_->dots.clear();
    found_.markers.clear();
    for (MarkerOverlay* overlay : {&sure_overlay_, &doubtful_overlay_, &left_out_overlay_})
        overlay->set_markers({}, {});
    viewer_.view().update();
    table_->setRowCount(0);
    choose();
    ok_->setEnabled(false);
    result_->setText(tr("Nothing is searched yet."));
}

void MarkerFindingDialog::accept() {
    if (!min_size_->check()) return;
    const MarkerSet found = found_;
    const double distance = *min_size_->number() / 2;
    const bool keep = keep_->isChecked();
    markers_.change([&](MarkerEdit& edit) {
        edit.replace(keep ? joined(edit.set(), found, distance) : found);
    });
    viewer_.set_mode(MouseMode::marker_edit);  // saving means the markers now
    QDialog::accept();
}

}  // namespace vyn
