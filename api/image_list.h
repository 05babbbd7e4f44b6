#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "api/image.h"

namespace vyn {

/// Images by name, shared by all threads. An image in the list is a constant snapshot: it is
/// replaced, never changed in place, and stays alive for whoever holds it.
class imagesList {
  public:
    imagesList() = default;
    imagesList(const imagesList&) = delete;
    imagesList& operator=(const imagesList&) = delete;
    virtual ~imagesList() = default;

    /// The image of that name; null when absent.
    virtual std::shared_ptr<const image> find(std::string_view name) const;
    /// Publishes an image under its own name, replacing an older one.
    void add(image&& picture);
    virtual void add(std::shared_ptr<const image> picture);
    /// True when there was one to remove.
    bool remove(std::string_view name);
    void clear();
    /// The names, sorted.
    std::vector<std::string> names() const;
    /// Every image, in the order of the names.
    std::vector<std::shared_ptr<const image>> all() const;
    /// Counts the changes of the list: a watcher that sees the same number has missed nothing.
    std::uint64_t revision() const;

  private:
    mutable std::mutex mutex_;
    std::map<std::string, std::shared_ptr<const image>, std::less<>> images_;
    std::uint64_t revision_ = 0;
};

/// The program's one image list.
imagesList& get_images();

/// The names under which the program keeps its images.
namespace image_names {
inline constexpr const char* wind_on_sens = "wind_on_sens";
inline constexpr const char* wind_off_sens = "wind_off_sens";
inline constexpr const char* wind_on_dark_sens = "wind_on_dark_sens";
inline constexpr const char* wind_off_dark_sens = "wind_off_dark_sens";
inline constexpr const char* wind_on_refe = "wind_on_refe";
inline constexpr const char* wind_off_refe = "wind_off_refe";
inline constexpr const char* wind_on_dark_refe = "wind_on_dark_refe";
inline constexpr const char* wind_off_dark_refe = "wind_off_dark_refe";
inline constexpr const char* flat_sens = "flat_sens";
inline constexpr const char* flat_refe = "flat_refe";
inline constexpr const char* wind_on_sens_cor = "wind_on_sens_cor";
inline constexpr const char* wind_off_sens_cor = "wind_off_sens_cor";
inline constexpr const char* wind_on_sens_aligned = "wind_on_sens_aligned";
inline constexpr const char* wind_off_refe_cor = "wind_off_refe_cor";
inline constexpr const char* wind_on_refe_cor = "wind_on_refe_cor";
inline constexpr const char* wind_on_refe_aligned = "wind_on_refe_aligned";
/// Where the wind-on picture shows the places of the wind-off picture, pixels.
inline constexpr const char* displacement = "displacement";
inline constexpr const char* displacement_sigma = "displacement_sigma";
/// What of it the markers' mapping does not explain.
inline constexpr const char* displacement_left = "displacement_left";
/// Wind-on temperature: as a file has it, with its standard deviation, and in the frame of the
/// results.
inline constexpr const char* temperature_map = "temperature_map";
inline constexpr const char* temperature_map_sigma = "temperature_map_sigma";
inline constexpr const char* temperature = "wind_on_temperature";
inline constexpr const char* temperature_sigma = "wind_on_temperature_sigma";
inline constexpr const char* ratio = "Iref";
inline constexpr const char* field = "field_P";
/// Standard deviations of the field's pixels: of everything, of what is common to an area, and of
/// what averages out over one.
inline constexpr const char* sigma = "field_P_sigma";
inline constexpr const char* sigma_common = "field_P_sigma_common";
inline constexpr const char* sigma_area = "field_P_sigma_area";
/// By what they come from.
inline constexpr std::array sigma_terms{"field_P_sigma_noise",        "field_P_sigma_flat",
                                        "field_P_sigma_registration", "field_P_sigma_lamp",
                                        "field_P_sigma_temperature",  "field_P_sigma_reference",
                                        "field_P_sigma_law",          "field_P_sigma_conditions"};
/// What the program computes: not loaded from files, removed when what it came from changes.
inline constexpr std::array results{wind_off_sens_cor,
                                    wind_on_sens_cor,
                                    wind_off_refe_cor,
                                    wind_on_refe_cor,
                                    wind_on_sens_aligned,
                                    wind_on_refe_aligned,
                                    displacement,
                                    displacement_sigma,
                                    displacement_left,
                                    ratio,
                                    temperature,
                                    temperature_sigma,
                                    field,
                                    sigma,
                                    sigma_common,
                                    sigma_area,
                                    sigma_terms[0],
                                    sigma_terms[1],
                                    sigma_terms[2],
                                    sigma_terms[3],
                                    sigma_terms[4],
                                    sigma_terms[5],
                                    sigma_terms[6],
                                    sigma_terms[7]};
}  // namespace image_names

}  // namespace vyn
