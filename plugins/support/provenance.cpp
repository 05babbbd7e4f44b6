#include "plugins/support/provenance.h"

#include <nlohmann/json.hpp>

#include "core/version.h"

namespace vyn::plugins {

std::string software_name() {
    return std::string("VynLite ") + program_version;
}

std::string ascii_json(const std::string& text) {
    using Json = nlohmann::ordered_json;
    constexpr bool allow_exceptions = false;
    Json document = Json::parse(text, nullptr, allow_exceptions);
    if (document.is_discarded()) document = text;
    constexpr int one_line = -1;
    constexpr bool ensure_ascii = true;
    return document.dump(one_line, ' ', ensure_ascii, Json::error_handler_t::replace);
}

}  // namespace vyn::plugins
