#include "schedule/point_settings.h"

#include <algorithm>

#include "core/keys.h"
#include "process/point/input_files.h"
#include "process/point/project_paths.h"
#include "process/project/project_tasks.h"

namespace vyn {

namespace {

/// Settings that name files a point is made from.
const std::vector<std::string_view>& input_keys() {
    static const std::vector<std::string_view> keys = [] {
        std::vector<std::string_view> all;
        for (const InputFile& input : input_files())
            all.push_back(input.file.path);
        for (const RawImage& raw : raw_images())
            all.push_back(raw.region_file.path);
        all.insert(all.end(),
                   {keys::port_file.path, keys::mesh_file.path, keys::mesh_mark_file.path});
        return all;
    }();
    return keys;
}

bool is_set(const SchedulePoint& point, std::string_view path) {
    return std::ranges::any_of(point.settings,
                               [&](const auto& setting) { return setting.first == path; });
}

}  // namespace

void put_point_settings(const Schedule& schedule, const SchedulePoint& point,
                        dataSetInterface& data) {
    copy_content(point.base->settings, data);
    if (point.paint) write(data, std::string(keys::sens_paint), point.paint->record);
    for (const auto& [path, value] : point.settings)
        data.set_value(path, value, /*is_default=*/false);
    const std::filesystem::path folder = schedule.folder_of(point);
    rebase_names(data, point.base->file.parent_path(), folder);
    write(data, keys::head_file, (folder / "point.xml").string());
    for (const auto& key : {keys::pressure_file, keys::pressure_mark_file, keys::field_3d_file})
        if (!is_set(point, key.path))
            write(data, key, std::filesystem::path(read(data, key)).filename().string());
    if (!is_set(point, keys::head_dir.path)) write(data, keys::head_dir, std::string());
    if (!is_set(point, keys::test_point_id.path)) write(data, keys::test_point_id, point.name);
}

std::vector<std::pair<std::string_view, std::string>> named_inputs(const SchedulePoint& point) {
    std::vector<std::pair<std::string_view, std::string>> files;
    const bool contained = is_container(point.base->file);
    for (const std::string_view key : input_keys()) {
        const auto own = std::ranges::find_if(
            point.settings, [&](const auto& setting) { return setting.first == key; });
        if (own == point.settings.end() && contained) continue;
        const any value =
            own == point.settings.end() ? point.base->settings.value(key) : own->second;
        if (value.holds<std::string>() && !value.get<std::string>().empty())
            files.emplace_back(key, value.get<std::string>());
    }
    return files;
}

}  // namespace vyn
