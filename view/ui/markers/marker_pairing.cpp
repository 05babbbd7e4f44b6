#include "view/ui/markers/marker_pairing.h"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QPainterPath>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <algorithm>

#include "api/image_list.h"
#include "core/keys.h"
#include "core/ui/busy_box.h"
#include "process/point/pair_markers_task.h"
#include "view/edit/marker_numbers.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/canvas/picture_window.h"
#include "view/ui/compare/picture_labels.h"
#include "view/ui/markers/marker_controller.h"

namespace vyn {

namespace {

const QColor pair_colour(118, 255, 3);

enum Method { by_places, by_numbers, by_nearest };

}  // namespace

void PairOverlay::paint(QPainter& painter, const ViewTransform& transform) const {
    constexpr double partner_radius = 2.5;
    QPainterPath lines;
    for (const MarkerPair& pair : pairs) {
        const QPointF partner = transform.to_widget({pair.reference.x, pair.reference.y});
        lines.addEllipse(partner, partner_radius, partner_radius);
        lines.moveTo(partner);
        lines.lineTo(transform.to_widget({pair.moved.x, pair.moved.y}));
    }
    draw_haloed(painter, lines, pair_colour);
}

MarkerPairingDialog::MarkerPairingDialog(PictureWindow& viewer, MarkerController& markers)
    : QDialog(&viewer),
      viewer_(viewer),
      markers_(markers),
      match_(std::make_shared<MarkerMatch>()),
      shown_(viewer.view(), overlay_),
      partner_(new QComboBox(this)),
      method_(new QComboBox(this)),
      order_(new QSpinBox(this)),
      box_(new QSpinBox(this)),
      report_(new QPlainTextEdit(this)),
      ok_(nullptr) {
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(QStringLiteral("MarkerPairing"));
    setWindowTitle(tr("Pair Markers"));
    std::vector<std::string> names;
    for (const auto& other : get_images().all())
        if (other->name != viewer.image_name() && !other->markers.markers.empty())
            names.push_back(other->name);
    for (const PictureChoice& choice : picture_choices(get_images(), names))
        partner_->addItem(choice.label, QString::fromStdString(choice.name));
    partner_->setObjectName(QStringLiteral("partner"));
    method_->addItems({tr("By their places"), tr("By number or order"), tr("Nearest neighbours")});
    method_->setObjectName(QStringLiteral("method"));
    order_->setRange(0, 3);
    order_->setValue(std::clamp(read(vyn_db(), keys::markers_order), 0, 3));
    constexpr int widest_box = 10000;
    box_->setRange(1, widest_box);
    box_->setSuffix(tr(" pix"));
    box_->setValue(read(vyn_db(), keys::markers_box));
    report_->setReadOnly(true);
    report_->setObjectName(QStringLiteral("report"));
    report_->setLineWrapMode(QPlainTextEdit::NoWrap);

    auto* form = new QFormLayout;
    form->addRow(tr("&Other image"), partner_);
    form->addRow(tr("&Pairing"), method_);
    form->addRow(tr("O&rder of the mapping"), order_);
    form->addRow(tr("Search &window, half-size"), box_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    ok_ = buttons->button(QDialogButtonBox::Ok);
    ok_->setText(tr("&Accept"));
    ok_->setToolTip(tr("Paired markers get the numbers that they have in the other image"));
    QPushButton* pair_button = buttons->addButton(tr("&Find pairs"), QDialogButtonBox::ActionRole);
    pair_button->setObjectName(QStringLiteral("pair"));
    pair_button->setDefault(true);
    pair_button->setEnabled(partner_->count() > 0);
    connect(pair_button, &QPushButton::clicked, this, &MarkerPairingDialog::pair);
    connect(buttons, &QDialogButtonBox::accepted, this, &MarkerPairingDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &MarkerPairingDialog::reject);
    auto* column = new QVBoxLayout(this);
    column->addLayout(form);
    column->addWidget(report_);
    column->addWidget(buttons);

    connect(&markers_, &MarkerController::markers_changed, this,
            &MarkerPairingDialog::forget_pairs);
    forget_pairs();
    if (partner_->count() == 0) report_->setPlainText(tr("No other image has markers."));
}

void MarkerPairingDialog::forget_pairs() {
    overlay_.pairs.clear();
    report_->clear();
    ok_->setEnabled(false);
    viewer_.view().update();
}

void MarkerPairingDialog::pair() {
    const std::string name = partner_->currentData().toString().toStdString();
    const auto partner = get_images().find(name);
    if (!partner) return;
    MarkerMatchOptions options;
    options.order = order_->value();
    options.box = box_->value();
    options.fix_first = read(vyn_db(), keys::markers_fix);
    options.link = method_->currentIndex() == by_nearest ? 1 : 0;
    options.by_geometry = method_->currentIndex() == by_places;

    forget_pairs();
    auto job = std::make_shared<Job>();
    job->append(std::make_unique<PairMarkersTask>(partner->markers, markers_.markers().set(),
                                                  options, match_));
    if (QBusyBox(viewer_.worker(), this).run(job) != TaskOutcome::done) return;
    std::vector<std::string> lines = match_->notes;
    if (match_->ok) {
        for (const std::string& line : report_lines(*match_, name, viewer_.image_name()))
            lines.push_back(line);
        overlay_.pairs = match_->pairs;
    } else {
        lines.push_back(match_->failure);
    }
    for (const std::string& line : lines)
        report_->appendPlainText(QString::fromStdString(line));
    ok_->setEnabled(match_->ok);
    viewer_.view().update();
}

void MarkerPairingDialog::accept() {
    const std::vector<MarkerPair> pairs = overlay_.pairs;
    markers_.change(
        [&](MarkerEdit& edit) { edit.replace(numbered_like_partners(edit.set(), pairs)); });
    viewer_.set_mode(MouseMode::marker_edit);  // saving means the markers now
    QDialog::accept();
}

}  // namespace vyn
