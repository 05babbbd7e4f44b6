#include "process/model/mesh_cache.h"

#include <mutex>
#include <optional>

#include "api/image_io.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

struct FileStamp {
    fs::path file;
    std::uintmax_t size = 0;
    fs::file_time_type time;
    bool operator==(const FileStamp&) const = default;
};

/// Nothing for what has no size or time.
std::optional<FileStamp> stamp_of(const fs::path& file) {
    std::error_code failed;
    const fs::path whole = fs::weakly_canonical(file, failed);
    if (failed) return std::nullopt;
    FileStamp stamp{whole, fs::file_size(whole, failed), {}};
    if (!failed) stamp.time = fs::last_write_time(whole, failed);
    return failed ? std::nullopt : std::optional(stamp);
}

struct Kept {
    std::mutex mutex;
    std::optional<FileStamp> stamp;
    std::shared_ptr<const field_data<double>> mesh;
    std::shared_ptr<const PreparedMesh> prepared;
};

Kept& kept() {
    static Kept instance;
    return instance;
}

bool same_geometry(const field_data<double>& a, const field_data<double>& b) {
    return a.triangles == b.triangles && a.vertices == b.vertices && a.zones == b.zones &&
           a.cells == b.cells && a.blanked == b.blanked;
}

}  // namespace

field_data<double> read_mesh_once(const fs::path& file, Progress& progress) {
    const std::optional<FileStamp> stamp = stamp_of(file);
    {
        const std::lock_guard lock(kept().mutex);
        if (stamp && kept().stamp == stamp) return *kept().mesh;
    }
    auto mesh = std::make_shared<const field_data<double>>(read_field(file, progress));
    // A file that changed while it was read is read again next time.
    if (stamp && stamp_of(file) == stamp) {
        const std::lock_guard lock(kept().mutex);
        kept().stamp = stamp;
        kept().mesh = mesh;
    }
    return *mesh;
}

std::shared_ptr<const PreparedMesh> prepare_once(const field_data<double>& mesh,
                                                 Progress& progress) {
    {
        const std::lock_guard lock(kept().mutex);
        if (kept().prepared && same_geometry(kept().prepared->mesh, mesh)) return kept().prepared;
    }
    auto prepared = std::make_shared<const PreparedMesh>(mesh, progress);
    const std::lock_guard lock(kept().mutex);
    kept().prepared = prepared;
    return prepared;
}

}  // namespace vyn
