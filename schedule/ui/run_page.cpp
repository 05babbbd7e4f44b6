#include "schedule/ui/run_page.h"

#include <QComboBox>
#include <QDesktopServices>
#include <QFileInfo>
#include <QGridLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QSortFilterProxyModel>
#include <QSpinBox>
#include <QSplitter>
#include <QTableView>
#include <QTimer>
#include <QUndoCommand>
#include <QUrl>
#include <algorithm>
#include <set>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/log.h"
#include "core/ui/command.h"
#include "process/point/digest.h"
#include "schedule/point_project.h"
#include "schedule/ui/new_run_dialog.h"
#include "schedule/ui/run_table.h"
#include "schedule/ui/trend_plot.h"

namespace vyn {

namespace {

constexpr int pause_computing_ms = 1000;
constexpr int picture_side = 40;     // pixels
constexpr int pause_idle_ms = 4000;  // a cluster's states come without notice

template <class Widget>
Widget* named(Widget* widget, const char* name) {
    widget->setObjectName(QLatin1String(name));
    return widget;
}

/// A cell of the run's table as it was and is.
class EditCell final : public QUndoCommand {
  public:
    using Write = std::function<void(const QString&)>;
    EditCell(QString before, QString after, Write write)
        : before_(std::move(before)), after_(std::move(after)), write_(std::move(write)) {}
    void redo() override { write_(after_); }
    void undo() override { write_(before_); }

