#include "process/steps/result_state.h"

#include <optional>

#include "core/keys.h"
#include "core/numbers.h"
#include "process/page/page_rows.h"
#include "process/point/input_files.h"
#include "process/steps/image_origin.h"
#include "process/steps/step_table.h"

namespace vyn {

namespace {

constexpr std::string_view nesting = " > ";

std::string quoted(const std::string& value) {
    return value.empty() ? "nothing" : value;
}

std::string file_change(const std::string& what, const std::string& old, const std::string& now) {
    const auto name_in = [](const std::string& stamp) {
        return stamp.substr(0, stamp.rfind(", "));
    };
    if (old.empty()) return "the " + what + " was added";
    if (now.empty()) return "the " + what + " was taken out";
    if (name_in(old) == name_in(now)) return name_in(now) + " changed on disk";
    return "the " + what + " is " + name_in(now) + " now";
}

/// The difference between two values of an item of an image's origin, for the user.
std::string describe(ExperimentType type, std::string image, std::string item,
                     const std::string& old, const std::string& now) {
    for (auto at = item.find(nesting); at != std::string::npos; at = item.find(nesting)) {
        image = item.substr(0, at);
        item = item.substr(at + nesting.size());
    }
    if (item.starts_with(contents_item))
        return file_change(short_meaning(item.substr(contents_item.size())), old, now);
    if (find_key(item))
        return short_meaning(item) + " changed from " + quoted(old) + " to " + quoted(now);
    if (item.ends_with("file"))
        return file_change(item + " of " + image_label(type, image), old, now);
    const std::size_t name = item.find(" of ") + 4;
    return "the " + item.substr(0, name) + image_label(type, item.substr(name)) + " changed";
}

/// What a setting counts as where an origin does not tell it: a version of the program that did not
/// know it, or a state in which it decides nothing. Nothing for items that are no settings.
std::optional<std::string> default_of(const std::string& item) {
    const std::size_t nested = item.rfind(nesting);
    const KeyInfo* key =
        find_key(nested == std::string::npos ? item : item.substr(nested + nesting.size()));
    if (!key) return std::nullopt;
    return format_setting(key->fallback);
}

/// An image that was added or taken out shows first in its file.
bool comes_first(const std::string& item) {
    return item.ends_with("file");
}

}  // namespace

ImageState ImageStates::of(const std::string& name) {
    const auto picture = images_.find(name);
    if (!picture) return {};
    if (picture->origin.empty()) return {ImageState::Kind::unknown, {}};
    return compare(name, picture->origin, origin_now(name));
}

MeshSummary summary_of(const field_data<double>& mesh) {
    return {mesh.has_data(), !mesh.quantities.empty(), mesh.triangles.size(), mesh.origin};
}

ImageState ImageStates::of_mesh(const MeshSummary& mesh) {
    if (!mesh.has_values) return {};
    if (mesh.origin.empty()) return {ImageState::Kind::unknown, {}};
    const StepView view{data_, images_, /*has_mesh=*/true};
    const StepFacts facts = whole_facts(step_of(StepId::model), view);
    return compare({}, mesh.origin,
                   result_origin(data_, images_, facts,
                                 [this](const std::string& source) { return origin_now(source); }));
}

ImageState ImageStates::compare(const std::string& name, const ImageOrigin& old,
                                const ImageOrigin& now) const {
    std::string reason;
    const auto compare_item = [&](const std::string& item) {
        const auto before = old.find(item);
        const auto after = now.find(item);
        const std::optional<std::string> fallback = default_of(item);
        // Older versions did not tell it; another file shows in the setting that names it.
        if (before == old.end() && item.find(contents_item) != item.npos) return;
        const bool absent_differs = !fallback && (before == old.end()) != (after == now.end());
        const std::string was = before == old.end() ? fallback.value_or("") : before->second;
        const std::string is = after == now.end() ? fallback.value_or("") : after->second;
        if ((absent_differs || was != is) && (reason.empty() || comes_first(item)))
            reason = describe(experiment_type(data_), name, item, was, is);
    };
    for (const auto& entry : old)
        compare_item(entry.first);
    for (const auto& entry : now)
        if (!old.contains(entry.first)) compare_item(entry.first);
    if (reason.empty()) return {ImageState::Kind::current, {}};
    return {ImageState::Kind::out_of_date, reason};
}

const ImageOrigin& ImageStates::origin_now(const std::string& name) {
    if (const auto found = now_.find(name); found != now_.end()) return found->second;
    return now_[name] = compute_origin(name);
}

ImageOrigin ImageStates::compute_origin(const std::string& name) {
    const InputFile* input = input_of_image(name);
    if (!input)
        return result_origin(data_, images_, facts_of_result(name, {data_, images_}),
                             [this](const std::string& source) { return origin_now(source); });

    const auto picture = images_.find(name);
    if (!picture || picture->origin.empty()) return {};
    ImageOrigin now = input_origin(data_, *input);
    const ImageOrigin& loaded = picture->origin;
    if (const auto old = loaded.find("file"); old != loaded.end()) now.insert(*old);
    for (const auto& [item, key] : files_beside(*input)) {
        const auto old = loaded.find(item);
        if (old != loaded.end() && !now.contains(item) && !read(data_, key).empty())
            now.insert(*old);
    }
    return now;
}

}  // namespace vyn
