#include "process/report/run_report.h"

#include <cstring>

#include "core/log.h"

namespace vyn {

void warn(RunReport& report, WarningKind kind, const std::string& text) {
    get_log().write(LogLevel::information, text);
    report.warnings.push_back({kind, text});
}

void warn_if_empty(RunReport& report, const image& picture) {
    const auto width = static_cast<std::size_t>(picture.width());
    for (int y = 0; y < picture.height(); ++y)
        if (std::memchr(picture.mask().row(y), 0, width)) return;
    warn(report, WarningKind::empty_image,
         picture.name + " has no valid pixel: dark level, masks, flat field or limits exclude all");
}

}  // namespace vyn
