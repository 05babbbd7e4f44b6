#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "core/errors.h"

namespace vyn {

/// Writes a file beside its target, flushes it to disk and renames it over the target.
///
/// Whatever fails (read-only folder, disk full, the writer itself), the old target stays and the
/// half-written file is removed. A symbolic link stays one: the file that it names is replaced, or
/// made. A new file gets the usual permissions, a replaced one keeps its own; a target that was not
/// there at first is not replaced when somebody else has made it meanwhile. Library writers get
/// `temporary()` as the path to write to.
class AtomicFile {
  public:
    /// Raises FileError "File Name is empty!", or "Can't open file for writing!" when the folder
    /// cannot take the file or the target is read-only or no regular file.
    explicit AtomicFile(std::filesystem::path target,
                        ErrorPlace at = std::source_location::current());
    ~AtomicFile();
    AtomicFile(const AtomicFile&) = delete;
    AtomicFile& operator=(const AtomicFile&) = delete;

    /// Where to write; same folder and extension as the target.
    const std::filesystem::path& temporary() const { return temporary_; }

    /// Flushes and renames. Raises FileError "Error writing file" naming the target.
    void commit();

  private:
    friend void write_file(const std::filesystem::path&, std::string_view, ErrorPlace);
    bool move_to_target() const;
    [[noreturn]] void fail(const char* text, int os_error) const;

    std::filesystem::path target_;
    std::filesystem::path temporary_;
    ErrorPlace place_;
    std::optional<unsigned> replaced_mode_;  ///< permissions of the file that is replaced
    bool committed_ = false;
};

/// True for the names of the standard streams and of descriptors (/dev/stdout, /dev/fd/3), and for
/// /dev/null: they take bytes, but nothing can take their place.
bool is_stream(const std::filesystem::path& target);

/// Replaces the target by these bytes, atomically; a stream gets them at once. Raises FileError.
void write_file(const std::filesystem::path& target, std::string_view bytes,
                ErrorPlace at = std::source_location::current());

/// The whole file. Raises FileError "Can't open file for reading!" naming it, also when it is no
/// regular file or larger than `max_bytes`.
std::string read_file(const std::filesystem::path& file, std::size_t max_bytes,
                      ErrorPlace at = std::source_location::current());

}  // namespace vyn
