#include "view/ui/model/loads_panel.h"

#include <QClipboard>
#include <QGridLayout>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <utility>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "core/ui/command.h"
#include "core/ui/file_question.h"
#include "core/ui/number_edit.h"
#include "mesh/loads.h"
#include "view/ui/graph/graph_export.h"
#include "view/ui/model/patch_list.h"

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
      patches_(new PatchList(this)),
      table_(new QTableWidget(this)),
      complaint_(new QLabel(this)) {
    table_->setObjectName(QStringLiteral("loads_table"));
    table_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table_->verticalHeader()->hide();
    complaint_->setObjectName(QStringLiteral("loads_complaint"));
    complaint_->setWordWrap(true);
    auto* layout = new QGridLayout(this);
    layout->addWidget(patches_, 0, 0);
    layout->addLayout(reference_form(), 1, 0);
    layout->addWidget(table_, 2, 0);
    layout->addWidget(complaint_, 3, 0);
    layout->addLayout(table_buttons(), 4, 0);
    layout->setRowStretch(0, 1);
    layout->setRowStretch(2, 2);
    set_reference({.area = 1, .chord = 1, .span = 1});
    connect(patches_, &PatchList::ticks_changed, this, &LoadsPanel::calculate_again);
    connect(patches_, &PatchList::edited, this, [this] {
        Q_EMIT patches_edited();
        show_loads({});  // what was wrong with the patches of before
        calculate_again();
    });
}

LoadsPanel::~LoadsPanel() {
    for (NumberEdit* edit : numbers_)
        edit->disconnect(this);  // it loses the focus when the window goes
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
        connect(numbers_[i], &NumberEdit::editingFinished, this, &LoadsPanel::reference_edited);
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
    const bool same = model_ && model && model_->prepared == model->prepared &&
                      model_->reference == model->reference;
    const bool first = quantity != quantity_ || !same;
    model_ = std::move(model);
    quantity_ = quantity;
    patches_->set_model(model_);
    if (model_ && first) {
        LoadsReference now = same ? reference() : model_->reference;
        const bool pressure = quantity_ == "P";
        const double q = model_->dynamic_pressure;
        const bool relative = quantity_ == "P_Pstat" && model_->static_pressure > 0;
        now.static_pressure = pressure ? model_->static_pressure : relative ? 1 : 0;
        now.dynamic_pressure = pressure ? q : relative ? q / model_->static_pressure : 1;
        set_reference(now);
    }
    if (model_) show_loads(model_->patches_problem);
    calculate_again();
}

/// What is shown follows; nothing is shown before the user asks for it.
void LoadsPanel::calculate_again() {
    if (!loads_.empty()) calculate();
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

void LoadsPanel::calculate() {
    loads_.clear();
    if (!model_) return;
    const LoadsReference now = reference();
    if (const std::string problem = problem_of(now); !problem.empty()) return show_loads(problem);
    LoadsRequest zones{quantity_, now.static_pressure, now.about, patches_->ticked_zones()};
    LoadsRequest patches{quantity_, now.static_pressure, now.about, {}};
    patches.patches = patches_->ticked_patches();
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
        Q_EMIT reference_edited();
    });
}

void LoadsPanel::open_patches() {
    const std::string file =
        ask_open_file(this, {tr("Open patches"), tr("Patches (*.json);;All files (*)"), {}, {}});
    if (!file.empty()) attempt(this, tr("Open patches"), [&] { patches_->open(file); });
}

void LoadsPanel::save_patches() {
    const std::string file = ask_save_file(
        this, {tr("Save patches"), tr("Patches (*.json)"), QStringLiteral("json"), {}, {}, {}});
    if (!file.empty()) attempt(this, tr("Save patches"), [&] { patches_->save(file); });
}

}  // namespace vyn
