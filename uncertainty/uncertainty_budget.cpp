#include "uncertainty/uncertainty_budget.h"

#include <algorithm>

#include "core/numbers.h"

namespace vyn {

namespace {

std::string general(double value) {
    return format_general(value, 3);
}

std::string percent(double share) {
    return general(100 * share) + " %";
}

}  // namespace

const char* sigma_term_name(SigmaTerm term) {
    static constexpr std::array names{"noise",       "flat",      "registration", "lamp",
                                      "temperature", "reference", "law",          "conditions"};
    static_assert(names.size() == sigma_term_count);
    return names[static_cast<std::size_t>(term)];
}

const char* remedy_for(SigmaTerm term) {
    switch (term) {
        case SigmaTerm::noise:
            return "more frames in each picture, or more light";
        case SigmaTerm::flat:
            return "more frames in the flat field";
        case SigmaTerm::registration:
            return "more markers, or alignment by cross-correlation";
        case SigmaTerm::lamp:
            return "pictures closer in time, or a steadier lamp";
        case SigmaTerm::temperature:
            return "a better wind-on temperature, or a map of it";
        case SigmaTerm::reference:
            return "better wind-off conditions";
        case SigmaTerm::law:
            return "a better calibration of the paint, or one at pressure ports";
        case SigmaTerm::conditions:
            return "better static and dynamic pressures";
    }
    return "";
}

std::vector<std::string> report_lines(const UncertaintyBudget& budget) {
    std::vector<std::string> lines;
    const std::string unit = budget.unit.empty() ? "" : " " + budget.unit;
    if (budget.valid == 0) return {"Uncertainty: no valid pixels"};
    lines.push_back("Uncertainty of the field (one standard deviation): median " +
                    general(budget.median) + unit + ", 95 % below " + general(budget.quantile_95) +
                    unit + ", largest " + general(budget.largest) + unit);
    std::string parts;
    std::string unknown;
    const BudgetLine* largest = nullptr;
    for (const BudgetLine& line : budget.lines) {
        if (!line.applies) continue;
        std::string& list = line.known ? parts : unknown;
        if (!list.empty()) list += ", ";
        list += sigma_term_name(line.term);
        if (!line.known) continue;
        list += " " + general(line.rms) + unit + " (" + percent(line.share) + ")";
        if (!largest || line.share > largest->share) largest = &line;
    }
    if (largest) {
        lines.push_back("Uncertainty by its parts: " + parts);
        lines.push_back(std::string("The largest part is \"") + sigma_term_name(largest->term) +
                        "\"; it falls with " + remedy_for(largest->term));
    }
    if (!unknown.empty()) lines.push_back("Not known, and left out: " + unknown);
    if (budget.too_noisy > 0)
        lines.push_back(std::to_string(budget.too_noisy) +
                        " pixels are too noisy for their uncertainty to be right");
    return lines;
}

}  // namespace vyn
