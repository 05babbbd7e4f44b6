#include "process/page/page_rows.h"

#include <map>

namespace vyn {

namespace names = image_names;

namespace {

using Labels = std::map<std::string_view, const char*>;

// Both dark images of a channel have the label of the wind-off one, as the labels have always been;
// so have the words "bacground" and "cerrected".
const Labels& single_labels() {
    static const Labels labels{{names::wind_on_sens, "Wind-On"},
                               {names::wind_off_sens, "Wind-Off"},
                               {names::wind_on_dark_sens, "Wind-Off background"},
                               {names::wind_off_dark_sens, "Wind-Off background"},
                               {names::wind_on_sens_cor, "Wind-On corrected"},
                               {names::wind_off_sens_cor, "Wind-Off cerrected"},
                               {names::wind_on_sens_aligned, "Wind-On aligned"},
                               {names::flat_sens, "Flat Field"},
                               {names::ratio, "I/Iref"},
                               {names::field, "Pressure field"}};
    return labels;
}

const Labels& double_labels() {
    static const Labels labels{{names::wind_on_sens, "Wind-On Sensitive"},
                               {names::wind_off_sens, "Wind-Off Sensitive"},
                               {names::wind_on_dark_sens, "Wind-Off Sensitive background"},
                               {names::wind_off_dark_sens, "Wind-Off Sensitive background"},
                               {names::wind_on_refe, "Wind-On Reference"},
                               {names::wind_off_refe, "Wind-Off Reference"},
                               {names::wind_on_dark_refe, "Wind-On Reference bacground"},
                               {names::wind_off_dark_refe, "Wind-Off Reference bacground"},
                               {names::wind_on_sens_cor, "Wind-On Sensitive corrected"},
                               {names::wind_off_sens_cor, "Wind-Off Sensitive corrected"},
                               {names::wind_on_refe_cor, "Wind-On Reference corrected"},
                               {names::wind_off_refe_cor, "Wind-Off Reference corrected"},
                               {names::wind_on_sens_aligned, "Wind-On Sensitive aligned"},
                               {names::wind_on_refe_aligned, "Wind-On Reference aligned"},
                               {names::flat_sens, "Flat Field"},
                               {names::flat_refe, "Flat Field Reference"},
                               {names::ratio, "I/Iref"},
                               {names::field, "Pressure field"}};
    return labels;
}

/// Signal = gate 2, reference = gate 1.
const Labels& lifetime_labels() {
    static const Labels labels{{names::wind_on_sens, "Wind-On Gate 2"},
                               {names::wind_off_sens, "Wind-Off Gate 2"},
                               {names::wind_on_dark_sens, "Wind-On Gate 2 background"},
                               {names::wind_off_dark_sens, "Wind-Off Gate 2 background"},
                               {names::wind_on_refe, "Wind-On Gate 1"},
                               {names::wind_off_refe, "Wind-Off Gate 1"},
                               {names::wind_on_dark_refe, "Wind-On Gate 1 background"},
                               {names::wind_off_dark_refe, "Wind-Off Gate 1 background"},
                               {names::wind_on_sens_cor, "Wind-On Gate 2 corrected"},
                               {names::wind_off_sens_cor, "Wind-Off Gate 2 corrected"},
                               {names::wind_on_refe_cor, "Wind-On Gate 1 corrected"},
                               {names::wind_off_refe_cor, "Wind-Off Gate 1 corrected"},
                               {names::wind_on_sens_aligned, "Wind-On Gate 2 aligned"},
                               {names::wind_on_refe_aligned, "Wind-On Gate 1 aligned"},
                               {names::flat_sens, "Flat Field"},
                               {names::ratio, "I/Iref"},
                               {names::field, "Pressure field"}};
    return labels;
}

/// Of every type.
const Labels& common_labels() {
    static const Labels labels{{names::displacement, "Displacement"},
                               {names::displacement_sigma, "SD of the displacement"},
                               {names::displacement_left, "Displacement left after the markers"},
                               {names::temperature_map, "Temperature map"},
                               {names::temperature_map_sigma, "SD of the temperature map"},
                               {names::temperature, "Wind-On temperature"},
                               {names::temperature_sigma, "SD of the Wind-On temperature"},
                               {names::sigma, "Uncertainty of the field"},
                               {names::sigma_common, "Uncertainty common to an area"},
                               {names::sigma_area, "Uncertainty that averages out"},
                               {names::sigma_terms[0], "Uncertainty by noise"},
                               {names::sigma_terms[1], "Uncertainty by the flat field"},
                               {names::sigma_terms[2], "Uncertainty by registration"},
                               {names::sigma_terms[3], "Uncertainty by the lamp"},
                               {names::sigma_terms[4], "Uncertainty by temperature"},
                               {names::sigma_terms[5], "Uncertainty by wind-off conditions"},
                               {names::sigma_terms[6], "Uncertainty by the law"},
                               {names::sigma_terms[7], "Uncertainty by the flow's pressures"}};
    return labels;
}

const Labels& labels_of(ExperimentType type) {
    switch (type) {
        case ExperimentType::binary:
            return double_labels();
        case ExperimentType::lifetime:
            return lifetime_labels();
        case ExperimentType::single:
        case ExperimentType::s3f:
            break;
    }
    return single_labels();
}

bool one_channel(ExperimentType type) {
    return type == ExperimentType::single || type == ExperimentType::s3f;
}

/// "wind_on" for the one channel, else the image's name.
std::string stem_of(ExperimentType type, const RawImage& raw) {
    const std::string name = raw.name;
    return one_channel(type) ? name.substr(0, name.rfind('_')) : name;
}

PageRow row_of(const InputFile& input, const std::string& stem) {
    switch (input.role) {
        case InputFile::Role::dark:
            return {input, stem + "_bkgr", "Background"};
        case InputFile::Role::markers:
            return {input, stem + "_mark", "Markers"};
        case InputFile::Role::mask:
            return {input, stem + "_mask", "Mask"};
        case InputFile::Role::picture:
        case InputFile::Role::flat:
        case InputFile::Role::temperature:
            break;
    }
    return {input, stem, "Image"};
}

}  // namespace

std::vector<PageCard> page_cards(ExperimentType type) {
    std::vector<PageCard> cards;
    const std::size_t pictures = one_channel(type) ? 2 : raw_images().size();
    for (std::size_t i = 0; i < pictures; ++i) {
        const RawImage& raw = raw_images()[i];
        PageCard card{&raw, image_label(type, raw.name), stem_of(type, raw), {}};
        for (const InputFile& input : input_files())
            if (input.raw == &raw && input.role != InputFile::Role::flat)
                card.rows.push_back(row_of(input, card.stem));
        cards.push_back(std::move(card));
    }
    return cards;
}

std::vector<PageRow> flat_rows(ExperimentType type) {
    std::vector<PageRow> rows;
    for (const char* name : {names::flat_sens, names::flat_refe}) {
        // One camera takes both gates.
        if (name == names::flat_refe && type != ExperimentType::binary) break;
        rows.push_back({*input_of_image(name), name, image_label(type, name)});
    }
    return rows;
}

PageRow temperature_row() {
    const char* name = names::temperature_map;
    return {*input_of_image(name), name, image_label(ExperimentType::single, name)};
}

std::vector<std::string> page_results(ExperimentType type) {
    std::vector<std::string> results{names::results.begin(), names::results.end()};
    if (!one_channel(type)) return results;
    for (std::size_t i = 2; i < raw_images().size(); ++i)
        for (const char* of_reference :
             {raw_images()[i].corrected_name, raw_images()[i].aligned_name})
            if (of_reference) std::erase(results, of_reference);
    return results;
}

std::string image_label(ExperimentType type, std::string_view image) {
    for (const Labels* labels : {&labels_of(type), &common_labels()})
        if (const auto found = labels->find(image); found != labels->end()) return found->second;
    return std::string(image);
}

bool is_camera_file(std::string_view image) {
    return input_of_image(image) != nullptr;
}

}  // namespace vyn
