#include "scripts/screenshots/scenes.h"

namespace vyn::screenshots {

void play_dialogs(Theatre&) {}

}  // namespace vyn::screenshots
