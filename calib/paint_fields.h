#pragma once

#include "calib/paint.h"

namespace vyn {

/// Names of a field: as in the data set and in files from 2.51 on, and as in older files (null
/// where they do not have the field).
struct PaintKey {
    const char* name;
    const char* old_name;
};

/// The fields of the calibration itself in the order of the files: the matrix column by column.
/// Record is paintFeatures, const or not.
template <class Record, class Visit>
void for_each_calibration_field(Record& record, Visit visit) {
    visit(PaintKey{"gamma11", "Gamma11"}, record.gamma[0][0]);
    visit(PaintKey{"gamma21", "Gamma21"}, record.gamma[1][0]);
    visit(PaintKey{"gamma31", "Gamma31"}, record.gamma[2][0]);
    visit(PaintKey{"gamma12", "Gamma12"}, record.gamma[0][1]);
    visit(PaintKey{"gamma22", "Gamma22"}, record.gamma[1][1]);
    visit(PaintKey{"gamma32", "Gamma32"}, record.gamma[2][1]);
    visit(PaintKey{"gamma13", "Gamma13"}, record.gamma[0][2]);
    visit(PaintKey{"gamma23", "Gamma23"}, record.gamma[1][2]);
    visit(PaintKey{"gamma33", "Gamma33"}, record.gamma[2][2]);
    visit(PaintKey{"default_pressure_unit", "Pressure Unit"}, record.pressure_unit);
    visit(PaintKey{"normalizing_pressure", "Normalizing Pressure"}, record.normalizing_pressure);
    visit(PaintKey{"minimal_pressure", "Minimal Pressure"}, record.minimal_pressure);
    visit(PaintKey{"maximal_pressure", "Maximal Pressure"}, record.maximal_pressure);
    visit(PaintKey{"tolerance_pressure", nullptr}, record.tolerance_pressure);
    visit(PaintKey{"default_temperature_unit", "Temperature Unit"}, record.temperature_unit);
    visit(PaintKey{"normalizing_temperature", "Normalizing Temperature"},
          record.normalizing_temperature);
    visit(PaintKey{"minimal_temperature", "Minimal Temperature"}, record.minimal_temperature);
    visit(PaintKey{"maximal_temperature", "Maximal Temperature"}, record.maximal_temperature);
    visit(PaintKey{"tolerance_temperature", nullptr}, record.tolerance_temperature);
}

/// The fields of the test that the calibration came from, in the order of the files.
template <class Record, class Visit>
void for_each_test_field(Record& record, Visit visit) {
    visit("type", record.double_channel);
    visit("list_file", record.list_file);
    visit("sens_camera_file", record.sens_camera_file);
    visit("refe_camera_file", record.refe_camera_file);
    visit("dark_sens_file", record.dark_sens_file);
    visit("dark_refe_file", record.dark_refe_file);
}

}  // namespace vyn
