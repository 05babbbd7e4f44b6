#include "view/ui/compare/picture_labels.h"

#include <QFileInfo>
#include <utility>

#include "process/page/page_rows.h"

namespace vyn {

QString picture_label(const std::string& name) {
    return QString::fromStdString(image_label(experiment_type(std::as_const(vyn_db())), name));
}

QStringList picture_labels(const imagesList& images, const std::vector<std::string>& names) {
    QStringList labels;
    for (const std::string& name : names)
        labels << picture_label(name);
    QStringList different = labels;
    for (int i = 0; i < labels.size(); ++i) {
        const auto picture = images.find(names[static_cast<std::size_t>(i)]);
        if (labels.count(labels[i]) > 1 && picture)
            different[i] += QStringLiteral(" (%1)").arg(
                QFileInfo(QString::fromStdString(picture->file_name)).fileName());
    }
    return different;
}

}  // namespace vyn
