#include "process/steps/port_point.h"

#include <cmath>

#include "calib/units.h"
#include "core/errors.h"
#include "core/keys.h"
#include "process/steps/law_conditions.h"

namespace vyn {

LawAtPoint law_at_point(const dataSetInterface& data, const imagesList& images) {
    const UnitMessagesOff told_with_the_field;
    paintFeatures paint;
    flowFeatures flow;
    read(data, std::string(keys::sens_paint), paint);
    read(data, std::string(keys::flow), flow);
    LawAtPoint law;
    law.conversion =
        prepare_conversion(FieldQuantity::pressure, paint, flow, wind_off_rule(data, images));
    const double degree = law.conversion.temperature_factor;
    law.wind_on_t_sigma = degree * read(data, keys::uncertainty_t_on_sigma);
    law.wind_off_t_sigma = degree * read(data, keys::uncertainty_t_off_sigma);
    law.wind_off_p_sigma =
        law.conversion.pressure_factor * read(data, keys::uncertainty_p_off_sigma);
    const double drift =
        read(data, keys::uncertainty_lamp_drift) * read(data, keys::uncertainty_lamp_hours);
    law.ratio_sigma = std::hypot(drift / std::sqrt(3.0), read(data, keys::uncertainty_lamp_level));
    return law;
}

InSituOptions for_point(InSituOptions options, const Session& session) {
    if (options.model != CalibrationModel::polynomial)
        options.law = law_at_point(session.data, session.images);
    return options;
}

SampledPoint port_point(const Session& session, const std::string& name,
                        const std::string& port_file, const InSituOptions& options) {
    const auto ratio = session.images.find(image_names::ratio);
    if (!ratio) throw AlgoError("Algorithm error!", name + ": I/Iref image doesn't exists");
    MarkerSet ports;
    if (const auto wrong = read_ports(port_file, ratio->height(), ports))
        throw AlgoError("Algorithm error!", name + ": " + wrong->warning + ": " + wrong->reason);
    return {name, in_law_unit(sample_ports(*ratio, ports, options.side), options),
            for_point(options, session).law};
}

void store_calibration(dataSetInterface& data, const InSituCalibration& calibration,
                       const std::string& wind_off_ratio) {
    write(data, std::string(keys::sens_paint), calibration.paint);
    write(data, keys::convert_wind_off_ratio, wind_off_ratio);
    write(data, keys::uncertainty_at_ports, calibration.paint.covariance ? 1 : 0);
}

}  // namespace vyn
