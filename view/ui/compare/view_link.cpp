#include "view/ui/compare/view_link.h"

#include <algorithm>
#include <vector>

#include "view/ui/canvas/field_view.h"

namespace vyn {

namespace {

std::vector<ViewLink*>& linked_views() {
    static std::vector<ViewLink*> links;
    return links;
}

/// The zoom of one view with the same image position in the middle of another one.
ViewTransform about_middle(const VynFieldView& from, const VynFieldView& to) {
    const ViewTransform& shown = from.transform();
    const QPointF middle = shown.to_image(QRectF(from.rect()).center());
    return {shown.zoom, middle - QRectF(to.rect()).center() / shown.zoom};
}

}  // namespace

ViewLink::ViewLink(VynFieldView& view) : QObject(&view), view_(view) {
    connect(&view, &VynFieldView::view_changed, this, &ViewLink::pass_on);
}

ViewLink::~ViewLink() {
    std::erase(linked_views(), this);
}

void ViewLink::set_linked(bool linked) {
    auto& links = linked_views();
    std::erase(links, this);
    if (!linked) return;
    if (!links.empty()) view_.set_transform(about_middle(links.front()->view_, view_));
    links.push_back(this);
}

void ViewLink::pass_on() {
    auto& links = linked_views();
    if (following_ || std::ranges::find(links, this) == links.end()) return;
    for (ViewLink* other : links) {
        if (other == this) continue;
        other->following_ = true;
        other->view_.set_transform(about_middle(view_, other->view_));
        other->following_ = false;
    }
}

}  // namespace vyn
