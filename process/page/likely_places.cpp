#include "process/page/likely_places.h"

#include <algorithm>
#include <filesystem>
#include <initializer_list>

#include "core/ascii.h"

namespace vyn {

namespace {

using Role = InputFile::Role;

/// A file's name in small letters, with blanks for everything that separates words.
std::string spoken(const std::string& file) {
    std::string text = ' ' + std::filesystem::path(file).stem().string() + ' ';
    for (char& c : text) {
        c = lower_case(c);
        if (c == '_' || c == '-' || c == '.') c = ' ';
    }
    return text;
}

bool says(const std::string& text, std::initializer_list<const char*> words) {
    return std::ranges::any_of(
        words, [&](const char* word) { return text.find(word) != std::string::npos; });
}

Role role_of(const std::string& file, const std::string& text) {
    const std::string extension = std::filesystem::path(file).extension().string();
    for (const char* known : {".mrk", ".mpt", ".inm"})
        if (extension == known) return Role::markers;
    if (says(text, {"flat"})) return Role::flat;
    if (says(text, {"dark", "bkg", "backgr"})) return Role::dark;
    return says(text, {"mask"}) ? Role::mask : Role::picture;
}

}  // namespace

std::vector<PageRow> likely_places(ExperimentType type, const std::string& file) {
    const std::string text = spoken(file);
    const Role role = role_of(file, text);
    const bool off = says(text, {"off"});
    const bool on = !off && says(text, {" on ", "windon", " won "});
    const bool reference = says(text, {"ref", "gate1", "gate 1"});
    const bool signal = says(text, {"sens", "sig", "gate2", "gate 2"});

    std::vector<PageRow> rows = flat_rows(type);
    for (const PageCard& card : page_cards(type))
        rows.insert(rows.end(), card.rows.begin(), card.rows.end());
    std::erase_if(rows, [&](const PageRow& row) {
        const std::string name = row.input.raw->name;
        if (row.input.role != role) return true;
        if (reference != signal && name.ends_with("_refe") != reference) return true;
        if (role == Role::flat) return false;
        return off != on && name.starts_with("wind_off") != off;
    });
    return rows;
}

std::string place_label(ExperimentType type, const PageRow& row) {
    if (row.input.role == Role::flat) return row.label;
    return image_label(type, row.input.raw->name) + ": " + row.label;
}

}  // namespace vyn
