#include "view/ui/window/viewer_files.h"

#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>
#include <QStatusBar>

#include "api/image_io.h"
#include "core/ascii.h"
#include "core/data_set.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/ui/busy_box.h"
#include "core/ui/remembered_files.h"
#include "core/ui/wording.h"
#include "process/point/project_paths.h"
#include "view/open_task.h"
#include "view/probe_text.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/look/picture_dialog.h"
#include "view/ui/window/field_viewer.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

/// "VYN Projects (...);;Images (...);;All files (*.* *)"
QString open_filter() {
    QStringList patterns;
    for (const auto& format : get_2dio().formats())
        for (const auto& extension : format->info().extensions)
            if (format->info().can_read)
                patterns << QStringLiteral("*.") + QString::fromStdString(extension);
    return QStringLiteral("VYN Projects (*.ims *.xml);;Images (%1);;All files (*.* *)")
        .arg(patterns.join(QLatin1Char(' ')));
}

/// A file name of letters, digits and the like.
std::string file_stem(std::string name) {
    for (char& c : name)
        if (c == '/' || c == '\\' || c == ':') c = '_';
    return name.empty() ? "image" : name;
}

}  // namespace

ViewerFiles::ViewerFiles(VynFieldViewer& viewer) : QObject(&viewer), viewer_(viewer) {}

bool ViewerFiles::run(std::unique_ptr<Task> task, const QString& what) {
    auto job = std::make_shared<Job>();
    job->append(std::move(task));
    QBusyBox box(viewer_.worker(), &viewer_);
    const TaskOutcome outcome = box.run(job);
    if (outcome == TaskOutcome::failed) {
        const QString why = worded(box.failure());
        get_log().write(LogLevel::failure, what.toStdString() + ": " + box.failure());
        QMessageBox::warning(&viewer_, what, why.isEmpty() ? tr("This failed.") : why);
    }
    return outcome == TaskOutcome::done;
}

void ViewerFiles::open() {
    const QString file =
        QFileDialog::getOpenFileName(&viewer_, tr("Choose a file to open"), folder_, open_filter());
    if (!file.isEmpty()) open_file(file);
}

void ViewerFiles::open_file(const QString& file) {
    if (!viewer_.may_discard()) return;
    folder_ = QFileInfo(file).path();
    viewer_.statusBar()->showMessage(tr("Wait..."));
    const auto list = std::make_shared<imagesList>();
    const bool read = run(std::make_unique<OpenImagesTask>(file.toStdString(), list), tr("Open"));
    viewer_.statusBar()->showMessage(tr("Ready!"));
    if (!read) return;

    const std::vector<std::string> names = list->names();
    std::string name = names.front();
    if (names.size() > 1) {
        QStringList choices;
        for (const auto& each : names)
            choices << QString::fromStdString(each);
        bool chosen = false;
        name = QInputDialog::getItem(&viewer_, tr("Open"), tr("Image:"), choices, 0, false, &chosen)
                   .toStdString();
        if (!chosen) return;
    }
    const bool camera = lower_extension(file.toStdString()) == "xml";
    const QString title = names.size() > 1
                              ? QStringLiteral("%1 - %2").arg(QFileInfo(file).fileName(),
                                                              QString::fromStdString(name))
                              : QFileInfo(file).fileName();
    viewer_.show_from(list, name, camera ? PictureOrigin::camera : PictureOrigin::file, title);
    viewer_.statusBar()->showMessage(tr("Ready!"));
}

bool ViewerFiles::may_write(const fs::path& typed, const fs::path& file, const image& picture) {
    const std::string objection =
        objection_to_saving(viewer_.origin(), picture, file, get_images());
    if (!objection.empty()) {
        QMessageBox::warning(&viewer_, tr("Save"), QString::fromStdString(objection));
        return false;
    }
    // The dialog asked about the name as it was typed.
    std::error_code ignored;
    return file == fs::absolute(typed) || !fs::exists(file, ignored) ||
           QMessageBox::question(&viewer_, tr("Save"),
                                 tr("%1 already exists.\nDo you want to replace it?")
                                     .arg(QString::fromStdString(file.string())),
                                 QMessageBox::Yes | QMessageBox::No,
                                 QMessageBox::No) == QMessageBox::Yes;
}

