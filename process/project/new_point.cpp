#include "process/project/new_point.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <system_error>

#include "core/ascii.h"
#include "core/keys.h"
#include "process/point/project_paths.h"
#include "process/point/raw_images.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view point_tree = "project/test_point/";

/// A number in a file name, with the letters before it.
struct Number {
    std::size_t begin = 0;   ///< of the letters
    std::size_t digits = 0;  ///< of the digits
    std::size_t end = 0;
};

std::vector<Number> numbers_in(const std::string& name) {
    constexpr std::size_t most_digits = 9;
    std::vector<Number> found;
    const std::size_t stem = fs::path(name).stem().string().size();
    for (std::size_t i = 0; i < stem; ++i) {
        if (!is_digit(name[i])) continue;
        Number number{i, i, i};
        while (number.begin > 0 && is_letter(name[number.begin - 1]))
            --number.begin;
        while (number.end < stem && is_digit(name[number.end]))
            ++number.end;
        i = number.end;
        if (number.end - number.digits <= most_digits) found.push_back(number);
    }
    return found;
}

std::uint64_t value_of(std::string_view digits) {
    std::uint64_t value = 0;
    for (const char c : digits)
        value = 10 * value + static_cast<std::uint64_t>(c - '0');
    return value;
}

/// The name with its number replaced: where the token stands in a name, or nothing.
std::optional<Number> find_token(const std::string& name, const std::string& token) {
    for (const Number& number : numbers_in(name))
        if (name.compare(number.begin, number.end - number.begin, token) == 0) return number;
    return std::nullopt;
}

std::string replaced(const std::string& name, const Number& at, const std::string& token) {
    return name.substr(0, at.begin) + token + name.substr(at.end);
}

/// Names of the files of each folder, read once.
class Folders {
  public:
    const std::vector<std::string>& names(const fs::path& folder) {
        const auto [known, is_new] = names_.try_emplace(folder);
        std::error_code ignored;
        if (is_new)
            for (const auto& entry : fs::directory_iterator(folder, ignored))
                known->second.push_back(entry.path().filename().string());
        return known->second;
    }

  private:
    std::map<fs::path, std::vector<std::string>> names_;
};

/// The names beside `name` that differ from it only by a higher number, by that number.
std::map<std::uint64_t, std::string> higher_siblings(const std::string& name, const Number& at,
                                                     const std::vector<std::string>& names) {
    const std::string_view before = std::string_view(name).substr(0, at.digits);
    const std::string_view after = std::string_view(name).substr(at.end);
    const std::uint64_t own =
        value_of(std::string_view(name).substr(at.digits, at.end - at.digits));
    std::map<std::uint64_t, std::string> found;
    for (const std::string& other : names) {
        if (other.size() <= before.size() + after.size() || !other.starts_with(before) ||
            !other.ends_with(after))
            continue;
        const std::string_view digits = std::string_view(other).substr(
            before.size(), other.size() - before.size() - after.size());
        if (digits.size() > 9 || !std::ranges::all_of(digits, is_digit)) continue;
        if (value_of(digits) > own) found.emplace(value_of(digits), other);
    }
    return found;
}

struct Named {
    std::string_view key;
    fs::path stored;  ///< as the settings have it
    fs::path folder;  ///< where it really is
};

std::vector<Named> named_files(const dataSetInterface& data) {
    const fs::path folder = project_folder(data);
    std::vector<Named> files;
    for (const std::string_view key : point_file_keys()) {
        const fs::path stored = data.read(key, "");
        if (stored.empty()) continue;
        const fs::path real = locate(stored, folder);
        files.push_back({key, stored, (real.empty() ? folder / stored : real).parent_path()});
    }
    return files;
}

/// A way whose token is a number of one of the files, and where in the name that number stands,
/// counted from the end.
struct Candidate {
    NextPoint point;
    std::size_t from_end = 0;
};

