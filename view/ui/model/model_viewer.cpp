#include "view/ui/model/model_viewer.h"

#include <QAction>
#include <QComboBox>
#include <QDockWidget>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>
#include <algorithm>
#include <cmath>

#include "core/errors.h"
#include "core/numbers.h"
#include "core/ui/command.h"
#include "core/ui/icons.h"
#include "core/ui/number_edit.h"
#include "core/ui/window_size.h"
#include "render/iso_levels.h"
#include "render/model/model_picture.h"
#include "render/ticks.h"
#include "view/ui/canvas/colour_bar.h"
#include "view/ui/look/fashion_dialog.h"
#include "view/ui/look/palette_box.h"
#include "view/ui/model/loads_panel.h"
#include "view/ui/model/patch_list.h"
#include "view/ui/model/section_panel.h"
#include "view/ui/window/open_windows.h"

namespace vyn {

namespace {

struct StandardView {
    const char* text;
    const char* key;
    double azimuth;
    double elevation;
};
constexpr StandardView standard_views[] = {
    {"&Front", "Ctrl+1", 0, 0},     {"&Back", "Ctrl+2", 180, 0}, {"&Left", "Ctrl+3", -90, 0},
    {"&Right", "Ctrl+4", 90, 0},    {"&Top", "Ctrl+5", 180, 90}, {"B&ottom", "Ctrl+6", 0, -90},
    {"&Oblique", "Ctrl+0", 30, 30},
};

constexpr int usual_panel_width = 400;

}  // namespace

ModelViewer::ModelViewer(QWidget* parent)
    : QMainWindow(parent),
      canvas_(new ModelCanvas(this)),
      colour_bar_(new ColourBar(this)),
      quantity_(new QComboBox(this)),
      palettes_(new PaletteBox(this)),
      minimum_(new NumberEdit(this)),
      maximum_(new NumberEdit(this)),
      zones_(new QListWidget(this)),
      isolines_(new QComboBox(this)),
      levels_(new NumberEdit(this)),
      section_(new SectionPanel(this)),
      loads_(new LoadsPanel(this)) {
    setObjectName(QStringLiteral("ModelViewer"));
    auto* center = new QWidget(this);
    auto* row = new QHBoxLayout(center);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(canvas_, 1);
    row->addWidget(colour_bar_);
    setCentralWidget(center);
    make_bar();
    make_isoline_bar();
    make_panels();
    make_menus();
    statusBar();
    connect(canvas_, &ModelCanvas::probed, this, &ModelViewer::show_probe);
    connect(colour_bar_, &ColourBar::limits_dragged, this, &ModelViewer::set_limits);
    connect(section_, &SectionPanel::section_changed, this, &ModelViewer::show_section);
    resize(on_screen({1250, 800}));
    menuBar()->addMenu(make_window_menu(this));
    OpenWindows::of_program().add(*this);
}

void ModelViewer::make_bar() {
    QToolBar* bar = addToolBar(tr("Display"));
    bar->setObjectName(QStringLiteral("model_display_bar"));
    quantity_->setObjectName(QStringLiteral("model_quantity"));
    quantity_->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    minimum_->setObjectName(QStringLiteral("model_minimum"));
    maximum_->setObjectName(QStringLiteral("model_maximum"));
    for (NumberEdit* edit : {minimum_, maximum_})
        edit->setFixedWidth(fontMetrics().averageCharWidth() * 14);
    bar->addWidget(new QLabel(tr("Show "), bar));
    bar->addWidget(quantity_);
    bar->addSeparator();
    bar->addWidget(palettes_);
    bar->addWidget(new QLabel(tr(" from "), bar));
    bar->addWidget(minimum_);
    bar->addWidget(new QLabel(tr(" to "), bar));
    bar->addWidget(maximum_);
    QAction* automatic = bar->addAction(tr("Auto"), this, &ModelViewer::automatic_limits);
    automatic->setToolTip(tr("Limits from the values: their 0.5 and 99.5 percentiles"));
    connect(quantity_, &QComboBox::currentTextChanged, this, &ModelViewer::choose_quantity);
    connect(palettes_, QOverload<int>::of(&QComboBox::activated), this, [this] {
        display_.palette = std::make_shared<const palette_array>(palettes_->chosen());
        display();
    });
    for (NumberEdit* edit : {minimum_, maximum_})
        connect(edit, &QLineEdit::editingFinished, this, [this] {
            const auto low = minimum_->number();
            const auto high = maximum_->number();
            if (low && high && complaint_about({*low, *high}).empty()) set_limits({*low, *high});
        });
    palettes_->refresh(*display_.palette);
}

void ModelViewer::make_isoline_bar() {
    QToolBar* bar = addToolBar(tr("Isolines"));
    bar->setObjectName(QStringLiteral("model_isoline_bar"));
    isolines_->setObjectName(QStringLiteral("isolines"));
    isolines_->addItems({tr("none"), tr("number"), tr("step")});
    isolines_->setToolTip(
        tr("Lines of equal value: so many between the limits, or at the multiples "
           "of a step"));
    levels_->setObjectName(QStringLiteral("isoline_levels"));
    levels_->set_number(10);
    levels_->setEnabled(false);
    levels_->setFixedWidth(fontMetrics().averageCharWidth() * 10);
    bar->addWidget(new QLabel(tr("Isolines "), bar));
    bar->addWidget(isolines_);
    bar->addWidget(levels_);
    connect(isolines_, QOverload<int>::of(&QComboBox::currentIndexChanged), this, [this](int how) {
        levels_->setEnabled(how > 0);
        // What is asked for changes its meaning: a round step gives about as many lines.
        if (how == 1) levels_->set_number(10);
        if (how == 2) {
            const Limits& limits = display_.limits;
            levels_->set_number(make_ticks(limits.minimum, limits.maximum, 12).step);
        }
        choose_levels();
    });
    connect(levels_, &QLineEdit::editingFinished, this, &ModelViewer::choose_levels);
}

void ModelViewer::choose_levels() {
    display_.levels.clear();
    if (const auto number = levels_->number()) {
        if (isolines_->currentIndex() == 1)
            display_.levels =
                iso_levels(display_.limits, static_cast<int>(std::clamp(*number, 0.0, 1e3)));
        if (isolines_->currentIndex() == 2)
            display_.levels = iso_levels_by_step(display_.limits, *number);
        if (isolines_->currentIndex() > 0 && display_.levels.empty())
            statusBar()->showMessage(
                tr("No isolines: a step that gives up to %1 of them between the limits is needed")
                    .arg(most_iso_levels));
    }
    canvas_->set_display(display_);
}

void ModelViewer::make_panels() {
    const auto dock = [this](const QString& title, const char* name, QWidget* panel) {
        auto* widget = new QDockWidget(title, this);
        widget->setObjectName(QLatin1String(name));
        widget->setWidget(panel);
        addDockWidget(Qt::RightDockWidgetArea, widget);
        return widget;
    };
    zones_->setObjectName(QStringLiteral("model_zones"));
    QDockWidget* section = dock(tr("Section"), "section_dock", section_);
    tabifyDockWidget(section, dock(tr("Loads"), "loads_dock", loads_));
    section->raise();
    resizeDocks({section}, {usual_panel_width}, Qt::Horizontal);
    dock(tr("Zones"), "zones_dock", zones_);
    PatchList* patches = &loads_->patches();
    connect(patches, &PatchList::brush_chosen, canvas_, &ModelCanvas::set_brush);
    connect(canvas_, &ModelCanvas::painted, patches, &PatchList::paint);
    connect(canvas_, &ModelCanvas::stroke_ended, patches, &PatchList::commit);
    connect(patches, &PatchList::painted, this, [this] {
        const PaintedPatches& painted = loads_->patches().patches();
        display_.patches = painted.names.empty() ? std::vector<std::uint8_t>() : painted.faces;
        canvas_->set_display(display_);
    });
    connect(zones_, &QListWidget::itemChanged, this, [this] {
        if (writing_) return;
        display_.hidden_zones.assign(static_cast<std::size_t>(zones_->count()), 0);
        for (int i = 0; i < zones_->count(); ++i)
            display_.hidden_zones[static_cast<std::size_t>(i)] =
                zones_->item(i)->checkState() == Qt::Unchecked;
        display();
    });
}

void ModelViewer::make_menus() {
    QMenu* file = menuBar()->addMenu(tr("&File"));
    file->addAction(tr("&Save picture..."), this, &ModelViewer::save_picture,
                    QKeySequence(QStringLiteral("Ctrl+S")));
    file->addAction(tr("&Copy picture"), this, &ModelViewer::copy_picture,
                    QKeySequence(QStringLiteral("Ctrl+Shift+C")));
    file->addSeparator();
    file->addAction(tr("&Open patches..."), loads_, &LoadsPanel::open_patches);
    file->addAction(tr("Save &patches..."), loads_, &LoadsPanel::save_patches);
    file->addSeparator();
    file->addAction(tr("C&lose"), this, &QWidget::close, QKeySequence(QStringLiteral("Ctrl+W")));
    menuBar()
        ->addMenu(tr("&Edit"))
        ->addActions({loads_->patches().undo_action(), loads_->patches().redo_action()});
    view_menu_ = menuBar()->addMenu(tr("&View"));
    for (const StandardView& view : standard_views)
        view_menu_->addAction(
            tr(view.text), this, [this, view] { canvas_->look_from(view.azimuth, view.elevation); },
            QKeySequence(QLatin1String(view.key)));
    cameras_ = view_menu_->addMenu(tr("As &camera"));
    view_menu_->addSeparator();
    view_menu_->addAction(tr("&Palette and limits..."), this, &ModelViewer::edit_fashion,
                          QKeySequence(QStringLiteral("Ctrl+F")));
    view_menu_->addSeparator();
    const auto toggle = [this](const QString& text, const char* key, bool& shown) {
        QAction* action = view_menu_->addAction(text);
        action->setCheckable(true);
        action->setChecked(shown);
        action->setShortcut(QKeySequence(QLatin1String(key)));
        connect(action, &QAction::toggled, this, [this, &shown](bool on) {
            shown = on;
            display();
        });
    };
    toggle(tr("L&ight"), "Ctrl+L", display_.light);
    toggle(tr("&Edges of cells"), "Ctrl+E", display_.edges);
    toggle(tr("&Markers"), "Ctrl+M", display_.markers);
    view_menu_->addSeparator();
    for (const QDockWidget* panel : findChildren<QDockWidget*>())
        view_menu_->addAction(panel->toggleViewAction());
}

void ModelViewer::show_model(std::shared_ptr<const ShownModel> model, std::vector<Marker> markers,
                             const QString& title) {
    const bool new_mesh = !model_ || model_->prepared != model->prepared;
    model_ = std::move(model);
    setWindowTitle(title);
    const QString wanted = quantity_->currentText();
    writing_ = true;
    quantity_->clear();
    for (const auto& quantity : model_->mesh.quantities)
        quantity_->addItem(QString::fromStdString(quantity.name));
    const int index = quantity_->findText(wanted);
    quantity_->setCurrentIndex(std::max(index, quantity_->count() > 0 ? 0 : -1));
    writing_ = false;
    if (new_mesh) fill_zones();
    fill_cameras();
    canvas_->set_markers(std::move(markers));
    canvas_->set_model(model_);
    if (index < 0 || new_mesh) {
        choose_quantity(quantity_->currentText());
    } else {
        display();
        section_->set_model(model_, display_.quantity);
        loads_->set_model(model_, display_.quantity);
    }
}

void ModelViewer::fill_zones() {
    writing_ = true;
    zones_->clear();
    display_.hidden_zones.clear();
    for (const auto& zone : model_->mesh.zones) {
        auto* item = new QListWidgetItem(QString::fromStdString(zone.name), zones_);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(Qt::Checked);
    }
    writing_ = false;
}

void ModelViewer::fill_cameras() {
    cameras_->clear();
    for (std::size_t k = 0; k < model_->mesh.views.size(); ++k)
        cameras_->addAction(QStringLiteral("%1  %2").arg(k + 1).arg(
                                QString::fromStdString(model_->mesh.views[k].name)),
                            this, [this, k] { canvas_->look_as_camera(k); });
    cameras_->setEnabled(!model_->mesh.views.empty());
}

void ModelViewer::choose_quantity(const QString& name) {
    if (writing_ || !model_) return;
    display_.quantity = name.toStdString();
    automatic_limits();
    section_->set_model(model_, display_.quantity);
    loads_->set_model(model_, display_.quantity);
    display();
}

void ModelViewer::automatic_limits() {
    const auto* quantity = model_ ? model_->mesh.find(display_.quantity) : nullptr;
    set_limits(quantity ? tidy(robust_limits(*quantity)) : Limits());
}

void ModelViewer::set_limits(const Limits& limits) {
    display_.limits = limits;
    minimum_->set_number(limits.minimum);
    maximum_->set_number(limits.maximum);
    choose_levels();
    display();
}

void ModelViewer::display() {
    const auto* quantity = model_ ? model_->mesh.find(display_.quantity) : nullptr;
    colour_bar_->set_fashion(fashion());
    if (fashion_dialog_) fashion_dialog_->show_fashion(fashion());
    QString label = QString::fromStdString(display_.quantity);
    if (quantity && !quantity->unit.empty())
        label += QStringLiteral(", ") + QString::fromStdString(quantity->unit);
    colour_bar_->set_label(label);
    colour_bar_->setVisible(quantity != nullptr);
    canvas_->set_display(display_);
}

void ModelViewer::show_probe(const std::optional<ModelProbe>& probe) {
    if (!probe) {
        statusBar()->clearMessage();
        return;
    }
    const auto& mesh = model_->mesh;
    const auto number = [](double value, int digits) {
        return QString::fromStdString(format_general(value, digits));
    };
    const auto node_value = [&](const char* name) {
        const auto* quantity = mesh.find(name);
        const bool nodal = quantity && quantity->place == field_data<double>::Place::node;
        return nodal ? quantity->values[probe->vertex] : std::nan("");
    };
    QString text = tr("%1  node %2  (%3, %4, %5)")
                       .arg(QString::fromStdString(mesh.zones[probe->zone].name))
                       .arg(probe->vertex)
                       .arg(number(probe->place[0], 5), number(probe->place[1], 5),
                            number(probe->place[2], 5));
    if (!display_.quantity.empty()) {
        const auto* quantity = mesh.find(display_.quantity);
        text += QStringLiteral("  ") + QString::fromStdString(display_.quantity) +
                QStringLiteral(" = ");
        text += std::isnan(probe->value) ? tr("not seen") : number(probe->value, 6);
        if (quantity && !std::isnan(probe->value) && !quantity->unit.empty())
            text += QStringLiteral(" ") + QString::fromStdString(quantity->unit);
    }
    if (const double sigma = node_value("sigma_pose"); !std::isnan(sigma))
        text += QStringLiteral(" ± ") + number(sigma, 2) + tr(" (pose)");
    if (const double view = node_value("view"); !std::isnan(view))
        text += tr("  camera %1").arg(view);
    statusBar()->showMessage(text);
}

void ModelViewer::show_section() {
    std::vector<std::vector<Vec3>> lines;
    for (const SectionCurve& curve : section_->section().curves) {
        auto& line = lines.emplace_back();
        for (const SectionPoint& point : curve.points)
            line.push_back(point.place);
    }
    canvas_->set_lines(std::move(lines));
}

}  // namespace vyn
