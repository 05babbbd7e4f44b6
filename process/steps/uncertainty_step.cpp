#include "process/steps/uncertainty_step.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "api/resample.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/log.h"
#include "process/point/experiment_type.h"
#include "process/report/image_statistics.h"
#include "process/steps/correct_step.h"
#include "process/steps/corrected_pictures.h"
#include "process/steps/field_quantity.h"
#include "process/steps/lamp_correction.h"
#include "process/steps/ratio_step.h"
#include "process/steps/step_settings.h"
#include "process/steps/temperature_step.h"
#include "process/steps/uncertain_places.h"
#include "uncertainty/uncertainty_map.h"

namespace vyn {

namespace names = image_names;

namespace {

using Picture = std::shared_ptr<const image>;

/// The project's settings of it.
struct SigmaSettings {
    std::string noise;
    double noise_relative, flat_relative;
    int frames_off, frames_on, frames_dark, frames_flat;
    std::array<double, 2> gain, read;  ///< of the signal and the reference camera
    double marker_sigma, registration_sigma;
    ConditionSigmas conditions;  ///< in the test's units
    /// The last three as variances of the ratio, relative.
    double law_relative, drift, lamp_level, other;
    bool at_ports;  ///< the law made good what lamp and wind-on temperature did
    bool terms;
};

SigmaSettings settings_of(dataSetInterface& data) {
    const auto number = [&data](const Key<double>& key) { return read(data, key); };
    const auto square = [](double value) { return value * value; };
    const double drift =
        number(keys::uncertainty_lamp_drift) * number(keys::uncertainty_lamp_hours);
    return {
        .noise = read(data, keys::uncertainty_noise),
        .noise_relative = number(keys::uncertainty_noise_relative),
        .flat_relative = number(keys::uncertainty_flat_relative),
        .frames_off = read(data, keys::uncertainty_frames_off),
        .frames_on = read(data, keys::uncertainty_frames_on),
        .frames_dark = read(data, keys::uncertainty_frames_dark),
        .frames_flat = read(data, keys::uncertainty_frames_flat),
        .gain = {number(keys::sens_noise_gain), number(keys::refe_noise_gain)},
        .read = {number(keys::sens_noise_read), number(keys::refe_noise_read)},
        .marker_sigma = number(keys::uncertainty_marker_sigma),
        .registration_sigma = number(keys::uncertainty_registration_sigma),
        .conditions = {temperature_wanted(data) ? 0 : number(keys::uncertainty_t_on_sigma),
                       number(keys::uncertainty_t_off_sigma), number(keys::uncertainty_p_off_sigma),
                       number(keys::uncertainty_static_sigma),
                       number(keys::uncertainty_dynamic_sigma)},
        .law_relative = number(keys::uncertainty_law_relative),
        .drift = square(drift) / 3,
        .lamp_level = square(number(keys::uncertainty_lamp_level)),
        .other = square(number(keys::uncertainty_other_relative)),
        .at_ports = read(data, keys::uncertainty_at_ports) != 0,
        .terms = read(data, keys::uncertainty_terms) != 0};
}

/// Their paths, but for `terms`.
SettingPaths setting_paths(const dataSetInterface& data) {
    SettingPaths paths;
    if (field_takes_law(data)) paths.add(keys::temperature_source);
    if (!temperature_wanted(data)) paths.add(keys::uncertainty_t_on_sigma);
    paths.add(
        keys::uncertainty_noise, keys::uncertainty_noise_relative, keys::uncertainty_flat_relative,
        keys::uncertainty_frames_off, keys::uncertainty_frames_on, keys::uncertainty_frames_dark,
        keys::uncertainty_frames_flat, keys::sens_noise_gain, keys::refe_noise_gain,
        keys::sens_noise_read, keys::refe_noise_read, keys::uncertainty_marker_sigma,
        keys::uncertainty_registration_sigma, keys::uncertainty_t_off_sigma,
        keys::uncertainty_p_off_sigma, keys::uncertainty_static_sigma,
        keys::uncertainty_dynamic_sigma, keys::uncertainty_law_relative,
        keys::uncertainty_lamp_drift, keys::uncertainty_lamp_hours, keys::uncertainty_lamp_level,
        keys::uncertainty_other_relative, keys::uncertainty_at_ports);
    return paths;
}

/// 0 for the signal camera, 1 for that of the reference channel.
std::size_t camera_of(const RawImage& taker) {
    return taker.camera == raw_images()[2].camera ? 1 : 0;
}

/// What must outlive the map.
struct Gathered {
    UncertainPoint point;
    std::vector<Picture> held;
    /// Numbers in `raw_images` of the point's pictures.
    std::vector<std::size_t> numbers;

