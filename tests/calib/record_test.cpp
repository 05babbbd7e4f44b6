#include <gmock/gmock.h>

#include "calib/camera.h"
#include "calib/flow.h"
#include "calib/paint.h"
#include "core/keys.h"
#include "tests/support/log_capture.h"
#include "tests/support/temporary_folder.h"

namespace vyn {
namespace {

std::map<std::string, std::string> contents(const dataSetInterface& data) {
    std::map<std::string, std::string> texts;
    data.for_each([&](const std::string& path, const any& value) {
        texts[path] = std::string(value.type()->name()) + " " + format_setting(value);
    });
    return texts;
}

/// The rows of the key table under a tree: with their defaults, or each with a value of its own.
enum class Values { defaults, distinct };
void fill(dataSetInterface& data, const std::string& tree, Values values) {
    int n = 0;
    for (const KeyInfo& key : key_table()) {
        // A camera's noise and full scale belong to its project, not to its record.
        if (!key.path.starts_with(tree) || key.path.starts_with(tree + "noise_") ||
            key.path == tree + "full_scale")
            continue;
        ++n;
        if (values == Values::defaults)
            data.set_value(key.path, key.fallback, true);
        else if (key.fallback.holds<double>())
            data.write(key.path, 0.1 * n);
        else if (key.fallback.holds<int>())
            data.write(key.path, n);
        else if (key.allowed.kind == Allowed::Kind::list)
            data.write(key.path, std::string(key.allowed.list.back()));
        else if (!key.path.ends_with("covariance"))  // kept only where it is the coefficients' own
            data.write(key.path, "text " + std::to_string(n));
        else
            data.write(key.path, std::string());
    }
}

template <class Record>
void expect_fields_are_the_keys_of(std::string_view tree_name) {
    const std::string tree(tree_name);
    simpleNamedDataSet defaults;
    fill(defaults, tree, Values::defaults);
    simpleNamedDataSet written;
    write(written, tree, Record{});
    EXPECT_EQ(contents(written), contents(defaults)) << "a fresh record";

    simpleNamedDataSet distinct;
    fill(distinct, tree, Values::distinct);
    Record record;
    read(distinct, tree, record);
    write(written, tree, record);
    EXPECT_EQ(contents(written), contents(distinct)) << "every field survives";

    simpleNamedDataSet empty;
    read(empty, tree, record);
    EXPECT_EQ(record, Record{});
    EXPECT_EQ(contents(empty), contents(defaults)) << "reading makes the keys";
    EXPECT_FALSE(empty.modified());
}

TEST(Records, FieldsAndDefaultsAreThoseOfTheKeyTable) {
    expect_fields_are_the_keys_of<cameraFeatures>(keys::sens_camera);
    expect_fields_are_the_keys_of<cameraFeatures>(keys::refe_camera);
    expect_fields_are_the_keys_of<paintFeatures>(keys::sens_paint);
    expect_fields_are_the_keys_of<flowFeatures>(keys::flow);
}

TEST(Records, ACovarianceGoesWithTheCoefficientsThatItBelongsTo) {
    const std::string tree(keys::sens_paint);
    paintFeatures paint;
    paint.gamma = {{{-13000, 35, 0.1}, {93000, 210, -0.3}, {18000, -40, 0.2}}};
    paint.covariance.emplace()[1][1] = 1.0 / 3;
    simpleNamedDataSet data;
    write(data, tree, paint);
    paintFeatures back;
    read(data, tree, back);
    EXPECT_EQ(back, paint);
    EXPECT_EQ(read_covariance(data, tree, paint.gamma).problem, "");
    data.write(tree + "gamma11", -13001.0);
    read(data, tree, back);
    EXPECT_FALSE(back.covariance);
    EXPECT_THAT(read_covariance(data, tree, back.gamma).problem,
                testing::AllOf(testing::StartsWith("project/sens_paint/covariance: "),
                               testing::HasSubstr("other coefficients")));
}

TEST(Records, ChangeOfUnitsTakesTolerancesAsDifferences) {
    paintFeatures paint{{},  "bar", 1,  0.5, 2,  0.25, "c", 20,   -10,
                        100, 10,    "", "",  "", "",   "",  false};
    change_units(paint, "pa", "f");
    EXPECT_EQ(paint.pressure_unit + paint.temperature_unit, "paf");
    EXPECT_THAT((std::array{paint.normalizing_pressure, paint.minimal_pressure,
                            paint.maximal_pressure, paint.tolerance_pressure}),
                testing::ElementsAre(1e5, 5e4, 2e5, 2.5e4));
    // (T + 273.16 - 255.382222) * 1.8
    EXPECT_NEAR(paint.normalizing_temperature, 68.0000004, 1e-9);
    EXPECT_NEAR(paint.minimal_temperature, 14.0000004, 1e-9);
    EXPECT_NEAR(paint.maximal_temperature, 212.0000004, 1e-9);
    EXPECT_NEAR(paint.tolerance_temperature, 18, 1e-12);

    const flowFeatures flow{1, 2, 3, 0.25, 0.5, 0.75, 20, -5, "bar", "c"};
    const flowFeatures expected{1, 2, 3, 2.5e4, 5e4, 7.5e4, 20 + 273.16, -5 + 273.16, "pa", "k"};
    EXPECT_EQ(in_units(flow, "pa", "k"), expected);
}

TEST(RecordNumbers, AreReadAsStreamsExtractThem) {
    struct Case {
        const char* text;
        double as_double;
        int as_int;
        bool logged;
    };
    const test::TemporaryFolder folder;
    for (const Case& c :
         {Case{"1,5", 1.5, 1, false}, Case{"-2.5e3", -2500.0, -2, false},
          Case{"640", 640, 640, false}, Case{"no key at all", -7.5, -7, false},
          Case{"No key", -7.5, -7, true}, Case{"", -7.5, -7, true}, Case{"1,5 mm", 1.5, 1, true},
          Case{"1.000,5", 1, 1, true}, Case{"1e999", -7.5, 1, true}, Case{"nan", -7.5, -7, true}}) {
        test::put_file(folder / "r.ini", std::string("[Part]\nValue = ") + c.text + "\n");
        IniFile ini;
        ini.open(folder / "r.ini", IniFile::Mode::read_only);
        const test::LogCapture log;
        EXPECT_EQ(read_double_key(ini, "part", "value", -7.5), c.as_double) << c.text;
        EXPECT_EQ(log.lines().size(), c.logged ? 1U : 0U) << c.text;
        for (const std::string& line : log.lines())
            EXPECT_THAT(line, testing::ContainsRegex("^2 .*r\\.ini: \\[part\\] value=" +
                                                     std::string(c.text)));
        EXPECT_EQ(read_int_key(ini, "part", "value", -7), c.as_int) << c.text;
        EXPECT_EQ(read_double_key(ini, "part", "other", -7.5), -7.5);
    }
}

}  // namespace
}  // namespace vyn
