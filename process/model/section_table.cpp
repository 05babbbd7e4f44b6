#include "process/model/section_table.h"

#include <cmath>

#include "core/numbers.h"

namespace vyn {

namespace {

std::string cell(double value) {
    return std::isfinite(value) ? format_double(value) : std::string();
}

void add_rows(const std::vector<SectionCurve>& curves, std::size_t number, std::string& text) {
    std::size_t piece = 0;
    for (const SectionCurve& curve : curves) {
        bool within = false;
        for (const SectionPoint& point : curve.points) {
            if (std::isnan(point.value)) {
                within = false;
                continue;
            }
            if (!within) ++piece;
            within = true;
            text.append(std::to_string(number)).append(",").append(std::to_string(piece));
            for (const double value :
                 {point.place[0], point.place[1], point.place[2], point.s, point.x_c, point.value,
                  point.sigma, point.view, point.sigma_field})
                text.append(",").append(cell(value));
            text.append("\n");
        }
    }
}

}  // namespace

std::string section_csv(const std::vector<std::vector<SectionCurve>>& sections) {
    std::string text = "section,curve,x,y,z,s,x_c,value,sigma,view,sigma_field\n";
    for (std::size_t i = 0; i < sections.size(); ++i)
        add_rows(sections[i], i + 1, text);
    return text;
}

}  // namespace vyn
