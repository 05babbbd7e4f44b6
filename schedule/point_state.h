#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "schedule/figures.h"
#include "schedule/schedule.h"

namespace vyn {

/// A file that a point was computed from, as it was then.
struct InputStamp {
    std::string role;  ///< path of its setting
    std::string file;  ///< full path
    std::uintmax_t size = 0;
    std::int64_t time = 0;  ///< of its last change, nanoseconds since 1970
    std::string sha256;
};

/// How the last computation of a point ended; kept in its folder, replaced as a whole.
struct PointState {
    enum class Outcome { done, failed, aborted };
    Outcome outcome = Outcome::failed;
    std::string reason;   ///< why not done
    std::string digest;   ///< of the point as the schedule had it
    std::string attempt;  ///< tells one computation from every other
    std::string started;  ///< UTC, ISO 8601
    std::string finished;
    std::string host;
    std::string experiment;  ///< type, in words
    std::string quantity;    ///< of the field, with its unit
    std::vector<InputStamp> inputs;
    std::map<std::string, int> warning_kinds;
    std::vector<std::string> warnings;
    Figures figures;
};

const char* name(PointState::Outcome outcome);

/// As text for the file, and back. Raises FileError naming the file.
std::string state_text(const PointState& state);
PointState parse_state(const std::string& text, const std::filesystem::path& file);

/// The state in a point's folder; nothing when there is none or it cannot be read, as when another
/// version of the program wrote it.
std::optional<PointState> read_state(const std::filesystem::path& folder);
/// Raises FileError.
void write_state(const std::filesystem::path& folder, const PointState& state);

/// The stamps of the files that a point names, as they are now; digests are taken from `known`
/// where size and time are the same. Files that are not there are left out.
std::vector<InputStamp> stamp_inputs(const SchedulePoint& point,
                                     const std::vector<InputStamp>& known);

/// Where input files are and their stamps without digests, each looked up on the disk once: points
/// share most of theirs.
class InputLook {
  public:
    /// Nothing where there is no such file; the role stays empty.
    const std::optional<InputStamp>& at(const SchedulePoint& point, const std::string& name);

  private:
    std::map<std::pair<const BaseProject*, std::string>, std::optional<InputStamp>> known_;
};

/// What changed since the state was written, as half a sentence; empty when nothing did. A file
/// whose time changed and whose size did not is read to see whether its content did.
std::string change_since(const PointState& state, const SchedulePoint& point, InputLook& look);
std::string change_since(const PointState& state, const SchedulePoint& point);

/// "2026-03-14T09:26:53Z"
std::string utc_now();

}  // namespace vyn
