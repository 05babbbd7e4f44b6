#include "process/point/find_markers_task.h"

#include <algorithm>
#include <vector>

#include "core/log.h"
#include "process/point/experiment_type.h"

namespace vyn {

TaskOutcome FindMarkersTask::run(TaskContext& context) {
    imagesList& images = session_.images;
    dataSetInterface& data = session_.data;
    std::vector<image> found;
    bool complete = true;
    for (const RawImage* raw : aligned_images(experiment_type(data))) {
        const std::shared_ptr<const image> picture = images.find(raw->name);
        if (!picture || !picture->markers.markers.empty() || !read(data, raw->marker_file).empty())
            continue;
        context.status(std::string("Finding markers of ") + raw->name);
        image marked = *picture;
        const std::vector<DetectedDot> dots = find_dots(marked, options_, context);
        marked.markers = number_dots(dots);
        const std::size_t count = marked.markers.markers.size();
        get_log().write(LogLevel::information,
                        std::string(raw->name) + ": " + std::to_string(count) + " dots found");
        const auto doubtful = std::count_if(dots.begin(), dots.end(), [](const DetectedDot& dot) {
            return dot.quality < sure_quality;
        });
        if (doubtful > 0)
            warn(*report_, WarningKind::markers,
                 std::string(raw->name) + ": " + std::to_string(doubtful) + " of the " +
                     std::to_string(count) + " dots found are doubtful");
        if (count == 0) {
            warn(*report_, WarningKind::markers,
                 std::string(raw->name) + " shows no dots that could be markers");
            complete = false;
            continue;
        }
        found.push_back(std::move(marked));
    }
    if (!found.empty()) write(data, keys::markers_geometry, 1);
    for (image& marked : found)
        images.add(std::move(marked));
    return complete ? TaskOutcome::done : TaskOutcome::failed;
}

}  // namespace vyn
