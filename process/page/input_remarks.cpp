#include "process/page/input_remarks.h"

#include <algorithm>

#include "calib/paint.h"
#include "core/ascii.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "process/page/dark_background.h"
#include "process/page/likely_places.h"
#include "process/page/page_rows.h"
#include "process/page/user_words.h"
#include "process/point/missing_files.h"
#include "process/point/per_image.h"
#include "process/point/picture_warnings.h"
#include "process/report/image_statistics.h"
#include "process/steps/law_conditions.h"

namespace vyn {

namespace {

/// Collects remarks in the words of the user.
struct Remarks {
    ExperimentType type;
    std::vector<Remark> said{};

    void add(Remark::Kind kind, std::string_view text) {
        if (text.empty()) return;
        std::string sentence = user_words(type, text);
        sentence.front() = upper_case(sentence.front());
        if (sentence.back() != '.') sentence += '.';
        said.push_back({kind, std::move(sentence)});
    }
    void warn(std::string_view text) { add(Remark::Kind::warning, text); }
    void inform(std::string_view text) { add(Remark::Kind::information, text); }
};

std::string saturation_remark(const dataSetInterface& data,
                              const std::shared_ptr<const image>& picture) {
    static PerImage<std::int64_t> counts;
    const std::int64_t count = counts.get(picture, saturated_count);
    if (count == 0) return {};
    return picture->name + ": " + std::to_string(count) +
           (count == 1 ? " pixel is" : " pixels are") + " saturated" +
           (read(data, keys::saturation_exclude) != 0 ? " and excluded" : "");
}

std::string background_remark(const dataSetInterface& data, const RawImage& raw,
                              const std::shared_ptr<const image>& picture) {
    if (read(data, raw.dark_level) > 0) return {};
    static PerImage<std::optional<DarkBackground>> known;
    const auto found = known.get(picture, dark_background);
    if (!found) return {};
    return picture->name + ": " + format_general(100 * found->share, 2) +
           " % of the pixels have next to no light, and their ratio is noise; a dark level of " +
           format_general(found->level, 9) + " counts leaves them out, or a mask";
}

void picture_remarks(const dataSetInterface& data, const imagesList& images, Remarks& remarks) {
    for (const PageCard& card : page_cards(remarks.type)) {
        const auto picture = images.find(card.raw->name);
        if (!picture) continue;
        if (!images.find(card.raw->dark_name))
            remarks.inform(card.title + ": no dark image is used");
        if (!images.find(camera_partner(data, *card.raw).flat_name))
            remarks.inform(card.title + ": no flat field is used");
        remarks.inform(background_remark(data, *card.raw, picture));
        for (const PageRow& row : card.rows)
            if (const std::string problem = size_problem(data, images, row.input); !problem.empty())
                remarks.warn(place_label(remarks.type, row) + " " + problem);
        for (const std::string& warning :
             {saturation_remark(data, picture), picture->markers.left_out,
              lens_warning(data, camera_partner(data, *card.raw).camera, *picture),
              folder_warning(data, *picture)})
            remarks.warn(warning);
    }
    for (const PageRow& row : flat_rows(remarks.type))
        if (const std::string problem = size_problem(data, images, row.input); !problem.empty())
            remarks.warn(row.label + " " + problem);
}

/// Laws fitted to ports know one temperature only.
bool depends_on_temperature(const paintFeatures& paint) {
    return std::ranges::any_of(paint.gamma,
                               [](const auto& row) { return row[1] != 0 || row[2] != 0; });
}

/// The numbers as they enter the law, in one sentence, and what is to be feared of them.
void law_remarks(const dataSetInterface& data, const imagesList& images, Remarks& remarks) {
    LawConditions conditions = law_conditions(data, images);
    if (conditions.lines.empty()) return;  // the field is the ratio: it needs no law
    paintFeatures paint;
    read(data, std::string(keys::sens_paint), paint);
    if (paint.gamma == paintFeatures().gamma)
        return remarks.warn("There is no paint calibration yet: the field will be wrong");
    std::string law;
    for (const LawConditions::Line& line : conditions.lines)
        law += (law.empty() ? "" : ", ") + line.name + ' ' +
               (line.in_law.empty() ? line.entered : line.in_law);
    remarks.inform("What enters the law: " + law);
    if (uses_wind_off(data, images) && wind_off_rule(data, images) == WindOffRule::unity &&
        depends_on_temperature(paint))
        remarks.warn(
            "The wind-off ratio fa is taken as unity, as for a law fitted to pressure ports, but "
            "the paint's law depends on temperature, as those of a laboratory do: for such a one "
            "choose the law's own ratio in the dialog \"Convert\"");
    for (const std::string& remark : conditions.remarks)
        remarks.warn(remark);
}

}  // namespace

std::string size_problem(const dataSetInterface& data, const imagesList& images,
                         const InputFile& input) {
    using Role = InputFile::Role;
    const auto picture = images.find(input.image);
    const bool is_image = input.role != Role::markers && input.role != Role::mask;
    if (!picture || !is_image || !input.raw) return {};
    // Everything goes by the picture that it corrects, wind-on by wind-off of its channel.
    const char* measure = input.raw->name;
    if (input.role == Role::picture) {
        if (!input.raw->aligned_name) return {};
        for (const RawImage& raw : raw_images())
            if (!raw.aligned_name && raw.camera == input.raw->camera) measure = raw.name;
    }
    const auto other = images.find(measure);
    if (!other || other->values().same_size(picture->values())) return {};
    const ExperimentType type = experiment_type(data);
    const auto size = [](const image& shown) {
        return std::to_string(shown.width()) + " x " + std::to_string(shown.height());
    };
    return "is " + size(*picture) + " pixels, but " + image_label(type, measure) + " is " +
           size(*other);
}

std::vector<Remark> input_remarks(const dataSetInterface& data, const imagesList& images) {
    const ExperimentType type = experiment_type(data);
    if (type == ExperimentType::s3f) return {{Remark::Kind::warning, not_evaluated_text}};
    Remarks remarks{type};
    for (const MissingFile& missing : missing_files(data, images))
        remarks.warn(missing_text(data, missing));
    picture_remarks(data, images, remarks);
    law_remarks(data, images, remarks);
    return std::move(remarks.said);
}

std::vector<Remark> with_warnings(const std::vector<Remark>& remarks,
                                  const std::vector<Warning>& warnings, ExperimentType type) {
    Remarks all{type};
    for (const Warning& warning : warnings)
        all.add(is_information(warning.kind) ? Remark::Kind::information : Remark::Kind::warning,
                warning.text);
    for (const Remark& remark : remarks)
        all.said.push_back(remark);
    std::vector<Remark> once;
    for (const Remark& remark : all.said)
        if (std::ranges::find(once, remark.text, &Remark::text) == once.end())
            once.push_back(remark);
    // Not that of std::ranges, which clang 14 cannot read in the library of g++ 12.
    std::stable_partition(once.begin(), once.end(), [](const Remark& remark) {
        return remark.kind == Remark::Kind::warning;
    });
    return once;
}

}  // namespace vyn
