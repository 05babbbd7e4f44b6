#include "app/pages/basic_page.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QInputDialog>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QVBoxLayout>

#include "app/pages/field_preview.h"
#include "app/pages/file_choice.h"
#include "app/pages/image_card.h"
#include "app/pages/input_row.h"
#include "app/pages/page_parts.h"
#include "app/pages/record_group.h"
#include "app/pages/results_list.h"
#include "app/pages/saturation_row.h"
#include "app/pages/step_group.h"
#include "app/point_check_dialog.h"
#include "calib/ui/camera_calibration/camera_calibration_dialog.h"
#include "calib/ui/camera_dialog.h"
#include "calib/ui/in_situ_dialog.h"
#include "calib/ui/paint_dialog.h"
#include "core/ui/command.h"
#include "core/ui/wording.h"
#include "process/page/likely_places.h"
#include "process/page/page_steps.h"
#include "process/page/user_words.h"
#include "process/point/marker_frames.h"
#include "process/point/missing_files.h"
#include "process/point/save_image_task.h"
#include "process/point/set_input_task.h"
#include "process/point/unsaved_work.h"
#include "view/ui/markers/marker_file_dialogs.h"

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

void BasicPage::refresh() {
    if (experiment_type(vyn_db()) != type_) build(experiment_type(vyn_db()));
    last_run_.clear();
    watcher_->look();
}

void BasicPage::show_look(const std::shared_ptr<const PageLook>& look) {
    if (look->state.type != type_) return;
    for (ImageCard* card : cards_)
        card->show_look(*look);
    for (InputRow* row : image_rows_)
        row->show_state(look->state.rows.at(row->row().stem));
    mesh_row_->show_state(look->state.mesh);
    model_markers_row_->show_state(look->state.model_markers);
    results_->show_look(
        *look,
        report_ ? QString::fromStdString(user_words(type_, unaligned_text(*report_))) : QString());
    const auto field = look->previews.find(image_names::field);
    field_->show_field(field == look->previews.end() ? Thumbnail() : field->second,
                       watcher_->field_palette());
    steps_->show_needs(look->state.needs);
    steps_->show_run(last_run_, last_run_failed_);
    for (RecordGroup* group : records_)
        group->show_summaries();
    saturation_->show_settings();
    show_remarks(look->state);
    for (const ResultEntry& result : look->state.results)
        Q_EMIT result_looked_at(result.image, result.state.kind == ImageState::Kind::out_of_date,
                                QString::fromStdString(result.state.reason));
}

void BasicPage::show_remarks(const PageState& state) {
    const std::vector<Remark> remarks =
        with_warnings(state.remarks, report_ ? report_->warnings : std::vector<Warning>(), type_);
    QString text;
    for (const Remark& remark : remarks) {
        const bool warns = remark.kind == Remark::Kind::warning;
        const QString words = QString::fromStdString(remark.text).toHtmlEscaped();
        text += QStringLiteral("<tr><td><b>%1</b></td><td>%2</td></tr>")
                    .arg(warns ? QStringLiteral("<font color=\"%1\">\u26a0</font>")
                                     .arg(warning_colour(palette()).name())
                               : QStringLiteral("\u2139"),
                         warns ? QStringLiteral("<font color=\"%1\">%2</font>")
                                     .arg(warning_colour(palette()).name(), words)
                               : words);
    }
    if (!text.isEmpty()) text = QStringLiteral("<table cellspacing=\"3\">%1</table>").arg(text);
    // Setting the same text again would undo the user's selection.
    if (text != remarks_->text()) remarks_->setText(text);
}

QBusyBox& BasicPage::busy_box() {
    if (!busy_box_) busy_box_ = std::make_unique<QBusyBox>(worker_, this);
    return *busy_box_;
}

QString BasicPage::answer_to(TaskOutcome outcome, const QString& done, double seconds) {
    const auto words = [this](const std::string& text) {
        return QString::fromStdString(user_words(type_, text));
    };
    switch (outcome) {
        case TaskOutcome::idle:
        case TaskOutcome::done:
            break;
        case TaskOutcome::done_with_errors:
            return tr("%1, but %2")
                .arg(done, report_ ? words(unaligned_text(*report_)) : tr("with errors"));
        case TaskOutcome::failed:
            return tr("Failed: %1")
                .arg(busy_box().failure().empty() ? tr("see the log")
                                                  : words(busy_box().failure()));
        case TaskOutcome::aborted:
            return tr("Aborted.");
    }
    const QString timed = tr("%1 in %2 s").arg(done).arg(seconds, 0, 'f', 1);
    const std::string found = report_ ? alignment_in_short(*report_) : std::string();
    return found.empty() ? timed + QLatin1Char('.')
                         : timed + QStringLiteral(": ") + QString::fromStdString(found);
}

