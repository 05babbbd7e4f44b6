#include "schedule/schedule.h"

#include <algorithm>
#include <map>
#include <optional>
#include <regex>
#include <set>

#include <fnmatch.h>

#include "api/image_io.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "core/numbers.h"
#include "core/project_file.h"
#include "core/quotes.h"
#include "process/point/digest.h"
#include "process/point/image_digest.h"
#include "process/point/project_paths.h"
#include "process/project/ims.h"
#include "process/project/project_tasks.h"
#include "schedule/columns.h"
#include "schedule/name_pattern.h"
#include "schedule/point_settings.h"
#include "schedule/table_units.h"

namespace vyn {

namespace fs = std::filesystem;

namespace {

using Use = Column::Use;

std::shared_ptr<const BaseProject> read_base(const fs::path& file) {
    auto base = std::make_shared<BaseProject>();
    base->file = fs::absolute(file).lexically_normal();
    base->digest = known_file_sha256(base->file);
    const std::string name = base->file.string();
    if (is_container(base->file))
        from_xml(base->settings, read_ims_project(base->file), name);
    else
        load_xml(base->settings, name.c_str());
    check_settings(base->settings);
    write(base->settings, keys::head_file, name);
    return base;
}

std::shared_ptr<const PaintFile> read_paint(const fs::path& file) {
    auto paint = std::make_shared<PaintFile>();
    paint->record = load_paint_calibration(file.string());
    paint->digest = known_file_sha256(file);
    return paint;
}

/// "0,85" is read as "0.85" where commas do not part the cells.
std::string with_decimal_point(std::string text) {
    const std::size_t comma = text.find(',');
    if (comma != std::string::npos && text.find_first_of(".,", comma + 1) == std::string::npos &&
        text.find('.') == std::string::npos)
        text[comma] = '.';
    return text;
}

std::string without_brackets(const std::string& unit) {
    const bool wrapped = unit.size() >= 2 && ((unit.front() == '[' && unit.back() == ']') ||
                                              (unit.front() == '(' && unit.back() == ')'));
    return std::string(trim(wrapped ? unit.substr(1, unit.size() - 2) : unit));
}

/// A rule's row: the points that it is for, and its cells.
struct Rule {
    std::regex points;
    const TableRow* row;
};

/// Turns a table into points, row by row.
class Reader {
  public:
    Reader(Schedule& schedule, const ScheduleOptions& options)
        : schedule_(schedule), options_(options) {}

    void read() {
        std::set<std::string> variables;
        for (const TableRow& row : schedule_.table.rows)
            for (const std::string& cell : row.cells)
                add_pattern_names(cell, variables);
        columns_ = resolve_columns(schedule_.table.heads, variables, schedule_.problems);
        read_rows();
        schedule_.columns = std::move(columns_);
    }

  private:
    void read_rows() {
        for (std::size_t i = 0; i < columns_.size(); ++i)
            if (columns_[i].use == Use::point) point_column_ = i;
        if (point_column_ == columns_.size()) return;
        const auto& rows = schedule_.table.rows;
        const bool units = !rows.empty() && take_units(rows.front());
        for (std::size_t i = units ? 1 : 0; i < rows.size(); ++i)
            if (is_rule(rows[i])) add_rule(rows[i]);
        for (std::size_t i = units ? 1 : 0; i < rows.size(); ++i)
            if (!is_rule(rows[i])) add_point(rows[i]);
        if (schedule_.points.empty() && schedule_.problems.empty())
            complain(0, {}, "the table has no points");
    }

    void complain(int row, const std::string& column, const std::string& text) {
        schedule_.problems.push_back({row, column, text});
    }

    const std::string& name_in(const TableRow& row) const { return row.cells[point_column_]; }

    bool is_rule(const TableRow& row) const {
        const std::string& name = name_in(row);
        return name.size() >= 2 && name.front() == '/' && name.back() == '/';
    }

