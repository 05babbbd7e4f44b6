#pragma once

#include <QSettings>
#include <memory>

#include <QtTest/QTest>

#include "core/worker.h"
#include "tests/support/picture_of.h"
#include "tests/support/project_fixture.h"
#include "tests/view_ui/dialog_answers.h"
#include "view/ui/canvas/field_view.h"
#include "view/ui/window/field_viewer.h"
#include "view/ui/window/viewer_actions.h"

namespace vyn::test {

/// value = 100 + x + 1000 y.
inline image ramp_image(const std::string& name, int width = 40, int height = 30) {
    image picture = picture_of(width, height, [](int x, int y) { return 100 + x + 1000 * y; });
    picture.name = name;
    return picture;
}

/// A viewer on images of the program's list.
class ViewerTest : public ProjectTest {
  protected:
    ViewerTest() {
        // What one viewer leaves behind for the next is no other test's.
        QSettings::setDefaultFormat(QSettings::IniFormat);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, path(folder / "settings"));
    }
    VynFieldViewer& show(const std::string& name, bool camera = false, const QString& title = {}) {
        viewers_.push_back(std::make_unique<VynFieldViewer>(worker, name, camera, title));
        VynFieldViewer& viewer = *viewers_.back();
        viewer.setAttribute(Qt::WA_DeleteOnClose, false);
        viewer.show();
        viewer.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&viewer));
        viewer.view().setFocus();
        return viewer;
    }
    /// Where an image position lies in the view.
    static QPoint at(VynFieldViewer& viewer, double x, double y) {
        return viewer.view().transform().to_widget({x, y}).toPoint();
    }
    static QString path(const std::filesystem::path& file) {
        return QString::fromStdString(file.string());
    }

    Worker worker;

  private:
    std::vector<std::unique_ptr<VynFieldViewer>> viewers_;
};

}  // namespace vyn::test