  private:
    QString before_;
    QString after_;
    Write write_;
};

}  // namespace

RunPage::RunPage(QWidget* parent)
    : QWidget(parent),
      watch_(new RunWatch(this)),
      process_(new RunProcess(this)),
      table_(new RunTable(this)),
      sorted_(new QSortFilterProxyModel(this)),
      edits_(new QUndoStack(this)),
      timer_(new QTimer(this)),
      title_(named(new QLabel(this), "run_title")),
      base_(named(new QLineEdit(this), "run_base")),
      limits_(named(new QLineEdit(this), "run_limits")),
      jobs_(named(new QSpinBox(this), "run_jobs")),
      run_button_(named(new QPushButton(tr("&Run what is not done"), this), "run_rest")),
      selected_button_(named(new QPushButton(tr("Run selected a&new"), this), "run_selected")),
      stop_button_(named(new QPushButton(tr("S&top"), this), "run_stop")),
      summary_button_(named(new QPushButton(tr("S&ummary"), this), "run_summary")),
      open_button_(named(new QPushButton(tr("O&pen point"), this), "run_open_point")),
      page_button_(named(new QPushButton(tr("Check pa&ge"), this), "run_page")),
      progress_(named(new QProgressBar(this), "run_progress")),
      state_(named(new QLabel(this), "run_state")),
      problems_(named(new QListWidget(this), "run_problems")),
      view_(named(new QTableView(this), "run_table")),
      figure_(named(new QComboBox(this), "run_figure")),
      trend_(new TrendPlot(this)) {
    setObjectName(QStringLiteral("RunPage"));
    auto* parts = new QSplitter(Qt::Vertical, this);
    parts->addWidget(table_part());
    parts->addWidget(trend_part());
    parts->setStretchFactor(0, 3);
    parts->setStretchFactor(1, 1);
    auto* column = new QVBoxLayout(this);
    column->addWidget(file_row());
    column->addWidget(run_row());
    column->addWidget(problems_);
    column->addWidget(parts, 1);
    problems_->hide();
    connect_parts();
    refresh_buttons();
}

RunPage::~RunPage() {
    for (QLineEdit* edit : {base_, limits_})
        edit->disconnect(this);  // it loses the focus when the window goes
}

QWidget* RunPage::file_row() {
    auto* row = new QWidget(this);
    auto* grid = new QGridLayout(row);
    grid->setContentsMargins(0, 0, 0, 0);
    base_->setPlaceholderText(tr("named in the table, or beside it"));
    base_->setToolTip(tr("Project whose settings hold for what the table leaves empty"));
    limits_->setPlaceholderText(tr("such as rms_px=0.5 coverage=0.3"));
    limits_->setToolTip(
        tr("Points beyond a limit count as not done; saturated=0.01 holds unless given otherwise"));
    auto* base_label = new QLabel(tr("&Base project:"), row);
    base_label->setBuddy(base_);
    auto* limits_label = new QLabel(tr("&Limits:"), row);
    limits_label->setBuddy(limits_);
    title_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    grid->addWidget(title_, 0, 0, 1, 4);
    grid->addWidget(base_label, 1, 0);
    grid->addWidget(base_, 1, 1);
    grid->addWidget(limits_label, 1, 2);
    grid->addWidget(limits_, 1, 3);
    grid->setColumnStretch(1, 3);
    grid->setColumnStretch(3, 2);
    return row;
}

QWidget* RunPage::run_row() {
    auto* row = new QWidget(this);
    auto* grid = new QGridLayout(row);
    grid->setContentsMargins(0, 0, 0, 0);
    run_button_->setDefault(true);
    run_button_->setToolTip(
        tr("Points that are done and whose settings and files are the same "
           "are left out"));
    selected_button_->setToolTip(tr("Compute the selected points, done or not"));
    summary_button_->setToolTip(tr("Write summary.csv and index.html, and show that page"));
    open_button_->setToolTip(tr("Open the selected point in the experiment page"));
    page_button_->setToolTip(tr("Show the check page of the selected point"));
    jobs_->setRange(0, 256);
    jobs_->setSpecialValueText(tr("one for each core"));
    jobs_->setToolTip(tr("Points at a time"));
    auto* jobs_label = new QLabel(tr("At a &time:"), row);
    jobs_label->setBuddy(jobs_);
    int column = 0;
    for (QWidget* widget :
         std::initializer_list<QWidget*>{run_button_, selected_button_, stop_button_, jobs_label,
                                         jobs_, open_button_, page_button_, summary_button_})
        grid->addWidget(widget, 0, column++);
    grid->setColumnStretch(column, 1);
    grid->addWidget(state_, 1, 0, 1, 5);
    grid->addWidget(progress_, 1, 5, 1, column - 4);
    state_->setWordWrap(true);
    progress_->hide();
    return row;
}

QWidget* RunPage::table_part() {
    sorted_->setSourceModel(table_);
    sorted_->setSortRole(RunTable::sort_role);
    sorted_->setDynamicSortFilter(false);
    view_->setModel(sorted_);
    view_->setSortingEnabled(true);
    view_->sortByColumn(-1, Qt::AscendingOrder);  // as the table stands
    view_->setSelectionBehavior(QAbstractItemView::SelectRows);
    view_->setEditTriggers(QAbstractItemView::EditKeyPressed | QAbstractItemView::DoubleClicked);
    view_->setIconSize({picture_side, picture_side});
    view_->horizontalHeader()->setDefaultAlignment(Qt::AlignCenter |
                                                   Qt::Alignment(Qt::TextWordWrap));
    constexpr int lines = 3;  // of the figures' heads
    view_->horizontalHeader()->setFixedHeight(lines * fontMetrics().lineSpacing() + 8);
    view_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    view_->verticalHeader()->setDefaultSectionSize(picture_side + 6);
    view_->setWordWrap(false);
    view_->setAlternatingRowColors(true);
    return view_;
}

QWidget* RunPage::trend_part() {
    auto* part = new QWidget(this);
    auto* row = new QHBoxLayout(part);
    row->setContentsMargins(0, 0, 0, 0);
    figure_->setMinimumContentsLength(24);
    figure_->setToolTip(tr("Figure to be followed along the run"));
    figure_->setAccessibleName(figure_->toolTip());
    row->addWidget(figure_, 0, Qt::AlignTop);
    row->addWidget(trend_, 1);
    return part;
}

void RunPage::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // On a small screen the points come first.
    trend_->parentWidget()->setVisible(height() > 30 * fontMetrics().lineSpacing());
}

