#include "schedule/schedule.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "api/image_io.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "schedule/name_pattern.h"
#include "schedule/new_schedule.h"
#include "schedule/point_settings.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// A folder with a base project in pascal and degrees Celsius, and tables on it.
class OnABase : public testing::Test {
  protected:
    OnABase() {
        write(base_, keys::test_id, std::string("base"));
        base_.write(std::string(keys::flow) + "p_unit", std::string("Pa"));
        base_.write(std::string(keys::flow) + "t_unit", std::string("C"));
        base_.write(std::string(keys::flow) + "mach", 0.5);
        save_base();
        if (get_2dio().formats().empty()) register_plugins("*.2dio");
    }

    void save_base() { save_xml(base_, (folder_ / "base.xml").c_str()); }

    Schedule read(const std::string& table, const char* name = "run.csv") {
        put_file(folder_ / name, table);
        return read_schedule(folder_ / name, {folder_ / "base.xml", {}});
    }

    /// A sound schedule.
    Schedule sound(const std::string& table) {
        Schedule schedule = read(table);
        EXPECT_THAT(lines(schedule.problems), IsEmpty());
        return schedule;
    }

    static std::vector<std::string> lines(const std::vector<Problem>& problems) {
        std::vector<std::string> lines;
        for (const Problem& problem : problems)
            lines.push_back(line_of(problem));
        return lines;
    }

    /// A point's setting as its project has it.
    static std::string value(const Schedule& schedule, std::size_t point, std::string_view path) {
        simpleNamedDataSet settings;
        put_point_settings(schedule, schedule.points.at(point), settings);
        return format_setting(settings.value(path));
    }

    static double number(const Schedule& schedule, std::size_t point, const std::string& path) {
        simpleNamedDataSet settings;
        put_point_settings(schedule, schedule.points.at(point), settings);
        return std::as_const(settings).read("project/flow/" + path, double{NAN});
    }

    TemporaryFolder folder_;
    simpleNamedDataSet base_;
};

TEST_F(OnABase, UnitsOfTheTableBecomeThoseOfTheProject) {
    const std::vector<std::string> tables{
        "point,static_p,wind_on_t,alpha,mach\n,kPa,K,rad,-\na,90.5,293.16,0.1,0.85\n",
        "point;static_p [kPa];wind_on_t (K);alpha [rad];mach\na;90,5;293,16;0,1;0,85\n",
        "point\tstatic_p\twind_on_t\talpha\tmach\n-\t[hPa]\t[\xB0"
        "C]\t[deg]\t[-]\na\t905\t20\t5.729577951308232\t0.85\n"};
    for (const std::string& table : tables) {
        SCOPED_TRACE(table);
        const Schedule schedule = sound(table);
        ASSERT_EQ(schedule.points.size(), 1U);
        EXPECT_NEAR(number(schedule, 0, "static_p"), 90500, 1e-9);
        EXPECT_NEAR(number(schedule, 0, "wind_on_t"), 20, 1e-9);
        EXPECT_NEAR(number(schedule, 0, "alpha"), 18 / std::acos(-1.0), 1e-12);
        EXPECT_EQ(number(schedule, 0, "mach"), 0.85);
    }
}

TEST_F(OnABase, ColumnsAreNamedByEndsOfPaths) {
    const Schedule schedule = sound(
        "POINT,wind_on_file,project/flow/static_p,flow/mach,wind_on_sens_mark_file,run,free\n"
        "a,{run}_{free}.tif,1,2,m.mrk,7,x\n");
    EXPECT_EQ(value(schedule, 0, keys::wind_on_sens_file.path), "../../7_x.tif");
    EXPECT_EQ(value(schedule, 0, keys::wind_on_sens_mark_file.path), "../../m.mrk");
    EXPECT_EQ(number(schedule, 0, "static_p"), 1);
    EXPECT_EQ(number(schedule, 0, "mach"), 2);
    // what the table does not name is the base's; the point names itself
    EXPECT_EQ(value(schedule, 0, keys::test_id.path), "base");
    EXPECT_EQ(value(schedule, 0, keys::test_point_id.path), "a");
}

