#include "calib/paint_table.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string_view>

#include "calib/units.h"
#include "core/ascii.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "core/quotes.h"

namespace vyn {

namespace {

constexpr std::size_t most_bytes = 16 << 20;

using Cells = std::vector<std::string>;

struct Line {
    int number = 0;
    Cells cells;
};

[[noreturn]] void refuse(const std::filesystem::path& file, int line, const std::string& what) {
    throw FileError("File error!", file.string() + ", line " + std::to_string(line) + ": " + what);
}

/// The name in the unit tables, and what its unit is of that one.
struct PressureUnit {
    std::string name;
    double factor = 1;
};
std::optional<PressureUnit> pressure_unit(const std::string& text) {
    const std::string name = lower_case(text);
    if (name == "kpa") return PressureUnit{"pa", 1000};
    if (name == "hpa" || name == "mbar") return PressureUnit{"pa", 100};
    if (is_pressure_unit(name)) return PressureUnit{name};
    return std::nullopt;
}

std::optional<std::string> temperature_unit(const std::string& text) {
    std::string name = lower_case(text);
    for (const std::string_view degree : {"\xc2\xb0", "\xb0", "deg"})
        if (name.starts_with(degree)) name = std::string(trim(name.substr(degree.size())));
    if (name == "celsius") name = "c";
    if (name == "kelvin") name = "k";
    return is_temperature_unit(name) ? std::optional(name) : std::nullopt;
}

char separator_of(const std::string& line) {
    for (const char separator : {'\t', ';'})
        if (line.find(separator) != line.npos) return separator;
    return ',';
}

std::vector<Line> lines_of(const std::string& text) {
    std::vector<Line> lines;
    char separator = 0;
    int number = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        std::string line(trim(std::string_view(text).substr(begin, end - begin)));
        begin = end + 1;
        ++number;
        if (number == 1 && line.starts_with("\xef\xbb\xbf")) line.erase(0, 3);
        if (line.empty() || line.front() == '#') continue;
        if (separator == 0) separator = separator_of(line);
        Line& split = lines.emplace_back(Line{number, {}});
        for (std::size_t at = 0; at <= line.size();) {
            const std::size_t stop = std::min(line.find(separator, at), line.size());
            std::string cell(trim(std::string_view(line).substr(at, stop - at)));
            if (cell.size() > 1 && cell.front() == '"' && cell.back() == '"')
                cell = trim(std::string_view(cell).substr(1, cell.size() - 2));
            if (separator != ',') std::ranges::replace(cell, ',', '.');
            split.cells.push_back(std::move(cell));
            at = stop + 1;
        }
    }
    return lines;
}

bool is_measurement(const Line& line) {
    return !line.cells.empty() && std::ranges::any_of(line.cells, [](const std::string& cell) {
        return parse_double(cell).has_value();
    });
}

/// What a column's head says: its name in lower case, and the unit in brackets.
struct Head {
    std::string name;
    std::string unit;
};
Head head_of(const std::string& cell) {
    const std::size_t open = cell.find_first_of("[(");
    if (open == cell.npos) return {lower_case(cell), {}};
    const std::size_t close = cell.find_first_of("])", open);
    return {lower_case(trim(std::string_view(cell).substr(0, open))),
            std::string(trim(std::string_view(cell).substr(
                open + 1, close == cell.npos ? cell.npos : close - open - 1)))};
}

enum TableQuantity : std::size_t { pressure, temperature, ratio, quantity_count };

struct Columns {
    std::array<std::size_t, quantity_count> place{0, 1, 2};
    bool inverse_ratio = false;
    std::array<std::string, quantity_count> unit;
};

std::optional<TableQuantity> quantity_of(const std::string& name) {
    const auto is = [&](std::initializer_list<std::string_view> names) {
        return std::ranges::find(names, std::string_view(name)) != names.end();
    };
    if (is({"p", "pressure", "p_abs", "pabs"})) return pressure;
    if (is({"t", "temp", "temperature"})) return temperature;
    if (is({"r", "ratio", "i0/i", "io/i", "iref/i", "i_ref/i", "i/i0", "i/io", "i/iref"}))
        return ratio;
    return std::nullopt;
}

/// The columns by the lines before the first measurement.
Columns columns_of(const std::filesystem::path& file, const std::vector<Line>& head) {
    Columns columns;
    if (head.empty()) return columns;
    if (head.size() > 2) refuse(file, head[2].number, "this line is no measurement");
    std::array<bool, quantity_count> found{};
    const Cells& names = head.front().cells;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const Head one = head_of(names[i]);
        const auto quantity = quantity_of(one.name);
        if (!quantity) continue;
        if (found[*quantity])
            refuse(file, head.front().number, "two columns are " + in_quotes(one.name));
        found[*quantity] = true;
        columns.place[*quantity] = i;
        columns.unit[*quantity] = one.unit;
        if (*quantity == ratio) columns.inverse_ratio = one.name.starts_with("i/");
        if (head.size() == 2 && i < head[1].cells.size() && !head[1].cells[i].empty())
            columns.unit[*quantity] = head_of("[" + head[1].cells[i] + "]").unit;
    }
    constexpr std::array what{"pressure: P", "temperature: T", "ratio: R or I0/I"};
    for (std::size_t i = 0; i < quantity_count; ++i)
        if (!found[i])
            refuse(file, head.front().number,
                   std::string("the head of the table names no column of the ") + what[i]);
    return columns;
}

}  // namespace

