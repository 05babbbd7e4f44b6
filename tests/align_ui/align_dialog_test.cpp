#include "align/ui/align_dialog.h"

#include <QCheckBox>
#include <QComboBox>

#include "tests/support/dialog_checks.h"

namespace vyn::test {
namespace {

constexpr std::string_view tree = "project/processing/align/";

TEST(AlignDialog, NumbersAreStoredCancelledAndRefused) {
    check_number_dialog({"align",
                         [](dataSetInterface& settings) {
                             write(settings, keys::filter_enable, 1);
                             return std::make_unique<QVynAlign>(settings);
                         },
                         "filter_max", std::string(keys::filter_max.path)});
}

TEST(AlignDialog, EverySettingOfTheTreeHasAnEdit) {
    simpleNamedDataSet settings;
    const QVynAlign dialog(settings);
    for (const KeyInfo& key : key_table())
        if (key.path.starts_with(tree)) {
            const auto name = QString::fromStdString(key.path.substr(tree.size()));
            EXPECT_NE(dialog.findChild<QWidget*>(name), nullptr) << key.path;
        }
    check_mnemonics(dialog);
}

struct FilterCase {
    int held;
    const char* shown;
    bool offered;
};

class FilterTypes : public testing::TestWithParam<FilterCase> {};

TEST_P(FilterTypes, AreShownAndKept) {
    const FilterCase& c = GetParam();
    simpleNamedDataSet settings;
    write(settings, keys::filter_type, c.held);
    QVynAlign dialog(settings);
    const auto& types = child<QComboBox>(dialog, "filter_type");
    EXPECT_EQ(types.currentText(), QLatin1String(c.shown));
    EXPECT_EQ(types.count(), c.offered ? 3 : 4);
    dialog.accept();
    EXPECT_EQ(read(settings, keys::filter_type), c.held);
}

INSTANTIATE_TEST_SUITE_P(Types, FilterTypes,
                         testing::Values(FilterCase{0, "Limits only", false},
                                         FilterCase{1, "Flat", true}, FilterCase{2, "Gauss", true},
                                         FilterCase{3, "Gauss weighted by value", false},
                                         FilterCase{4, "Median", true}));

TEST(AlignDialog, ChoicesReachTheirKeys) {
    simpleNamedDataSet settings;
    write(settings, keys::markers_order, 7);
    QVynAlign dialog(settings);
    EXPECT_EQ(child<QComboBox>(dialog, "markers_order").currentText(), QStringLiteral("7"));
    child<QComboBox>(dialog, "markers_order").setCurrentIndex(3);
    child<QComboBox>(dialog, "filter_type").setCurrentText(QStringLiteral("Median"));
    child<QGroupBox>(dialog, "markers_enable").setChecked(false);
    child<QCheckBox>(dialog, "markers_geometry").setChecked(true);
    EXPECT_FALSE(child<QWidget>(dialog, "markers_link").isEnabled());
    // Switched off with the filter, this edit cannot keep the dialog open; its setting stays.
    child<QLineEdit>(dialog, "filter_dx").setText(QStringLiteral("x"));
    dialog.accept();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(read(settings, keys::markers_order), 3);
    EXPECT_EQ(read(settings, keys::filter_type), 4);
    EXPECT_EQ(read(settings, keys::markers_enable), 0);
    EXPECT_EQ(read(settings, keys::markers_geometry), 1);
    EXPECT_EQ(read(settings, keys::filter_dx), 3);
}

}  // namespace
}  // namespace vyn::test