struct ProblemCase {
    const char* name;
    const char* table;
    std::vector<const char*> problems;
};

void PrintTo(const ProblemCase& c, std::ostream* out) {
    *out << c.name;
}

class ProblemOf : public OnABase, public testing::WithParamInterface<ProblemCase> {};

TEST_P(ProblemOf, IsToldWithItsPlace) {
    const std::vector<std::string> told = lines(read(GetParam().table).problems);
    ASSERT_EQ(told.size(), GetParam().problems.size()) << testing::PrintToString(told);
    for (std::size_t i = 0; i < told.size(); ++i)
        EXPECT_THAT(told[i], HasSubstr(GetParam().problems[i]));
}

INSTANTIATE_TEST_SUITE_P(
    Tables, ProblemOf,
    testing::Values(
        ProblemCase{"nearest_setting",
                    "point,statc_p\na,1\n",
                    {"column statc_p: no setting has this name; did you mean \"static_p\"?"}},
        ProblemCase{
            "nearest_special", "pont\na\n", {"did you mean \"point\"?", "no column \"point\""}},
        ProblemCase{"ambiguous", "point,noise_gain\na,1\n", {"project/sens_cam/noise_gain"}},
        ProblemCase{"twice", "point,mach,flow/mach\na,1,2\n", {"column flow/mach: stands twice"}},
        ProblemCase{"no_points", "point,mach\n/.*/,1\n", {"the table has no points"}},
        ProblemCase{
            "duplicates", "point\na\nb\na\n", {"row 4, column point: \"a\" stands in row 2"}},
        ProblemCase{"unknown_unit",
                    "point,static_p\n,furlong\na,1\n",
                    {"row 2, column static_p: the unit \"furlong\"", "row 3, column static_p"}},
        ProblemCase{"wrong_dimension",
                    "point,static_p [K]\na,1\n",
                    {"row 2, column static_p: cannot be converted from \"K\" to \"Pa\""}},
        ProblemCase{"no_folders",
                    "point\n..\na/b\n-x\n.x\na\\b\n",
                    {"row 2", "row 3", "row 4", "row 5", "row 6"}},
        ProblemCase{"no_expression", "point,mach\n/(/,1\na,1\n", {"row 2, column point: \"/(/\""}},
        ProblemCase{"all_at_once",
                    "point,mach,skip,markers_order\na,fast,,1\nb,1,maybe,x\n,1,,\n",
                    {"row 2, column mach", "row 3, column skip: \"maybe\" is neither 0 nor 1",
                     "row 3, column markers_order", "row 4: the point has no name"}},
        ProblemCase{
            "not_allowed", "point,saturation_exclude\na,7\n", {"row 2, column saturation_exclude"}},
        ProblemCase{
            "patterns",
            "point,mach,x,wind_on_file\na,1,,{nobody}.tif\nb,1,,{x}.tif\nc,1,,{mach\n"
            "d,1,,{mach:q}\ne,1,,{point:.2f}\n",
            {"row 2, column wind_on_file: {nobody}", "row 3, column wind_on_file: {x}",
             "row 4, column wind_on_file: a brace", "row 5, column wind_on_file: the format",
             "row 6, column wind_on_file: point is"}},
        ProblemCase{"same_target",
                    "point,save.field_P,save.ratio\na,{point}.imp,r.tif\nb,b/../a.imp,x.tif\n",
                    {"row 3, column save.field_P: \"b/../a.imp\" is written by row 2"}},
        ProblemCase{"no_format",
                    "point,save.field_P\na,a.docx\nb,b\n",
                    {"row 2, column save.field_P: no format writes files named like \"a.docx\"",
                     "row 3, column save.field_P: no format"}},
        ProblemCase{
            "no_base", "point,base\na,nowhere.xml\nb,nowhere.xml\n", {"row 2, column base: "}}),
    [](const auto& test) { return test.param.name; });

