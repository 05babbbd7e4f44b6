#include "calib/paint_fit.h"

#include <cmath>
#include <random>

#include <gmock/gmock.h>

#include "calib/paint_law.h"
#include "core/errors.h"
#include "core/numbers.h"
#include "tests/support/error_of.h"
#include "tests/support/temporary_folder.h"

namespace vyn::test {
namespace {

using testing::HasSubstr;

const LawCoefficients truth{{{-13000, 35, 0.15}, {93000, 210, -0.3}, {18000, -40, 0.2}}};

double pressure_of(const LawCoefficients& gamma, double ratio, double temperature) {
    paintFeatures paint;
    paint.gamma = gamma;
    const PaintLaw law = law_at(paint, temperature);
    return law.a + (law.b + law.c * ratio) * ratio;
}

PaintTable cell(const std::vector<double>& temperatures, int pressures = 6) {
    PaintTable table;
    for (const double t : temperatures)
        for (int i = 0; i < pressures; ++i) {
            const double ratio = 0.5 + 0.14 * i;
            table.samples.push_back({pressure_of(truth, ratio, t), t, ratio,
                                     static_cast<int>(table.samples.size()) + 2});
        }
    return table;
}

struct Format {
    const char* name;
    const char* head;
    char separator;
    bool comma;
    double pascals;  ///< of the unit of pressure
    double zero;     ///< of the unit of temperature, in degrees Celsius
    bool inverse;
    const char* order;  ///< of the columns
};

class PaintTableFormat : public testing::TestWithParam<Format> {};

TEST_P(PaintTableFormat, GivesTheLawThatItWasMadeOf) {
    const Format& format = GetParam();
    std::string text = format.head;
    for (const PaintSample& sample : cell({5, 15, 30, 45}).samples) {
        std::string line;
        for (const char* column = format.order; *column; ++column) {
            if (!line.empty()) line += format.separator;
            line += format_double(*column == 'P'   ? sample.pressure / format.pascals
                                  : *column == 'T' ? sample.temperature - format.zero
                                  : *column == 'R' && format.inverse ? 1 / sample.ratio
                                  : *column == 'R'                   ? sample.ratio
                                                                     : 7);
        }
        if (format.comma) std::ranges::replace(line, '.', ',');
        text += line + "\r\n";
    }
    const TemporaryFolder folder;
    put_file(folder / "table.csv", text);
    const PaintTable table = read_paint_table(folder / "table.csv");
    EXPECT_EQ(table.remarks.size(), format.head[0] == '\0' ? 2u : 0u);
    const PaintFit fit = fit_paint(table, {});
    EXPECT_LT(fit.deviation, 1e-6);
    for (const double t : {0.0, 22.0, 50.0})
        for (const double ratio : {0.4, 0.9, 1.3})
            EXPECT_NEAR(pressure_of(fit.paint.gamma, ratio, t), pressure_of(truth, ratio, t), 1e-4);
    write_paint_calibration(folder / "law.clb", fit.paint);
    paintFeatures back;
    std::string problem;
    EXPECT_EQ(read_paint_calibration(folder / "law.clb", back, &problem), RecordOutcome::done);
    EXPECT_TRUE(back.covariance) << problem;
}

INSTANTIATE_TEST_SUITE_P(
    Tables, PaintTableFormat,
    testing::Values(Format{"comma", "P [Pa],T [C],R\n", ',', false, 1, 0, false, "PTR"},
                    Format{"without_head", "", ',', false, 1, 0, false, "PTR"},
                    Format{"decimal_comma",
                           "\xef\xbb\xbf# cell 7\nPoint;I0/I;T (\xc2\xb0"
                           "C);P (kPa)\n",
                           ';', true, 1000, 0, false, "xRTP"},
                    Format{"tabs_and_units_below", "Pressure\tTemperature\tI/I0\nbar\tK\t-\n", '\t',
                           false, 1e5, -273.16, true, "PTR"}),
    [](const auto& instance) { return std::string(instance.param.name); });

TEST(PaintTable, SaysWhereItCannotBeRead) {
    const TemporaryFolder folder;
    const std::string file = folder / "t.csv";
    const std::pair<const char*, const char*> cases[] = {
        {"", "holds no measurements"},
        {"P,T,R\n", "holds no measurements"},
        {"P,T\n1,2\n", "line 1: the head of the table names no column of the ratio"},
        {"P,P,T,R\n1,1,2,1\n", "two columns"},
        {"P [stone],T,R\n1,2,1\n", "\"stone\" is no unit of pressure"},
        {"P,T [m],R\n1,2,1\n", "\"m\" is no unit of temperature"},
        {"P,T,R\n1,2,1\n1,x,1\n", "line 3: \"x\" is no finite number"},
        {"P,T,R\n1,2,1\n1,2\n", "line 3: the line ends before column 3"},
        {"P,T,R\n1,2,0\n", "line 2: a ratio"},
        {"P,T,R\n-1,2,1\n", "absolute pressures"},
        {"P,T,R\nnan,2,1\n", "no finite number"},
    };
    for (const auto& [text, why] : cases) {
        put_file(file, text);
        const std::string error = error_of<FileError>([&] { read_paint_table(file); }).detail;
        EXPECT_THAT(error, HasSubstr(file));
        EXPECT_THAT(error, HasSubstr(why)) << text;
    }
}

TEST(PaintFit, TakesNoMorePowersThanTheTableTells) {
    const auto orders = [](const PaintTable& table) {
        const PaintFit fit = fit_paint(table, {});
        return std::pair(fit.ratio_order, fit.temperature_order);
    };
    EXPECT_EQ(orders(cell({5, 15, 30})), std::pair(2, 2));
    EXPECT_EQ(orders(cell({5, 5.1, 30})), std::pair(2, 1)) << "5 and 5.1 are one set point";
    EXPECT_EQ(orders(cell({20, 20.1, 20.2})), std::pair(2, 0));
    EXPECT_EQ(orders(cell({5, 15, 30}, 2)), std::pair(1, 1)) << "6 measurements, 6 coefficients";
    PaintTable cross = cell({20}, 6);  // other temperatures at one pressure only
    for (const double t : {5.0, 40.0})
        cross.samples.push_back({pressure_of(truth, 0.78, t), t, 0.78, 20});
    EXPECT_EQ(orders(cross).second, 0);
    const PaintFit one = fit_paint(cell({20}), {});
    EXPECT_NEAR(pressure_of(one.paint.gamma, 0.7, 99), pressure_of(truth, 0.7, 20), 1e-5);
    EXPECT_THAT(one.remarks, testing::Contains(HasSubstr("its own temperature only")));
    EXPECT_THAT(error_of<AlgoError>([&] { fit_paint(cell({20}, 1), {}); }).detail,
                HasSubstr("2 different pressures"));
    PaintTable absurd;
    const std::array<double, 3> rows[]{
        {50e3, 40, 0.5}, {70e3, 20, 0.751e308}, {99e3, 10, 1}, {51e3, 60, 0.5}, {70.5e3, 30, 0.75}};
    for (const auto& [pressure, temperature, ratio] : rows)
        absurd.samples.push_back({pressure, temperature, ratio, 2});
    EXPECT_THAT(error_of<AlgoError>([&] { fit_paint(absurd, {}); }).detail,
                HasSubstr("too different"));
}

TEST(PaintFit, ScattersAsItsCovarianceSaysAndTellsAnOutlier) {
    std::mt19937_64 random(5);
    std::normal_distribution<double> noise(0, 40);
    constexpr int draws = 400;
    constexpr double ratio = 1.3;
    constexpr double t = 40;
    double scatter = 0;
    double foretold = 0;
    for (int i = 0; i < draws; ++i) {
        PaintTable table = cell({5, 15, 30, 45});
        for (PaintSample& sample : table.samples)
            sample.pressure += noise(random);
        const PaintFit fit = fit_paint(table, {});
        scatter +=
            std::pow(pressure_of(fit.paint.gamma, ratio, t) - pressure_of(truth, ratio, t), 2);
        for (std::size_t j = 0; j < 9; ++j)
            for (std::size_t k = 0; k < 9; ++k)
                foretold += (*fit.paint.covariance)[j][k] * std::pow(ratio, int(j / 3 + k / 3)) *
                            std::pow(t, int(j % 3 + k % 3));
    }
    EXPECT_NEAR(std::sqrt(foretold / scatter), 1, 0.12);
    PaintTable table = cell({5, 15, 30, 45});
    for (PaintSample& sample : table.samples)
        sample.pressure += noise(random);
    table.samples[9].pressure += 2000;
    const PaintFit fit = fit_paint(table, {});
    EXPECT_EQ(fit.worst, 9u);
    EXPECT_THAT(fit.remarks, testing::Contains(HasSubstr("Line 11 of the table is")));
    EXPECT_GT(std::abs(fit.leave_one_out[9]), std::abs(fit.residuals[9]));
}

}  // namespace
}  // namespace vyn::test
