#include "view/ui/graph/graph_window.h"

#include <QAction>
#include <QCheckBox>
#include <QClipboard>
#include <QDockWidget>
#include <QFormLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QListWidget>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QSpinBox>
#include <QStatusBar>
#include <QToolBar>
#include <algorithm>
#include <cmath>

#include <qwt_legend.h>
#include <qwt_plot.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_zoomer.h>
#include <qwt_scale_div.h>
#include <qwt_symbol.h>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "core/ui/icons.h"
#include "core/ui/number_edit.h"
#include "core/ui/window_size.h"
#include "view/ui/graph/graph_export.h"
#include "view/ui/graph/graph_zoomer.h"
#include "view/ui/graph/plot_style.h"

namespace vyn {

namespace {

constexpr const char* range_names[4] = {"x_from", "x_to", "y_from", "y_to"};
constexpr const char* end_names[4] = {"start_x", "start_y", "end_x", "end_y"};
constexpr Qt::PenStyle image_styles[] = {Qt::SolidLine, Qt::DashLine, Qt::DotLine, Qt::DashDotLine};

/// One stretch of a profile without a gap; a lonely sample is a dot.
std::unique_ptr<QwtPlotCurve> make_curve(std::span<const ProfileSample> part, const QColor& colour,
                                         Qt::PenStyle style) {
    QPolygonF points;
    for (const ProfileSample& sample : part)
        points.append({sample.distance, sample.value});
    auto curve = std::make_unique<QwtPlotCurve>();
    curve->setSamples(points);
    curve->setPen(colour, 1.6, style);
    curve->setLegendAttribute(QwtPlotCurve::LegendShowLine);
    curve->setLegendIconSize({26, 8});
    curve->setRenderHint(QwtPlotItem::RenderAntialiased);
    if (part.size() == 1)
        curve->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, colour, QPen(colour), QSize(4, 4)));
    return curve;
}

/// "line 1", or "line 1, Pressure field" among several images.
QString name_of(const GraphCurve& curve) {
    const QString line = GraphWindow::tr("line %1").arg(curve.line + 1);
    return curve.image_name.isEmpty() ? line : QStringLiteral("%1, %2").arg(line, curve.image_name);
}

}  // namespace

GraphWindow::GraphWindow(QWidget* parent)
    : QMainWindow(parent),
      plot_(new QwtPlot(this)),
      zoomer_(nullptr),
      automatic_(new QCheckBox(tr("&Automatic"), this)),
      ranges_{},
      width_(new QSpinBox(this)),
      list_(new QListWidget(this)),
      ends_{},
      image_list_(new QListWidget(this)) {
    setObjectName(QStringLiteral("GraphWindow"));
    setCentralWidget(plot_);
    resize(on_screen({900, 460}));
    make_plot();
    make_form();
    make_actions();
    statusBar()->showMessage(tr("Draw lines on the image; zoom here with the left button"));
}

GraphWindow::~GraphWindow() {
    // They lose the focus when the window goes.
    for (NumberEdit* edit : ranges_)
        edit->disconnect(this);
    for (NumberEdit* edit : ends_)
        edit->disconnect(this);
}

void GraphWindow::make_plot() {
    plot_->setObjectName(QStringLiteral("plot"));
    style_plot(*plot_);
    plot_->insertLegend(new QwtLegend, QwtPlot::BottomLegend);
    zoomer_ = new GraphZoomer(plot_->canvas());
    connect(zoomer_, &QwtPlotZoomer::zoomed, this, &GraphWindow::show_ranges);
    connect(zoomer_, &QwtPlotPicker::moved, this, [this](const QPointF& place) {
        Q_EMIT pointed(place.x());
        QString text = tr("distance %1 pix").arg(place.x(), 0, 'f', 1);
        for (std::size_t i = 0; i < curves_.size(); ++i)
            if (const auto value = value_at(curves_[i].profile, place.x()))
                text += QStringLiteral("   %1: %2")
                            .arg(name_of(curves_[i]),
                                 QString::fromStdString(format_general(*value, 6)));
        statusBar()->showMessage(text);
    });
}

