#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace vyn {

/// A name for a temporary file or folder that no other thread or process uses; short, so that a
/// long name of its target stays possible. Leftovers of programs that were killed are removed from
/// the folder the first time that this program makes such a name there.
std::filesystem::path temporary_name(const std::filesystem::path& folder,
                                     const std::string& extension = {});

/// True for a text that tells of such a name, which means nothing to the user.
bool names_temporary(std::string_view text);

/// Removes temporary files and folders whose process is gone and that nobody has written to for an
/// hour: on a shared disk the process may run on another machine.
void remove_leftovers(const std::filesystem::path& folder);

/// A folder for what is on its way into or out of another file; removed with what it holds.
class ScratchFolder {
  public:
    /// Raises FileError naming the folder that cannot take it.
    explicit ScratchFolder(const std::filesystem::path& parent);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;
    std::filesystem::path operator/(const std::string& name) const { return path_ / name; }

  private:
    std::filesystem::path path_;
};

/// Where temporary files belong that have no better place. Raises FileError when the environment
/// names a folder that is none.
std::filesystem::path temporary_folder();

}  // namespace vyn
