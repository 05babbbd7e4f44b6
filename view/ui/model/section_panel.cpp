#include "view/ui/model/section_panel.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QSlider>
#include <algorithm>
#include <cmath>

#include "core/atomic_file.h"
#include "core/numbers.h"
#include "core/ui/command.h"
#include "core/ui/number_edit.h"
#include "process/model/section_table.h"
#include "view/ui/graph/graph_export.h"
#include "view/ui/model/section_plot.h"
#include "view/ui/model/section_window.h"

namespace vyn {

namespace {

constexpr int slider_steps = 1000;
/// Nearer to the middle than this share of the extent, planes begin beside a plane of symmetry.
constexpr double first_share = 0.6;
/// Ports this near to the plane, in diagonals of the model, count as lying in it.
constexpr double port_reach = 0.01;

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
      plot_(new SectionPlot(this)) {
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
    auto* grid = new QGridLayout(this);
    grid->addWidget(axis_, 0, 0);
    grid->addWidget(value_, 0, 1);
    grid->addWidget(slider_, 1, 0, 1, 2);
    grid->addWidget(plot_, 2, 0, 1, 2);
    grid->addWidget(coefficients_, 3, 0, 1, 2);
    grid->addWidget(turned_over_, 4, 0, 1, 2);
    auto* graph = new QPushButton(tr("&Graph window"), this);
    graph->setObjectName(QStringLiteral("section_graph"));
    graph->setToolTip(tr("The section in a window of its own, where several can be kept"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(graph);
    buttons->addWidget(save);
    grid->addLayout(buttons, 5, 0, 1, 2);
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
    connect(graph, &QPushButton::clicked, this, &SectionPanel::show_window);
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
        plane_ = {};
        plane_.normal[static_cast<std::size_t>(axis_->currentIndex())] = 1;
        plane_.offset = *offset;
        section_ = cut_section(model_->mesh, model_->surface(), plane_, quantity_);
    }
    draw();
    Q_EMIT section_changed();
}

void SectionPanel::show_window() {
    if (!window_) {
        window_ = new SectionWindow(this);
        window_->setWindowFlag(Qt::Window);
    }
    draw();
    window_->show();
    window_->raise();
}

void SectionPanel::draw() {
    const auto* values = model_ ? model_->mesh.find(quantity_) : nullptr;
    QString label = QString::fromStdString(quantity_);
    if (values && !values->unit.empty())
        label += QStringLiteral(", ") + QString::fromStdString(values->unit);
    PlottedSection shown{axis_->currentText() + QLatin1Char(' ') + value_->text(), section_, {}};
    // Ports have values of the field that the point is about.
    if (model_ && !model_->mesh.quantities.empty() &&
        model_->mesh.quantities.front().name == quantity_)
        shown.ports = ports_of_section(model_->ports, section_, plane_,
                                       port_reach * model_->surface().diagonal);
    const auto axis = turned_over_->isChecked() ? SectionPlot::ValueAxis::turned_over
                                                : SectionPlot::ValueAxis::upward;
    plot_->show_sections({shown}, label, axis);
    if (window_) window_->show_live(shown, label, axis);
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
    const std::string file = ask_table_file(this, tr("Save table"), "section");
    if (!file.empty()) attempt(this, tr("Save table"), [&] { write_table(file); });
}

}  // namespace vyn
