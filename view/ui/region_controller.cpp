#include "view/ui/region_controller.h"

#include "view/ui/field_viewer.h"

namespace vyn {

RegionController::RegionController(VynFieldViewer& viewer) : QObject(&viewer), viewer_(viewer) {}
RegionController::~RegionController() = default;

ViewTool* RegionController::tool() {
    return nullptr;
}
void RegionController::picture_changed() {}

}  // namespace vyn
