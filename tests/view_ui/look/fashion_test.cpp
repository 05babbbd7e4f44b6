#include <QComboBox>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QRadioButton>

#include "core/ui/number_edit.h"
#include "render/palette.h"
#include "tests/view_ui/viewer_fixture.h"
#include "view/ui/look/fashion_dialog.h"
#include "view/ui/look/histogram_plot.h"

namespace vyn {
namespace {

class FashionDialog : public test::ViewerTest {
  protected:
    FashionDialog() {
        get_images().add(test::ramp_image("field_P", 40, 1));
        viewer_ = &show("field_P");
    }
    void open(Qt::KeyboardModifiers modifiers = Qt::ControlModifier) {
        QTest::keyClick(viewer_, Qt::Key_F, modifiers);
        dialog_ = viewer_->findChild<QFashionDlg*>();
        ASSERT_TRUE(dialog_);
        ASSERT_TRUE(QTest::qWaitForWindowActive(dialog_));
    }
    void type(const char* field, const char* text) {
        auto* edit = dialog_->findChild<QLineEdit*>(QLatin1String(field));
        edit->setFocus();
        edit->selectAll();
        QTest::keyClicks(edit, QLatin1String(text));
    }
    void click(const char* button) {
        QTest::mouseClick(dialog_->findChild<QPushButton*>(QLatin1String(button)), Qt::LeftButton);
    }
    Limits limits() const { return viewer_->view().fashion().limits; }

