#pragma once

#include <QStringList>
#include <string>
#include <vector>

#include "api/image_list.h"

namespace vyn {

/// An image of a list as the project's pages call it; its name where they do not.
QString picture_label(const std::string& name);

/// The same for images to choose from: where two have one label, their files tell them apart.
QStringList picture_labels(const imagesList& images, const std::vector<std::string>& names);

}  // namespace vyn