void RunPage::connect_parts() {
    connect(watch_, &RunWatch::finished, this, &RunPage::take);
    connect(process_, &RunProcess::told, this, &RunPage::take_line);
    connect(process_, &RunProcess::ended, this, &RunPage::process_ended);
    connect(table_, &RunTable::edited, this, &RunPage::edit_cell);
    connect(timer_, &QTimer::timeout, this, &RunPage::look);
    connect(run_button_, &QPushButton::clicked, this, &RunPage::compute_rest);
    connect(selected_button_, &QPushButton::clicked, this, &RunPage::compute_selected);
    connect(stop_button_, &QPushButton::clicked, this, [this] {
        process_->stop();
        state_->setText(tr("Stopping ..."));
    });
    connect(summary_button_, &QPushButton::clicked, this, &RunPage::summarise);
    connect(open_button_, &QPushButton::clicked, this, &RunPage::open_point);
    connect(page_button_, &QPushButton::clicked, this, &RunPage::show_page);
    for (QLineEdit* edit : {base_, limits_})
        connect(edit, &QLineEdit::editingFinished, this, [this, edit] {
            if (edit->isModified()) read_again();
            edit->setModified(false);
        });
    connect(figure_, QOverload<int>::of(&QComboBox::activated), this, &RunPage::refresh_trend);
    connect(trend_, &TrendPlot::chosen, this, &RunPage::go_to);
    connect(view_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &RunPage::refresh_buttons);
    connect(view_, &QTableView::doubleClicked, this, [this](const QModelIndex& index) {
        if (index.column() == RunTable::state_column) open_point();
    });
    QAction* undo = edits_->createUndoAction(this);
    undo->setShortcut(QKeySequence::Undo);
    QAction* redo = edits_->createRedoAction(this);
    redo->setShortcut(QKeySequence::Redo);
    for (QAction* action : {undo, redo}) {
        action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
        addAction(action);
    }
}

const RunView* RunPage::run() const {
    return run_.get();
}

void RunPage::open(const QString& table, const QString& default_base) {
    if (table != file_) {
        base_->clear();
        edits_->clear();
    }
    file_ = QFileInfo(table).absoluteFilePath();
    default_base_ = default_base;
    title_->setText(tr("Reading %1 ...").arg(file_));
    read_again();
    timer_->start(pause_idle_ms);
}

void RunPage::make_new(const QString& default_base) {
    NewRunDialog dialog(default_base, this);
    if (dialog.exec() == QDialog::Accepted) open(dialog.table_file(), default_base);
}

void RunPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    look();
}

FigureLimits RunPage::limits() {
    FigureLimits limits = usual_limits();
    attempt(this, tr("Run"), [&] {
        for (const QString& text : limit_arguments())
            if (text != QLatin1String("--limit")) parse_limit(text.toStdString(), limits);
    });
    return limits;
}

QStringList RunPage::limit_arguments() const {
    QStringList arguments;
    static const QRegularExpression gaps(QStringLiteral("[\\s;]+"));
    for (const QString& text : limits_->text().split(gaps, Qt::SkipEmptyParts))
        arguments << QStringLiteral("--limit") << text;
    return arguments;
}

QStringList RunPage::named_places() const {
    QStringList arguments{file_};
    if (!base_->text().isEmpty()) arguments << QStringLiteral("--base") << base_->text();
    return arguments;
}

void RunPage::read_again() {
    if (file_.isEmpty()) return;
    watch_->read(file_.toStdString(), {base_->text().toStdString(), {}}, limits());
}

void RunPage::take(const std::shared_ptr<const RunView>& run, const QString& failure) {
    if (!run) {
        title_->setText(tr("<b>%1</b> cannot be read").arg(file_.toHtmlEscaped()));
        problems_->clear();
        problems_->addItem(failure);
        problems_->show();
        run_ = nullptr;
        table_->set_run(nullptr);
        refresh_buttons();
        return;
    }
    const bool no_base = std::ranges::any_of(run->schedule.problems, [](const Problem& problem) {
        return problem.text.starts_with("no base project");
    });
    if (no_base && base_->text().isEmpty() && !default_base_.isEmpty()) {
        base_->setText(default_base_);
        read_again();
        return;
    }
    const int columns = table_->columnCount();
    run_ = run;
    table_->set_run(run);
    title_->setText(
        tr("<b>%1</b>, results in %2")
            .arg(file_.toHtmlEscaped(),
                 QString::fromStdString(run->schedule.results.string()).toHtmlEscaped()));
    if (table_->columnCount() != columns) size_columns();
    show_problems(*run);
    refresh_trend();
    refresh_buttons();
    if (!process_->is_running())
        state_->setText(QString::fromStdString(summary_line(run->statuses)));
}

