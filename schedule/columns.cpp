#include "schedule/columns.h"

#include <algorithm>
#include <map>

#include "core/ascii.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "core/quotes.h"
#include "core/spelling.h"

namespace vyn {

namespace {

using Use = Column::Use;

const std::map<std::string, Use, std::less<>>& special_uses() {
    static const std::map<std::string, Use, std::less<>> uses{
        {"point", Use::point}, {"group", Use::group},  {"skip", Use::skip},
        {"base", Use::base},   {"run", Use::variable}, {"auto_markers", Use::auto_markers},
        {"paint", Use::paint}, {"note", Use::variable}};
    return uses;
}

constexpr std::string_view save_prefix = "save.";

/// Parts "static_p [kPa]" into name and unit.
void part_unit(Column& column) {
    for (const auto& [open, close] : {std::pair{'[', ']'}, std::pair{'(', ')'}}) {
        const std::size_t at = column.head.rfind(open);
        if (!column.head.ends_with(close) || at == std::string::npos || at == 0) continue;
        column.unit = trim(column.head.substr(at + 1, column.head.size() - at - 2));
        column.head = trim(column.head.substr(0, at));
    }
}

/// Settings by every end of their paths, those without "sens" included.
class SettingNames {
  public:
    SettingNames() {
        for (const KeyInfo& key : key_table()) {
            add_ends(key.path, key.path);
            if (const std::size_t at = key.path.find("_sens_"); at != std::string::npos)
                add_ends(std::string(key.path).erase(at, 5), key.path);
        }
    }

    const std::vector<std::string>* find(const std::string& name) const {
        const auto found = paths_.find(lower_case(name));
        return found == paths_.end() ? nullptr : &found->second;
    }

    std::string nearest(const std::string& name) const {
        NearestWord word(name);
        std::string nearest;
        for (const auto& [special, use] : special_uses())
            if (word.offer(special)) nearest = special;
        for (const auto& entry : paths_)
            if (word.offer(entry.first)) nearest = entry.first;
        return nearest;
    }

  private:
    void add_ends(const std::string& name, const std::string& path) {
        for (std::size_t at = 0;;) {
            auto& paths = paths_[lower_case(name.substr(at))];
            if (paths.empty() || paths.back() != path) paths.push_back(path);
            at = name.find('/', at);
            if (at == std::string::npos) return;
            ++at;
        }
    }

    std::map<std::string, std::vector<std::string>> paths_;
};

const SettingNames& setting_names() {
    static const SettingNames names;
    return names;
}

/// Puts the setting that a head names into the column; false when it names none.
bool take_setting(Column& column, std::vector<Problem>& problems) {
    const std::vector<std::string>* paths = setting_names().find(column.head);
    if (!paths) return false;
    if (paths->size() == 1) {
        column.use = Use::setting;
        column.name = paths->front();
        return true;
    }
    std::string text = "several settings end so:";
    for (const std::string& path : *paths)
        text += " " + path;
    problems.push_back({0, column.head, text + "; name more of the path"});
    return true;
}

Column resolve(const std::string& head, const std::set<std::string>& variables,
               std::vector<Problem>& problems) {
    Column column;
    column.head = head;
    part_unit(column);
    if (const auto special = special_uses().find(lower_case(column.head));
        special != special_uses().end()) {
        column.use = special->second;
        return column;
    }
    if (column.head.starts_with(save_prefix) && column.head.size() > save_prefix.size()) {
        column.use = Use::save;
        column.name = column.head.substr(save_prefix.size());
        return column;
    }
    if (take_setting(column, problems)) return column;
    if (variables.contains(column.head)) {
        column.use = Use::variable;
        return column;
    }
    const std::string nearest = setting_names().nearest(column.head);
    problems.push_back(
        {0, column.head.empty() ? "without a head" : column.head,
         "no setting has this name" +
             (nearest.empty() ? std::string() : "; did you mean " + in_quotes(nearest) + "?")});
    return column;
}

}  // namespace

const std::vector<std::string>& special_heads() {
    static const std::vector<std::string> heads = [] {
        std::vector<std::string> names;
        for (const auto& entry : special_uses())
            names.push_back(entry.first);
        return names;
    }();
    return heads;
}

std::vector<Column> resolve_columns(const std::vector<std::string>& heads,
                                    const std::set<std::string>& variables,
                                    std::vector<Problem>& problems) {
    std::vector<Column> columns;
    std::map<std::string, std::string> taken;
    for (const std::string& head : heads) {
        Column column = resolve(head, variables, problems);
        const std::string what = column.name.empty() ? lower_case(column.head) : column.name;
        const auto [first, is_new] = taken.emplace(what, column.head);
        if (!is_new && column.use != Use::ignored)
            problems.push_back({0, column.head, "stands twice, also as " + first->second});
        columns.push_back(std::move(column));
    }
    const bool named =
        std::ranges::any_of(columns, [](const Column& column) { return column.use == Use::point; });
    if (!named) problems.push_back({0, {}, "there is no column \"point\" with the points' names"});
    return columns;
}

}  // namespace vyn
