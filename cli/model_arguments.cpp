#include "cli/model_arguments.h"

#include "cli/commands.h"
#include "core/numbers.h"

namespace vyn::cli {

Vec3 parse_vector(const std::string& option, const std::string& text) {
    Vec3 vector{};
    if (text.empty()) return vector;
    std::size_t begin = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        const std::size_t end = i < 2 ? text.find(',', begin) : text.size();
        const auto number = end == text.npos
                                ? std::nullopt
                                : parse_double(std::string_view(text).substr(begin, end - begin));
        if (!number) throw UsageError(option + " " + text + ": expected X,Y,Z");
        vector[i] = *number;
        begin = end + 1;
    }
    return vector;
}

std::string chosen_quantity(const field_data<double>& mesh, const std::string& wanted) {
    if (!wanted.empty()) return wanted;
    if (mesh.quantities.empty()) throw UsageError("the mesh has no values");
    return mesh.quantities.front().name;
}

}  // namespace vyn::cli