QWidget* GraphWindow::make_range_group() {
    auto* group = new QGroupBox(tr("Data range"));
    auto* form = new QFormLayout(group);
    const QString labels[4] = {tr("Distance &from"), tr("Distance &to"), tr("Value f&rom"),
                               tr("Value t&o")};
    form->addRow(automatic_);
    for (int i = 0; i < 4; ++i) {
        ranges_[i] = new NumberEdit(group);
        ranges_[i]->setObjectName(QLatin1String(range_names[i]));
        form->addRow(labels[i], ranges_[i]);
        connect(ranges_[i], &QLineEdit::editingFinished, this, &GraphWindow::apply_ranges);
    }
    automatic_->setObjectName(QStringLiteral("automatic"));
    automatic_->setChecked(true);
    connect(automatic_, &QCheckBox::toggled, this, &GraphWindow::draw_curves);
    return group;
}

QWidget* GraphWindow::make_line_group() {
    auto* lines = new QGroupBox(tr("Lines"));
    auto* form = new QFormLayout(lines);
    width_->setObjectName(QStringLiteral("width"));
    width_->setRange(1, widest_profile);
    width_->setSuffix(tr(" pix"));
    width_->setToolTip(tr("So many pixels across the line are averaged"));
    connect(width_, QOverload<int>::of(&QSpinBox::valueChanged), this, &GraphWindow::width_chosen);
    form->addRow(tr("&Width"), width_);
    list_->setObjectName(QStringLiteral("lines"));
    form->addRow(list_);
    connect(list_, &QListWidget::currentRowChanged, this, &GraphWindow::show_ends);
    for (int i = 0; i < 4; ++i) {
        ends_[i] = new NumberEdit(lines);
        ends_[i]->setObjectName(QLatin1String(end_names[i]));
        connect(ends_[i], &QLineEdit::editingFinished, this, &GraphWindow::apply_ends);
    }
    const auto add_end = [&](const QString& label, NumberEdit* x, NumberEdit* y) {
        auto* row = new QHBoxLayout;
        row->addWidget(x);
        row->addWidget(y);
        form->addRow(label, row);
        x->setToolTip(tr("Column of the chosen line's end, pixels"));
        y->setToolTip(tr("Row of the chosen line's end, pixels"));
    };
    add_end(tr("From x, y"), ends_[0], ends_[1]);
    add_end(tr("To x, y"), ends_[2], ends_[3]);
    auto* remove = new QPushButton(tr("Re&move"), lines);
    remove->setObjectName(QStringLiteral("remove"));
    auto* clear = new QPushButton(tr("C&lear"), lines);
    clear->setObjectName(QStringLiteral("clear"));
    form->addRow(remove, clear);
    connect(remove, &QPushButton::clicked, this, [this] {
        if (list_->currentRow() >= 0)
            Q_EMIT line_removed(static_cast<std::size_t>(list_->currentRow()));
    });
    connect(clear, &QPushButton::clicked, this, &GraphWindow::lines_cleared);
    return lines;
}

QWidget* GraphWindow::make_image_group() {
    auto* group = new QGroupBox(tr("Other viewers"));
    auto* layout = new QVBoxLayout(group);
    image_list_->setObjectName(QStringLiteral("images"));
    image_list_->setToolTip(
        tr("Open viewers whose image has the same size and quantity; ticked ones are drawn, too"));
    layout->addWidget(image_list_);
    connect(image_list_, &QListWidget::itemChanged, this, [this](QListWidgetItem* item) {
        if (writing_) return;
        // The list is made anew.
        const int row = image_list_->row(item);
        const bool used = item->checkState() == Qt::Checked;
        QMetaObject::invokeMethod(
            this, [this, row, used] { Q_EMIT image_chosen(row, used); }, Qt::QueuedConnection);
    });
    return group;
}

void GraphWindow::make_form() {
    auto* panel = new QWidget;
    auto* column = new QVBoxLayout(panel);
    column->addWidget(make_range_group());
    column->addWidget(make_line_group(), 1);
    column->addWidget(make_image_group(), 1);
    auto* area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(panel);
    auto* dock = new QDockWidget(tr("Graph options"), this);
    dock->setObjectName(QStringLiteral("graph options"));
    dock->setWidget(area);
    dock->setFeatures(QDockWidget::DockWidgetMovable);
    addDockWidget(Qt::RightDockWidgetArea, dock);
}

