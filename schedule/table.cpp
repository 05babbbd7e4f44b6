#include "schedule/table.h"

#include <algorithm>
#include <limits>

#include <csv.h>
#include <nlohmann/json.hpp>

#include "core/ascii.h"
#include "core/atomic_file.h"
#include "core/errors.h"
#include "core/numbers.h"

namespace vyn {

namespace {

constexpr std::size_t largest_table = std::size_t{256} << 20;

[[noreturn]] void refuse_table(const std::filesystem::path& file, const std::string& why) {
    throw FileError("File error!", file.string() + ": " + why);
}

bool is_utf8(std::string_view text) {
    std::size_t following = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (following > 0) {
            if ((byte & 0xC0U) != 0x80U) return false;
            --following;
        } else if (byte >= 0x80U) {
            following = byte >= 0xF0U ? 3 : byte >= 0xE0U ? 2 : byte >= 0xC2U ? 1 : 0;
            if (following == 0 || byte > 0xF4U) return false;
        }
    }
    return following == 0;
}

std::string utf8_of_latin1(std::string_view text) {
    std::string utf8;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80U) {
            utf8 += c;
        } else {
            utf8 += static_cast<char>(0xC0U | (byte >> 6U));
            utf8 += static_cast<char>(0x80U | (byte & 0x3FU));
        }
    }
    return utf8;
}

/// The file as UTF-8 with line feeds only.
std::string text_of(const std::filesystem::path& file) {
    std::string text = read_file(file, largest_table);
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF"))
        refuse_table(file, "this is UTF-16; save the table as UTF-8");
    if (text.find('\0') != std::string::npos) refuse_table(file, "this is no text");
    if (text.starts_with("\xEF\xBB\xBF")) text.erase(0, 3);
    if (!is_utf8(text)) text = utf8_of_latin1(text);
    std::string lines;
    lines.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r')
            lines += text[i];
        else if (i + 1 == text.size() || text[i + 1] != '\n')
            lines += '\n';
    }
    return lines;
}

/// What parts the heads: a tab where there is one, else a semicolon, else a comma.
char separator_of(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size() && (text[start] == '#' || text[start] == '\n'))
        start = std::min(text.find('\n', start), text.size() - 1) + 1;
    const std::string_view heads = text.substr(start, text.find('\n', start) - start);
    for (const char separator : {'\t', ';'})
        if (heads.find(separator) != std::string_view::npos) return separator;
    return ',';
}

struct Reading {
    std::vector<std::string> cells;
    std::vector<TableRow> rows;
    std::vector<TableRow> comments;
    int number = 1;
};

/// libcsv calls back through C.
extern "C" void take_cell(void* bytes, std::size_t count, void* reading) {
    const std::string_view cell(static_cast<const char*>(bytes), bytes ? count : 0);
    static_cast<Reading*>(reading)->cells.emplace_back(trim(cell));
}

extern "C" void take_row(int /*ending*/, void* reading) {
    auto& to = *static_cast<Reading*>(reading);
    const bool empty =
        std::ranges::all_of(to.cells, [](const std::string& cell) { return cell.empty(); });
    if (!empty)
        (to.cells.front().starts_with('#') ? to.comments : to.rows)
            .push_back({to.number, std::move(to.cells)});
    to.cells.clear();
    ++to.number;
}

Reading read_rows(const std::filesystem::path& file, const std::string& text, char separator) {
    struct Parser {
        csv_parser parser;
        ~Parser() { csv_free(&parser); }
    };
    Parser csv{};
    if (csv_init(&csv.parser, CSV_REPALL_NL | CSV_STRICT | CSV_STRICT_FINI) != 0)
        refuse_table(file, "it cannot be read");
    csv_set_delim(&csv.parser, static_cast<unsigned char>(separator));
    Reading reading;
    const bool whole = csv_parse(&csv.parser, text.data(), text.size(), take_cell, take_row,
                                 &reading) == text.size() &&
                       csv_fini(&csv.parser, take_cell, take_row, &reading) == 0;
    if (!whole)
        refuse_table(file, "row " + std::to_string(reading.number) +
                               ": a quotation mark that does not open or close a cell");
    return reading;
}

Table table_of_csv(const std::filesystem::path& file, const std::string& text) {
    Table table;
    table.separator = separator_of(text);
    Reading reading = read_rows(file, text, table.separator);
    table.rows = std::move(reading.rows);
    table.comments = std::move(reading.comments);
    if (table.rows.empty()) refuse_table(file, "the table is empty");
    table.heads = std::move(table.rows.front().cells);
    table.rows.erase(table.rows.begin());
    while (!table.heads.empty() && table.heads.back().empty())
        table.heads.pop_back();
    for (TableRow& row : table.rows) {
        for (std::size_t i = table.heads.size(); i < row.cells.size(); ++i)
            if (!row.cells[i].empty())
                refuse_table(file, "row " + std::to_string(row.number) + " has " +
                                       std::to_string(row.cells.size()) + " cells, the heads are " +
                                       std::to_string(table.heads.size()));
        row.cells.resize(table.heads.size());
    }
    return table;
}