    VynFieldViewer* viewer_ = nullptr;
    QFashionDlg* dialog_ = nullptr;
};

TEST_F(FashionDialog, EveryChangeShowsAtOnceAndCancelBringsBackWhatWasKept) {
    const Fashion before = viewer_->view().fashion();
    open();
    EXPECT_EQ(dialog_->findChild<QLabel*>(QStringLiteral("image_minimum"))->text(),
              QStringLiteral("min:100"));
    EXPECT_EQ(dialog_->findChild<QLabel*>(QStringLiteral("image_maximum"))->text(),
              QStringLiteral("max:139"));
    type("minimum", "50,5");
    EXPECT_EQ(limits().minimum, 50.5);
    dialog_->findChild<QComboBox*>(QStringLiteral("palette"))->setCurrentIndex(1);
    EXPECT_EQ(*viewer_->view().fashion().palette, get_palette_list()[1]);
    click("apply");
    const Fashion applied = viewer_->view().fashion();
    type("maximum", "700");
    EXPECT_EQ(limits().maximum, 700);
    click("cancel");
    EXPECT_EQ(viewer_->view().fashion(), applied);

    open();
    type("maximum", "800");
    click("restore");
    EXPECT_EQ(viewer_->view().fashion(), applied);
    type("maximum", "900");
    click("ok");
    EXPECT_EQ(limits().maximum, 900);
    EXPECT_NE(viewer_->view().fashion(), before);
}

TEST_F(FashionDialog, WrongLimitsAreMarkedAndNotShown) {
    open();
    type("minimum", "10");
    type("maximum", "20");
    for (const char* wrong : {"5", "nan", "1e999", "", "x"}) {
        type("maximum", "20");
        auto* edit = dialog_->findChild<QLineEdit*>(QStringLiteral("maximum"));
        edit->selectAll();
        QTest::keyClick(edit, Qt::Key_Delete);
        QTest::keyClicks(edit, QLatin1String(wrong));
        const bool marked =
            !edit->styleSheet().isEmpty() ||
            !dialog_->findChild<QLabel*>(QStringLiteral("complaint"))->text().isEmpty();
        EXPECT_TRUE(marked) << wrong;
        click("ok");
        EXPECT_TRUE(dialog_->isVisible()) << wrong;
        EXPECT_TRUE(std::isfinite(limits().maximum) && limits().minimum <= limits().maximum)
            << wrong;
    }
}

TEST_F(FashionDialog, LimitsAreTakenFromTheValues) {
    open();
    click("extremes");
    EXPECT_EQ(limits(), (Limits{100, 139}));
    type("low_percent", "10");
    type("high_percent", "90");
    click("percentiles");
    EXPECT_NEAR(limits().minimum, 103.5, 1);
    EXPECT_NEAR(limits().maximum, 135.5, 1);
    // Mean 119.5, sigma 11.5: three of them reach beyond both ends.
    click("three_sigma");
    EXPECT_EQ(limits(), (Limits{100, 139}));
}

TEST_F(FashionDialog, AConstantImageHasLimitsThatDiffer) {
    image flat = *viewer_->picture();
    for (int y = 0; y < flat.height(); ++y)
        std::fill_n(flat.values().row(y), flat.width(), 3.0F);
    viewer_->replace_picture(std::move(flat));
    open();
    for (const char* way : {"extremes", "three_sigma", "percentiles"}) {
        click(way);
        EXPECT_EQ(limits(), (Limits{2.5, 3.5})) << way;
    }
}

TEST_F(FashionDialog, DraggingOnTheHistogramMovesALimit) {
    open(Qt::ControlModifier | Qt::ShiftModifier);
    click("extremes");
    auto* plot = dialog_->findChild<HistogramPlot*>();
    const int right = plot->width() - 10;
    const QPoint middle(plot->width() / 2, 20);
    QTest::mousePress(plot, Qt::LeftButton, {}, {right, 20});
    QMouseEvent move(QEvent::MouseMove, middle, Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(plot, &move);
    QTest::mouseRelease(plot, Qt::LeftButton, {}, middle);
    EXPECT_NEAR(limits().maximum, 119.5, 0.6);
    EXPECT_EQ(limits().minimum, 100);
    EXPECT_EQ(dialog_->findChild<NumberEdit*>(QStringLiteral("maximum"))->number(),
              limits().maximum);
}

TEST_F(FashionDialog, AddedPalettesAreChosenAndBrokenOnesRefused) {
    open();
    const std::size_t count = get_palette_list().size();
    test::put_file(folder / "broken.lut", "TITLE 3\n0 0 0\n1 1");
    QString text;
    test::choose_file(path(folder / "broken.lut"));
    QTimer::singleShot(200, qApp, [&] { test::answer_box(QMessageBox::Ok, &text); });
    click("add_palette");
    EXPECT_TRUE(text.contains(QStringLiteral("File error!"))) << text.toStdString();
    EXPECT_EQ(get_palette_list().size(), count);

    std::string lut = "GREENS 127\n";
    for (int i = 0; i < 127; ++i)
        lut += "0 1 0\n";
    test::put_file(folder / "greens.lut", lut);
    test::choose_file(path(folder / "greens.lut"));
    click("add_palette");
    ASSERT_EQ(get_palette_list().size(), count + 1);
    EXPECT_EQ(viewer_->view().fashion().palette->entries[50], (PaletteColour{0, 255, 0, 0}));
    click("cancel");
    EXPECT_EQ(*viewer_->view().fashion().palette, get_palette_list().front());
    get_palette_list().pop_back();
}

TEST_F(FashionDialog, ImagesAreShownAsColours) {
    image green(40, 1);
    green.name = "green";
    green.values().fill(60);
    get_images().add(std::move(green));
    open(Qt::ControlModifier | Qt::ShiftModifier);
    dialog_->findChild<QComboBox*>(QStringLiteral("channel_2"))->setCurrentIndex(1);
    const auto buttons = dialog_->findChildren<QRadioButton*>();
    const auto press = [&](const QString& text) {
        for (QRadioButton* button : buttons)
            if (button->text() == text) button->click();
    };
    press(QStringLiteral("Color Mode"));
    const QPoint pixel = at(*viewer_, 20, 0);
    EXPECT_EQ(viewer_->view().grab().toImage().pixel(pixel), qRgb(120, 60, 0));
    press(QStringLiteral("Channel 2"));
    QTest::mouseMove(&viewer_->view(), pixel + QPoint(1, 0));
    EXPECT_NE(viewer_->view().grab().toImage().pixel(pixel), qRgb(120, 60, 0));
    click("cancel");
    EXPECT_EQ(viewer_->view().fashion().channels, ColourChannels{});
}

}  // namespace
}  // namespace vyn
