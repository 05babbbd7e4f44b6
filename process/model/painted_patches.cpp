#include "process/model/painted_patches.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

#include "core/atomic_file.h"
#include "core/errors.h"

namespace vyn {

namespace {

/// A row of faces, both ends in it.
struct FaceRange {
    std::size_t first = 0;
    std::size_t last = 0;
};

/// "7" or "0-3"; nothing for another text.
std::optional<FaceRange> parse_range(std::string_view text) {
    FaceRange range;
    const char* end = text.data() + text.size();
    auto [rest, wrong] = std::from_chars(text.data(), end, range.first);
    if (wrong != std::errc()) return {};
    range.last = range.first;
    if (rest == end) return range;
    if (*rest != '-') return {};
    const auto [stop, bad] = std::from_chars(rest + 1, end, range.last);
    if (bad != std::errc() || stop != end || range.last < range.first) return {};
    return range;
}

std::string ranges_text(const std::vector<std::uint8_t>& faces, std::size_t patch) {
    std::string text;
    for (std::size_t face = 0; face < faces.size(); ++face) {
        if (faces[face] != patch) continue;
        const std::size_t first = face;
        while (face + 1 < faces.size() && faces[face + 1] == patch)
            ++face;
        if (!text.empty()) text += ',';
        text += std::to_string(first);
        if (face > first) text += '-' + std::to_string(face);
    }
    return text;
}

/// Gives the faces to the patch; what is wrong, or nothing.
std::string take_faces(std::string_view text, std::uint8_t patch,
                       std::vector<std::uint8_t>& faces) {
    while (!text.empty()) {
        const std::size_t comma = std::min(text.find(','), text.size());
        const std::string word(text.substr(0, comma));
        text.remove_prefix(std::min(comma + 1, text.size()));
        const auto range = parse_range(word);
        if (!range) return "\"" + word + "\" is no range of faces";
        if (range->last >= faces.size())
            return "face " + std::to_string(range->last) + " is none of the mesh";
        for (std::size_t face = range->first; face <= range->last; ++face) {
            if (faces[face] != 0) return "face " + std::to_string(face) + " stands in it twice";
            faces[face] = patch;
        }
    }
    return {};
}

}  // namespace

FacePatch face_patch(const PaintedPatches& painted, std::size_t patch) {
    FacePatch found{painted.names.at(patch), {}};
    for (std::size_t face = 0; face < painted.faces.size(); ++face)
        if (painted.faces[face] == patch + 1) found.faces.push_back(face);
    return found;
}

std::string patches_text(const PaintedPatches& painted, std::size_t triangles) {
    nlohmann::ordered_json text = {{"triangles", triangles},
                                   {"patches", nlohmann::ordered_json::array()}};
    for (std::size_t i = 0; i < painted.names.size(); ++i)
        text["patches"].push_back(
            {{"name", painted.names[i]}, {"faces", ranges_text(painted.faces, i + 1)}});
    return text.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

PaintedPatches parse_patches(const std::string& text, std::size_t triangles,
                             const std::string& where) {
    const auto refuse = [&](const std::string& what) {
        return FileError("Can't open file for reading!", where + ": " + what);
    };
    const auto object = nlohmann::json::parse(text, nullptr, false);
    if (!object.is_object() || !object.contains("triangles") ||
        !object["triangles"].is_number_unsigned() || !object.contains("patches") ||
        !object["patches"].is_array())
        throw refuse("no object with triangles and patches");
    if (const auto count = object["triangles"].get<std::size_t>(); count != triangles)
        throw refuse("patches of a mesh of " + std::to_string(count) + " triangles, this one has " +
                     std::to_string(triangles));
    if (object["patches"].size() > PaintedPatches::most)
        throw refuse("more than " + std::to_string(PaintedPatches::most) + " patches");
    PaintedPatches painted;
    painted.faces.resize(triangles);
    for (const auto& patch : object["patches"]) {
        if (!patch.is_object() || !patch.contains("name") || !patch["name"].is_string() ||
            !patch.contains("faces") || !patch["faces"].is_string())
            throw refuse("a patch without name and faces");
        painted.names.push_back(patch["name"]);
        const std::string wrong =
            take_faces(patch["faces"].get<std::string>(),
                       static_cast<std::uint8_t>(painted.names.size()), painted.faces);
        if (!wrong.empty()) throw refuse("patch " + painted.names.back() + ": " + wrong);
    }
    return painted;
}

PaintedPatches read_patches(const std::filesystem::path& file, std::size_t triangles) {
    constexpr std::size_t largest = std::size_t{1} << 28;
    return parse_patches(read_file(file, largest), triangles, file.string());
}

}  // namespace vyn
