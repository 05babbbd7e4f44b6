#include "process/project/new_project.h"

#include "core/keys.h"

namespace vyn {

void start_project(dataSetInterface& data) {
    write(data, keys::qped_iter, 3);
    write(data, keys::resample_once, 1);
    write(data, keys::spline_edges, std::string("extended"));
}

}  // namespace vyn