void GraphWindow::make_actions() {
    QToolBar* bar = addToolBar(tr("Graph"));
    bar->setObjectName(QStringLiteral("graph tools"));
    const auto add_action = [&](const QString& text, const char* name, const char* key,
                                void (GraphWindow::*slot)()) {
        QAction* action = bar->addAction(text);
        action->setObjectName(QLatin1String(name));
        action->setShortcut(QKeySequence(QLatin1String(key)));
        connect(action, &QAction::triggered, this, slot);
    };
    add_action(tr("&Save table..."), "export_table", "Ctrl+S", &GraphWindow::export_table);
    add_action(tr("Save &picture..."), "export_picture", "Ctrl+E", &GraphWindow::export_picture);
    bar->addSeparator();
    add_action(tr("&Copy table"), "copy_table", "Ctrl+C", &GraphWindow::copy_table);
    add_action(tr("Copy p&icture"), "copy_picture", "Ctrl+Shift+C", &GraphWindow::copy_picture);
}

void GraphWindow::show_curves(std::vector<GraphCurve> curves, const QString& title,
                              const QString& quantity) {
    curves_ = std::move(curves);
    setWindowTitle(tr("Graph: %1").arg(title));
    set_plot_titles(*plot_, {}, tr("Distance, pix"), quantity);
    list_lines();
    draw_curves();
}

void GraphWindow::list_lines() {
    const int chosen = list_->currentRow();
    writing_ = true;
    list_->clear();
    for (const GraphCurve& curve : curves_) {
        if (curve.image > 0) continue;
        const LineProfile& line = curve.profile;
        QPixmap sample(12, 12);
        sample.fill(curve.colour);
        list_->addItem(new QListWidgetItem(QIcon(sample), tr("%1: (%2, %3) - (%4, %5), %6 pix")
                                                              .arg(curve.line + 1)
                                                              .arg(line.from.x, 0, 'f', 1)
                                                              .arg(line.from.y, 0, 'f', 1)
                                                              .arg(line.to.x, 0, 'f', 1)
                                                              .arg(line.to.y, 0, 'f', 1)
                                                              .arg(line.length, 0, 'f', 1)));
    }
    writing_ = false;
    list_->setCurrentRow(chosen >= 0 && chosen < list_->count() ? chosen : list_->count() - 1);
    show_ends();
}

void GraphWindow::show_ends() {
    if (writing_) return;
    const int row = list_->currentRow();
    const auto chosen = std::ranges::find_if(
        curves_, [row](const GraphCurve& curve) { return static_cast<int>(curve.line) == row; });
    for (int i = 0; i < 4; ++i) {
        ends_[i]->setEnabled(chosen != curves_.end());
        if (chosen == curves_.end()) continue;
        const Point& end = i < 2 ? chosen->profile.from : chosen->profile.to;
        ends_[i]->setText(QString::fromStdString(format_general(i % 2 ? end.y : end.x, 8)));
        ends_[i]->check();
    }
}

void GraphWindow::apply_ends() {
    if (list_->currentRow() < 0) return;
    double numbers[4];
    // A line that was only looked at stays where it is to the last bit.
    if (std::none_of(ends_, ends_ + 4, [](NumberEdit* edit) { return edit->isModified(); })) return;
    for (int i = 0; i < 4; ++i) {
        if (!ends_[i]->check()) return;
        numbers[i] = *ends_[i]->number();
    }
    const Point from{numbers[0], numbers[1]};
    const Point to{numbers[2], numbers[3]};
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    if (length > 0 && length <= longest_profile)
        Q_EMIT line_moved(static_cast<std::size_t>(list_->currentRow()), from, to);
    else
        show_ends();
}

void GraphWindow::show_images(const std::vector<GraphImage>& images) {
    if (images == images_) return;
    images_ = images;
    writing_ = true;
    image_list_->clear();
    for (const GraphImage& image : images) {
        auto* item = new QListWidgetItem(image.name);
        item->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable | Qt::ItemIsSelectable);
        item->setCheckState(image.used ? Qt::Checked : Qt::Unchecked);
        image_list_->addItem(item);
    }
    writing_ = false;
}

