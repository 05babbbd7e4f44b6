#include "view/ui/model/section_panel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <algorithm>
#include <cmath>

#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_scale_engine.h>

#include "core/atomic_file.h"
#include "core/numbers.h"
#include "core/ui/command.h"
#include "core/ui/number_edit.h"
#include "process/model/section_table.h"
#include "view/ui/graph/plot_style.h"

namespace vyn {

namespace {

constexpr int slider_steps = 1000;
/// Nearer to the middle than this share of the extent, planes begin beside a plane of symmetry.
constexpr double first_share = 0.6;

/// Of the model along an axis.
std::pair<double, double> extent(const ShownModel& model, std::size_t axis) {
    const auto [low, high] = std::ranges::minmax(
        model.mesh.vertices, {}, [axis](const std::array<double, 3>& v) { return v[axis]; });
    return {low[axis], high[axis]};
}

}  // namespace

SectionPanel::SectionPanel(QWidget* parent)
    : QWidget(parent),
      axis_(new QComboBox(this)),
      slider_(new QSlider(Qt::Horizontal, this)),
      value_(new NumberEdit(this)),
      turned_over_(new QCheckBox(tr("Axis turned &over"), this)),
      coefficients_(new QLabel(this)),
      plot_(new QwtPlot(this)) {
    axis_->addItems({tr("x ="), tr("y ="), tr("z =")});
    axis_->setCurrentIndex(1);
    axis_->setObjectName(QStringLiteral("section_axis"));
    value_->setObjectName(QStringLiteral("section_value"));
    slider_->setObjectName(QStringLiteral("section_slider"));
    turned_over_->setObjectName(QStringLiteral("section_turned_over"));
    slider_->setRange(0, slider_steps);
    coefficients_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    coefficients_->setWordWrap(true);
    auto* save = new QPushButton(tr("Save &table..."), this);
    plot_->setMinimumSize(260, 200);
    style_plot(*plot_);
    auto* grid = new QGridLayout(this);
    grid->addWidget(axis_, 0, 0);
    grid->addWidget(value_, 0, 1);
    grid->addWidget(slider_, 1, 0, 1, 2);
    grid->addWidget(plot_, 2, 0, 1, 2);
    grid->addWidget(coefficients_, 3, 0, 1, 2);
    grid->addWidget(turned_over_, 4, 0);
    grid->addWidget(save, 4, 1);
    grid->setRowStretch(2, 1);
    connect(axis_, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this](int axis) {
        if (writing_ || !model_) return;
        set_plane(axis, low() + first_share * (high() - low()));
    });
    connect(slider_, &QSlider::valueChanged, this, [this](int step) {
        if (!writing_ && model_)
            set_plane(axis_->currentIndex(), low() + (high() - low()) * step / slider_steps);
    });
    connect(value_, &QLineEdit::editingFinished, this, [this] {
        if (const auto value = value_->number(); value && model_)
            set_plane(axis_->currentIndex(), *value);
    });
    connect(turned_over_, &QCheckBox::toggled, this, [this] { draw(); });
    connect(save, &QPushButton::clicked, this, &SectionPanel::save_table);
}

SectionPanel::~SectionPanel() = default;

double SectionPanel::low() const {
    return extents_[static_cast<std::size_t>(axis_->currentIndex())].first;
}
double SectionPanel::high() const {
    return extents_[static_cast<std::size_t>(axis_->currentIndex())].second;
}

void SectionPanel::set_model(std::shared_ptr<const ShownModel> model, const std::string& quantity) {
    const bool first = !model_ || !model || model_->prepared != model->prepared;
    model_ = std::move(model);
    if (quantity != quantity_) turned_over_->setChecked(quantity == "Cp");
    quantity_ = quantity;
    if (!model_) return;
    if (first)
        for (std::size_t axis = 0; axis < extents_.size(); ++axis)
            extents_[axis] = extent(*model_, axis);
    if (first)
        set_plane(axis_->currentIndex(), low() + first_share * (high() - low()));
    else
        cut();
}

void SectionPanel::set_plane(int axis, double value) {
    writing_ = true;
    axis_->setCurrentIndex(axis);
    value_->set_number(std::stod(format_general(value, 6)));
    const double size = high() - low();
    slider_->setValue(
        size > 0 ? static_cast<int>(std::lround(slider_steps * (value - low()) / size)) : 0);
    writing_ = false;
    cut();
}

void SectionPanel::cut() {
    section_ = {};
    const auto* values = model_->mesh.find(quantity_);
    const auto offset = value_->number();
    const bool nodal = values && values->place == field_data<double>::Place::node;
    if (nodal && offset) {
        SectionPlane plane;
        plane.normal[static_cast<std::size_t>(axis_->currentIndex())] = 1;
        plane.offset = *offset;
        section_ = cut_section(model_->mesh, model_->surface(), plane, quantity_);
    }
    draw();
    Q_EMIT section_changed();
}

void SectionPanel::draw() {
    curves_.clear();
    for (const SectionCurve& curve : section_.curves) {
        QPolygonF points;
        const auto end = [&] {
            if (points.size() > 1) {
                auto& drawn = curves_.emplace_back(std::make_unique<QwtPlotCurve>());
                drawn->setSamples(points);
                drawn->setPen(palette().color(QPalette::Highlight), 1.6);
                drawn->setRenderHint(QwtPlotItem::RenderAntialiased);
                drawn->attach(plot_);
            }
            points.clear();
        };
        for (const SectionPoint& point : curve.points) {
            if (std::isnan(point.value))
                end();
            else
                points.append({point.x_c, point.value});
        }
        end();
    }
    plot_->axisScaleEngine(QwtPlot::yLeft)
        ->setAttribute(QwtScaleEngine::Inverted, turned_over_->isChecked());
    const auto* values = model_ ? model_->mesh.find(quantity_) : nullptr;
    QString label = QString::fromStdString(quantity_);
    if (values && !values->unit.empty())
        label += QStringLiteral(", ") + QString::fromStdString(values->unit);
    set_plot_titles(*plot_, QString(), tr("x/c"), label);
    plot_->setAxisScale(QwtPlot::xBottom, 0, 1);
    plot_->replot();
    const SectionLoads& loads = section_.loads;
    const auto number = [](double value) {
        return QString::fromStdString(format_general(value, 4));
    };
    if (section_.curves.empty())
        coefficients_->setText(tr("The plane does not meet the model."));
    else if (quantity_ == "Cp")
        coefficients_->setText(tr("chord %1   cn %2   ca %3   cm %4   seen %5 %")
                                   .arg(number(loads.chord), number(loads.normal),
                                        number(loads.axial), number(loads.moment),
                                        number(100 * loads.covered_share)));
    else
        coefficients_->setText(
            tr("chord %1   seen %2 %").arg(number(loads.chord), number(100 * loads.covered_share)));
}

void SectionPanel::write_table(const std::string& file) const {
    write_file(file, section_csv({section_.curves}));
}

void SectionPanel::save_table() {
    const std::string file =
        ask_save_file(this, {tr("Save table"), tr("Table (*.csv)"), QStringLiteral("csv"), {}});
    if (!file.empty()) attempt(this, tr("Save table"), [&] { write_table(file); });
}

}  // namespace vyn
