#pragma once

#include "calib/camera.h"

namespace vyn {

/// The fields of a camera file, in its order. Record is cameraFeatures, const or not.
template <class Record, class Visit>
void for_each_field(Record& record, Visit visit) {
    visit("camera_ID", record.camera_ID);
    visit("camera_name", record.camera_name);
    visit("default_length_unit", record.default_length_unit);
    visit("focus", record.focus);
    visit("dx", record.dx);
    visit("dy", record.dy);
    visit("ncx", record.ncx);
    visit("ncy", record.ncy);
    visit("nfx", record.nfx);
    visit("nfy", record.nfy);
    visit("cx", record.cx);
    visit("cy", record.cy);
    visit("a2", record.a2);
    visit("a4", record.a4);
    visit("flat_file", record.flat_file);
}

}  // namespace vyn
