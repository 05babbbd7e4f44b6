#include "schedule/new_schedule.h"

#include <algorithm>
#include <map>
#include <regex>

#include "core/errors.h"
#include "core/quotes.h"
#include "schedule/columns.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

[[noreturn]] void refuse_files(const std::string& why) {
    throw AlgoError("Algorithm error!", why);
}

/// How the files of one setting are named.
struct FilePattern {
    std::string setting;  ///< as the user wrote it: the column's head
    std::string text;
    std::vector<std::string> names;  ///< in braces, in their order
    std::regex expression;           ///< one group a name
};

FilePattern parse(const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0 || equals + 1 == text.size())
        refuse_files(in_quotes(text) + ": expected SETTING=PATTERN");
    FilePattern pattern{text.substr(0, equals), text.substr(equals + 1), {}, {}};
    std::vector<Problem> problems;
    resolve_columns({"point", pattern.setting}, {}, problems);
    if (!problems.empty()) refuse_files(line_of(problems.front()));
    std::string expression;
    for (std::size_t i = 0; i < pattern.text.size(); ++i) {
        const char c = pattern.text[i];
        if (c != '{') {
            if (std::string_view(R"(\^$.|?*+()[]{})").find(c) != std::string_view::npos)
                expression += '\\';
            expression += c;
            continue;
        }
        const std::size_t end = pattern.text.find('}', i);
        if (end == std::string::npos)
            refuse_files("a brace of " + in_quotes(pattern.text) + " has no partner");
        const std::string name = pattern.text.substr(i + 1, end - i - 1);
        const auto earlier = std::ranges::find(pattern.names, name);
        if (earlier != pattern.names.end()) {
            expression += "\\" + std::to_string(earlier - pattern.names.begin() + 1);
        } else {
            pattern.names.push_back(name);
            expression += "([^/]+?)";
        }
        i = end;
    }
    pattern.expression = std::regex(expression);
    return pattern;
}

/// Relative names of all files below the folder, sorted.
std::vector<std::string> files_below(const fs::path& folder) {
    std::vector<std::string> files;
    std::error_code failed;
    for (fs::recursive_directory_iterator at(folder, failed), end; !failed && at != end;
         at.increment(failed))
        if (at->is_regular_file(failed))
            files.push_back(at->path().lexically_relative(folder).generic_string());
    if (failed)
        throw FileError("Can't open file for reading!", folder.string() + ": " + failed.message());
    std::ranges::sort(files);
    return files;
}

std::string joined(const std::map<std::string, std::string>& values) {
    std::string text;
    for (const auto& entry : values)
        text += (text.empty() ? "" : "_") + entry.second;
    return text;
}

}  // namespace

NewSchedule schedule_from_files(const fs::path& folder, const std::vector<std::string>& patterns,
                                const fs::path& relative_to) {
    using Values = std::map<std::string, std::string>;
    std::vector<FilePattern> parsed;
    std::vector<std::string> variables;
    for (const std::string& text : patterns) {
        parsed.push_back(parse(text));
        for (const std::string& name : parsed.back().names)
            if (std::ranges::find(variables, name) == variables.end()) variables.push_back(name);
    }
    if (variables.empty()) refuse_files("no pattern has a name in braces, such as {point}");
    const std::vector<std::string> files = files_below(folder);
    const auto named = [&](const std::string& file) {
        const fs::path whole = fs::absolute(folder / file).lexically_normal();
        const fs::path relative = whole.lexically_relative(fs::absolute(relative_to));
        return relative.empty() ? whole.string() : relative.generic_string();
    };

    // The pattern with the most names tells which points there are; files of the others are theirs
    // where the names agree.
    std::map<Values, std::map<std::string, std::string>> points;
    std::vector<std::pair<const FilePattern*, std::map<Values, std::string>>> found;
    std::size_t most = 0;
    for (const FilePattern& pattern : parsed) {
        auto& matches = found.emplace_back(&pattern, std::map<Values, std::string>()).second;
        for (const std::string& file : files) {
            std::smatch match;
            if (!std::regex_match(file, match, pattern.expression)) continue;
            Values values;
            for (std::size_t i = 0; i < pattern.names.size(); ++i)
                values[pattern.names[i]] = match[i + 1];
            matches.emplace(values, file);
        }
        if (matches.empty())
            refuse_files("no file below " + folder.string() + " is named like " +
                         in_quotes(pattern.text));
        most = std::max(most, pattern.names.size());
    }
    for (const auto& [pattern, matches] : found)
        if (pattern->names.size() == most)
            for (const auto& match : matches)
                points[match.first];

    NewSchedule result;
    for (auto& [values, cells] : points)
        for (const auto& [pattern, matches] : found) {
            Values own;
            for (const std::string& name : pattern->names)
                if (const auto value = values.find(name); value != values.end()) own.insert(*value);
            if (const auto file = matches.find(own); file != matches.end())
                cells[pattern->setting] = named(file->second);
            else
                result.remarks.push_back(joined(values) + " has no file for " + pattern->setting);
        }

    Table& table = result.table;
    table.heads = {"point"};
    for (const std::string& name : variables)
        if (name != "point") table.heads.push_back(name);
    for (const FilePattern& pattern : parsed)
        table.heads.push_back(pattern.setting);
    for (const auto& [values, cells] : points) {
        const auto name = values.find("point");
        // Only what other patterns name beside the point makes its name unique.
        const bool unique =
            name != values.end() && std::ranges::count_if(points, [&](const auto& other) {
                                        const auto found_name = other.first.find("point");
                                        return found_name != other.first.end() &&
                                               found_name->second == name->second;
                                    }) == 1;
        TableRow row{static_cast<int>(table.rows.size()) + 2,
                     {unique ? name->second : joined(values)}};
        for (const std::string& variable : variables)
            if (variable != "point") {
                const auto value = values.find(variable);
                row.cells.push_back(value == values.end() ? "" : value->second);
            }
        for (const FilePattern& pattern : parsed) {
            const auto cell = cells.find(pattern.setting);
            row.cells.push_back(cell == cells.end() ? "" : cell->second);
        }
        table.rows.push_back(std::move(row));
    }
    return result;
}

}  // namespace vyn
