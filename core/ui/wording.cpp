#include "core/ui/wording.h"

namespace vyn {

namespace {

Wording& present_wording() {
    static Wording wording;
    return wording;
}

}  // namespace

void set_wording(Wording wording) {
    present_wording() = std::move(wording);
}

QString worded(const std::string& text) {
    return QString::fromStdString(present_wording() ? present_wording()(text) : text);
}

}  // namespace vyn
