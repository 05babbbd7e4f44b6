#include "view/ui/model/loads_panel.h"

#include <QClipboard>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSpinBox>
#include <QTableWidget>
#include <QToolButton>
#include <algorithm>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "core/ui/number_edit.h"
#include "mesh/loads.h"
#include "view/ui/graph/graph_export.h"

namespace vyn {

namespace {

/// The numbers of the form, in its order.
enum Number { area, chord, span, about_x, about_y, about_z, static_p, dynamic_p, alpha, beta };

std::array<double, 10> numbers_of(const LoadsReference& reference) {
    return {reference.area,
            reference.chord,
            reference.span,
            reference.about[0],
            reference.about[1],
            reference.about[2],
            reference.static_pressure,
            reference.dynamic_pressure,
            reference.alpha,
            reference.beta};
}

QTableWidgetItem* cell(const QString& text) {
    auto* item = new QTableWidgetItem(text);
    item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
    return item;
}

QString text_of(double value) {
    return QString::fromStdString(format_general(value, 4));
}

}  // namespace

LoadsPanel::LoadsPanel(QWidget* parent)
    : QWidget(parent),
      list_(new QListWidget(this)),
      brush_(new QToolButton(this)),
      size_(new QSpinBox(this)),
      table_(new QTableWidget(this)),
      complaint_(new QLabel(this)) {
    list_->setObjectName(QStringLiteral("load_patches"));
    table_->setObjectName(QStringLiteral("loads_table"));
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->verticalHeader()->hide();
    complaint_->setObjectName(QStringLiteral("loads_complaint"));
    complaint_->setWordWrap(true);
    auto* layout = new QGridLayout(this);
    layout->addWidget(list_, 0, 0);
    layout->addLayout(patch_buttons(), 1, 0);
    layout->addLayout(reference_form(), 2, 0);
    layout->addWidget(table_, 3, 0);
    layout->addWidget(complaint_, 4, 0);
    layout->addLayout(table_buttons(), 5, 0);
    layout->setRowStretch(0, 1);
    layout->setRowStretch(3, 2);
    set_reference({.area = 1, .chord = 1, .span = 1});
    connect(list_, &QListWidget::currentRowChanged, this, &LoadsPanel::choose_brush);
    connect(list_, &QListWidget::itemChanged, this, [this] {
        if (!writing_ && !loads_.empty()) calculate();
    });
}

LoadsPanel::~LoadsPanel() {
    for (NumberEdit* edit : numbers_)
        edit->disconnect(this);  // it loses the focus when the window goes
}

QLayout* LoadsPanel::patch_buttons() {
    auto* add = new QPushButton(tr("&New patch"));
    add->setObjectName(QStringLiteral("new_patch"));
    add->setToolTip(tr("Paint a patch of its own on the model"));
    auto* remove = new QPushButton(tr("Re&move"));
    remove->setObjectName(QStringLiteral("remove_patch"));
    brush_->setText(tr("&Brush"));
    brush_->setCheckable(true);
    brush_->setObjectName(QStringLiteral("brush"));
    brush_->setToolTip(tr("The left button paints the chosen patch, with Ctrl it wipes"));
    size_->setRange(1, 200);
    size_->setValue(12);
    size_->setSuffix(tr(" px"));
    size_->setToolTip(tr("Radius of the brush"));
    connect(add, &QPushButton::clicked, this, &LoadsPanel::add_patch);
    connect(remove, &QPushButton::clicked, this, &LoadsPanel::remove_patch);
    connect(brush_, &QToolButton::toggled, this, &LoadsPanel::choose_brush);
    connect(size_, QOverload<int>::of(&QSpinBox::valueChanged), this, &LoadsPanel::choose_brush);
    auto* row = new QHBoxLayout;
    for (QWidget* widget : std::initializer_list<QWidget*>{add, remove, brush_, size_})
        row->addWidget(widget);
    return row;
}

QLayout* LoadsPanel::reference_form() {
    const struct {
        const char* label;
        const char* name;
    } rows[] = {{QT_TR_NOOP("Area"), "area"},           {QT_TR_NOOP("Chord"), "chord"},
                {QT_TR_NOOP("Span"), "span"},           {QT_TR_NOOP("About x"), "about_x"},
                {QT_TR_NOOP("y"), "about_y"},           {QT_TR_NOOP("z"), "about_z"},
                {QT_TR_NOOP("Static p"), "static_p"},   {QT_TR_NOOP("Dynamic p"), "dynamic_p"},
                {QT_TR_NOOP("Alpha, °"), "load_alpha"}, {QT_TR_NOOP("Beta, °"), "load_beta"}};
    // Three beside each other, the pressures and angles in pairs.
    constexpr int places[][2] = {{0, 0}, {0, 1}, {0, 2}, {1, 0}, {1, 1},
                                 {1, 2}, {2, 0}, {2, 1}, {3, 0}, {3, 1}};
    auto* grid = new QGridLayout;
    for (std::size_t i = 0; i < numbers_.size(); ++i) {
        numbers_[i] = new NumberEdit(this);
        numbers_[i]->setObjectName(QLatin1String(rows[i].name));
        numbers_[i]->setMinimumWidth(7 * fontMetrics().averageCharWidth());
        auto* label = new QLabel(tr(rows[i].label));
        label->setBuddy(numbers_[i]);
        grid->addWidget(label, places[i][0], 2 * places[i][1]);
        grid->addWidget(numbers_[i], places[i][0], 2 * places[i][1] + 1);
    }
    auto* open = new QPushButton(tr("&Reference..."));
    open->setObjectName(QStringLiteral("open_reference"));
    open->setToolTip(tr("Take area, chord, span, point and flow from a file (JSON)"));
    connect(open, &QPushButton::clicked, this, &LoadsPanel::open_reference);
    grid->addWidget(open, 3, 4, 1, 2);
    return grid;
}

QLayout* LoadsPanel::table_buttons() {
    auto* row = new QHBoxLayout;
    const auto add = [&](const QString& text, const char* name, void (LoadsPanel::*slot)()) {
        auto* button = new QPushButton(text);
        button->setObjectName(QLatin1String(name));
        connect(button, &QPushButton::clicked, this, slot);
        row->addWidget(button);
    };
    add(tr("Calculate &loads"), "calculate_loads", &LoadsPanel::calculate);
    row->addStretch();
    add(tr("Copy"), "copy_loads", &LoadsPanel::copy_table);
    add(tr("Save..."), "save_loads", &LoadsPanel::save_table);
    return row;
}

void LoadsPanel::set_model(std::shared_ptr<const ShownModel> model, const std::string& quantity) {
    const bool same = model_ && model && model_->prepared == model->prepared;
    const bool first = quantity != quantity_ || !same;
    model_ = std::move(model);
    quantity_ = quantity;
    if (!same) {
        painted_.clear();
        fill_list();
    }
    if (model_ && first) {
        LoadsReference now = reference();
        const bool pressure = quantity_ == "P";
        const double q = model_->dynamic_pressure;
        const bool relative = quantity_ == "P_Pstat" && model_->static_pressure > 0;
        now.static_pressure = pressure ? model_->static_pressure : relative ? 1 : 0;
        now.dynamic_pressure = pressure ? q : relative ? q / model_->static_pressure : 1;
        set_reference(now);
    }
    if (loads_.empty()) return;
    calculate();
}

void LoadsPanel::fill_list() {
    writing_ = true;
    list_->clear();
    if (model_)
        for (const auto& zone : model_->mesh.zones) {
            auto* item = new QListWidgetItem(QString::fromStdString(zone.name), list_);
            item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsUserCheckable);
            item->setCheckState(Qt::Checked);
        }
    writing_ = false;
}

