#include "process/report/warning.h"

namespace vyn {

const char* name(WarningKind kind) {
    switch (kind) {
        case WarningKind::alignment:
            return "alignment";
        case WarningKind::markers:
            return "markers";
        case WarningKind::conditions:
            return "conditions";
        case WarningKind::paint_range:
            return "paint_range";
        case WarningKind::missing_correction:
            return "missing_correction";
        case WarningKind::saturation:
            return "saturation";
        case WarningKind::settings:
            return "settings";
        case WarningKind::empty_image:
            return "empty_image";
        case WarningKind::out_of_date:
            return "out_of_date";
        case WarningKind::failure:
            return "failure";
    }
    return "";
}

bool is_information(WarningKind kind) {
    return kind == WarningKind::missing_correction || kind == WarningKind::settings;
}

std::vector<std::string> texts(const std::vector<Warning>& warnings) {
    std::vector<std::string> shown;
    for (const Warning& warning : warnings)
        shown.push_back(warning.text);
    return shown;
}

}  // namespace vyn
