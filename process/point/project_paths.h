#pragma once

#include <filesystem>
#include <string>

#include "core/data_set.h"

namespace vyn {

/// The project file's folder; the working folder while there is no project file.
std::filesystem::path project_folder(const dataSetInterface& data);

/// The lock file of a project, beside it.
std::filesystem::path project_lock(const std::filesystem::path& project);

/// Where output files go: `project/head/dir`, or the project file's folder when that is empty.
std::filesystem::path output_folder(const dataSetInterface& data);

/// The same file with "folder/.." taken out of its path.
std::filesystem::path without_detours(const std::filesystem::path& file);

/// Where a named file is, or those that a name means together (`files_named`): a relative name in
/// the project's folder; a full path there, else beside the project file. Empty when nowhere.
std::filesystem::path locate(const std::filesystem::path& name,
                             const std::filesystem::path& project_folder);

/// The file that a setting names. A relative name belongs to the project's folder; a full path that
/// is missing is looked for beside the project file, with a log line. Raises FileError naming file
/// and key when there is none.
std::filesystem::path find_input(const dataSetInterface& data, const std::string& file_name,
                                 std::string_view key);

/// For a project file that is written to a folder: names relative to the old folder (empty when
/// there was none) become relative to the new one (full where there is no way), and so do full
/// names in or below the new folder. Names of output files stay.
void rebase_names(dataSetInterface& data, const std::filesystem::path& old_folder,
                  const std::filesystem::path& new_folder);

}  // namespace vyn
