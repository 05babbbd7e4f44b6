#include "view/ui/graph_controller.h"

#include "view/ui/field_viewer.h"

namespace vyn {

GraphController::GraphController(VynFieldViewer& viewer) : QObject(&viewer), viewer_(viewer) {}
GraphController::~GraphController() = default;

ViewTool* GraphController::tool() {
    return nullptr;
}
void GraphController::picture_changed() {}
void GraphController::more_data(double, double, double, double) {}

}  // namespace vyn