bool is_table_pressure_unit(const std::string& name) {
    return pressure_unit(name).has_value();
}

bool is_table_temperature_unit(const std::string& name) {
    return temperature_unit(name).has_value();
}

PaintTable read_paint_table(const std::filesystem::path& file, const PaintTableUnits& units) {
    const std::vector<Line> lines = lines_of(read_file(file, most_bytes));
    const auto first = std::ranges::find_if(lines, is_measurement);
    if (first == lines.end())
        throw FileError("File error!", file.string() + ": the table holds no measurements");
    const Columns columns = columns_of(file, {lines.begin(), first});
    PaintTable table;
    const auto unit_or = [&](TableQuantity quantity, const std::string& otherwise,
                             const char* what) {
        if (!columns.unit[quantity].empty()) return columns.unit[quantity];
        table.remarks.push_back("The table names no unit of the " + std::string(what) +
                                ": it is taken as " + otherwise);
        return otherwise;
    };
    const std::string p_name = unit_or(pressure, units.pressure, "pressure");
    const std::string t_name = unit_or(temperature, units.temperature, "temperature");
    const auto p_unit = pressure_unit(p_name);
    const auto t_unit = temperature_unit(t_name);
    const int head_line = lines.front().number;
    if (!p_unit) refuse(file, head_line, in_quotes(p_name) + " is no unit of pressure");
    if (!t_unit) refuse(file, head_line, in_quotes(t_name) + " is no unit of temperature");
    for (auto line = first; line != lines.end(); ++line) {
        std::array<double, quantity_count> numbers{};
        for (std::size_t i = 0; i < quantity_count; ++i) {
            if (columns.place[i] >= line->cells.size())
                refuse(file, line->number,
                       "the line ends before column " + std::to_string(columns.place[i] + 1));
            const std::string& cell = line->cells[columns.place[i]];
            const auto number = parse_double(cell);
            if (!number || !std::isfinite(*number))
                refuse(file, line->number, in_quotes(cell) + " is no finite number");
            numbers[i] = *number;
        }
        if (!(numbers[ratio] > 0))
            refuse(file, line->number,
                   "a ratio of intensities is above 0, not " + format_general(numbers[ratio], 6));
        if (numbers[pressure] < 0)
            refuse(file, line->number, "the pressure is below 0: the law needs absolute pressures");
        table.samples.push_back(
            {convert_pressure(numbers[pressure] * p_unit->factor, p_unit->name, "pa"),
             convert_temperature(numbers[temperature], *t_unit, "c"),
             columns.inverse_ratio ? 1 / numbers[ratio] : numbers[ratio], line->number});
    }
    return table;
}

}  // namespace vyn