TaskOutcome BasicPage::run(const std::shared_ptr<Job>& job, const QString& done) {
    QElapsedTimer clock;
    clock.start();
    const TaskOutcome outcome = busy_box().run(job);
    last_run_failed_ = outcome >= TaskOutcome::done_with_errors;
    last_run_ = answer_to(outcome, done, static_cast<double>(clock.elapsed()) / 1000);
    if (last_run_failed_) scroll_->ensureWidgetVisible(steps_);
    Q_EMIT answered(last_run_, last_run_failed_);
    watcher_->look();
    Q_EMIT project_changed();
    return outcome;
}

void BasicPage::take_report(std::shared_ptr<const RunReport> report) {
    report_ = std::move(report);
    watcher_->look();
}

/// A single step adds to what the steps before it reported.
std::shared_ptr<RunReport> BasicPage::report_for(PageStep step) const {
    auto report = std::make_shared<RunReport>();
    if (!report_ || (step != PageStep::ratio && step != PageStep::field)) return report;
    *report = *report_;
    report->warnings.clear();
    if (step == PageStep::ratio) {
        report->aligned.reset();
        report->copied = false;
        report->alignment.reset();
        report->channels.reset();
        report->correlation.reset();
    }
    return report;
}

void BasicPage::open_in_situ() {
    form_calibr_single(worker_, this).exec();
    watcher_->look();
    Q_EMIT project_changed();
}

void BasicPage::show_trial(const RunReport& found) {
    if (!found.correlation) return;
    last_run_failed_ = !found.correlation->failure.empty();
    last_run_ = worded(last_run_failed_ ? found.correlation->failure
                                        : report_lines(*found.correlation).front());
    if (!last_run_failed_) view(image_names::displacement);
}

void BasicPage::run_step(PageStep step) {
    finish_editing(*this);
    if (step == PageStep::in_situ) return open_in_situ();
    if (step == PageStep::check)
        return show_point_check(busy_box(), report_ ? report_ : std::make_shared<const RunReport>(),
                                this);
    const auto report = report_for(step);
    const auto job = page_job(step, program_session(), report);
    if (job->empty()) {
        last_run_ = QString::fromStdString(missing_for(step, vyn_db(), get_images()));
        last_run_failed_ = true;
        Q_EMIT answered(last_run_, last_run_failed_);
        watcher_->look();
        return;
    }
    if (step == PageStep::save_field ? !may_replace_field() : !may_replace_results(step)) return;
    // A trial says nothing of how the present field was made.
    if (step != PageStep::save_field && step != PageStep::try_texture) report_ = report;
    const TaskOutcome outcome = run(
        job, step == PageStep::save_field
                 ? tr("Saved %1")
                       .arg(QString::fromStdString(field_files(program_session()).front().string()))
                 : tr("Calculated"));
    if (step == PageStep::try_texture && outcome <= TaskOutcome::done_with_errors)
        show_trial(*report);
}

bool BasicPage::may_replace_field() {
    QStringList present;
    for (const std::filesystem::path& file : field_files(program_session()))
        if (std::error_code ignored; std::filesystem::exists(file, ignored))
            present << QString::fromStdString(file.string());
    if (present.isEmpty()) return true;
    return QMessageBox::question(this, tr("Save field"),
                                 tr("Replace the old file?") + QStringLiteral("\n") +
                                     present.join(QLatin1Char('\n'))) == QMessageBox::Yes;
}

bool BasicPage::may_replace_results(PageStep step) {
    QStringList drawn;
    for (const auto& picture : unsaved_pictures(get_images()))
        if (!input_of_image(picture->name) &&
            replaces(step, {vyn_db(), get_images()}, picture->name))
            drawn << QString::fromStdString(image_label(type_, picture->name));
    return drawn.isEmpty() ||
           QMessageBox::question(
               this, tr("Calculate"),
               tr("Markers or masks drawn on these results are in no file and will be lost:\n%1\n"
                  "Calculate all the same?")
                   .arg(drawn.join(QStringLiteral(", ")))) == QMessageBox::Yes;
}

void BasicPage::load_pictures_anew() {
    auto job = std::make_shared<Job>();
    for (const PageCard& card : page_cards(type_))
        if (get_images().find(card.raw->name))
            job->append(std::make_unique<SetInputTask>(program_session(),
                                                       *input_of_image(card.raw->name),
                                                       read(vyn_db(), card.raw->file)));
    if (!job->empty()) run(job, tr("Loaded the pictures anew"));
}

void BasicPage::calculate_all() {
    run_step(PageStep::all);
}

void BasicPage::select_file(const PageRow& row) {
    const QString caption = tr("Select %1").arg(QString::fromStdString(place_label(type_, row)));
    if (const std::string file = choose_input(this, row.input, caption); !file.empty())
        put_file(row.input, file);
}