    /// A row without a point's name whose cells are units.
    bool take_units(const TableRow& row) {
        const std::string name = without_brackets(name_in(row));
        if (!name.empty() && name != "-") return false;
        bool some = false;
        for (std::size_t i = 0; i < row.cells.size(); ++i) {
            if (i == point_column_ || row.cells[i].empty()) continue;
            if (columns_[i].use == Use::setting && !is_unit_name(without_brackets(row.cells[i])) &&
                dimension_of(columns_[i].name) != Dimension::none)
                complain(row.number, columns_[i].head,
                         "the unit " + in_quotes(row.cells[i]) + " is not known");
            columns_[i].unit = without_brackets(row.cells[i]);
            some = true;
        }
        return some;
    }

    void add_rule(const TableRow& row) {
        constexpr std::size_t longest = 200;
        const std::string& text = name_in(row);
        if (text.size() > longest) {
            complain(row.number, "point", "this regular expression is too long");
            return;
        }
        try {
            rules_.push_back({std::regex(text.substr(1, text.size() - 2)), &row});
        } catch (const std::regex_error&) {
            complain(row.number, "point", in_quotes(text) + " is no regular expression");
        }
    }

    bool check_name(const TableRow& row) {
        constexpr std::size_t longest = 100;  // it names a folder
        const std::string& name = name_in(row);
        const auto odd = [](char c) {
            return c == '/' || c == '\\' || static_cast<unsigned char>(c) < ' ';
        };
        if (name.empty())
            complain(row.number, {}, "the point has no name");
        else if (name.size() > longest || name.starts_with('.') || name.starts_with('-') ||
                 std::ranges::any_of(name, odd))
            complain(row.number, "point",
                     in_quotes(name) + " cannot name a folder, as a point's name must");
        else if (const auto [first, is_new] = names_.emplace(name, row.number); !is_new)
            complain(row.number, "point",
                     in_quotes(name) + " stands in row " + std::to_string(first->second) + ", too");
        else
            return true;
        return false;
    }

    /// The row's cells, empty ones from the rules that match.
    std::vector<std::string> whole_cells(const TableRow& row) const {
        std::vector<std::string> cells = row.cells;
        for (auto rule = rules_.rbegin(); rule != rules_.rend(); ++rule) {
            if (!std::regex_search(name_in(row), rule->points)) continue;
            for (std::size_t i = 0; i < cells.size(); ++i)
                if (cells[i].empty()) cells[i] = rule->row->cells[i];
        }
        return cells;
    }

    std::shared_ptr<const BaseProject> base_of(const TableRow& row, const std::string& cell) {
        fs::path file = cell.empty() ? options_.base : schedule_.file.parent_path() / cell;
        if (file.empty())
            for (const char* extension : {".xml", ".ims"}) {
                fs::path beside = schedule_.file;
                beside.replace_extension(extension);
                std::error_code ignored;
                if (fs::exists(beside, ignored)) file = beside;
            }
        const auto [known, is_new] = bases_.try_emplace(file.string());
        if (!is_new) return known->second;
        if (file.empty()) {
            complain(0, {},
                     "no base project is named: give --base, a column \"base\", or a project "
                     "beside the table with its name");
            return nullptr;
        }
        try {
            const UnloggedErrors told_here;
            known->second = read_base(file);
        } catch (const GenericError& error) {
            complain(row.number, "base", error.detail.empty() ? error.text : error.detail);
        }
        return known->second;
    }

    /// A calibration lies in the base's folder or is named in full.
    std::shared_ptr<const PaintFile> paint_of(const SchedulePoint& point, const std::string& name) {
        const fs::path file = point.base->file.parent_path() / name;
        const auto [known, is_new] = paints_.try_emplace(file.string());
        if (is_new || !known->second) known->second = read_paint(file);
        return known->second;
    }

    bool read_flag(const TableRow& row, std::size_t column, const std::string& text) {
        if (text.empty() || text == "0" || text == "no" || text == "false") return false;
        if (text == "1" || text == "yes" || text == "true" || text == "x") return true;
        complain(row.number, columns_[column].head, in_quotes(text) + " is neither 0 nor 1");
        return false;
    }

