#include "process/steps/image_origin.h"

#include <array>
#include <fstream>
#include <system_error>

#include "core/errors.h"
#include "core/keys.h"
#include "process/point/digest.h"
#include "process/point/image_digest.h"
#include "process/point/project_paths.h"
#include "process/steps/result_sources.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

/// Name and SHA-256; empty when there is no such file or it cannot be read. Folder and time stay
/// out, so that a project can be moved and copied with its files.
std::string file_stamp(const fs::path& file) {
    std::error_code ignored;
    // Asked often: a file that cannot be read is no error that the log has to hold each time.
    if (!fs::is_regular_file(file, ignored) || !std::ifstream(file)) return {};
    try {
        return file.filename().string() + ", " + known_file_sha256(file);
    } catch (const FileError&) {
        return {};
    }
}

void add_stamp(ImageOrigin& origin, const std::string& item, const fs::path& file) {
    if (file.empty()) return;
    if (std::string stamp = file_stamp(file); !stamp.empty()) origin[item] = std::move(stamp);
}

void add_setting(ImageOrigin& origin, dataSetInterface& data, const std::string& path) {
    any value = data.value(path);
    const any& fallback = find_key(path)->fallback;
    origin[path] = format_setting(value.type() == fallback.type() ? value : fallback);
}

}  // namespace

ImageOrigin input_origin(dataSetInterface& data, const InputFile& input) {
    ImageOrigin origin;
    add_stamp(origin, "file", located_file(data, input));
    if (input.role != InputFile::Role::picture) return origin;
    add_setting(origin, data, std::string(keys::saturation_level.path));
    add_setting(origin, data, std::string(keys::saturation_exclude.path));
    const fs::path folder = project_folder(data);
    for (const auto& [item, key] : {std::pair{"marker file", input.raw->marker_file},
                                    std::pair{"mask file", input.raw->mask_file}})
        if (const std::string name = read(data, key); !name.empty())
            add_stamp(origin, item, locate(name, folder));
    return origin;
}

ImageOrigin result_origin(dataSetInterface& data, const imagesList& images, std::string_view result,
                          const std::function<ImageOrigin(const std::string&)>& origin_of) {
    const ResultSources sources = result_sources(data, result);
    ImageOrigin origin;
    for (const std::string& path : sources.settings)
        add_setting(origin, data, path);
    for (const std::string& name : sources.images) {
        const auto picture = images.find(name);
        if (!picture) continue;
        for (auto& [item, value] : origin_of(name))
            origin[std::string(name).append(" > ").append(item)] = std::move(value);
        if (sources.markers) origin["markers of " + name] = marker_digest(picture->markers);
        origin["mask of " + name] = mask_digest(picture);
    }
    return origin;
}

namespace {

/// A job whose results learn where they came from, also those that stand when it fails half way.
class OriginTask final : public Task {
  public:
    explicit OriginTask(std::shared_ptr<Job> job) : job_(std::move(job)) {}

    TaskOutcome run(TaskContext& context) override {
        const Results before = results();
        try {
            const TaskOutcome outcome = job_->run(context);
            note_origins(before);
            return outcome;
        } catch (...) {
            note_origins(before);
            throw;
        }
    }

  private:
    using Results = std::array<std::shared_ptr<const image>, image_names::results.size()>;

    static Results results() {
        Results found;
        for (std::size_t i = 0; i < found.size(); ++i)
            found[i] = get_images().find(image_names::results[i]);
        return found;
    }

    /// Sources come before what is made from them in the list of results.
    static void note_origins(const Results& before) {
        imagesList& images = get_images();
        const auto origin_of = [&](const std::string& name) { return images.find(name)->origin; };
        const Results after = results();
        for (std::size_t i = 0; i < after.size(); ++i) {
            if (!after[i] || after[i] == before[i]) continue;
            image noted = *after[i];
            noted.origin = result_origin(vyn_db(), images, noted.name, origin_of);
            noted.note_markers_saved();
            noted.note_mask_saved();
            images.add(std::move(noted));
        }
    }

    std::shared_ptr<Job> job_;
};

}  // namespace

std::shared_ptr<Job> with_origins(std::shared_ptr<Job> job) {
    if (job->empty()) return job;
    auto whole = std::make_shared<Job>();
    whole->append(std::make_unique<OriginTask>(std::move(job)));
    return whole;
}

void note_file_saved(dataSetInterface& data, imagesList& images, const std::string& name,
                     InputFile::Role role) {
    const auto picture = images.find(name);
    if (!picture) return;
    const bool markers = role == InputFile::Role::markers;
    image noted = *picture;
    if (markers)
        noted.note_markers_saved();
    else
        noted.note_mask_saved();
    if (const InputFile* input = input_of_image(name); input && !noted.origin.empty()) {
        const char* item = markers ? "marker file" : "mask file";
        noted.origin.erase(item);
        if (auto found = input_origin(data, *input).extract(item))
            noted.origin.insert(std::move(found));
    }
    images.add(std::move(noted));
}

}  // namespace vyn
