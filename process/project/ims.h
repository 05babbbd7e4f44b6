#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "api/image_list.h"
#include "core/data_set.h"
#include "core/progress.h"

namespace vyn {

/// The content of an IMS container: a header, the project's settings as XML text, and images.
struct ImsData {
    std::string version;
    std::string project;
    std::vector<std::shared_ptr<const image>> images;
};

/// The window's IMS data; reading and writing of containers go without it.
ImsData& get_ims();
/// Empties it, header included.
void clear_ims();
/// True when it holds neither settings nor images.
bool empty_ims();

/// Copies the project's settings into the IMS data; done before a container is written.
void ds2ims(const dataSetInterface& data, ImsData& ims);

/// Reads a container (a ZIP archive of "ims.json", "project.xml" and one field file per image).
/// Raises FileError naming the file; one of a newer container format is refused. Images that are
/// not wanted are neither unpacked nor counted; without `wanted` all are.
using WantedImages = std::function<bool(const std::string& name)>;
ImsData read_ims_data(const std::filesystem::path& file, Progress& progress,
                      const WantedImages& wanted = {});
/// The project's settings alone.
std::string read_ims_project(const std::filesystem::path& file);
/// Writes a container, atomically. Raises FileError.
void write_ims_strings(const std::filesystem::path& file, const ImsData& ims, Progress& progress);

/// Brings the markers stored with raw images in line with the data set: an image without markers
/// gets those of the marker file that its key names (a file that is not there is only logged); an
/// image whose key is empty loses its markers, with a log line.
void fixMarkersDs(const dataSetInterface& data, imagesList& images);

}  // namespace vyn
