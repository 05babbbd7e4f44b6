#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "api/image.h"

namespace vyn::plugins {

/// What the description of an image in a file tells of it: the members "quantity" (text), "unit"
/// (text), "exposure" (seconds), "taken" (object of seconds and whether they are dated) and
/// "origin" (object of texts) of a JSON object.

/// Sets those that the image has something to say for.
void add_attributes(nlohmann::ordered_json& object, const ImageAttributes& image);
/// Takes those that are there and make sense.
void take_attributes(const nlohmann::ordered_json& object, ImageAttributes& image);

/// The same as one line of plain ASCII together with the provenance, whose members it joins when
/// that is an object; empty when there is nothing to say.
std::string image_description(const ImageAttributes& image, const std::string& provenance);
/// Takes them from such a text; nothing happens when it is another one.
void take_description(std::string_view text, ImageAttributes& image);

/// How formats name the values: "pressure", "standard_deviation_of_cp", "value" when unknown.
std::string value_name(const ImageAttributes& image);
/// The values with NaN for those that are excluded, as formats without a mask hold them; of row y.
void unmasked_row(const image& picture, int y, std::vector<float>& row);

/// The text when it can be a unit (short, printable Latin or Greek), else empty: readers ask, since
/// units go to labels, titles and reports.
std::string sound_unit(const std::string& text);
/// The seconds when they can be an exposure.
std::optional<double> sound_exposure(double seconds);

}  // namespace vyn::plugins