    std::size_t index_of(std::size_t number) const {
        return static_cast<std::size_t>(std::ranges::find(numbers, number) - numbers.begin());
    }
};

/// The noise of a camera picture.
NoiseLine noise_of(const StepRun& run, const SigmaSettings& settings, std::size_t number) {
    const imagesList& images = run.session.images;
    const RawImage& raw = raw_images()[number];
    const std::size_t which = camera_of(camera_partner(run.session.data, raw));
    const Picture taken = images.find(raw.name);
    const Picture dark = images.find(raw.dark_name);
    CameraNoise camera;
    camera.gain = settings.gain[which];
    camera.read = settings.read[which];
    camera.frames = raw.aligned_name ? settings.frames_on : settings.frames_off;
    camera.dark_frames = dark ? settings.frames_dark : 0;
    camera.relative = settings.noise_relative;
    camera.whole_counts = taken && taken->full_scale > 0;
    const Key<double>& gain_key = which == 0 ? keys::sens_noise_gain : keys::refe_noise_gain;
    NoiseLine line =
        noise_line(camera, settings.noise, taken.get(), dark.get(), std::string(gain_key.path));
    if (settings.noise == "burst" && line.source != NoiseSource::burst)
        warn(run.report, WarningKind::conditions,
             std::string(raw.name) + " is no average of frames: its noise is " +
                 noise_source_name(line.source));
    return line;
}

/// Standard deviation of the flat field of a picture over its value; 0 where it is not known.
double flat_relative(const StepRun& run, const SigmaSettings& settings, const RawImage& taker) {
    const Picture flat = run.session.images.find(taker.flat_name);
    if (!flat || settings.flat_relative > 0) return flat ? settings.flat_relative : 0;
    // Only counts tell of electrons; a flat field of other values was scaled by somebody.
    const double mean = flat->full_scale > 1 ? image_statistics(*flat).mean : 0;
    const double electrons = settings.gain[camera_of(taker)] * mean * settings.frames_flat;
    return electrons > 0 ? 1 / std::sqrt(electrons) : 0;
}

bool same_file(const Picture& a, const Picture& b) {
    return a && b && !a->file_sha256.empty() && a->file_sha256 == b->file_sha256;
}

/// The pictures in the frame of the results, with the way to what the cameras saw.
void gather_pictures(const StepRun& run, const SigmaSettings& settings,
                     const CorrectedPictures& pictures, Gathered& gathered) {
    dataSetInterface& data = run.session.data;
    const imagesList& images = run.session.images;
    const Picture& frame = pictures.front() ? pictures.front() : pictures[1];
    const bool twice = samples_twice(data);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        if (!pictures[i]) continue;
        const RawImage& raw = raw_images()[i];
        UncertainPicture picture;
        picture.noise = noise_of(run, settings, i);
        const Distortion lens = lens_of_correction(data, correction_of(data, raw));
        const std::optional<ImageMap>& from_frame = run.alignment.from_frame[i];
        Picture in_frame = pictures[i];
        if (from_frame && pictures.front()) {
            in_frame = raw.aligned_name ? images.find(raw.aligned_name) : nullptr;
            const bool fits = in_frame && in_frame->values().same_size(frame->values());
            picture.filtered = fits && twice;  // before it was sampled again
            if (!fits)
                in_frame = std::make_shared<const image>(resample(*pictures[i], frame->width(),
                                                                  frame->height(),
                                                                  from_frame->rows(), run.context));
            if (twice && !lens.none()) picture.undistorted = from_frame->rows();
        }
        ImageMap whole = from_frame.value_or(ImageMap());
        if (!lens.none()) whole.then(lens);
        if (!whole.empty()) picture.camera = whole.rows();
        if (const Picture flat = images.find(camera_partner(data, raw).flat_name)) {
            picture.flat = flat.get();
            gathered.held.push_back(flat);
        }
        picture.in_frame = in_frame.get();
        gathered.held.push_back(std::move(in_frame));
        gathered.numbers.push_back(i);
        gathered.point.pictures.push_back(std::move(picture));
    }
}

/// Errors of flat fields and darks that wind-off and wind-on pictures share. The gates of a
/// lifetime measurement see one flat field at one place, where it cancels.
void gather_shared(const StepRun& run, const SigmaSettings& settings, ExperimentType type,
                   Gathered& gathered) {
    gathered.point.flat_cancels = type == ExperimentType::lifetime;
    if (type == ExperimentType::lifetime) return;
    for (std::size_t off : {std::size_t{0}, std::size_t{2}}) {
        const std::size_t a = gathered.index_of(off);
        const std::size_t b = gathered.index_of(off + 1);
        if (std::max(a, b) >= gathered.numbers.size()) continue;
        const RawImage& raw = raw_images()[off];
        const imagesList& images = run.session.images;
        const SharedPictures shared{
            a, b, flat_relative(run, settings, camera_partner(run.session.data, raw)),
            same_file(images.find(raw.dark_name), images.find(raw_images()[off + 1].dark_name))};
        if (shared.flat_relative > 0 || shared.same_dark) gathered.point.shared.push_back(shared);
    }
}

void gather_law(const StepRun& run, const SigmaSettings& settings,
                const CorrectedPictures& pictures, Gathered& gathered) {
    UncertainPoint& point = gathered.point;
    point.lamp_cancels = experiment_type(run.session.data) != ExperimentType::single;
    if (!point.lamp_cancels) {
        const std::optional<LightReport> light = lamp_correction(run, pictures).report;
        const bool seen = light && light->variance > 0;
        point.lamp = settings.drift + (seen ? light->variance : settings.lamp_level);
    }
    point.other = settings.other;
    if (!run.report.conversion) {
        point.conversion.quantity = FieldQuantity::ratio;
        point.law = identity_variance();
        return;
    }
    const PreparedConversion& prepared = *run.report.conversion;
    point.conversion = prepared.conversion;
    point.conditions = settings.conditions;
    for (double* sigma : {&point.conditions.wind_on_t, &point.conditions.wind_off_t})
        *sigma *= prepared.temperature_factor;
    for (double* sigma :
         {&point.conditions.wind_off_p, &point.conditions.static_p, &point.conditions.dynamic_p})
        *sigma *= prepared.pressure_factor;
    const KeptCovariance kept =
        read_covariance(run.session.data, std::string(keys::sens_paint), prepared.paint.gamma);
    if (!kept.problem.empty())
        warn(run.report, WarningKind::conditions,
             kept.problem + "; the uncertainty of the field is without that of the law");
    if (settings.at_ports && kept.covariance) {
        point.lamp = 0;
        point.conditions.wind_on_t = 0;
    }
    point.law = law_variance(prepared, point.conditions, kept.covariance, settings.law_relative);
    if (!prepared.of_map) return;
    const imagesList& images = run.session.images;
    UncertainTemperature& temperature = point.temperature.emplace();
    for (const auto& [name, plane] : {std::pair{names::temperature, &temperature.values},
                                      std::pair{names::temperature_sigma, &temperature.sigma}}) {
        const Picture found = images.find(name);
        if (!found)
            throw StateError("State error!",
                             "the image " + std::string(name) + " is not there any more");
        *plane = found.get();
        gathered.held.push_back(found);
    }
    temperature.map = *prepared.of_map;
    temperature.laws = laws_over(prepared, *prepared.of_map, point.conditions, kept.covariance,
                                 settings.law_relative);
}

/// Of settings that may be constant or not.
template <class Data>
bool wanted(Data& data) {
    const bool enabled = read(data, keys::uncertainty_enable) != 0;
    return field_quantity(read(data, keys::convert_field)) != FieldQuantity::kept && enabled;
}

void forget(imagesList& images) {
    for (const char* name : {names::sigma, names::sigma_common, names::sigma_area})
        images.remove(name);
    for (const char* name : names::sigma_terms)
        images.remove(name);
}

}  // namespace

