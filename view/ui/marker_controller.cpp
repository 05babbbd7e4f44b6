#include "view/ui/marker_controller.h"

#include "view/ui/field_viewer.h"

namespace vyn {

MarkerController::MarkerController(VynFieldViewer& viewer) : QObject(&viewer), viewer_(viewer) {}
MarkerController::~MarkerController() = default;

ViewTool* MarkerController::tool(MouseMode) {
    return nullptr;
}
void MarkerController::picture_changed() {}
void MarkerController::revise_all() {}
void MarkerController::load() {}
void MarkerController::save() {}
void MarkerController::clear() {}
void MarkerController::options() {}

}  // namespace vyn
