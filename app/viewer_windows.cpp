#include "app/viewer_windows.h"

#include "view/ui/field_viewer.h"

namespace vyn {

ViewerWindows::ViewerWindows(Worker& worker, QObject* parent) : QObject(parent), worker_(worker) {}

ViewerWindows::~ViewerWindows() {
    close_all();
}

VynFieldViewer* ViewerWindows::find(const std::string& name) const {
    for (const QPointer<VynFieldViewer>& viewer : viewers_)
        if (viewer && viewer->shows_project_image(name)) return viewer;
    return nullptr;
}

VynFieldViewer* ViewerWindows::open(const std::string& name, bool flag, const QString& title) {
    // Without a parent: a viewer may lie behind the main window.
    auto* viewer = new VynFieldViewer(worker_, name, flag, title);
    viewer->setAttribute(Qt::WA_DeleteOnClose);
    std::erase_if(viewers_, [](const auto& window) { return window.isNull(); });
    viewers_.emplace_back(viewer);
    return viewer;
}

void ViewerWindows::show(const std::string& name, bool flag, const QString& title) {
    VynFieldViewer* viewer = find(name);
    if (!viewer) viewer = open(name, flag, title);
    viewer->show();
    viewer->raise();
    viewer->activateWindow();
}

void ViewerWindows::show_file(const QString& file) {
    VynFieldViewer* viewer = open({}, /*flag=*/false, file);
    viewer->show();
    viewer->open_file(file);
}

void ViewerWindows::mark(const std::string& name, bool out_of_date, const QString& why) {
    if (VynFieldViewer* viewer = find(name)) viewer->set_out_of_date(out_of_date, why);
}

void ViewerWindows::close_all() {
    for (const QPointer<VynFieldViewer>& viewer : viewers_) {
        if (viewer) viewer->close();  // remembers its layout
        delete viewer;
    }
    viewers_.clear();
}

}  // namespace vyn