void GraphWindow::draw_curves() {
    items_.clear();
    for (std::size_t i = 0; i < curves_.size(); ++i) {
        bool first = true;
        for (const auto part : unbroken_parts(curves_[i].profile)) {
            auto curve = make_curve(part, curves_[i].colour,
                                    image_styles[curves_[i].image % std::size(image_styles)]);
            curve->setTitle(name_of(curves_[i]));
            curve->setItemAttribute(QwtPlotItem::Legend, first);
            first = false;
            curve->attach(plot_);
            items_.push_back(std::move(curve));
            std::vector<BandSample> band;
            for (const ProfileSample& sample : part)
                if (std::isfinite(sample.sigma))
                    band.push_back({sample.distance, sample.value, sample.sigma});
            if (band.empty()) continue;
            items_.push_back(make_band(band, curves_[i].colour));
            items_.back()->attach(plot_);
        }
    }
    if (automatic_->isChecked()) {
        plot_->setAxisAutoScale(QwtPlot::xBottom);
        plot_->setAxisAutoScale(QwtPlot::yLeft);
        plot_->updateAxes();
        zoomer_->setZoomBase(false);
        show_ranges();
    }
    for (NumberEdit* edit : ranges_)
        edit->setEnabled(!automatic_->isChecked());
    plot_->replot();
}

void GraphWindow::apply_ranges() {
    if (automatic_->isChecked()) return;
    double numbers[4];
    for (int i = 0; i < 4; ++i) {
        if (!ranges_[i]->check()) return;
        numbers[i] = *ranges_[i]->number();
    }
    if (numbers[0] == numbers[1] || numbers[2] == numbers[3]) return;
    plot_->setAxisScale(QwtPlot::xBottom, numbers[0], numbers[1]);
    plot_->setAxisScale(QwtPlot::yLeft, numbers[2], numbers[3]);
    plot_->replot();
    zoomer_->setZoomBase(false);
}

void GraphWindow::show_ranges() {
    const QwtScaleDiv x = plot_->axisScaleDiv(QwtPlot::xBottom);
    const QwtScaleDiv y = plot_->axisScaleDiv(QwtPlot::yLeft);
    const double numbers[4] = {x.lowerBound(), x.upperBound(), y.lowerBound(), y.upperBound()};
    for (int i = 0; i < 4; ++i) {
        constexpr int digits = 8;
        ranges_[i]->setText(QString::fromStdString(format_general(numbers[i], digits)));
        ranges_[i]->check();
    }
}

std::string GraphWindow::table() const {
    std::vector<LineProfile> profiles;
    std::vector<ProfileName> names;
    for (const GraphCurve& curve : curves_) {
        profiles.push_back(curve.profile);
        if (!curve.image_name.isEmpty())
            names.push_back({curve.line + 1, curve.image_name.toStdString()});
    }
    return profile_csv(profiles, names);
}

void GraphWindow::write_table(const QString& file) {
    try {
        write_file(file.toStdString(), table());
    } catch (const GenericError& error) {
        QMessageBox::warning(this, tr("Graph"), QString::fromStdString(error.what()));
    }
}

void GraphWindow::write_picture(const QString& file) {
    try {
        write_plot(*plot_, file.toStdString());
    } catch (const GenericError& error) {
        QMessageBox::warning(this, tr("Graph"), QString::fromStdString(error.what()));
    }
}

void GraphWindow::export_table() {
    const std::string file = ask_table_file(this, tr("Save table"), "graph");
    if (!file.empty()) write_table(QString::fromStdString(file));
}

void GraphWindow::export_picture() {
    const std::string file = ask_plot_file(this, tr("Save picture"), "graph");
    if (!file.empty()) write_picture(QString::fromStdString(file));
}

void GraphWindow::copy_table() {
    QGuiApplication::clipboard()->setText(QString::fromStdString(table()));
}

void GraphWindow::copy_picture() {
    QGuiApplication::clipboard()->setImage(plot_picture(*plot_, devicePixelRatioF()));
}

}  // namespace vyn