TEST(NamePattern, WritesValuesAsAsked) {
    const auto value_of = [](const std::string& name) -> std::optional<std::string> {
        if (name == "mach") return "0.8567";
        if (name == "run") return "7";
        if (name == "alpha") return "-2";
        return std::nullopt;
    };
    EXPECT_EQ(expand_pattern("{{x}} {run}/{run:03d}_{mach:.2f}_{mach:6.1f}_{mach:.2g}", value_of),
              "{x} 7/007_0.86_   0.9_0.86");
    EXPECT_EQ(expand_pattern("{alpha:05.1f}", value_of), "-02.0");
    for (const char* wrong : {"{mach:d}", "{other}", "{mach", "mach}", "{mach:}", "{mach:.f}"})
        EXPECT_THROW(expand_pattern(wrong, value_of), AlgoError) << wrong;
}

TEST_F(OnABase, PatternsTakeDecimalCommasAndValuesOfTheBase) {
    const Schedule schedule = sound(
        "point;mach;wind_on_file\na;0,85;{point}_{mach:.2f}.tif\nb;;{mach:.1f}{p_unit}.tif\n");
    EXPECT_EQ(value(schedule, 0, keys::wind_on_sens_file.path), "../../a_0.85.tif");
    EXPECT_EQ(value(schedule, 1, keys::wind_on_sens_file.path), "../../0.5Pa.tif");
}

TEST_F(OnABase, TheLastRuleThatMatchesFillsEmptyCells) {
    const Schedule schedule = sound(
        "point,mach,static_p,skip,group,wind_on_file\n"
        "/.*/,0.1,1,,all,{point}.tif\n"
        "/^B/,0.2,,1,,\n"
        "A1,,,,,\nB1,,5,,b,\nB2,0.9,,no,,own.tif\n");
    ASSERT_EQ(schedule.points.size(), 3U);
    EXPECT_EQ(number(schedule, 0, "mach"), 0.1);
    EXPECT_EQ(number(schedule, 1, "mach"), 0.2);
    EXPECT_EQ(number(schedule, 2, "mach"), 0.9);
    EXPECT_EQ(number(schedule, 1, "static_p"), 5);
    EXPECT_EQ(number(schedule, 2, "static_p"), 1);
    EXPECT_FALSE(schedule.points[0].skip);
    EXPECT_TRUE(schedule.points[1].skip);
    EXPECT_FALSE(schedule.points[2].skip);
    EXPECT_EQ(schedule.points[0].group, "all");
    EXPECT_EQ(schedule.points[1].group, "b");
    EXPECT_EQ(value(schedule, 0, keys::wind_on_sens_file.path), "../../A1.tif");
    EXPECT_EQ(value(schedule, 2, keys::wind_on_sens_file.path), "../../own.tif");
}

/// Digests tell what has to be computed again, and nothing else.
TEST_F(OnABase, DigestsFollowWhatDecidesOnResults) {
    const auto digest = [&](const std::string& table) { return sound(table).points.at(0).digest; };
    const std::string first = digest("point,mach,static_p [kPa],note\na,0.5,90,x\n");
    for (const char* same : {"point,static_p,mach,group,skip\na,90000,0.50,g,1\n",
                             "point,mach,static_p,run\n/a/,0.5,,1\na,,9e4,\nb,,1,\n",
                             "point;mach;static_p\n;;hPa\na;0,5;900\n"})
        EXPECT_EQ(digest(same), first) << same;
    for (const char* other :
         {"point,mach,static_p\na,0.5,90001\n", "point,mach,static_p [hPa]\na,0.5,90\n",
          "point,mach,static_p,wind_on_file\na,0.5,90000,a.tif\n",
          "point,mach,static_p,auto_markers\na,0.5,90000,1\n",
          "point,mach,static_p,save.field_P\na,0.5,90000,a.imp\n"})
        EXPECT_NE(digest(other), first) << other;
    base_.write(std::string(keys::flow) + "beta", 3.0);
    save_base();
    EXPECT_NE(digest("point,mach,static_p\na,0.5,90000\n"), first);
}

