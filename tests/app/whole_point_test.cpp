#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

#include <gmock/gmock.h>

#include "api/image_list.h"
#include "app/experiment_page.h"
#include "core/keys.h"
#include "core/task.h"
#include "sample/synthetic_point.h"
#include "tests/app/app_fixture.h"
#include "view/ui/window/field_viewer.h"

namespace vyn::test {
namespace {

class WholePoint : public AppTest {
  protected:
    static VynFieldViewer* viewer() {
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (auto* found = qobject_cast<VynFieldViewer*>(widget)) return found;
        return nullptr;
    }
};

TEST_F(WholePoint, IsOpenedComputedViewedSavedAndOpenedAgain) {
    TaskContext context;
    write_synthetic_point(make_synthetic_point({.width = 160, .height = 120}, context),
                          folder.path(), context);
    window->open_files({QString::fromStdString((folder / "project.xml").string())});
    ASSERT_TRUE(window->experiment_page());
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    window->setFocus();
    QTest::keyClick(window.get(), Qt::Key_A, Qt::ControlModifier);
    const auto field = get_images().find(image_names::field);
    ASSERT_TRUE(field);
    EXPECT_NEAR(field->values()(80, 60), 85000, 15000);

    window->show_image(image_names::field, false, "Pressure field");
    ASSERT_TRUE(viewer());
    EXPECT_TRUE(viewer()->windowTitle().contains(QStringLiteral("Pressure field")));
    // The same image again raises the viewer that is there.
    QPointer<VynFieldViewer> first = viewer();
    window->show_image(image_names::field, false, "Pressure field");
    EXPECT_EQ(viewer(), first);

    choose_file(QStringLiteral("Save project as"), folder / "point.ims");
    action("fileSaveAsAction").trigger();
    action("fileCloseAction").trigger();
    EXPECT_FALSE(first);
    EXPECT_FALSE(get_images().find(image_names::field));
    window->open_files({QString::fromStdString((folder / "point.ims").string())});
    const auto again = get_images().find(image_names::field);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->values()(80, 60), field->values()(80, 60));

    // A viewer that is open keeps the program no longer than its window.
    window->show_image(image_names::field, false, "Pressure field");
    first = viewer();
    QSignalSpy last_closed(qApp, &QApplication::lastWindowClosed);
    press(QStringLiteral("Warning!"), QStringLiteral("Yes"));
    QTimer::singleShot(0, window.get(), [this] { EXPECT_TRUE(window->close()); });
    QTimer too_late;
    QObject::connect(&too_late, &QTimer::timeout, [] { QCoreApplication::exit(1); });
    too_late.start(10000);
    EXPECT_EQ(QApplication::exec(), 0);
    EXPECT_FALSE(first);
    EXPECT_EQ(last_closed.count(), 1);
    EXPECT_TRUE(all_answered());
}

TEST_F(WholePoint, AnImageWithoutAProjectIsLookedAt) {
    TaskContext context;
    write_synthetic_point(make_synthetic_point({.width = 160, .height = 120}, context),
                          folder.path(), context);
    window->open_files({QString::fromStdString((folder / "wind_off.tif").string())});
    ASSERT_TRUE(viewer());
    ASSERT_TRUE(viewer()->picture());
    EXPECT_EQ(viewer()->picture()->width(), 160);
    EXPECT_TRUE(get_images().names().empty());
}

}  // namespace
}  // namespace vyn::test