std::optional<ViewerFiles::Choice> ViewerFiles::choose(const QString& caption,
                                                       const std::vector<ExportType>& types,
                                                       const image& picture) {
    if (types.empty()) return std::nullopt;
    QStringList filters;
    for (const ExportType& type : types)
        filters << QString::fromStdString(type.filter());
    const std::string what = caption.toStdString() + " " + viewer_.image_name();
    const FilePurpose purpose = viewer_.origin() == PictureOrigin::file
                                    ? FilePurpose{picture.file_name, what}
                                    : purpose_in_project(vyn_db(), what);
    const fs::path last = remembered_file(purpose);
    fs::path proposed = last;
    if (!last.has_filename()) {
        const fs::path folder = !last.empty()       ? last
                                : folder_.isEmpty() ? output_folder(vyn_db())
                                                    : fs::path(folder_.toStdString());
        proposed = types.front().named(folder / file_stem(viewer_.image_name()));
    }
    for (;;) {
        const ExportType& usual = type_for(types, types.front(), proposed);
        QString filter = QString::fromStdString(usual.filter());
        const QString chosen = QFileDialog::getSaveFileName(
            &viewer_, caption, QString::fromStdString(proposed.string()),
            filters.join(QStringLiteral(";;")), &filter);
        if (chosen.isEmpty()) return std::nullopt;
        const int index = std::max(0, static_cast<int>(filters.indexOf(filter)));
        const fs::path typed(chosen.toStdString());
        const ExportType& type = type_for(types, types[static_cast<std::size_t>(index)], typed);
        const fs::path file = fs::absolute(type.named(typed));
        folder_ = QFileInfo(chosen).path();
        if (may_write(typed, file, picture)) {
            remember_file(purpose, file);
            return Choice{type, file};
        }
        proposed = file;
    }
}

bool ViewerFiles::write(ExportRequest request) {
    request.project_results = viewer_.origin() != PictureOrigin::file;
    const QString done = tr("%1 written").arg(QString::fromStdString(request.file.string()));
    if (!run(std::make_unique<ExportTask>(program_session(), std::move(request)), tr("Save")))
        return false;
    viewer_.statusBar()->showMessage(done);
    return true;
}

bool ViewerFiles::write_image_file(const fs::path& file) {
    if (!write({viewer_.picture(), file, ExportKind::image_file, {}, {}, false})) return false;
    // Other formats do not hold what was drawn.
    if (lower_extension(file.string()) == "imp") viewer_.setModifiedChanged(false);
    return true;
}

void ViewerFiles::save() {
    const auto picture = viewer_.picture();
    if (!picture) return;
    // The image's own file holds it as it is.
    const fs::path file =
        viewer_.shows_per_cent() ? saved_as_ : file_to_save(viewer_.origin(), *picture, saved_as_);
    if (file.empty()) return save_as();
    write_image_file(file);
}

void ViewerFiles::save_as() {
    const auto picture = viewer_.picture();
    if (!picture) return;
    const auto choice = choose(tr("Save as"), image_file_types(), *picture);
    if (!choice) return;
    if (write_image_file(choice->file)) saved_as_ = choice->file;
}

void ViewerFiles::export_picture() {
    const auto picture = viewer_.shown_picture();
    if (!picture) return;
    const auto choice = choose(tr("Export field"), export_types(), *picture);
    if (!choice) return;
    const Fashion& fashion = viewer_.view().fashion();
    ExportRequest request;
    request.picture = picture;
    request.file = choice->file;
    request.kind = choice->type.kind;
    request.caption = viewer_.caption().toStdString();
    request.sigma = viewer_.beside("_sigma");
    if (request.kind == ExportKind::picture) {
        request.options.limits = fashion.limits;
        request.options.palette = fashion.shown_palette();
        request.options.iso_levels = fashion.iso.levels(fashion.limits);
        request.options.iso_labels = fashion.iso.labels;
        request.options.colour_bar = true;
        request.options.label = viewer_.quantity().toStdString();
        request.options.title = viewer_.caption().toStdString();
        request.options.scale = scale_for_side(*picture, 1600);
        const Hatching hatching = viewer_.hatching();
        if (hatching.shown() && hatching.sigma->values().same_size(picture->values()))
            request.options.hatching = hatching;
        request.options.markers = !viewer_.markers_hidden();
        PictureDialog dialog(request.options, picture->width(), picture->height(),
                             !picture->markers.markers.empty(), &viewer_);
        if (dialog.exec() != QDialog::Accepted) return;
        request.options = dialog.options();
    }
    write(std::move(request));
}

}  // namespace vyn
