#include "view/ui/markers/marker_file_dialogs.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>

#include "core/keys.h"
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

/// The file name of an accepted dialog.
QString chosen(QFileDialog& dialog) {
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return dialog.selectedFiles().first();
}

}  // namespace

QString ask_marker_file_to_load(QWidget* parent, const image& picture, bool is_project_image) {
    QFileDialog dialog(parent, tr("Load Markers"));
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setNameFilters({tr("All marker files (*.mpt *.mrk *.inm *.apm)"),
                           tr("Markers v.2.52 (*.mpt)"), tr("Markers (*.mrk)"),
                           tr("Markers, rows from below (*.inm)"),
                           tr("3D Markers (simple text) (*.apm)")});
    const QFileInfo usual = usual_file(picture, is_project_image);
    dialog.setDirectory(usual.absolutePath());
    if (usual.isFile()) dialog.selectFile(usual.fileName());
    return chosen(dialog);
}

QString ask_marker_file_to_save(QWidget* parent, const image& picture, bool is_project_image) {
    const QString lost = QString::fromStdString(lost_in_text_format(picture.markers));
    const QString text_format = tr("Markers v.2.52 (*.mpt)");
    const QString full_format = tr("Markers (*.mrk)");
    const QFileInfo usual = usual_file(picture, is_project_image);

    QFileDialog dialog(parent, tr("Save Markers"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setNameFilters({text_format, full_format});
    dialog.setDirectory(usual.absolutePath());
    dialog.selectNameFilter(lost.isEmpty() ? text_format : full_format);
    dialog.setDefaultSuffix(lost.isEmpty() ? QStringLiteral("mpt") : QStringLiteral("mrk"));
    QObject::connect(&dialog, &QFileDialog::filterSelected, &dialog, [&](const QString& filter) {
        dialog.setDefaultSuffix(filter == text_format ? QStringLiteral("mpt")
                                                      : QStringLiteral("mrk"));
    });
    dialog.selectFile(usual.completeBaseName() + QLatin1Char('.') + dialog.defaultSuffix());
    QString file = chosen(dialog);
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
