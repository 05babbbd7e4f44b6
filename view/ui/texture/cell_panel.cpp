#include "view/ui/texture/cell_panel.h"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QSpinBox>
#include <algorithm>
#include <cmath>
#include <utility>

#include "core/keys.h"
#include "render/view_source.h"

namespace vyn {

namespace {

constexpr int radius = 8;  // pixels that the window is larger on every side
constexpr int picture_side = 96;

/// Grey, between the least and the largest value.
QPixmap drawn(const Bitmap<float>& plane) {
    float least = 0;
    float most = 0;
    for (int y = 0; y < plane.height(); ++y) {
        const auto [low, high] = std::minmax_element(plane.row(y), plane.row(y) + plane.width());
        least = std::min(least, *low);
        most = std::max(most, *high);
    }
    QImage picture(plane.width(), plane.height(), QImage::Format_Grayscale8);
    for (int y = 0; y < plane.height(); ++y)
        for (int x = 0; x < plane.width(); ++x)
            picture.scanLine(y)[x] = static_cast<uchar>(
                most > least ? std::lround(255 * (plane(x, y) - least) / (most - least)) : 0);
    return QPixmap::fromImage(picture.scaled(picture_side, picture_side, Qt::KeepAspectRatio));
}

QString words(const CellView& view) {
    const auto number = [](double value) { return QString::number(value, 'f', 2); };
    switch (view.verdict) {
        case PeakVerdict::clear:
            return CellPanel::tr("Clear: peak %1, next %2; moved by (%3, %4) px")
                .arg(number(view.peak.height), number(view.peak.rival), number(view.displacement.x),
                     number(view.displacement.y));
        case PeakVerdict::low:
            return CellPanel::tr("No texture in common: peak %1").arg(number(view.peak.height));
        case PeakVerdict::at_border:
            return CellPanel::tr("The best place lies at the border of the window: peak %1")
                .arg(number(view.peak.height));
        case PeakVerdict::rivalled:
            return CellPanel::tr("Two places fit nearly alike: %1 and %2; try a larger cell")
                .arg(number(view.peak.height), number(view.peak.rival));
    }
    return {};
}

std::shared_ptr<const image> picture_of(const imagesList& images, const std::string& name) {
    const auto corrected = images.find(name + "_cor");
    return corrected ? corrected : images.find(name);
}

}  // namespace

CellPanel::CellPanel(QWidget* parent)
    : QWidget(parent),
      side_(new QSpinBox(this)),
      cell_(new QLabel(this)),
      window_(new QLabel(this)),
      surface_(new QLabel(this)),
      verdict_(new QLabel(this)) {
    side_->setObjectName(QStringLiteral("cell_side"));
    side_->setRange(4, 128);
    side_->setSuffix(tr(" px"));
    side_->setValue(read(std::as_const(vyn_db()), keys::qped_cell));
    verdict_->setObjectName(QStringLiteral("cell_verdict"));
    verdict_->setWordWrap(true);
    auto* pictures = new QHBoxLayout;
    for (const auto& [label, tip] :
         {std::pair{cell_, tr("Cell of the wind-off picture")},
          std::pair{window_, tr("Window of the wind-on picture")},
          std::pair{surface_, tr("Correlation by shift: bright is alike")}}) {
        label->setFixedSize(picture_side, picture_side);
        label->setAlignment(Qt::AlignCenter);
        label->setToolTip(tip);
        pictures->addWidget(label);
    }
    pictures->addStretch();
    auto* form = new QFormLayout(this);
    form->addRow(tr("Cell size:"), side_);
    form->addRow(pictures);
    form->addRow(verdict_);
    show_view(std::nullopt);
}

void CellPanel::look(const imagesList& images, const std::string& shown, int x, int y) {
    const std::string channel = shown.find("_refe") == std::string::npos ? "_sens" : "_refe";
    const auto off = picture_of(images, "wind_off" + channel);
    const auto on = picture_of(images, "wind_on" + channel);
    if (!off || !on || !off->values().same_size(on->values())) return show_view(std::nullopt);
    Point guess;
    if (const auto known = images.find(image_names::displacement); known && channel == "_sens")
        if (const auto vector = displacement_at(*known, x, y))
            guess = {static_cast<double>(vector->u), static_cast<double>(vector->v)};
    show_view(view_cell(*off, *on, {double(x), double(y)}, guess, side_->value(), radius));
}

void CellPanel::show_view(const std::optional<CellView>& view) {
    for (QLabel* label : {cell_, window_, surface_})
        label->clear();
    if (!view) {
        verdict_->setText(
            tr("No cell here: point at the painted model, with the wind-off and the "
               "wind-on picture loaded."));
        return;
    }
    cell_->setPixmap(drawn(view->cell));
    window_->setPixmap(drawn(view->window));
    surface_->setPixmap(drawn(view->surface));
    verdict_->setText(words(*view));
}

}  // namespace vyn
