#pragma once

#include <QString>
#include <string>
#include <vector>

#include "api/image_list.h"

namespace vyn {

/// An image of a list as the project's pages call it; its name where they do not.
QString picture_label(const std::string& name);

/// An image to choose from.
struct PictureChoice {
    std::string name;
    QString label;  ///< where two would have the same, their files tell them apart
};
std::vector<PictureChoice> picture_choices(const imagesList& images,
                                           const std::vector<std::string>& names);

}  // namespace vyn
