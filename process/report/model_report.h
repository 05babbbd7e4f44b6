#pragma once

#include <optional>
#include <string>
#include <vector>

#include "api/field_data.h"
#include "api/image_list.h"
#include "process/point/experiment_type.h"
#include "process/report/run_report.h"
#include "render/figure.h"
#include "resect/resection.h"

namespace vyn {

/// What a report shows of the field on the model.
struct ModelReport {
    struct Picture {
        std::string label;
        Figure figure;
    };
    /// The pose of one camera picture.
    struct View {
        std::string label;  ///< of the picture, for the user
        ViewResult found;
        double factor = 1;  ///< by which the residuals are drawn longer
        Figure residuals;
    };

    std::string quantity;           ///< with its unit; empty: the point has no field on a model
    std::optional<double> covered;  ///< share of the surface that was seen
    std::vector<std::string> remarks;
    std::vector<View> views;  ///< of the run that made the field; empty when that is not known
    std::vector<Picture> pictures;  ///< the model from four sides
};

/// Draws the residuals of the run's poses over their pictures, where the list has those, and the
/// model from four sides. Empty for a mesh without values. Raises Aborted when told to stop.
ModelReport make_model_report(const RunReport& report, ExperimentType type,
                              const imagesList& images, const field_data<double>& mesh,
                              Progress& progress);

}  // namespace vyn
