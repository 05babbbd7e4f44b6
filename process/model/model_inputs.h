#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "calib/camera.h"
#include "core/data_set.h"
#include "markers/marker.h"
#include "projection/projection.h"
#include "resect/resection.h"

namespace vyn {

/// The settings below roject/processing/resection/ as the records that the computations take;
/// `mm_per_unit` is the mesh's. Raises GenericError "Wrong resect type".
ResectOptions resect_options(const dataSetInterface& data, double mm_per_unit);
ProjectionOptions projection_options(const dataSetInterface& data);

/// The camera as the resection takes it; raises AlgoError "Resection Failed!" where focus, pixel
/// size or counts are 0.
PinholeCamera pinhole_of(const cameraFeatures& record);
/// Raises AlgoError "Resection Failed!" naming both sizes where a picture is not one of the
/// camera's.
void check_size(const image& picture, const PinholeCamera& camera, const std::string& name);
/// The record with the intrinsics of an adjusted camera.
cameraFeatures with_intrinsics(cameraFeatures record, const PinholeCamera& before,
                               const PinholeCamera& after);

/// Markers on the model with their lengths in mm, from a file of three coordinates. Their unit is
/// the setting's, else the file's code (1 to 5 = mm, sm, dm, m, km), else the mesh's. Raises
/// FileError, also for image markers.
std::vector<Marker> read_model_markers(const std::filesystem::path& file,
                                       const dataSetInterface& data, const std::string& mesh_unit);

/// The mesh's length unit: its file's, else the setting's.
std::string mesh_unit_of(const field_data<double>& mesh, const dataSetInterface& data);
double mm_per(const std::string& unit);

/// The mesh with its mirror image where the setting asks for it.
field_data<double> with_wanted_mirror(field_data<double> mesh, const dataSetInterface& data);

/// Under which name the values of a field stand on the mesh: "P", "P_Pstat", "Cp", else what the
/// image list calls it.
std::string mesh_quantity_name(const image& field);

/// The pose that the settings hold; nothing when they hold none. Shift in mm.
std::optional<Pose> stored_pose(const dataSetInterface& data, const std::string& camera_unit);
void store_pose(dataSetInterface& data, const Pose& pose, const std::string& camera_unit);

}  // namespace vyn