void LoadsPanel::set_reference(const LoadsReference& reference) {
    const auto values = numbers_of(reference);
    for (std::size_t i = 0; i < values.size(); ++i)
        numbers_[i]->set_number(values[i]);
    for (NumberEdit* edit : numbers_)
        edit->setCursorPosition(0);  // of a long number its beginning matters
}

LoadsReference LoadsPanel::reference() const {
    const auto number = [this](Number which) { return numbers_[which]->number().value_or(0); };
    return {number(area),      number(chord),
            number(span),      number(static_p),
            number(dynamic_p), number(alpha),
            number(beta),      {number(about_x), number(about_y), number(about_z)}};
}

std::uint8_t LoadsPanel::current_patch() const {
    if (!model_) return 0;
    const int patch = list_->currentRow() - static_cast<int>(model_->mesh.zones.size()) + 1;
    return static_cast<std::uint8_t>(std::clamp(patch, 0, 255));
}

void LoadsPanel::add_patch() {
    if (!model_) return;
    const int patches = list_->count() - static_cast<int>(model_->mesh.zones.size());
    if (patches >= 255) return;
    writing_ = true;
    auto* item = new QListWidgetItem(tr("patch %1").arg(patches + 1), list_);
    item->setFlags(item->flags() | Qt::ItemIsUserCheckable | Qt::ItemIsEditable);
    item->setCheckState(Qt::Checked);
    QPixmap sample(12, 12);
    sample.fill(QColor::fromRgb(patch_colour(static_cast<std::uint8_t>(patches + 1))));
    item->setIcon(QIcon(sample));
    writing_ = false;
    list_->setCurrentItem(item);
    brush_->setChecked(true);
}

