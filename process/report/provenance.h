#pragma once

#include <filesystem>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "api/image_list.h"
#include "core/data_set.h"

namespace vyn {

/// The program, the settings and the input files with their digests: what a result came from.
nlohmann::json provenance(const dataSetInterface& data, const imagesList& images);

/// The same of one image of the list: the settings and files that its origin tells, which the
/// project may no longer have. A file keeps its whole path while the list has its image. Of an
/// image without origin nothing but the program is known.
nlohmann::json provenance(const image& picture, const imagesList& images);

/// How much images and reports tell of where they come from. `anonymous`: the program's version and
/// the digests of the inputs, but no paths and no settings.
enum class ProvenanceDetail { full, anonymous };

/// For the whole program, before it starts to write; images then leave out their origin, too.
void set_provenance_detail(ProvenanceDetail detail);

/// A file that something was made from: its name, unless names are not to be told, and its digest.
/// Raises FileError.
nlohmann::json source_file(const std::filesystem::path& file);

/// Settings for what is written: as they are, or nothing where settings are not to be told.
nlohmann::json told_settings(nlohmann::json settings);

/// A text for a report of the point: without the folders of its files where these are not to be
/// told.
std::string for_report(std::string text, const dataSetInterface& data, const imagesList& images);

/// False when what is written is to be anonymous.
bool names_are_told();

/// Empties the texts of settings: names of files, folders, people and tests. Units and choices
/// stay, and a picture, dark image or flat field keeps a name for its file, that of its image, so
/// that a container that holds the image can still be computed.
void leave_out_names(dataSetInterface& settings);

}  // namespace vyn
