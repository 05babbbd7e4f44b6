#pragma once

#include <QStringList>

#include "calib/units.h"

namespace vyn {

/// Names of a unit table, to choose from.
inline QStringList unit_list(const std::vector<std::string>& names) {
    QStringList list;
    for (const std::string& name : names)
        list << QString::fromStdString(name);
    return list;
}

}  // namespace vyn
