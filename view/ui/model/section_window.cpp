#include "view/ui/model/section_window.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QToolBar>

#include "core/atomic_file.h"
#include "core/ui/command.h"
#include "core/ui/window_size.h"
#include "process/model/section_table.h"
#include "view/ui/graph/graph_export.h"
#include "view/ui/window/open_windows.h"

namespace vyn {

SectionWindow::SectionWindow(QWidget* parent) : QMainWindow(parent), plot_(new SectionPlot(this)) {
    setObjectName(QStringLiteral("SectionWindow"));
    setWindowTitle(tr("Graph: sections"));
    setCentralWidget(plot_);
    resize(on_screen({820, 520}));
    OpenWindows::of_program().add(*this);
    QToolBar* bar = addToolBar(tr("Graph"));
    bar->setObjectName(QStringLiteral("section graph tools"));
    const auto add = [&](const QString& text, const char* name, const char* key, const QString& tip,
                         void (SectionWindow::*slot)()) {
        QAction* action = bar->addAction(text);
        action->setObjectName(QLatin1String(name));
        action->setShortcut(QKeySequence(QLatin1String(key)));
        action->setToolTip(tip);
        connect(action, &QAction::triggered, this, slot);
    };
    add(tr("&Keep"), "keep_section", "Ctrl+K",
        tr("The section stays in the graph when the plane goes on"), &SectionWindow::keep);
    add(tr("C&lear"), "clear_sections", "Ctrl+L", tr("Takes the kept sections out"),
        &SectionWindow::clear);
    bar->addSeparator();
    add(tr("&Save table..."), "export_table", "Ctrl+S", tr("All sections, as comma-separated text"),
        &SectionWindow::save_table);
    add(tr("Save &picture..."), "export_picture", "Ctrl+E", tr("The graph as PNG or SVG"),
        &SectionWindow::save_picture);
    bar->addSeparator();
    add(tr("&Copy table"), "copy_table", "Ctrl+C", {}, &SectionWindow::copy_table);
    add(tr("Copy p&icture"), "copy_picture", "Ctrl+Shift+C", {}, &SectionWindow::copy_picture);
}

void SectionWindow::show_live(PlottedSection live, const QString& label,
                              SectionPlot::ValueAxis axis) {
    // Values of another quantity have no axis in common with those kept.
    if (label != label_) kept_.clear();
    live_ = std::move(live);
    label_ = label;
    axis_ = axis;
    draw();
}

std::vector<PlottedSection> SectionWindow::sections() const {
    std::vector<PlottedSection> all = kept_;
    all.push_back(live_);
    return all;
}

void SectionWindow::draw() {
    plot_->show_sections(sections(), label_, axis_);
}

void SectionWindow::keep() {
    kept_.push_back(live_);
    draw();
}

void SectionWindow::clear() {
    kept_.clear();
    draw();
}

std::string SectionWindow::table() const {
    std::vector<std::vector<SectionCurve>> curves;
    for (const PlottedSection& shown : sections())
        curves.push_back(shown.section.curves);
    return section_csv(curves);
}

void SectionWindow::save_table() {
    const std::string file = ask_table_file(this, tr("Save table"), "sections");
    if (!file.empty()) attempt(this, tr("Save table"), [&] { write_file(file, table()); });
}

void SectionWindow::save_picture() {
    const std::string file = ask_plot_file(this, tr("Save picture"), "sections");
    if (!file.empty()) attempt(this, tr("Save picture"), [&] { write_plot(*plot_, file); });
}

void SectionWindow::copy_table() {
    QGuiApplication::clipboard()->setText(QString::fromStdString(table()));
}

void SectionWindow::copy_picture() {
    QGuiApplication::clipboard()->setImage(plot_picture(*plot_, devicePixelRatioF()));
}

}  // namespace vyn