void LoadsPanel::remove_patch() {
    const std::uint8_t patch = current_patch();
    if (patch == 0) return;
    for (std::uint8_t& number : painted_)
        if (number == patch)
            number = 0;
        else if (number > patch)
            --number;
    writing_ = true;
    delete list_->takeItem(list_->currentRow());
    for (int row = static_cast<int>(model_->mesh.zones.size()); row < list_->count(); ++row) {
        QPixmap sample(12, 12);
        sample.fill(QColor::fromRgb(patch_colour(
            static_cast<std::uint8_t>(row - static_cast<int>(model_->mesh.zones.size()) + 1))));
        list_->item(row)->setIcon(QIcon(sample));
    }
    writing_ = false;
    Q_EMIT patches_changed();
    if (!loads_.empty()) calculate();
}

void LoadsPanel::choose_brush() {
    const bool paints = brush_->isChecked() && current_patch() > 0;
    Q_EMIT brush_chosen(paints ? size_->value() : 0);
}

void LoadsPanel::paint(const std::vector<std::size_t>& faces, ModelCanvas::Stroke stroke) {
    const std::uint8_t patch = current_patch();
    if (patch == 0) return;
    if (painted_.empty()) painted_.resize(model_->mesh.triangles.size());
    for (const std::size_t face : faces)
        if (stroke == ModelCanvas::Stroke::paint)
            painted_[face] = patch;
        else if (painted_[face] == patch)
            painted_[face] = 0;
    Q_EMIT patches_changed();
}

void LoadsPanel::calculate() {
    loads_.clear();
    if (!model_) return;
    const LoadsReference now = reference();
    if (const std::string problem = problem_of(now); !problem.empty()) return show_loads(problem);
    const auto zone_count = static_cast<int>(model_->mesh.zones.size());
    LoadsRequest zones{quantity_, now.static_pressure, now.about, {}};
    LoadsRequest patches = zones;
    for (int row = 0; row < list_->count(); ++row) {
        if (list_->item(row)->checkState() != Qt::Checked) continue;
        if (row < zone_count) {
            zones.zones.push_back(model_->mesh.zones[static_cast<std::size_t>(row)].name);
            continue;
        }
        FacePatch patch{list_->item(row)->text().toStdString(), {}};
        for (std::size_t face = 0; face < painted_.size(); ++face)
            if (painted_[face] == row - zone_count + 1) patch.faces.push_back(face);
        patches.patches.push_back(std::move(patch));
    }
    try {
        const auto take = [&](const LoadsRequest& request, const char* sum) {
            auto found = surface_loads(model_->mesh, model_->surface(), request);
            found.back().name = sum;
            loads_.insert(loads_.end(), found.begin(), found.end());
        };
        if (!zones.zones.empty()) take(zones, "sum of zones");
        if (!patches.patches.empty()) take(patches, "sum of patches");
        show_loads(loads_.empty() ? "no patch is ticked" : "");
    } catch (const GenericError& error) {
        show_loads(error.what());
    }
}

void LoadsPanel::show_loads(const std::string& problem) {
    complaint_->setText(QString::fromStdString(problem));
    complaint_->setVisible(!problem.empty());
    QStringList heads{tr("Patch"), tr("Seen, %")};
    for (const auto& [name, value] : load_coefficients(PatchLoads(), {.area = 1}))
        heads << QString::fromStdString(name);
    table_->clear();
    table_->setColumnCount(heads.size());
    table_->setHorizontalHeaderLabels(heads);
    table_->setRowCount(static_cast<int>(loads_.size()));
    for (int row = 0; row < table_->rowCount(); ++row) {
        const PatchLoads& patch = loads_[static_cast<std::size_t>(row)];
        table_->setItem(row, 0, new QTableWidgetItem(QString::fromStdString(patch.name)));
        table_->setItem(row, 1, cell(text_of(100 * patch.covered_share())));
        int column = 2;
        for (const auto& [name, value] : load_coefficients(patch, reference()))
            table_->setItem(row, column++, cell(text_of(value)));
    }
    table_->resizeColumnsToContents();
}

std::string LoadsPanel::table() const {
    return loads_csv(loads_, reference());
}

void LoadsPanel::copy_table() {
    QGuiApplication::clipboard()->setText(QString::fromStdString(table()));
}

void LoadsPanel::save_table() {
    const std::string file = ask_table_file(this, tr("Save loads"), "loads");
    if (!file.empty()) attempt(this, tr("Save loads"), [&] { write_file(file, table()); });
}

void LoadsPanel::open_reference() {
    const std::string file =
        ask_open_file(this, {tr("Reference"), tr("Reference (*.json);;All files (*)"), {}, {}});
    if (file.empty()) return;
    attempt(this, tr("Reference"), [&] {
        LoadsReference read = reference();
        read_loads_reference(file, read);
        set_reference(read);
    });
}

}  // namespace vyn
