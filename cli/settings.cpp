#include "cli/settings.h"

#include "cli/commands.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/keys.h"

namespace vyn::cli {

void apply_settings(dataSetInterface& data, const std::vector<std::string>& assignments) {
    std::vector<std::pair<std::string, any>> values;
    for (const std::string& assignment : assignments) {
        const std::size_t equals = assignment.find('=');
        if (equals == std::string::npos || equals == 0)
            throw UsageError("--set " + assignment + ": expected KEY=VALUE");
        const std::string key = assignment.substr(0, equals);
        try {
            values.emplace_back(key, parse_setting(key, assignment.substr(equals + 1)));
        } catch (const AlgoError& error) {
            throw UsageError("--set " + assignment + ": " + error.detail);
        }
    }
    for (auto& [key, value] : values)
        data.set_value(key, std::move(value), /*is_default=*/false);
}

void check_target(const std::filesystem::path& file, Overwriting overwriting) {
    std::error_code ignored;
    if (overwriting == Overwriting::refused && !is_stream(file) &&
        std::filesystem::exists(file, ignored))
        throw FileError("File exists!", file.string() + " (--force replaces it)");
}

void check_output(const std::filesystem::path& file, Overwriting overwriting) {
    if (file.empty()) return;
    std::error_code ignored;
    const std::filesystem::path folder = file.parent_path();
    if (!folder.empty() && !std::filesystem::is_directory(folder, ignored))
        throw FileError("Can't open file for writing!",
                        file.string() + ": there is no folder " + folder.string());
    check_target(file, overwriting);
    if (!is_stream(file)) const AtomicFile can_be_written(file);
}

}  // namespace vyn::cli
