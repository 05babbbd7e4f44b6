#include "process/page/input_remarks.h"

#include <algorithm>

#include "calib/paint.h"
#include "core/keys.h"
#include "process/page/page_rows.h"
#include "process/point/per_image.h"
#include "process/point/picture_warnings.h"
#include "process/report/image_statistics.h"
#include "process/steps/law_conditions.h"

namespace vyn {

namespace {

void saturation_remark(const dataSetInterface& data, const std::shared_ptr<const image>& picture,
                       const std::string& label, std::vector<std::string>& remarks) {
    static PerImage<std::int64_t> counts;
    const std::int64_t count = counts.get(picture, saturated_count);
    if (count == 0) return;
    const bool exclude = read(data, keys::saturation_exclude) != 0;
    remarks.push_back(label + ": " + std::to_string(count) +
                      (count == 1 ? " pixel is" : " pixels are") + " saturated" +
                      (exclude ? " and excluded." : "."));
}

void picture_remarks(const dataSetInterface& data, const imagesList& images, ExperimentType type,
                     std::vector<std::string>& remarks) {
    for (const PageCard& card : page_cards(type)) {
        const auto picture = images.find(card.raw->name);
        if (!picture) continue;
        if (!images.find(card.raw->dark_name))
            remarks.push_back(card.title + ": no dark image is used.");
        if (!images.find(camera_partner(data, *card.raw).flat_name))
            remarks.push_back(card.title + ": no flat field is used.");
        saturation_remark(data, picture, card.title, remarks);
        for (const std::string& remark :
             {picture->markers.left_out, lens_warning(data, *card.raw, *picture),
              folder_warning(data, *picture)})
            if (!remark.empty()) remarks.push_back(remark + ".");
    }
}

/// Laws fitted to ports know one temperature only.
bool depends_on_temperature(const paintFeatures& paint) {
    return std::ranges::any_of(paint.gamma,
                               [](const auto& row) { return row[1] != 0 || row[2] != 0; });
}

/// The numbers as they enter the law, in one sentence, and what is to be feared of them.
void law_remarks(const dataSetInterface& data, const imagesList& images,
                 std::vector<std::string>& remarks) {
    LawConditions conditions = law_conditions(data, images);
    if (conditions.lines.empty()) return;  // the field is the ratio: it needs no law
    paintFeatures paint;
    read(data, std::string(keys::sens_paint), paint);
    if (paint.gamma == paintFeatures().gamma) {
        remarks.emplace_back("There is no paint calibration yet: the field will be wrong.");
        return;
    }
    std::string law;
    for (const LawConditions::Line& line : conditions.lines)
        law += (law.empty() ? "" : ", ") + line.name + ' ' +
               (line.in_law.empty() ? line.entered : line.in_law);
    remarks.push_back("What enters the law: " + law + '.');
    if (uses_wind_off(data, images) && wind_off_rule(data, images) == WindOffRule::unity &&
        depends_on_temperature(paint))
        remarks.push_back(std::string(keys::convert_wind_off_ratio.path) +
                          " is \"unity\", as for a law fitted to pressure ports, but the paint's "
                          "law depends on temperature, as those of a laboratory do: for such a one "
                          "set it to \"law\".");
    for (std::string& remark : conditions.remarks)
        remarks.push_back(std::move(remark));
}

}  // namespace

std::vector<std::string> input_remarks(const dataSetInterface& data, const imagesList& images) {
    std::vector<std::string> remarks;
    const ExperimentType type = experiment_type(data);
    if (type == ExperimentType::s3f) return {not_evaluated_text};
    picture_remarks(data, images, type, remarks);
    law_remarks(data, images, remarks);
    return remarks;
}

}  // namespace vyn
