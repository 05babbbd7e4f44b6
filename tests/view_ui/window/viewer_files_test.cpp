#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QInputDialog>
#include <QPushButton>
#include <QStatusBar>

#include "api/image_io.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "core/ui/busy_box.h"
#include "process/project/ims.h"
#include "tests/support/error_of.h"
#include "tests/view_ui/viewer_fixture.h"
#include "view/ui/look/picture_dialog.h"

namespace vyn {
namespace {

using test::ramp_image;

class ViewerFiles : public test::ViewerTest {
  protected:
    /// The busy box stays open on failure; after it comes the short box.
    static void expect_failure(QString& text) {
        test::when_shown<QBusyBox>([&text](QBusyBox& box) {
            auto* button = box.findChild<QPushButton*>(QStringLiteral("abort_btn"));
            EXPECT_TRUE(QTest::qWaitFor(
                [&] { return button->text() == QStringLiteral("There are errors!"); }, 5000));
            test::answer_box(QMessageBox::Ok, &text);
            button->click();
        });
    }
};

TEST_F(ViewerFiles, SaveOfACameraPictureNeverTouchesItsFile) {
    const auto raw = folder / "raw.imp";
    write_image(ramp_image("wind_off_sens"), raw);
    image picture = read_image(raw);
    picture.name = "wind_off_sens";
    get_images().add(std::move(picture));
    const std::string before = test::get_file(raw);
    image computed = *get_images().find("wind_off_sens");
    computed.name = "wind_off_sens_cor";  // still names the camera file behind it
    get_images().add(std::move(computed));

    for (const char* name : {"wind_off_sens", "wind_off_sens_cor"}) {
        VynFieldViewer& viewer = show(name, name == std::string("wind_off_sens"));
        QString text;
        const auto copy = folder / (std::string(name) + "_copy.imp");
        // First onto the raw data (the file dialog's own question is answered Yes), which is
        // refused, then beside it.
        test::choose_file(path(raw));
        QTimer::singleShot(100, qApp, [&] {
            test::answer_box(QMessageBox::Yes);
            QTimer::singleShot(100, qApp, [&] {
                test::when_shown<QMessageBox>([&](QMessageBox& box) {
                    text = box.text();
                    box.button(QMessageBox::Ok)->click();
                    test::choose_file(path(copy));
                });
            });
        });
        QTest::keyClick(&viewer, Qt::Key_S, Qt::ControlModifier);
        EXPECT_TRUE(text.contains(QStringLiteral("raw data"))) << text.toStdString();
        EXPECT_TRUE(test::same_bits(read_image(copy), *viewer.picture()));
        EXPECT_EQ(test::get_file(raw), before);
    }
}

TEST_F(ViewerFiles, SaveOfAComputedImageAsksOnce) {
    get_images().add(ramp_image("Iref"));
    VynFieldViewer& viewer = show("Iref");
    test::choose_file(path(folder / "ratio"));
    viewer.actions().save->trigger();
    EXPECT_EQ(read_image(folder / "ratio.imp").values()(3, 0), 103);
    image changed = ramp_image("Iref");
    changed.values()(3, 0) = -1;
    viewer.replace_picture(std::move(changed));
    viewer.setModifiedChanged(true);
    EXPECT_TRUE(viewer.isWindowModified());
    viewer.actions().save->trigger();
    EXPECT_EQ(read_image(folder / "ratio.imp").values()(3, 0), -1);
    EXPECT_FALSE(viewer.isWindowModified());
}

TEST_F(ViewerFiles, OpensImagesContainersAndRefusesWhatIsNone) {
    get_images().add(ramp_image("field_P"));
    VynFieldViewer& viewer = show("field_P");
    write_image(ramp_image("other", 9, 7), folder / "other.imp");
    test::choose_file(path(folder / "other.imp"));
    QTest::keyClick(&viewer, Qt::Key_C, Qt::ControlModifier);
    ASSERT_EQ(viewer.picture()->width(), 9);
    EXPECT_EQ(viewer.windowTitle(), QStringLiteral("other.imp[*]"));
    EXPECT_EQ(viewer.statusBar()->currentMessage(), QStringLiteral("Ready!"));
    viewer.actions().save->trigger();  // a field file is written again without a question

    ImsData two;
    for (const int size : {5, 6})
        two.images.push_back(
            std::make_shared<const image>(ramp_image(size == 5 ? "a" : "b", size, size)));
    write_ims_strings(folder / "two.ims", two, context);
    test::when_shown<QInputDialog>([](QInputDialog& dialog) {
        dialog.setTextValue(QStringLiteral("b"));
        dialog.accept();
    });
    viewer.open_file(path(folder / "two.ims"));
    EXPECT_EQ(viewer.picture()->width(), 6);
    EXPECT_FALSE(viewer.shows_project_image("b"));
    EXPECT_EQ(get_images().names(), std::vector<std::string>{"field_P"}) << "the project's";

    write_image(ramp_image("raw", 8, 8), folder / "off.tif");
    simpleNamedDataSet project;
    write(project, keys::wind_off_sens_file, std::string("off.tif"));
    save_xml(project, (folder / "project.xml").c_str());
    viewer.open_file(path(folder / "project.xml"));
    EXPECT_EQ(viewer.image_name(), "wind_off_sens");
    EXPECT_TRUE(viewer.is_camera_image());
    EXPECT_EQ(viewer.picture()->width(), 8);
    EXPECT_FALSE(vyn_db().exists(keys::wind_off_sens_file.path)) << "the project stays";

    test::put_file(folder / "broken.tif", "II*\0 no picture");
    for (const char* wrong : {"broken.tif", "missing.imp", "."}) {
        QString text;
        expect_failure(text);
        viewer.open_file(path(folder / wrong));
        EXPECT_FALSE(text.isEmpty()) << wrong;
        EXPECT_EQ(viewer.picture()->width(), 8) << "the old image stays";
    }
}

TEST_F(ViewerFiles, AsksBeforeWhatIsDrawnOnAFilesImageIsLost) {
    write_image(ramp_image("other", 9, 7), folder / "other.imp");
    get_images().add(ramp_image("field_P"));
    VynFieldViewer& viewer = show("field_P");
    const auto draw = [&viewer] {
        viewer.findChild<QAction*>(QStringLiteral("region_invert"))->trigger();
        EXPECT_TRUE(viewer.isWindowModified());
    };
    draw();
    viewer.open_file(path(folder / "other.imp"));  // the list keeps the project's image
    ASSERT_EQ(viewer.picture()->width(), 9);
    draw();
    QString text;
    test::answer_box(QMessageBox::No, &text);
    EXPECT_FALSE(viewer.close());
    EXPECT_TRUE(text.contains(QStringLiteral("other.imp")));
    test::answer_box(QMessageBox::No);
    viewer.open_file(path(folder / "other.imp"));
    EXPECT_TRUE(viewer.isWindowModified());
    test::answer_box(QMessageBox::Yes);
    EXPECT_TRUE(viewer.close());
}

TEST_F(ViewerFiles, ExportsWhatIsSeen) {
    image field = ramp_image("field_P");
    field.quantity = {Quantity::Kind::cp};
    image sigma = ramp_image("field_P_sigma");
    get_images().add(std::move(field));
    get_images().add(std::move(sigma));
    write(vyn_db(), keys::uncertainty_limit, 15000.0);  // the lower half is hatched
    VynFieldViewer& viewer = show("field_P", false, QStringLiteral("Pressure Field"));
    test::choose_file(path(folder / "picture"), QStringLiteral("PNG graphics file (*.png)"));
    QTimer::singleShot(100, qApp, [] {
        test::when_shown<PictureDialog>([](PictureDialog& dialog) {
            dialog.findChild<QLineEdit*>(QStringLiteral("scale"))->setText(QStringLiteral("8"));
            dialog.accept();
        });
    });
    QTest::keyClick(&viewer, Qt::Key_E, Qt::ControlModifier);
    const QImage picture(path(folder / "picture.png"));
    EXPECT_GE(picture.width(), 8 * 40);
    EXPECT_GE(picture.height(), 8 * 30);
    const auto hatched = [](const QImage& image, const QRect& area) {
        int dark = 0;
        for (int y = area.top(); y <= area.bottom(); ++y)
            for (int x = area.left(); x <= area.right(); ++x)
                dark += image.pixelColor(x, y).value() < 100;
        return dark;
    };
    const int top = (picture.height() - 8 * 30) / 2;
    EXPECT_GT(hatched(picture, {80, top + 160, 100, 80}), 100);
    EXPECT_EQ(hatched(picture, {80, top + 30, 100, 60}), 0);
    viewer.actions().copy_picture->trigger();
    const QImage seen = QApplication::clipboard()->pixmap().toImage();
    const QRect below(test::ViewerTest::at(viewer, 5, 18), test::ViewerTest::at(viewer, 30, 27));
    const QRect above(test::ViewerTest::at(viewer, 5, 3), test::ViewerTest::at(viewer, 30, 11));
    EXPECT_GT(hatched(seen, below), 100);
    EXPECT_EQ(hatched(seen, above), 0);

    test::choose_file(path(folder / "field"), QStringLiteral("Techplot (*.dat)"));
    viewer.actions().image_export->trigger();
    const std::string table = test::get_file(folder / "field.dat");
    EXPECT_EQ(table.substr(0, table.find('\n')), "TITLE=\"Pressure Field, Cp\"");
    EXPECT_EQ(std::ranges::count(table, '\n'), 4 + 40 * 30);

    // The typed extension counts, and the point's next export begins where this one ended.
    test::choose_file(path(folder / "typed.tiff"), QStringLiteral("Techplot (*.dat)"));
    viewer.actions().image_export->trigger();
    EXPECT_EQ(read_image(folder / "typed.tiff").width(), 40);
    EXPECT_EQ(viewer.statusBar()->currentMessage(), path(folder / "typed.tiff") + " written");
    QString proposed;
    QString type;
    test::when_shown<QFileDialog>([&](QFileDialog& dialog) {
        proposed = dialog.selectedFiles().value(0);
        type = dialog.selectedNameFilter();
        dialog.reject();
    });
    viewer.actions().image_export->trigger();
    EXPECT_EQ(QFileInfo(proposed).completeBaseName(), QStringLiteral("typed"));
    EXPECT_EQ(QFileInfo(proposed).path(), path(folder.path()));
    EXPECT_TRUE(type.contains(QStringLiteral("tif"))) << type.toStdString();
}

}  // namespace
}  // namespace vyn