bool BasicPage::may_replace_input(const InputFile& input) {
    const bool camera = input.role == InputFile::Role::picture;
    QStringList drawn;
    for (const auto& picture : unsaved_pictures(get_images())) {
        const bool own = picture->name == input.image;
        const bool result = !input_of_image(picture->name);
        const bool goes =
            camera
                ? own || result
                : own &&
                      ((input.role == InputFile::Role::markers && picture->has_unsaved_markers()) ||
                       (input.role == InputFile::Role::mask &&
                        (picture->has_unsaved_mask() || picture->has_unsaved_markers())));
        if (goes) drawn << QString::fromStdString(image_label(type_, picture->name));
    }
    return drawn.isEmpty() ||
           QMessageBox::question(
               this, tr("Image file"),
               tr("Markers or masks drawn on these images are in no file and will "
                  "be lost:\n%1\nGo on all the same?")
                   .arg(drawn.join(QStringLiteral(", "))),
               QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
}

void BasicPage::save_markers(const InputFile& input) {
    const auto picture = get_images().find(input.image);
    if (!picture) return;
    const QString file = ask_marker_file_to_save(this, *picture, /*is_project_image=*/true);
    if (file.isEmpty()) return;
    image source = *picture;
    if (!settle_length_unit(this, file, source.markers)) return;
    attempt(this, tr("Markers"),
            [&] { save_image_markers(vyn_db(), get_images(), source, file.toStdString()); });
    watcher_->look();
    Q_EMIT project_changed();
}

void BasicPage::put_file(const InputFile& input, const std::string& file) {
    if (!may_replace_input(input)) return;
    auto job = std::make_shared<Job>();
    job->append(std::make_unique<SetInputTask>(program_session(), input, file));
    run(job, file.empty()
                 ? tr("Removed the file")
                 : tr("Loaded %1").arg(QFileInfo(QString::fromStdString(file)).fileName()));
}

void BasicPage::locate_file(const PageRow& row) {
    const QString lost =
        QFileInfo(QString::fromStdString(read(vyn_db(), row.input.file))).fileName();
    const std::string now = choose_input(this, row.input, tr("Locate %1").arg(lost));
    if (now.empty() || !may_replace_input(row.input)) return;
    const std::vector<PlacedFile> moved = find_moved_files(vyn_db(), row.input, now);
    auto job = std::make_shared<Job>();
    job->append(std::make_unique<PlaceFilesTask>(program_session(), moved));
    const int others = static_cast<int>(moved.size()) - 1;
    run(job, others == 0
                 ? tr("Loaded %1").arg(lost)
                 : tr("Loaded %1 and %n more that moved with it", nullptr, others).arg(lost));
}

bool BasicPage::take_record_file(const QString& file) {
    if (!is_record_file(file)) return false;
    if (!holds_camera(file)) {
        QVynPaint dialog(vyn_db(), this);
        if (dialog.open_file(file.toStdString())) run_dialog(dialog);
        return true;
    }
    std::string_view tree = keys::sens_camera;
    std::vector<std::pair<QString, std::string_view>> owners{{tr("Signal camera"), tree}};
    if (flat_rows(type_).size() > 1) owners.emplace_back(tr("Reference camera"), keys::refe_camera);
    if (!read(vyn_db(), keys::temperature_map_file).empty())
        owners.emplace_back(tr("Camera of the temperature map"), keys::temperature_camera);
    if (owners.size() > 1) {
        QStringList cameras;
        for (const auto& [label, owner] : owners)
            cameras << label;
        bool accepted = false;
        const QString chosen = QInputDialog::getItem(
            this, tr("Camera file"), tr("Whose camera is %1?").arg(QFileInfo(file).fileName()),
            cameras, 0, /*editable=*/false, &accepted);
        if (!accepted) return true;
        tree = owners[static_cast<std::size_t>(cameras.indexOf(chosen))].second;
    }
    open_camera(tree, file.toStdString());
    return true;
}

bool BasicPage::take_file(const QString& file) {
    if (take_record_file(file)) return true;
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

void BasicPage::edit_camera() {
    open_camera(keys::sens_camera, {});
}

void BasicPage::calibrate_camera() {
    CameraCalibrationDialog dialog(worker_, this);
    run_dialog(dialog);
}

void BasicPage::open_camera(std::string_view tree, const std::string& file) {
    const bool signal = tree == keys::sens_camera;
    const InputFile& flat =
        *input_of_image(signal ? image_names::flat_sens : image_names::flat_refe);
    const std::string before = read(vyn_db(), flat.file);
    QVynCamera dialog(vyn_db(), std::string(tree), this);
    if (!file.empty() && !dialog.open_file(file)) return;
    if (!run_dialog(dialog)) return;
    if (const std::string now = read(vyn_db(), flat.file); now != before) put_file(flat, now);
}

}  // namespace vyn