/// Puts an object's members into a new row.
class JsonRows {
  public:
    JsonRows(const std::filesystem::path& file, Table& table) : file_(file), table_(table) {
        table_.heads = {"point"};
    }

    void add(const nlohmann::ordered_json& object, const std::string& where,
             const std::string& point = {}) {
        if (!object.is_object()) refuse_table(file_, where + " is no object");
        TableRow row{static_cast<int>(table_.rows.size()) + 2, {point}};
        for (const auto& [name, value] : object.items())
            put(row, point.empty() || name != "points" ? name : std::string(),
                text_of_value(value, where, name));
        if (!point.empty()) row.cells[0] = point;
        table_.rows.push_back(std::move(row));
    }

    void finish() {
        for (TableRow& row : table_.rows)
            row.cells.resize(table_.heads.size());
    }

  private:
    void put(TableRow& row, const std::string& head, const std::string& text) {
        if (head.empty()) return;
        const auto found = std::ranges::find(table_.heads, head);
        const auto column = static_cast<std::size_t>(found - table_.heads.begin());
        if (found == table_.heads.end()) table_.heads.push_back(head);
        if (row.cells.size() <= column) row.cells.resize(column + 1);
        row.cells[column] = text;
    }

    std::string text_of_value(const nlohmann::ordered_json& value, const std::string& where,
                              const std::string& name) const {
        if (value.is_string()) return std::string(trim(value.get<std::string>()));
        if (value.is_boolean()) return value.get<bool>() ? "1" : "0";
        if (value.is_number_integer()) return value.dump();
        if (value.is_number()) return format_double(value.get<double>());
        if (value.is_null()) return {};
        refuse_table(file_, where + ": \"" + name + "\" is neither text nor number");
    }

    const std::filesystem::path& file_;
    Table& table_;
};

Table table_of_json(const std::filesystem::path& file, const std::string& text) {
    nlohmann::ordered_json all;
    try {
        all = nlohmann::ordered_json::parse(text);
    } catch (const nlohmann::ordered_json::exception& error) {
        refuse_table(file, std::string("this is no JSON: ") + error.what());
    }
    if (!all.is_object() || !all.contains("points") || !all["points"].is_array())
        refuse_table(file, "there is no list \"points\"");
    for (const auto& [name, value] : all.items())
        if (name != "points" && name != "rules" && name != "settings")
            refuse_table(file, "nothing is known of \"" + name +
                                   R"("; a schedule has "settings", "rules" and "points")");
    Table table;
    JsonRows rows(file, table);
    if (all.contains("settings")) rows.add(all["settings"], "\"settings\"", "/.*/");
    if (all.contains("rules")) {
        int number = 0;
        for (const nlohmann::ordered_json& rule : all["rules"]) {
            const std::string where = "rule " + std::to_string(++number);
            if (!rule.is_object() || !rule.contains("points") || !rule["points"].is_string())
                refuse_table(file, where + ": \"points\" is no regular expression");
            rows.add(rule, where, "/" + rule["points"].get<std::string>() + "/");
        }
    }
    int number = 0;
    for (const nlohmann::ordered_json& point : all["points"])
        rows.add(point, "point " + std::to_string(++number));
    rows.finish();
    return table;
}

std::string csv_cell(const std::string& cell) {
    if (cell.find_first_of(",;\t\"\n") == std::string::npos) return cell;
    std::string text = "\"";
    for (const char c : cell)
        text += c == '"' ? "\"\"" : std::string(1, c);
    return text + '"';
}

std::string csv_line(const std::vector<std::string>& cells, char separator) {
    std::string line;
    for (const std::string& cell : cells)
        line += (&cell == &cells.front() ? "" : std::string(1, separator)) + csv_cell(cell);
    return line + "\n";
}

}  // namespace

Table read_table(const std::filesystem::path& file) {
    const std::string text = text_of(file);
    return lower_extension(file) == "json" ? table_of_json(file, text) : table_of_csv(file, text);
}

std::string csv_text(const Table& table) {
    std::string text;
    auto comment = table.comments.begin();
    const auto put_comments = [&](int before_row) {
        for (; comment != table.comments.end() && comment->number < before_row; ++comment)
            text += csv_line(comment->cells, table.separator);
    };
    put_comments(table.rows.empty() ? 2 : table.rows.front().number - 1);
    text += csv_line(table.heads, table.separator);
    for (const TableRow& row : table.rows) {
        put_comments(row.number);
        text += csv_line(row.cells, table.separator);
    }
    put_comments(std::numeric_limits<int>::max());
    return text;
}

}  // namespace vyn
