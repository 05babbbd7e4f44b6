#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "api/image_list.h"
#include "core/data_set.h"
#include "process/report/image_statistics.h"
#include "process/report/run_report.h"

namespace vyn {

/// What a careful user looks at before believing a field.

/// One alignment by markers.
struct AlignmentCheck {
    std::string what;  ///< which picture was aligned to which
    MarkerMatch match;
};

/// One alignment by the texture of the paint.
struct TextureCheck {
    std::string what;  ///< which picture was aligned to which
    CorrelationReport found;
};

/// One image of the point.
struct StageCheck {
    std::string name;      ///< in the image list
    std::string label;     ///< for the user
    std::string quantity;  ///< short, with its unit
    int width = 0;
    int height = 0;
    ImageStatistics values;
};

/// The field at a pressure port beside what was measured there, both in the field's quantity.
struct PortCheck {
    std::int32_t number = 0;
    double tap = 0;
    double field = 0;
    double sigma = 0;  ///< of the mean of the field there; 0: not known
    double difference() const { return field - tap; }
};

struct PortComparison {
    std::vector<PortCheck> ports;
    std::vector<std::string> left_out;  ///< active ports that could not be compared, and why
    double rms = 0;                     ///< of the differences
    double max = 0;                     ///< largest absolute difference
    /// Mean of the squared differences over their variances; without those of the ports themselves.
    std::optional<double> chi_square;
};

struct PointCheck {
    std::string title;       ///< project, test and point as far as the project names them
    std::string experiment;  ///< type of experiment, in words
    /// What point it is, for the user: test, model, date, type, Mach number, angles.
    std::vector<std::pair<std::string, std::string>> facts;
    std::string quantity;  ///< of the field, with its unit, in words
    std::string unit;      ///< of the field; empty for numbers without one
    bool computed = true;  ///< the field comes from the run that the report is of
    std::optional<bool> aligned;
    std::string unaligned;  ///< why the result is not to be trusted; empty when it is
    bool copied = false;    ///< aligned by copy
    std::vector<AlignmentCheck> alignments;
    std::vector<TextureCheck> by_texture;
    std::optional<MapConsistency> consistency;
    std::string noise;               ///< what to know of it; may be empty
    std::vector<StageCheck> stages;  ///< in the order of computation
    PortComparison ports;
    std::optional<PreparedConversion> conversion;
    std::optional<UncertaintyBudget> uncertainty;
    std::vector<Warning> warnings;
};

/// Whether ports can be held against a field of that quantity, and a port's pressure, in the unit
/// of the present test conditions, as the field would have it.
bool is_comparable(Quantity quantity);
double port_value(const image& field, double pressure, const flowFeatures& present);

/// The pressure ports that the field or the ratio image carries (markers with pressures), else
/// those of the project's port file. Empty when there are none.
MarkerSet ports_of_point(const dataSetInterface& data, const imagesList& images);

/// Looks at the results in the list. `ports` in pixels of the field, pressures in the unit of the
/// test conditions; the field is averaged over 5 x 5 pixels around each.
PointCheck check_point(const RunReport& report, const dataSetInterface& data,
                       const imagesList& images, const MarkerSet& ports);

}  // namespace vyn
