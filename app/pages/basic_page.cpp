#include "app/pages/basic_page.h"

#include <QElapsedTimer>
#include <QGroupBox>
#include <QInputDialog>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "align/ui/align_dialog.h"
#include "app/pages/card_grid.h"
#include "app/pages/elided_label.h"
#include "app/pages/file_choice.h"
#include "app/pages/image_card.h"
#include "app/pages/input_row.h"
#include "app/pages/page_parts.h"
#include "app/pages/results_list.h"
#include "calib/ui/camera_dialog.h"
#include "calib/ui/convert_dialog.h"
#include "calib/ui/paint_dialog.h"
#include "calib/ui/test_dialog.h"
#include "process/likely_places.h"
#include "process/option_summary.h"
#include "process/page_steps.h"
#include "process/set_input_task.h"

namespace vyn {

BasicPage::BasicPage(Worker& worker, QWidget* parent)
    : ExperimentPage(parent),
      worker_(worker),
      watcher_(new PageWatcher(this)),
      scroll_(new QScrollArea(this)) {
    scroll_->setWidgetResizable(true);
    scroll_->setFrameShape(QFrame::NoFrame);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins(0, 0, 0, 0);
    whole->addWidget(scroll_);
    connect(watcher_, &PageWatcher::looked, this, &BasicPage::show_look);
    build(experiment_type(vyn_db()));
    watcher_->start();
}

BasicPage::~BasicPage() = default;

void BasicPage::build(ExperimentType type) {
    type_ = type;
    cards_.clear();
    flats_.clear();
    steps_.clear();
    summaries_.clear();

    auto* content = new QWidget(scroll_);
    auto* grid = new CardGrid(content);
    for (const PageCard& card : page_cards(type)) {
        cards_.push_back(new ImageCard(card, grid));
        grid->add(cards_.back());
        for (InputRow* row : cards_.back()->rows())
            connect_row(row);
        connect(cards_.back(), &ImageCard::view_wanted, this, &BasicPage::view);
        connect(cards_.back(), &ImageCard::settings_changed, this, &BasicPage::project_changed);
    }
    grid->add(camera_group());
    grid->add(option_group());
    grid->add(step_group());
    results_ = new ResultsList(type, grid);
    grid->add(results_);
    connect(results_, &ResultsList::view_wanted, this, &BasicPage::view);

    remarks_ = new QLabel(content);
    remarks_->setObjectName(QStringLiteral("remarks"));
    remarks_->setWordWrap(true);
    remarks_->setTextFormat(Qt::RichText);
    remarks_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* layout = new QVBoxLayout(content);
    layout->addWidget(grid);
    layout->addWidget(remarks_);
    layout->addStretch(1);
    scroll_->setWidget(content);
}

void BasicPage::add_record(QWidget* group, QPushButton* button, std::string (*summary)()) {
    auto* grid = static_cast<QGridLayout*>(group->layout());
    auto* label = new ElidedLabel(Qt::ElideRight, group);
    summaries_.push_back({label, summary});
    const int line = grid->rowCount();
    grid->addWidget(button, line, 0);
    grid->addWidget(label, line, 1);
}

QWidget* BasicPage::camera_group() {
    auto* group = new QGroupBox(tr("Camera and paint"), this);
    auto* grid = new QGridLayout(group);
    grid->setColumnStretch(1, 1);
    const std::vector<PageRow> flats = flat_rows(type_);
    for (std::size_t i = 0; i < flats.size(); ++i) {
        const bool signal = i == 0;
        auto* camera = text_button(signal ? "cam_sens_btn" : "cam_refe_btn",
                                   signal ? tr("Ca&mera...") : tr("&Reference camera..."), group);
        const std::string_view tree = flats[i].input.raw->camera;
        connect(camera, &QPushButton::clicked, this, [this, tree] { open_camera(tree); });
        add_record(
            group, camera,
            signal ? +[] { return camera_summary(vyn_db(), keys::sens_camera); }
                   : +[] { return camera_summary(vyn_db(), keys::refe_camera); });
        auto* row = new InputRow(flats[i], group);
        flats_.push_back(row);
        connect_row(row);
        connect(row, &InputRow::view_wanted, this,
                [this, image = flats[i].input.image] { view(image); });
        const int line = grid->rowCount();
        grid->addWidget(new QLabel(tr("%1:").arg(QString::fromStdString(flats[i].label)), group),
                        line, 0);
        grid->addWidget(row, line, 1);
    }
    auto* paint = text_button("sens_paint_btn", tr("&Paint..."), group);
    connect(paint, &QPushButton::clicked, this, [this] {
        QVynPaint dialog(vyn_db(), this);
        run_dialog(dialog);
    });
    add_record(group, paint, [] { return paint_summary(vyn_db()); });
    grid->setRowStretch(grid->rowCount(), 1);
    return group;
}

QWidget* BasicPage::option_group() {
    auto* group = new QGroupBox(tr("Conditions and options"), this);
    auto* grid = new QGridLayout(group);
    grid->setColumnStretch(1, 1);
    auto* test = text_button("test_btn", tr("&Test conditions..."), group);
    connect(test, &QPushButton::clicked, this, [this] {
        QVynTest dialog(vyn_db(), this);
        run_dialog(dialog);
    });
    add_record(group, test, [] { return conditions_summary(vyn_db()); });
    auto* align = text_button("align_btn", tr("Ali&gnment and filters..."), group);
    connect(align, &QPushButton::clicked, this, [this] {
        QVynAlign dialog(vyn_db(), this);
        run_dialog(dialog);
    });
    add_record(group, align, [] { return alignment_summary(vyn_db()); });
    auto* convert = text_button("convert_btn", tr("Con&vert..."), group);
    connect(convert, &QPushButton::clicked, this, [this] {
        QVynConvert dialog(vyn_db(), this);
        run_dialog(dialog);
    });
    add_record(group, convert, [] { return conversion_summary(vyn_db()); });
    grid->setRowStretch(grid->rowCount(), 1);
    return group;
}

QPushButton* BasicPage::step_button(PageStep step, const char* object_name, const QString& text,
                                    const QString& tip, QWidget* group) {
    auto* button = text_button(object_name, text, group);
    connect(button, &QPushButton::clicked, this, [this, step] { run_step(step); });
    steps_.push_back({step, button, tip});
    return button;
}

QWidget* BasicPage::step_group() {
    auto* group = new QGroupBox(tr("Calculate"), this);
    auto* column = new QVBoxLayout(group);
    column->addWidget(step_button(
        PageStep::correct_wind_off, "calc_wind_off_btn", tr("Calculate corrected Wind-&off image"),
        tr("Dark level, dark image, flat field and lens distortion"), group));
    column->addWidget(step_button(
        PageStep::correct_wind_on, "calc_wind_on_btn", tr("Calculate corrected Wind-o&n image"),
        tr("Dark level, dark image, flat field and lens distortion"), group));
    column->addWidget(step_button(PageStep::ratio, "calc_ratio_btn",
                                  tr("Align and calculate &I/Iref"),
                                  tr("Moves wind-on to wind-off and divides the images"), group));
    column->addWidget(step_button(PageStep::field, "calc_field_btn", tr("Calculate fi&eld"),
                                  tr("Converts I/Iref by the paint's law"), group));
    auto* last = new QHBoxLayout;
    auto* all = step_button(PageStep::all, "calc_all_btn", tr("Calculate &All"),
                            tr("All steps one after another; results are not saved"), group);
    QFont bold = all->font();
    bold.setBold(true);
    all->setFont(bold);
    last->addWidget(all, 1);
    last->addWidget(
        step_button(PageStep::save_field, "save_field_btn", tr("&Save field"),
                    tr("Writes the field and its markers into the project directory"), group),
        1);
    column->addLayout(last);
    run_state_ = new QLabel(group);
    run_state_->setObjectName(QStringLiteral("run_state"));
    run_state_->setWordWrap(true);
    run_state_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    column->addWidget(run_state_);
    column->addStretch(1);
    return group;
}

void BasicPage::connect_row(InputRow* row) {
    const PageRow place = row->row();
    connect(row, &InputRow::select_wanted, this, [this, place] { select_file(place); });
    connect(row, &InputRow::chosen, this,
            [this, place](const QString& file) { put_file(place.input, file.toStdString()); });
    connect(row, &InputRow::remove_wanted, this, [this, place] { put_file(place.input, {}); });
    connect(row, &InputRow::reload_wanted, this,
            [this, place] { put_file(place.input, read(vyn_db(), place.input.file)); });
}

void BasicPage::refresh() {
    if (experiment_type(vyn_db()) != type_) build(experiment_type(vyn_db()));
    last_run_.clear();
    watcher_->look();
}

void BasicPage::show_look(const std::shared_ptr<const PageLook>& look) {
    if (look->state.type != type_) return;
    for (ImageCard* card : cards_)
        card->show_look(*look);
    for (InputRow* row : flats_)
        row->show_state(look->state.rows.at(row->row().stem));
    results_->show_look(*look);
    for (const StepButton& step : steps_)
        set_need(*step.button, look->state.needs[static_cast<std::size_t>(step.step)], step.tip);
    for (const Summary& summary : summaries_) {
        const QString text = QString::fromStdString(summary.text());
        summary.label->set_text(text);
        summary.label->setToolTip(wrapped(text));
    }
    show_remarks(look->state);
    for (const ResultEntry& result : look->state.results)
        Q_EMIT result_looked_at(result.image, result.state.kind == ImageState::Kind::out_of_date,
                                QString::fromStdString(result.state.reason));
}

void BasicPage::show_remarks(const PageState& state) {
    QString text;
    const auto add = [&](const std::string& remark) {
        text += QStringLiteral("<li>%1</li>").arg(QString::fromStdString(remark).toHtmlEscaped());
    };
    for (const std::string& remark : state.remarks)
        add(remark);
    if (report_)
        for (const std::string& warning : report_->warnings)
            add(tr("Last run: %1").arg(QString::fromStdString(warning)).toStdString());
    remarks_->setText(text.isEmpty() ? text : QStringLiteral("<ul>%1</ul>").arg(text));
    run_state_->setText(last_run_);
    QPalette colours = palette();
    if (last_run_failed_) colours.setColor(QPalette::WindowText, warning_colour(colours));
    run_state_->setPalette(colours);
}

QBusyBox& BasicPage::busy_box() {
    if (!busy_box_) busy_box_ = std::make_unique<QBusyBox>(worker_, this);
    return *busy_box_;
}

TaskOutcome BasicPage::run(const std::shared_ptr<Job>& job) {
    QElapsedTimer clock;
    clock.start();
    const TaskOutcome outcome = busy_box().run(job);
    const QString failure = QString::fromStdString(busy_box().failure());
    last_run_failed_ = outcome >= TaskOutcome::done_with_errors;
    switch (outcome) {
        case TaskOutcome::idle:
        case TaskOutcome::done:
            last_run_ =
                tr("Done in %1 s.").arg(static_cast<double>(clock.elapsed()) / 1000, 0, 'f', 1);
            break;
        case TaskOutcome::done_with_errors:
            last_run_ = tr("Done, but the images could not be aligned.");
            break;
        case TaskOutcome::failed:
            last_run_ = tr("Failed: %1").arg(failure.isEmpty() ? tr("see the log") : failure);
            break;
        case TaskOutcome::aborted:
            last_run_ = tr("Aborted.");
            break;
    }
    watcher_->look();
    Q_EMIT project_changed();
    return outcome;
}

void BasicPage::run_step(PageStep step) {
    auto report = std::make_shared<RunReport>();
    const auto job = page_job(step, vyn_db(), get_images(), report);
    if (job->empty()) {
        last_run_ = QString::fromStdString(missing_for(step, vyn_db(), get_images()));
        last_run_failed_ = true;
        watcher_->look();
        return;
    }
    if (step != PageStep::save_field) report_ = report;
    run(job);
}

void BasicPage::calculate_all() {
    run_step(PageStep::all);
}

void BasicPage::select_file(const PageRow& row) {
    const QString caption = tr("Select %1").arg(QString::fromStdString(place_label(type_, row)));
    if (const std::string file = choose_input(this, row.input, caption); !file.empty())
        put_file(row.input, file);
}

void BasicPage::put_file(const InputFile& input, const std::string& file) {
    auto job = std::make_shared<Job>();
    job->append(std::make_unique<SetInputTask>(input, file));
    run(job);
}

bool BasicPage::take_image_file(const QString& file) {
    const std::vector<PageRow> places = likely_places(type_, file.toStdString());
    if (places.empty()) return false;
    std::size_t chosen = 0;
    if (places.size() > 1) {
        QStringList labels;
        for (const PageRow& place : places)
            labels << QString::fromStdString(place_label(type_, place));
        bool accepted = false;
        const QString label = QInputDialog::getItem(
            this, tr("Image file"), tr("What is %1?").arg(QFileInfo(file).fileName()), labels, 0,
            /*editable=*/false, &accepted);
        if (!accepted) return true;
        chosen = static_cast<std::size_t>(labels.indexOf(label));
    }
    put_file(places[chosen].input, file.toStdString());
    return true;
}

void BasicPage::view(const std::string& image) {
    Q_EMIT show_image(image, is_camera_file(image),
                      QString::fromStdString(image_label(type_, image)));
}

bool BasicPage::run_dialog(QDialog& dialog) {
    if (dialog.exec() != QDialog::Accepted) return false;
    watcher_->look();
    Q_EMIT project_changed();
    return true;
}

void BasicPage::open_camera(std::string_view tree) {
    const bool signal = tree == keys::sens_camera;
    const InputFile& flat =
        *input_of_image(signal ? image_names::flat_sens : image_names::flat_refe);
    const std::string before = read(vyn_db(), flat.file);
    QVynCamera dialog(vyn_db(), std::string(tree), this);
    if (!run_dialog(dialog)) return;
    if (const std::string now = read(vyn_db(), flat.file); now != before) put_file(flat, now);
}

}  // namespace vyn
