#include "view/ui/markers/marker_file_dialogs.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QMessageBox>

#include "core/keys.h"
#include "core/ui/file_question.h"
#include "process/point/marker_frames.h"
#include "process/point/marker_io.h"
#include "process/point/project_paths.h"
#include "view/edit/marker_edit.h"

namespace vyn {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("MarkerFileDialogs", text);
}

/// The file that the project names for the image or its camera picture; else one beside the image's
/// own file.
QFileInfo usual_file(const image& picture, bool is_project_image) {
    const RawImage* raw = is_project_image ? camera_origin(picture.name).raw : nullptr;
    const std::string named = raw ? read(vyn_db(), raw->marker_file) : std::string();
    if (!named.empty()) {
        const std::filesystem::path found = locate(named, project_folder(vyn_db()));
        return QFileInfo(QString::fromStdString(found.empty() ? named : found.string()));
    }
    const QFileInfo own(QString::fromStdString(picture.file_name));
    const QString folder = picture.file_name.empty()
                               ? QString::fromStdString(output_folder(vyn_db()).string())
                               : own.absolutePath();
    const QString stem =
        picture.file_name.empty() ? QString::fromStdString(picture.name) : own.completeBaseName();
    return QFileInfo(folder + QLatin1Char('/') + stem);
}

}  // namespace

QString ask_marker_file_to_load(QWidget* parent, const image& picture, bool is_project_image) {
    const QFileInfo usual = usual_file(picture, is_project_image);
    const QString filter =
        tr("All marker files (*.mpt *.mrk *.inm *.apm);;Markers v.2.52 (*.mpt);;Markers (*.mrk);;"
           "Markers, rows from below (*.inm);;3D Markers (simple text) (*.apm)");
    return QString::fromStdString(
        ask_open_file(parent, {tr("Load Markers"),
                               filter,
                               {},
                               usual.absolutePath().toStdString(),
                               usual.isFile() ? usual.fileName() : QString()}));
}

QString ask_marker_file_to_save(QWidget* parent, const image& picture, bool is_project_image) {
    const QString lost = QString::fromStdString(lost_in_text_format(picture.markers));
    const QFileInfo usual = usual_file(picture, is_project_image);
    const QString suffix = lost.isEmpty() ? QStringLiteral("mpt") : QStringLiteral("mrk");
    const QString file = QString::fromStdString(
        ask_save_file(parent, {tr("Save Markers"), tr("Markers v.2.52 (*.mpt);;Markers (*.mrk)"),
                               suffix, usual.absolutePath().toStdString(),
                               usual.completeBaseName() + QLatin1Char('.') + suffix}));
    const bool as_text = file.endsWith(QLatin1String(".mpt"), Qt::CaseInsensitive);
    if (file.isEmpty() || !as_text || lost.isEmpty()) return file;
    const QString question =
        tr("The format \"Markers v.2.52\" does not keep: %1.\n\nSave without them?").arg(lost);
    return QMessageBox::question(parent, tr("Markers"), question,
                                 QMessageBox::Yes | QMessageBox::No,
                                 QMessageBox::No) == QMessageBox::Yes
               ? file
               : QString();
}

bool settle_length_unit(QWidget* parent, const QString& file, MarkerSet& markers) {
    if (!would_be_unreadable(file.toStdString(), markers)) return true;
    const QString question =
        tr("The markers have a length unit. With it nobody could read %1, this program included."
           "\n\nSave a copy without the unit?")
            .arg(file);
    if (QMessageBox::question(parent, tr("Markers"), question, QMessageBox::Yes | QMessageBox::No,
                              QMessageBox::Yes) != QMessageBox::Yes)
        return false;
    markers.lengthUnit = 0;
    return true;
}

}  // namespace vyn
