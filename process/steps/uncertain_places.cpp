#include "process/steps/uncertain_places.h"

#include <initializer_list>

#include "process/point/experiment_type.h"

namespace vyn {

namespace {

/// By the first of these that there is.
DisplacementVariance variance_of(const PlaceSigmas& entered, const image* texture,
                                 const std::optional<MarkerMatch>& markers,
                                 const image& reference) {
    if (texture)
        if (DisplacementVariance found = variance_of_correlation(*texture); found.known())
            return found;
    if (markers && markers->ok)
        return variance_of_markers(*markers, entered.marker, reference.width(), reference.height());
    return uniform_variance(entered.registration, reference.width(), reference.height());
}

class Gathering {
  public:
    using IndexOf = std::function<std::size_t(std::size_t)>;
    Gathering(const StepRun& run, const image& frame, const IndexOf& index_of)
        : run_(run), frame_(frame), index_of_(index_of) {}

    struct Sign {
        std::size_t number;  ///< in `raw_images`
        int sign;
    };
    void add(std::initializer_list<Sign> signs, const DisplacementVariance& variance) {
        if (!variance.known()) return;
        MovedPictures& moved = moved_.emplace_back();
        for (const Sign& each : signs)
            moved.parts.push_back({index_of_(each.number), each.sign});
        moved.variance = variance;
    }
    ImageMap map_to(std::size_t picture) const {
        return run_.alignment.from_frame[picture].value_or(ImageMap());
    }
    DisplacementVariance in_frame(const DisplacementVariance& variance, const ImageMap& reference,
                                  std::size_t moved) const {
        return carried_to_frame(variance, reference, map_to(moved), frame_.width(),
                                frame_.height());
    }
    std::vector<MovedPictures> take() { return std::move(moved_); }

  private:
    const StepRun& run_;
    const image& frame_;
    const IndexOf& index_of_;
    std::vector<MovedPictures> moved_;
};

void add_reference_channel(const StepRun& run, const CorrectedPictures& pictures,
                           const image& frame, const PlaceSigmas& entered, Gathering& gathering) {
    const ChannelAlignment& channels = *run.report.channels;
    const image* texture = run.alignment.reference_sigma.get();
    const DisplacementVariance reference = gathering.in_frame(
        variance_of(entered, texture, channels.reference, *pictures[2]), gathering.map_to(2), 3);
    const DisplacementVariance cameras =
        gathering.in_frame(variance_of(entered, nullptr, channels.cameras, frame), ImageMap(), 2);
    if (texture) {
        gathering.add({{3, 1}}, reference);
        // An error between the cameras moves both pictures of the reference channel.
        gathering.add({{2, -1}, {3, 1}}, cameras);
        return;
    }
    // Half of a pair's variance comes from either picture. An error of the wind-off picture stands
    // in both mappings and leaves the wind-on one where it is.
    gathering.add({{3, 1}}, reference.halved());
    gathering.add({{2, -1}}, reference.halved());
    gathering.add({{2, -1}, {3, 1}}, cameras.halved());
}

}  // namespace

std::vector<MovedPictures> moved_pictures(const StepRun& run, const CorrectedPictures& pictures,
                                          const image& frame, const PlaceSigmas& entered,
                                          const std::function<std::size_t(std::size_t)>& index_of) {
    const RunReport& report = run.report;
    const bool followed = report.correlation && report.correlation->failure.empty();
    const auto texture =
        followed ? run.session.images.find(image_names::displacement_sigma) : nullptr;
    const DisplacementVariance signal =
        variance_of(entered, texture.get(), report.alignment, frame);
    Gathering gathering(run, frame, index_of);
    switch (experiment_type(run.session.data)) {
        case ExperimentType::single:
            gathering.add({{1, -1}}, signal);
            break;
        case ExperimentType::lifetime:
            // Gates without wind-off pictures are taken at one place.
            if (pictures[0]) gathering.add({{1, -1}, {3, 1}}, signal);
            break;
        case ExperimentType::binary:
        case ExperimentType::s3f:
            gathering.add({{1, -1}}, signal);
            if (report.channels) add_reference_channel(run, pictures, frame, entered, gathering);
            break;
    }
    return gathering.take();
}

}  // namespace vyn