bool uncertainty_wanted(const StepView& view) {
    return wanted(view.data);
}

StepFacts uncertainty_facts(const StepView& view) {
    const dataSetInterface& data = view.data;
    StepFacts facts;
    SettingPaths settings;
    SettingPaths of_terms;
    if (uncertainty_wanted(view)) of_terms.add(keys::uncertainty_terms);
    settings.add(keys::uncertainty_enable, keys::convert_field);
    for (const char* name : {names::sigma, names::sigma_common, names::sigma_area})
        facts.gives.push_back({name, {}});
    const std::vector<std::string> terms = of_terms.take();
    for (const char* name : names::sigma_terms)
        facts.gives.push_back({name, terms});
    if (!uncertainty_wanted(view)) {
        facts.settings = settings.take();
        return facts;
    }
    facts.takes = corrected_images(view);
    facts.takes.push_back({.name = names::field});
    facts.takes.push_back({.name = names::ratio});
    if (temperature_wanted(data))
        for (const char* name : {names::temperature, names::temperature_sigma})
            facts.takes.push_back({.name = name});
    SettingPaths behind;
    for (const std::size_t i : pictures_of_ratio(view)) {
        const RawImage& raw = raw_images()[i];
        const RawImage& taker = camera_partner(data, raw);
        for (const char* name : {raw.name, raw.dark_name, taker.flat_name, raw.aligned_name})
            if (name && std::ranges::find(facts.takes, name, &StepImage::name) == facts.takes.end())
                facts.takes.push_back({.name = name,
                                       .need = StepImage::Need::if_there,
                                       .use = StepImage::Use::behind});
        behind.add(raw.dark_level);
        behind.add(taker.camera, {"cx", "cy", "a2", "a4"});
        facts.told.emplace_back(taker.camera);
    }
    if (experiment_type(data) == ExperimentType::single) add_lamp_facts(view, facts);
    facts.takes.push_back({.name = names::displacement_sigma,
                           .need = StepImage::Need::if_there,
                           .use = StepImage::Use::behind});
    if (read(data, keys::convert_field) != "Irefe_Isens")
        settings.add(keys::sens_paint, {"covariance"});
    for (std::string& path : settings.take())
        facts.settings.push_back(std::move(path));
    for (std::string& path : setting_paths(data).take())
        facts.settings.push_back(std::move(path));
    facts.behind = behind.take();
    for (const char* tree : {experiment_flags, "project/processing/align/"})
        facts.behind.emplace_back(tree);
    return facts;
}

