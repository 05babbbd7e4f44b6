#include "view/ui/compare/picture_labels.h"

#include <QFileInfo>
#include <algorithm>
#include <utility>

#include "process/page/page_rows.h"

namespace vyn {

QString picture_label(const std::string& name) {
    return QString::fromStdString(image_label(experiment_type(std::as_const(vyn_db())), name));
}

std::vector<PictureChoice> picture_choices(const imagesList& images,
                                           const std::vector<std::string>& names) {
    std::vector<PictureChoice> choices;
    for (const std::string& name : names)
        choices.push_back({name, picture_label(name)});
    const std::vector<PictureChoice> plain = choices;
    for (PictureChoice& choice : choices) {
        const auto picture = images.find(choice.name);
        if (picture && std::ranges::count(plain, choice.label, &PictureChoice::label) > 1)
            choice.label += QStringLiteral(" (%1)").arg(
                QFileInfo(QString::fromStdString(picture->file_name)).fileName());
    }
    return choices;
}

}  // namespace vyn
