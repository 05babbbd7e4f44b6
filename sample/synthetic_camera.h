#pragma once

#include <cstdint>
#include <functional>

#include "align/image_map.h"
#include "api/image.h"
#include "api/lens.h"
#include "calib/camera.h"
#include "core/progress.h"

namespace vyn {

struct SyntheticOptions;

/// What one synthetic camera took of a test point. Markers are its registration dots, camera
/// pixels, same numbers in all pictures of a point.
struct SyntheticPictures {
    image wind_off;
    image wind_on;
    image wind_off_dark;
    image wind_on_dark;
    image flat;
    MarkerSet wind_off_markers;
    MarkerSet wind_on_markers;
};

/// A camera of a synthetic point, or a gate of it. The laboratory's places are those of the signal
/// camera's ideal picture.
struct SyntheticCamera {
    enum class Role : std::uint64_t { signal, reference, gate_1, second_view, infrared };

    static constexpr double pixel_spacing = 0.0055;  ///< mm
    static constexpr double electrons_per_count = 4;
    static constexpr double read_noise = 6;  ///< counts

    Role role = Role::signal;
    double focus = 12.5;  ///< mm
    int width = 0;
    int height = 0;
    Distortion lens;
    PolyTransform ideal_from_laboratory;  ///< ideal position in this camera from a place

    double flat(int x, int y) const;
    double wind_off_dark(int x) const;
    double wind_on_dark(int y) const;
    cameraFeatures record() const;
};

/// The signal camera of a point with these options.
SyntheticCamera signal_camera(const SyntheticOptions& options);
/// That of the reference channel: another lens, fewer pixels, turned a little, not quite aimed at
/// the same place.
SyntheticCamera reference_camera(const SyntheticOptions& options);

/// A camera of temperatures: half the pixels, a lens of its own, turned the other way.
SyntheticCamera infrared_camera(const SyntheticOptions& options);

/// Light in counts from a place of the laboratory, without and with wind.
struct SyntheticLight {
    std::function<double(Point place)> wind_off;
    /// `on_model` is the point of the model, by its wind-off place, that moved to `place`.
    std::function<double(Point place, Point on_model)> wind_on;
};

/// Light in counts at a pixel, before the flat field, without and with wind.
struct PixelLight {
    double wind_off = 0;
    double wind_on = 0;
};

/// Evaluates every pixel of the camera's pictures from the light at its ideal position.
void take_pictures(const SyntheticCamera& camera, const SyntheticOptions& options,
                   const std::function<PixelLight(Point ideal)>& light, SyntheticPictures& pictures,
                   Progress& progress);

/// The same of a flat model; `motion` is the model's, places with wind from places without.
void take_pictures(const SyntheticCamera& camera, const SyntheticOptions& options,
                   const ImageMap& motion, const SyntheticLight& light, SyntheticPictures& pictures,
                   Progress& progress);

}  // namespace vyn