void RunPage::size_columns() {
    constexpr int widest = 260;
    constexpr int figure_width = 120;  // its head takes several lines
    const int cells = run_ ? static_cast<int>(run_->schedule.table.heads.size()) : 0;
    view_->resizeColumnsToContents();
    view_->setColumnWidth(RunTable::state_column, picture_side + 100);
    for (int column = 1; column < table_->columnCount(); ++column)
        view_->setColumnWidth(
            column, column > cells ? figure_width : std::min(widest, view_->columnWidth(column)));
    view_->setColumnWidth(table_->columnCount() - 1, 2 * widest);
}

void RunPage::show_problems(const RunView& run) {
    constexpr std::size_t most = 500;
    problems_->clear();
    std::vector<Problem> problems = run.schedule.problems;
    problems.insert(problems.end(), run.missing.begin(), run.missing.end());
    for (std::size_t i = 0; i < std::min(problems.size(), most); ++i)
        problems_->addItem(QString::fromStdString(line_of(problems[i])));
    if (problems.size() > most)
        problems_->addItem(tr("and %n more", nullptr, static_cast<int>(problems.size() - most)));
    constexpr int most_lines = 6;
    problems_->setFixedHeight(std::min(problems_->count(), most_lines) *
                                  problems_->sizeHintForRow(0) +
                              2 * problems_->frameWidth());
    problems_->setVisible(!problems.empty());
}

void RunPage::look() {
    timer_->setInterval(process_->is_running() ? pause_computing_ms : pause_idle_ms);
    if (!run_ || (!isVisible() && !process_->is_running())) return;
    watch_->look(run_);
}

void RunPage::refresh_buttons() {
    const bool idle = !process_->is_running();
    const bool sound = run_ && run_->schedule.problems.empty() && !run_->schedule.points.empty();
    const std::vector<int> selected = selected_points();
    run_button_->setEnabled(idle && sound);
    selected_button_->setEnabled(idle && sound && !selected.empty());
    stop_button_->setEnabled(!idle && !summarising_);
    summary_button_->setEnabled(idle && sound);
    const bool one = selected.size() == 1;
    open_button_->setEnabled(one);
    page_button_->setEnabled(one);
}

void RunPage::refresh_trend() {
    if (!run_) return trend_->show_nothing();
    std::vector<const FigureInfo*> known = table_->figures();
    const QString chosen = figure_->currentData().toString();
    if (figure_->count() != static_cast<int>(known.size())) {
        figure_->clear();
        for (const FigureInfo* figure : known)
            figure_->addItem(QString::fromStdString(std::string(figure->label)),
                             QString::fromStdString(std::string(figure->name)));
        figure_->setCurrentIndex(
            std::max(0, figure_->findData(chosen.isEmpty() ? QStringLiteral("rms_px") : chosen)));
    }
    if (known.empty()) return trend_->show_nothing();
    trend_->show_figure(*run_, *known[static_cast<std::size_t>(figure_->currentIndex())]);
}

void RunPage::compute(const QStringList& further) {
    if (!run_ || process_->is_running()) return;
    QStringList arguments{QStringLiteral("schedule"), QStringLiteral("run")};
    arguments += named_places();
    arguments << QStringLiteral("--jobs") << QString::number(jobs_->value());
    arguments += limit_arguments();
    arguments += further;
    progress_->setRange(0, 0);
    progress_->show();
    state_->setText(tr("Computing ..."));
    process_->start(arguments);
    timer_->start(pause_computing_ms);
    refresh_buttons();
}

void RunPage::compute_rest() {
    compute({QStringLiteral("--resume")});
}

void RunPage::compute_selected() {
    QStringList names;
    for (const int point : selected_points())
        names << QStringLiteral("--only")
              << QString::fromStdString(
                     run_->schedule.points[static_cast<std::size_t>(point)].name);
    if (!names.isEmpty()) compute(names);
}

