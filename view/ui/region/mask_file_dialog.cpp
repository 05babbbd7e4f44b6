#include "view/ui/region/mask_file_dialog.h"

#include <QCoreApplication>
#include <QFileInfo>

#include "core/ui/file_question.h"
#include "process/point/project_paths.h"

namespace vyn {

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("MaskFileDialog", text);
}

/// The mask file of the camera picture where it has one that can be written; else one beside the
/// image's own file.
QFileInfo usual_file(const image& picture, const RawImage* raw) {
    const std::string named = raw ? read(vyn_db(), raw->mask_file) : std::string();
    const std::filesystem::path found = locate(named, project_folder(vyn_db()));
    if (!named.empty() && found.extension() == ".png")
        return QFileInfo(QString::fromStdString(found.string()));
    const QFileInfo own(QString::fromStdString(picture.file_name));
    const bool has_file = !picture.file_name.empty();
    const QString folder =
        has_file ? own.absolutePath() : QString::fromStdString(output_folder(vyn_db()).string());
    const QString stem = has_file ? own.completeBaseName() : QString::fromStdString(picture.name);
    return QFileInfo(folder + QLatin1Char('/') + stem + QStringLiteral("_mask.png"));
}

}  // namespace

QString ask_mask_file_to_save(QWidget* parent, const image& picture, const RawImage* raw) {
    const QFileInfo usual = usual_file(picture, raw);
    return QString::fromStdString(ask_save_file(
        parent, {tr("Save Mask"), tr("Mask, 8-bit PNG (*.png)"), QStringLiteral("png"),
                 usual.absolutePath().toStdString(), usual.fileName()}));
}

}  // namespace vyn
