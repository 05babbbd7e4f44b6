#include "schedule/point_state.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <ctime>

#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/file_names.h"
#include "process/point/digest.h"
#include "process/point/project_paths.h"
#include "process/report/json_text.h"
#include "schedule/point_settings.h"

namespace vyn {

namespace fs = std::filesystem;
using json = nlohmann::json;

namespace {

constexpr const char* state_file = "state.json";
constexpr std::size_t largest_state = std::size_t{16} << 20;
constexpr int format_version = 1;
constexpr std::array outcome_names{"done", "failed", "aborted"};

/// Without role and digest; nothing where there is no such file.
std::optional<InputStamp> stamp_of(const fs::path& found) {
    if (found.empty()) return std::nullopt;
    InputStamp stamp{{}, fs::absolute(found).lexically_normal().string(), 0, 0, {}};
    // Several files of one picture: all their bytes, and the latest change.
    for (const fs::path& file : files_named(found)) {
        struct stat now {};
        if (stat(file.c_str(), &now) != 0) return std::nullopt;
        constexpr std::int64_t second = 1'000'000'000;
        stamp.size += static_cast<std::uintmax_t>(now.st_size);
        stamp.time =
            std::max<std::int64_t>(stamp.time, now.st_mtim.tv_sec * second + now.st_mtim.tv_nsec);
    }
    return stamp;
}

}  // namespace

const char* name(PointState::Outcome outcome) {
    return outcome_names.at(static_cast<std::size_t>(outcome));
}

std::string state_text(const PointState& state) {
    json inputs = json::array();
    for (const InputStamp& stamp : state.inputs)
        inputs.push_back({{"role", stamp.role},
                          {"file", stamp.file},
                          {"size", stamp.size},
                          {"time", stamp.time},
                          {"sha256", stamp.sha256}});
    const json all{{"format", format_version},       {"outcome", name(state.outcome)},
                   {"reason", state.reason},         {"digest", state.digest},
                   {"attempt", state.attempt},       {"started", state.started},
                   {"finished", state.finished},     {"host", state.host},
                   {"experiment", state.experiment}, {"quantity", state.quantity},
                   {"inputs", std::move(inputs)},    {"warning_kinds", state.warning_kinds},
                   {"warnings", state.warnings},     {"figures", state.figures}};
    return json_text(all, 1) + "\n";
}

PointState parse_state(const std::string& text, const fs::path& file) {
    PointState state;
    try {
        const json all = json::parse(text);
        if (all.at("format") != format_version)
            throw FileError("File error!", file.string() + " is of another version");
        const auto outcome = std::ranges::find(outcome_names, all.at("outcome").get<std::string>());
        if (outcome == outcome_names.end())
            throw FileError("File error!", file.string() + ": the outcome is not known");
        state.outcome = static_cast<PointState::Outcome>(outcome - outcome_names.begin());
        all.at("reason").get_to(state.reason);
        all.at("digest").get_to(state.digest);
        all.at("attempt").get_to(state.attempt);
        all.at("started").get_to(state.started);
        all.at("finished").get_to(state.finished);
        all.at("host").get_to(state.host);
        all.at("experiment").get_to(state.experiment);
        all.at("quantity").get_to(state.quantity);
        for (const json& input : all.at("inputs"))
            state.inputs.push_back({input.at("role"), input.at("file"), input.at("size"),
                                    input.at("time"), input.at("sha256")});
        all.at("warning_kinds").get_to(state.warning_kinds);
        all.at("warnings").get_to(state.warnings);
        all.at("figures").get_to(state.figures);
    } catch (const json::exception& error) {
        throw FileError("File error!", file.string() + ": " + error.what());
    }
    return state;
}

std::optional<PointState> read_state(const fs::path& folder) {
    const fs::path file = folder / state_file;
    std::error_code ignored;
    if (!fs::exists(file, ignored)) return std::nullopt;
    try {
        return parse_state(read_file(file, largest_state), file);
    } catch (const FileError&) {
        return std::nullopt;  // told in the log; the point is computed again
    }
}

void write_state(const fs::path& folder, const PointState& state) {
    write_file(folder / state_file, state_text(state));
}

std::vector<InputStamp> stamp_inputs(const SchedulePoint& point,
                                     const std::vector<InputStamp>& known) {
    std::vector<InputStamp> stamps;
    InputLook look;
    for (const auto& [role, name] : named_inputs(point)) {
        std::optional<InputStamp> stamp = look.at(point, name);
        if (!stamp) continue;
        stamp->role = role;
        const auto same = std::ranges::find_if(known, [&](const InputStamp& old) {
            return old.file == stamp->file && old.size == stamp->size && old.time == stamp->time;
        });
        stamp->sha256 = same == known.end() ? known_file_sha256(stamp->file) : same->sha256;
        stamps.push_back(std::move(*stamp));
    }
    return stamps;
}

const std::optional<InputStamp>& InputLook::at(const SchedulePoint& point,
                                               const std::string& name) {
    const auto [found, is_new] = known_.try_emplace({point.base.get(), name});
    if (is_new) found->second = stamp_of(locate(name, point.base->file.parent_path()));
    return found->second;
}

std::string change_since(const PointState& state, const SchedulePoint& point) {
    InputLook look;
    return change_since(state, point, look);
}

std::string change_since(const PointState& state, const SchedulePoint& point, InputLook& look) {
    if (state.digest != point.digest) return "the table or its base project changed";
    std::size_t found = 0;
    for (const auto& [role, name] : named_inputs(point)) {
        const auto old = std::ranges::find_if(
            state.inputs, [&role = role](const InputStamp& stamp) { return stamp.role == role; });
        const std::optional<InputStamp>& now = look.at(point, name);
        if (!now && old == state.inputs.end()) continue;
        if (!now) return name + " is gone";
        if (old == state.inputs.end()) return name + " is new";
        ++found;
        const bool same_stamp = old->size == now->size && old->time == now->time;
        if (!same_stamp && (old->size != now->size || old->sha256 != known_file_sha256(now->file)))
            return name + " changed";
    }
    return found == state.inputs.size() ? std::string() : "an input file was taken out";
}

std::string utc_now() {
    const std::time_t now = std::chrono::system_clock::to_time_t(std::chrono::system_clock::now());
    std::tm parts{};
    gmtime_r(&now, &parts);
    std::array<char, 32> text{};
    std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text.data();
}

}  // namespace vyn