std::optional<Candidate> follow(const std::string& token, const std::vector<Named>& files,
                                Folders& folders) {
    std::optional<std::uint64_t> next;
    Candidate candidate;
    std::vector<std::map<std::uint64_t, std::string>> siblings(files.size());
    for (std::size_t i = 0; i < files.size(); ++i) {
        const std::string name = files[i].stored.filename().string();
        const std::optional<Number> at = find_token(name, token);
        if (!at) continue;
        candidate.from_end = std::max(candidate.from_end, name.size() - at->end);
        siblings[i] = higher_siblings(name, *at, folders.names(files[i].folder));
        if (!siblings[i].empty() && (!next || siblings[i].begin()->first < *next)) {
            next = siblings[i].begin()->first;
            const std::string& sibling = siblings[i].begin()->second;
            candidate.point.to =
                sibling.substr(at->begin, sibling.size() - at->begin - (name.size() - at->end));
        }
    }
    if (!next) return std::nullopt;
    candidate.point.from = token;
    for (std::size_t i = 0; i < files.size(); ++i) {
        const auto sibling = siblings[i].find(*next);
        NextPoint::File file{files[i].key, files[i].stored.string(), {}};
        file.kept = !find_token(files[i].stored.filename().string(), token);
        if (file.kept)
            file.new_name = file.old_name;
        else if (sibling != siblings[i].end())
            file.new_name = (files[i].stored.parent_path() / sibling->second).string();
        candidate.point.files.push_back(std::move(file));
    }
    return candidate;
}

/// The project file's name with the number gone up, or with the new number appended.
std::string next_project(const std::string& project, const NextPoint& point) {
    const fs::path file = project.empty() ? fs::path("project.xml") : fs::path(project);
    const std::string name = file.filename().string();
    const std::optional<Number> at = find_token(name, point.from);
    const std::string next = at ? replaced(name, *at, point.to)
                                : file.stem().string() + "_" + point.to + file.extension().string();
    return (file.parent_path() / next).string();
}

}  // namespace

const std::vector<std::string_view>& point_file_keys() {
    static const std::vector<std::string_view> keys = [] {
        std::vector<std::string_view> found;
        for (const KeyInfo& row : key_table()) {
            const std::string_view path = row.path;
            const bool output = path == keys::pressure_file.path ||
                                path == keys::pressure_mark_file.path ||
                                path == keys::field_3d_file.path;
            if (path.starts_with(point_tree) && path.ends_with("_file") && !output)
                found.push_back(path);
        }
        return found;
    }();
    return keys;
}

void empty_point_settings(dataSetInterface& data) {
    for (const std::string_view key : point_file_keys())
        data.write(key, "");
    write(data, keys::test_point_id, std::string());
}

void empty_point(dataSetInterface& data, imagesList& images) {
    empty_point_settings(data);
    remove_results(images);
    for (const RawImage& raw : raw_images()) {
        images.remove(raw.name);
        images.remove(raw.dark_name);
    }
}

int NextPoint::found() const {
    return static_cast<int>(std::ranges::count_if(
        files, [](const File& file) { return !file.new_name.empty() && !file.kept; }));
}

std::vector<NextPoint> find_next_points(const dataSetInterface& data) {
    const std::vector<Named> files = named_files(data);
    std::vector<std::string> tokens;
    for (const Named& file : files) {
        const std::string name = file.stored.filename().string();
        for (const Number& at : numbers_in(name))
            tokens.push_back(name.substr(at.begin, at.end - at.begin));
    }
    std::ranges::sort(tokens);
    tokens.erase(std::unique(tokens.begin(), tokens.end()), tokens.end());

    Folders folders;
    std::vector<Candidate> candidates;
    for (const std::string& token : tokens)
        if (auto candidate = follow(token, files, folders))
            candidates.push_back(std::move(*candidate));
    std::ranges::stable_sort(candidates, [](const Candidate& a, const Candidate& b) {
        if (a.point.found() != b.point.found()) return a.point.found() > b.point.found();
        return a.from_end < b.from_end;
    });
    std::vector<NextPoint> points;
    for (Candidate& candidate : candidates) {
        candidate.point.project = next_project(read(data, keys::head_file), candidate.point);
        points.push_back(std::move(candidate.point));
    }
    return points;
}

void take_next_point(dataSetInterface& data, const NextPoint& point) {
    for (const NextPoint::File& file : point.files)
        data.write(file.key, file.new_name);
}

}  // namespace vyn
