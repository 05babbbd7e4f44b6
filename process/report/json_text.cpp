#include "process/report/json_text.h"

#include <nlohmann/json.hpp>

namespace vyn {

std::string json_text(const nlohmann::json& value, int indent) {
    return value.dump(indent, ' ', /*ensure_ascii=*/false,
                      nlohmann::json::error_handler_t::replace);
}

}  // namespace vyn