void RunPage::summarise() {
    if (!run_ || process_->is_running()) return;
    summarising_ = true;
    QStringList arguments{QStringLiteral("--quiet"), QStringLiteral("schedule"),
                          QStringLiteral("summary")};
    state_->setText(tr("Summing up ..."));
    process_->start(arguments + named_places() + limit_arguments());
    refresh_buttons();
}

void RunPage::take_line(const QString& line) {
    get_log().write(LogLevel::information, line.toStdString());
    static const QRegularExpression place(QStringLiteral("^\\[(\\d+)/(\\d+)\\] (.*)$"));
    const QRegularExpressionMatch match = place.match(line);
    if (!match.hasMatch()) return;
    progress_->setRange(0, match.captured(2).toInt());
    progress_->setValue(match.captured(1).toInt());
    progress_->setFormat(tr("%v of %m"));
    state_->setText(match.captured(3));
}

void RunPage::process_ended(const QString& failure) {
    progress_->hide();
    if (!failure.isEmpty()) report_failure(this, tr("Run"), failure);
    if (summarising_ && failure.isEmpty() && run_) show_file(run_->schedule.results / "index.html");
    summarising_ = false;
    refresh_buttons();
    read_again();
}

std::vector<int> RunPage::selected_points() const {
    std::set<int> points;
    for (const QModelIndex& index : view_->selectionModel()->selectedRows())
        points.insert(sorted_->mapToSource(index).row());
    return {points.begin(), points.end()};
}

void RunPage::open_point() {
    const std::vector<int> points = selected_points();
    if (points.size() != 1 || !run_) return;
    const Schedule& schedule = run_->schedule;
    const auto& point = schedule.points[static_cast<std::size_t>(points.front())];
    attempt(this, tr("Run"), [&] {
        Q_EMIT point_wanted(QString::fromStdString(project_of_point(schedule, point).string()));
    });
}

void RunPage::show_page() {
    const std::vector<int> points = selected_points();
    if (points.size() != 1 || !run_) return;
    const auto& point = run_->schedule.points[static_cast<std::size_t>(points.front())];
    show_file(run_->schedule.folder_of(point) / "page.html");
}

void RunPage::show_file(const std::filesystem::path& file) {
    const QString name = QString::fromStdString(file.string());
    if (!QFileInfo::exists(name))
        report_failure(this, tr("Run"), tr("There is no %1 yet.").arg(name));
    else if (!QDesktopServices::openUrl(QUrl::fromLocalFile(name)))
        report_failure(this, tr("Run"), tr("Nothing on this computer shows %1.").arg(name));
}

void RunPage::go_to(int point) {
    if (point < 0 || point >= table_->rowCount()) return;
    const QModelIndex index = sorted_->mapFromSource(table_->index(point, 0));
    view_->selectRow(index.row());
    view_->scrollTo(index);
}

void RunPage::edit_cell(int row, int column, const QString& text) {
    if (!run_) return;
    const TableRow& old = run_->schedule.table.rows[static_cast<std::size_t>(row)];
    const QString before = QString::fromStdString(old.cells[static_cast<std::size_t>(column)]);
    edits_->push(new EditCell(
        before, text, [this, row, column](const QString& now) { write_cell(row, column, now); }));
}

void RunPage::write_cell(int row, int column, const QString& text) {
    attempt(this, tr("Run"), [&] {
        if (!run_) return;
        const std::filesystem::path file = file_.toStdString();
        if (file_sha256(file) != run_->schedule.digest)
            throw FileError("File error!", file.string() +
                                               " changed since it was read; nothing was written, "
                                               "the table is read again");
        Table table = run_->schedule.table;
        table.rows.at(static_cast<std::size_t>(row)).cells.at(static_cast<std::size_t>(column)) =
            text.toStdString();
        write_file(file, csv_text(table));
        // Until it is read again the page goes by what was written.
        auto written = std::make_shared<RunView>(*run_);
        written->schedule.table = std::move(table);
        written->schedule.digest = file_sha256(file);
        run_ = written;
    });
    read_again();
}

}  // namespace vyn