    /// The text of a number in the unit that the setting is in.
    std::string in_base_unit(const TableRow& row, const Column& column, const std::string& text,
                             const BaseProject& base, const std::vector<std::string>& cells) {
        const Dimension dimension = dimension_of(column.name);
        const std::optional<double> number = parse_double(text);
        if (column.unit.empty() || dimension == Dimension::none || !number) return text;
        std::string unit = "deg";
        if (dimension != Dimension::angle) {
            const std::string key =
                std::string(keys::flow) + (dimension == Dimension::pressure ? "p_unit" : "t_unit");
            unit = base.settings.read(key, find_key(key)->fallback.get<std::string>());
            for (std::size_t i = 0; i < columns_.size(); ++i)
                if (columns_[i].name == key && !cells[i].empty()) unit = cells[i];
        }
        const auto converted = convert_table_unit(*number, dimension, column.unit, unit);
        if (!converted)
            complain(row.number, column.head,
                     "cannot be converted from " + in_quotes(column.unit) + " to " +
                         in_quotes(unit) + ", the unit of the project");
        return converted ? format_double(*converted) : text;
    }

    std::optional<std::string> value_of(const std::string& name,
                                        const std::vector<std::string>& cells,
                                        const BaseProject& base) const {
        for (std::size_t i = 0; i < columns_.size(); ++i)
            if (columns_[i].head == name && (!cells[i].empty() || columns_[i].use != Use::setting))
                return is_number(columns_[i]) ? with_decimal_point(cells[i]) : cells[i];
        std::vector<Problem> unread;
        const std::vector<Column> setting = resolve_columns({"point", name}, {}, unread);
        if (!unread.empty() || setting[1].use != Use::setting) return std::nullopt;
        const any stored = base.settings.value(setting[1].name);
        return format_setting(stored.type() != nullptr ? stored
                                                       : find_key(setting[1].name)->fallback);
    }

    void add_point(const TableRow& row) {
        if (!check_name(row)) return;
        const std::vector<std::string> cells = whole_cells(row);
        SchedulePoint point;
        point.name = name_in(row);
        point.row = row.number;
        const auto cell_of = [&](Use use) {
            for (std::size_t i = 0; i < columns_.size(); ++i)
                if (columns_[i].use == use) return cells[i];
            return std::string();
        };
        point.group = cell_of(Use::group);
        point.base = base_of(row, cell_of(Use::base));
        if (!point.base) return;
        std::map<std::string, std::string> told;  // in an order that the columns do not decide
        for (std::size_t i = 0; i < columns_.size(); ++i) {
            const Column& column = columns_[i];
            if (column.use == Use::skip) point.skip = read_flag(row, i, cells[i]);
            if (column.use == Use::auto_markers) point.auto_markers = read_flag(row, i, cells[i]);
            const bool takes_text =
                column.use == Use::setting || column.use == Use::save || column.use == Use::paint;
            if (!takes_text || cells[i].empty()) continue;
            try {
                const UnloggedErrors told_here;
                const std::string text = expand_pattern(cells[i], [&](const std::string& name) {
                    return value_of(name, cells, *point.base);
                });
                if (column.use == Use::save) {
                    point.saves.emplace_back(column.name, text);
                    told[column.name] = text;
                } else if (column.use == Use::paint) {
                    point.paint = paint_of(point, text);
                } else {
                    add_setting(row, column, text, cells, point);
                    told[column.name] = format_setting(point.settings.back().second);
                }
            } catch (const GenericError& error) {
                complain(row.number, column.head, error.detail.empty() ? error.text : error.detail);
            }
        }
        if (!point.skip) check_saves(row, point);
        point.digest = digest_of(point, told);
        schedule_.points.push_back(std::move(point));
    }

    static std::string digest_of(const SchedulePoint& point,
                                 const std::map<std::string, std::string>& told) {
        std::string text = point.base->digest;
        for (const auto& [name, value] : told)
            text.append("\n").append(name).append("=").append(value);
        if (point.auto_markers) text += "\nauto_markers";
        if (point.paint) text += "\npaint=" + point.paint->digest;
        return text_digest(text);
    }

    static bool is_number(const Column& column) {
        return column.use == Use::setting && find_key(column.name)->fallback.holds<double>();
    }

