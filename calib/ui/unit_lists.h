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

/// Units of test conditions: first those that the law takes as they stand, then the tables' own.
inline QStringList pressure_units_to_type() {
    return QStringList(QStringLiteral("Pa")) + unit_list(pressure_unit_names());
}
inline QStringList temperature_units_to_type() {
    return QStringList{QStringLiteral("C"), QStringLiteral("K")} +
           unit_list(temperature_unit_names());
}

}  // namespace vyn
