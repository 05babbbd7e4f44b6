#pragma once

#include <QPointer>

#include "view/ui/canvas/field_view.h"

namespace vyn {

/// Shows an overlay on a view for the lifetime of the object; the view may end before.
class ScopedOverlay {
  public:
    ScopedOverlay(VynFieldView& view, const ViewOverlay& overlay)
        : view_(&view), overlay_(overlay) {
        view.add_overlay(&overlay);
    }
    ~ScopedOverlay() {
        if (view_) view_->remove_overlay(&overlay_);
    }
    ScopedOverlay(const ScopedOverlay&) = delete;
    ScopedOverlay& operator=(const ScopedOverlay&) = delete;

  private:
    QPointer<VynFieldView> view_;
    const ViewOverlay& overlay_;
};

}  // namespace vyn