    /// What a point saves has a format, and no other file's name.
    void check_saves(const TableRow& row, const SchedulePoint& point) {
        for (const auto& [image, file] : point.saves) {
            const auto column = std::ranges::find_if(columns_, [&name = image](const Column& one) {
                return one.use == Use::save && one.name == name;
            });
            const ImageFormat* const format = get_2dio().by_extension(file);
            if (!format || !format->info().can_write)
                complain(row.number, column->head,
                         "no format writes files named like " + in_quotes(file.string()));
            const auto [first, is_new] = saved_.try_emplace(
                (schedule_.results / file).lexically_normal(), row.number, column->head);
            if (!is_new)
                complain(row.number, column->head,
                         in_quotes(file.string()) + " is written by row " +
                             std::to_string(first->second.first) + ", too (column " +
                             first->second.second + ")");
        }
    }

    void add_setting(const TableRow& row, const Column& column, std::string text,
                     const std::vector<std::string>& cells, SchedulePoint& point) {
        if (is_number(column))
            text = in_base_unit(row, column, with_decimal_point(text), *point.base, cells);
        point.settings.emplace_back(column.name, parse_setting(column.name, text));
    }

    Schedule& schedule_;
    const ScheduleOptions& options_;
    std::vector<Column> columns_;
    std::size_t point_column_ = 0;
    std::vector<Rule> rules_;
    std::map<std::string, int> names_;
    std::map<fs::path, std::pair<int, std::string>> saved_;  ///< row and column of each file
    std::map<std::string, std::shared_ptr<const BaseProject>> bases_;
    std::map<std::string, std::shared_ptr<const PaintFile>> paints_;
};

}  // namespace

Schedule read_schedule(const fs::path& file, const ScheduleOptions& options) {
    Schedule schedule;
    schedule.file = fs::absolute(file).lexically_normal();
    schedule.results = options.results.empty()
                           ? schedule.file.parent_path() / (schedule.file.stem() += "_results")
                           : fs::absolute(options.results).lexically_normal();
    schedule.digest = file_sha256(schedule.file);
    schedule.table = read_table(schedule.file);
    Reader(schedule, options).read();
    return schedule;
}

std::vector<Problem> missing_inputs(const Schedule& schedule) {
    std::vector<Problem> problems;
    std::map<std::string, bool> known;  // points share most of their files
    std::set<std::string> told_of_base;
    const auto is_there = [&](const std::string& name, const fs::path& folder) {
        const auto [found, is_new] = known.try_emplace(name + '\n' + folder.string());
        if (is_new) found->second = !locate(name, folder).empty();
        return found->second;
    };
    for (const SchedulePoint& point : schedule.points) {
        if (point.skip) continue;
        const fs::path folder = point.base->file.parent_path();
        for (const auto& [key, name] : named_inputs(point)) {
            // A flat field may also lie beside its camera's file.
            if (key.ends_with("/flat_file") || is_there(name, folder)) continue;
            const auto own = std::ranges::find(point.settings, key, [](const auto& setting) {
                return std::string_view(setting.first);
            });
            const auto column = std::ranges::find(schedule.columns, key, &Column::name);
            if (own != point.settings.end() && column != schedule.columns.end())
                problems.push_back({point.row, column->head, "there is no file " + name});
            else if (told_of_base.insert(point.base->file.string() + '\n' + name).second)
                problems.push_back({0,
                                    {},
                                    point.base->file.string() + " names " + name + " (" +
                                        std::string(key) + "), which is not there"});
        }
    }
    return problems;
}

std::vector<const SchedulePoint*> points_named(const Schedule& schedule,
                                               const std::vector<std::string>& names,
                                               std::vector<Problem>& problems) {
    std::vector<bool> wanted(schedule.points.size(), names.empty());
    for (const std::string& name : names) {
        bool some = false;
        for (std::size_t i = 0; i < wanted.size(); ++i)
            if (fnmatch(name.c_str(), schedule.points[i].name.c_str(), 0) == 0)
                some = wanted[i] = true;
        if (!some) problems.push_back({0, {}, "no point is named " + in_quotes(name)});
    }
    std::vector<const SchedulePoint*> points;
    for (std::size_t i = 0; i < wanted.size(); ++i)
        if (wanted[i]) points.push_back(&schedule.points[i]);
    return points;
}

}  // namespace vyn
