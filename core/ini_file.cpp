#include "core/ini_file.h"

#include <algorithm>

#include "core/ascii.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

constexpr const char* unit = "vyn_ini_file";
constexpr std::size_t most_bytes = 16u << 20;
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

bool same_name(std::string_view a, std::string_view b) {
    return lower_case(trim(a)) == lower_case(trim(b));
}

/// A line as it reads: a section header, a key with its value, or (neither) anything else.
struct Reading {
    std::optional<std::string_view> section;
    std::optional<std::string_view> key;
    std::string_view value;
};

Reading classify(std::string_view line) {
    if (line.starts_with(byte_order_mark)) line.remove_prefix(byte_order_mark.size());
    line = trim(line);
    if (line.starts_with(';')) return {};
    if (line.starts_with('[')) return {line.substr(1, line.find(']') - 1), {}, {}};
    const std::size_t separator = line.find('=');
    if (separator == std::string_view::npos) return {};
    return {{}, line.substr(0, separator), trim(line.substr(separator + 1))};
}

bool is_blank(std::string_view line) {
    return trim(line).empty();
}

/// Raises AlgoError unless the lines made of these would read back as the same.
void check_can_be_written(std::string_view section, std::string_view key, std::string_view value) {
    const std::string header = "[" + std::string(section) + "]";
    const std::string line = std::string(key) + "=" + std::string(value);
    const Reading read_header = classify(header);
    const Reading read_line = classify(line);
    const bool one_line_each = (header + line).find_first_of("\r\n") == std::string::npos;
    if (one_line_each && read_header.section == section && read_line.key &&
        same_name(*read_line.key, key) && read_line.value == trim(value))
        return;
    throw AlgoError("Algorithm error!", "an ini file cannot hold " + header + " " + line, {unit});
}

}  // namespace

void IniFile::open(const fs::path& file, Mode mode) {
    *this = IniFile();
    std::error_code error;
    std::string bytes;
    if (fs::status(file, error).type() != fs::file_type::not_found)
        bytes = read_file(file, most_bytes, {unit});
    else if (mode == Mode::read_only)
        throw FileError("File doesn't exist! Cannot create file because the mode is read-only!",
                        file.string(), {unit});
    else
        write_file(file, "", {unit});
    split_lines(bytes);
    file_ = file;
    mode_ = mode;
    opened_ = true;
}

void IniFile::split_lines(std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t line_feed = bytes.find('\n');
        std::string_view line = bytes.substr(0, line_feed);
        std::string_view end = line_feed == std::string_view::npos ? "" : "\n";
        const std::string_view whole = bytes.substr(0, line.size() + end.size());
        bytes.remove_prefix(whole.size());
        if (is_blank(line) && !lines_.empty() && !line_ends_.back().empty()) {
            line_ends_.back() += whole;
            continue;
        }
        if (!end.empty() && line.ends_with('\r')) {
            line.remove_suffix(1);
            end = "\r\n";
        }
        lines_.emplace_back(line);
        line_ends_.emplace_back(end);
    }
}

IniFile::Place IniFile::locate(std::string_view section, std::string_view key) const {
    Place place;
    bool inside = false;
    bool in_first = false;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        const Reading line = classify(lines_[i]);
        if (line.section) {
            inside = same_name(*line.section, section);
            in_first = inside && !place.section_end;
        }
        if (inside && line.key && same_name(*line.key, key)) {
            place.key = i;
            return place;
        }
        if (in_first && !is_blank(lines_[i])) place.section_end = i + 1;
    }
    return place;
}

bool IniFile::has_section(std::string_view section) const {
    check_open();
    return std::any_of(lines_.begin(), lines_.end(), [&](const std::string& text) {
        const Reading line = classify(text);
        return line.section && same_name(*line.section, section);
    });
}

std::optional<std::string> IniFile::find(std::string_view section, std::string_view key) const {
    check_names(section, key);
    check_open();
    const auto line = locate(section, key).key;
    if (!line) return std::nullopt;
    return std::string(classify(lines_[*line]).value);
}

std::string IniFile::get(std::string_view section, std::string_view key,
                         std::string_view default_text) const {
    return find(section, key).value_or(std::string(default_text));
}

void IniFile::set(std::string_view section, std::string_view key, std::string_view value) {
    check_names(section, key);
    check_writable();
    check_can_be_written(section, key, value);
    const Place place = locate(section, key);
    if (place.key) {
        // What stands before the value, blanks included, stays as the user wrote it.
        std::string& line = lines_[*place.key];
        const std::size_t separator = line.find('=');
        const std::size_t old_value = line.find_first_not_of(" \t", separator + 1);
        line.resize(std::min(old_value, line.size()));
        line += trim(value);
        return;
    }
    if (!place.section_end) {
        // A new section goes behind everything, blank lines at the end included.
        if (!lines_.empty() && line_ends_.back().find('\n') + 1 < line_ends_.back().size()) {
            lines_.emplace_back();
            line_ends_.push_back(line_ends_.back().substr(line_ends_.back().find('\n') + 1));
            line_ends_[lines_.size() - 2].resize(line_ends_[lines_.size() - 2].find('\n') + 1);
        }
        insert(lines_.size(), "[" + std::string(section) + "]");
    }
    insert(place.section_end.value_or(lines_.size()),
           std::string(key) + "=" + std::string(trim(value)));
}

void IniFile::clear() {
    check_writable();
    lines_.clear();
    line_ends_.clear();
}

void IniFile::remove_section(std::string_view section) {
    check_writable();
    bool inside = false;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
        const Reading line = classify(lines_[i]);
        if (line.section) inside = same_name(*line.section, section);
        if (inside) continue;
        if (kept != i) {
            lines_[kept] = std::move(lines_[i]);
            line_ends_[kept] = std::move(line_ends_[i]);
        }
        ++kept;
    }
    lines_.resize(kept);
    line_ends_.resize(kept);
}

void IniFile::insert(std::size_t position, std::string line) {
    const auto first_break = [](const std::string& end) {
        return end.substr(0, end.find('\n') + 1);
    };
    std::string end = line_ends_.empty() ? "" : first_break(line_ends_.front());
    if (end.empty()) end = "\n";
    if (position > 0) {
        // Blank lines behind the line before stay behind the new one.
        std::string& before = line_ends_[position - 1];
        const std::string own = before.empty() ? end : first_break(before);
        const std::string blank = before.substr(std::min(own.size(), before.size()));
        before = own;
        end += blank;
    }
    const auto offset = static_cast<std::ptrdiff_t>(position);
    lines_.insert(lines_.begin() + offset, std::move(line));
    line_ends_.insert(line_ends_.begin() + offset, end);
}

void IniFile::save() const {
    check_writable();
    save_as(file_);
}

void IniFile::save_as(const fs::path& file) const {
    check_writable();
    std::string bytes;
    for (std::size_t i = 0; i < lines_.size(); ++i)
        bytes += lines_[i] + line_ends_[i];
    write_file(file, bytes, {unit});
}

void IniFile::check_names(std::string_view section, std::string_view key) const {
    if (is_blank(section)) throw AlgoError("Section's name is empty!", "", {unit});
    if (is_blank(key)) throw AlgoError("Key's name is empty!", "", {unit});
}

void IniFile::check_open() const {
    if (!opened_) throw AlgoError("Ini-file wasn't opened!", "", {unit});
}

void IniFile::check_writable() const {
    check_open();
    if (mode_ == Mode::read_only) throw AlgoError("Data is read-only!", file_.string(), {unit});
}

}  // namespace vyn