TEST_F(OnABase, MissingFilesAreToldByTheirColumnsAndThoseOfTheBaseOnce) {
    write(base_, keys::wind_off_sens_file, std::string("off.tif"));
    save_base();
    put_file(folder_ / "a.tif", "");
    const Schedule schedule = sound("point,wind_on_file,skip\na,a.tif,\nb,b.tif,\nc,c.tif,1\n");
    EXPECT_THAT(lines(missing_inputs(schedule)),
                ElementsAre(AllOf(HasSubstr("base.xml names off.tif"),
                                  HasSubstr(std::string(keys::wind_off_sens_file.path))),
                            "row 3, column wind_on_file: there is no file b.tif"));
}

TEST_F(OnABase, PointsAreChosenByNames) {
    const Schedule schedule = sound("point\na1\na2\nb1\n");
    std::vector<Problem> problems;
    const auto chosen = points_named(schedule, {"b1", "*2", "x*"}, problems);
    ASSERT_EQ(chosen.size(), 2U);
    EXPECT_EQ(chosen[0]->name, "a2");
    EXPECT_EQ(chosen[1]->name, "b1");
    EXPECT_THAT(lines(problems), ElementsAre("no point is named \"x*\""));
    EXPECT_EQ(points_named(schedule, {}, problems).size(), 3U);
}

TEST(NewSchedule, FindsPointsByNamesOfFiles) {
    const TemporaryFolder folder;
    const std::filesystem::path pictures = folder / "images";
    for (const char* run : {"r1", "r2"})
        std::filesystem::create_directories(pictures / run);
    for (const char* file : {"r1/off.tif", "r1/001_on.tif", "r1/002_on.tif", "r2/off.tif",
                             "r2/001_on.tif", "r2/001_on.mrk", "r2/other.txt", "flat.tif"})
        put_file(pictures / file, "");
    const NewSchedule made = schedule_from_files(
        pictures,
        {"wind_on_file={run}/{point}_on.tif", "wind_off_file={run}/off.tif",
         "wind_on_mark_file={run}/{point}_on.mrk", "sens_cam/flat_file=flat.tif"},
        folder.path());
    EXPECT_THAT(made.table.heads, ElementsAre("point", "run", "wind_on_file", "wind_off_file",
                                              "wind_on_mark_file", "sens_cam/flat_file"));
    std::vector<std::string> rows;
    for (const TableRow& row : made.table.rows)
        rows.push_back(row.cells[0] + " " + row.cells[1] + " " + row.cells[2] + " " + row.cells[3] +
                       " " + row.cells[4] + " " + row.cells[5]);
    EXPECT_THAT(rows, UnorderedElementsAre(
                          "001_r1 r1 images/r1/001_on.tif images/r1/off.tif  images/flat.tif",
                          "002 r1 images/r1/002_on.tif images/r1/off.tif  images/flat.tif",
                          "001_r2 r2 images/r2/001_on.tif images/r2/off.tif images/r2/001_on.mrk "
                          "images/flat.tif"));
    EXPECT_EQ(made.remarks.size(), 2U);  // two points without markers

    for (const char* wrong : {"wind_on_file", "wind_on_file=off.tif", "nothing={point}.tif",
                              "wind_on_file={point.tif", "wind_on_file={point}.fits"})
        EXPECT_THROW(schedule_from_files(pictures, {wrong}, folder.path()), AlgoError) << wrong;
}

}  // namespace
}  // namespace vyn::test
