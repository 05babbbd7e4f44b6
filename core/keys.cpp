#include "core/keys.h"

#include <algorithm>
#include <cmath>

#include "core/numbers.h"
#include "core/quotes.h"
#include "core/spelling.h"

namespace vyn {

namespace {

/// The words of the table's "allowed" column; a scope of their own, since `any` is a class too.
namespace words {

using string = std::string;

Allowed any() {
    return {};
}
Allowed range(double low, double high) {
    return {Allowed::Kind::range, low, high, {}};
}
Allowed boolean() {
    return range(0, 1);
}
template <class... Text>
Allowed one_of(Text... texts) {
    return {Allowed::Kind::list, 0, 0, {texts...}};
}

enum class Record { camera, paint, flow };

std::vector<std::string_view> trees(Record record) {
    switch (record) {
        case Record::camera:
            return {keys::sens_camera, keys::refe_camera, keys::temperature_camera};
        case Record::paint:
            return {keys::sens_paint};
        case Record::flow:
            return {keys::flow};
    }
    return {};
}

std::vector<KeyInfo> make_table() {
    std::vector<KeyInfo> table;
#define VYN_KEY(name, type, path, fallback, allowed, meaning) \
    table.push_back({path, vyn::any(static_cast<type>(fallback)), allowed, meaning});
#define VYN_RECORD_KEY(record, type, relative, fallback, allowed, meaning)                      \
    for (const std::string_view tree : trees(Record::record))                                   \
        table.push_back({std::string(tree) + (relative), vyn::any(static_cast<type>(fallback)), \
                         allowed, meaning});
#include "core/keys.def"
    std::sort(table.begin(), table.end(),
              [](const KeyInfo& a, const KeyInfo& b) { return a.path < b.path; });
    return table;
}

}  // namespace words

bool ends_with_component(std::string_view path, std::string_view end) {
    return path.size() > end.size() && path.ends_with(end) &&
           path[path.size() - end.size() - 1] == '/';
}

/// The key that was probably meant: one that ends in "/" and the given text, or the nearest by
/// spelling; null when none is close.
const KeyInfo* nearest_key(std::string_view path) {
    const KeyInfo* nearest = nullptr;
    NearestWord word(path);
    for (const KeyInfo& key : key_table()) {
        if (ends_with_component(key.path, path)) return &key;
        if (word.offer(key.path)) nearest = &key;
    }
    return nearest;
}

std::string no_such_key(std::string_view path) {
    std::string why = "there is no setting " + in_quotes(path);
    if (path.ends_with('/'))
        why += " (it names a sub-tree)";
    else if (const KeyInfo* nearest = nearest_key(path))
        why += "; did you mean \"" + nearest->path + "\"?";
    return why;
}

/// Whether the table would know the setting: others may keep their own elsewhere.
bool is_known_tree(std::string_view path) {
    return (path.starts_with("project/") || path.starts_with("roject/")) &&
           !path.starts_with(keys::resection);
}

std::string describe(const KeyInfo& key) {
    const Allowed& allowed = key.allowed;
    const std::string kind = key.fallback.holds<int>()      ? "a whole number"
                             : key.fallback.holds<double>() ? "a number"
                                                            : "a text";
    if (allowed.kind == Allowed::Kind::range)
        return kind + " from " + format_double(allowed.low) + " to " + format_double(allowed.high);
    std::string texts;
    for (const std::string_view text : allowed.list)
        texts += (texts.empty() ? "one of \"" : ", \"") + std::string(text) + "\"";
    return texts.empty() ? kind : texts;
}

bool in_range(const Allowed& allowed, double value) {
    return std::isfinite(value) && (allowed.kind != Allowed::Kind::range ||
                                    (value >= allowed.low && value <= allowed.high));
}

bool in_list(const Allowed& allowed, std::string_view text) {
    return allowed.kind != Allowed::Kind::list || std::ranges::count(allowed.list, text) > 0;
}

/// The value of the key's type; an empty holder when the text is none or not allowed.
any convert(const KeyInfo& key, std::string_view text) {
    any value;
    if (key.fallback.holds<int>()) {
        const auto number = parse_int(text);
        if (number && in_range(key.allowed, *number)) value.set(*number);
    } else if (key.fallback.holds<double>()) {
        const auto number = parse_double(text);
        if (number && in_range(key.allowed, *number)) value.set(*number);
    } else if (in_list(key.allowed, text)) {
        value.set(std::string(text));
    }
    return value;
}

}  // namespace

const std::vector<KeyInfo>& key_table() {
    static const std::vector<KeyInfo> table = words::make_table();
    return table;
}

const KeyInfo* find_key(std::string_view path) {
    const auto& table = key_table();
    const auto row = std::ranges::lower_bound(table, path, {}, &KeyInfo::path);
    return row != table.end() && row->path == path ? &*row : nullptr;
}

std::string short_meaning(std::string_view path) {
    const std::string_view whole = find_key(path)->meaning;
    return std::string(trim(whole.substr(0, whole.find_first_of(";:("))));
}

any parse_setting(std::string_view path, std::string_view text) {
    const KeyInfo* key = find_key(path);
    if (!key) throw AlgoError("Trying to get not existing data!", no_such_key(path));
    any value = convert(*key, text);
    if (value.empty())
        throw AlgoError("Algorithm error!", key->path + ": " + in_quotes(text) +
                                                " is not allowed; it takes " + describe(*key));
    return value;
}

std::string non_finite_setting(const dataSetInterface& data) {
    std::string complaint;
    data.for_each([&](const std::string& path, const any& value) {
        if (complaint.empty() && value.holds<double>() && !std::isfinite(value.get<double>()) &&
            find_key(path))
            complaint = path + ": " + format_setting(value) + " is no finite number";
    });
    return complaint;
}

std::vector<std::string> check_settings(dataSetInterface& data) {
    // Who would read more? And to look for the nearest of each takes its time.
    constexpr std::size_t most_unknown = 100;
    std::size_t unknown = 0;
    std::vector<std::string> complaints;
    data.for_each([&](const std::string& path, const any& value) {
        const KeyInfo* key = find_key(path);
        if (!key) {
            if (is_known_tree(path) && ++unknown <= most_unknown)
                complaints.push_back(no_such_key(path));
            return;
        }
        const std::string text = format_setting(value);
        const bool right_type = value.type() == key->fallback.type();
        const any allowed = convert(*key, text);
        if (!allowed.empty() && value.holds<int>() && key->fallback.holds<double>())
            data.set_value(path, allowed, /*is_default=*/true);
        else if (allowed.empty() || !right_type)
            complaints.push_back(
                key->path + ": " + in_quotes(text) + " is not what it takes, " + describe(*key) +
                (right_type ? "; it is used as it stands"
                            : "; its default \"" + format_setting(key->fallback) + "\" is used"));
    });
    if (unknown > most_unknown)
        complaints.push_back("there are no settings of " + std::to_string(unknown - most_unknown) +
                             " more names");
    return complaints;
}

std::string format_setting(const any& value) {
    if (value.holds<int>()) return std::to_string(value.get<int>());
    if (value.holds<double>()) return format_double(value.get<double>());
    return value.empty() ? std::string() : value.get<std::string>();
}

}  // namespace vyn