TaskOutcome calculate_uncertainty(const StepRun& run) {
    imagesList& images = run.session.images;
    forget(images);
    if (!wanted(run.session.data)) return TaskOutcome::done;
    const Picture field = images.find(names::field);
    const Picture ratio = images.find(names::ratio);
    const auto pictures = corrected_pictures(run);
    if (!field || !ratio || !pictures) return TaskOutcome::failed;
    run.context.status("Calculating Uncertainty");
    const ExperimentType type = experiment_type(run.session.data);
    const SigmaSettings settings = settings_of(run.session.data);
    Gathered gathered;
    UncertainPoint& point = gathered.point;
    point.field = field.get();
    point.ratio = ratio.get();
    gather_pictures(run, settings, *pictures, gathered);
    gather_shared(run, settings, type, gathered);
    point.moved =
        moved_pictures(run, *pictures, *field, {settings.marker_sigma, settings.registration_sigma},
                       [&](std::size_t number) { return gathered.index_of(number); });
    gather_law(run, settings, *pictures, gathered);
    point.degree = read(run.session.data, keys::spline_degree);
    point.filter = filter_options(run.session.data);
    point.keep_terms = settings.terms;
    UncertaintyMap map = uncertainty_map(point, run.context);
    for (const std::string& line : report_lines(map.budget))
        get_log().write(LogLevel::progress, line);
    run.report.uncertainty = map.budget;
    run.publish(std::move(map.total));
    run.publish(std::move(map.common));
    run.publish(std::move(map.area));
    for (image& term : map.terms)
        run.publish(std::move(term));
    return TaskOutcome::done;
}

}  // namespace vyn
