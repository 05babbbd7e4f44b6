#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/task.h"
#include "process/point/session.h"
#include "process/report/model_report.h"
#include "process/report/point_check.h"
#include "render/figure.h"

namespace vyn {

/// The check of a point with its pictures.
struct PointReport {
    PointCheck check;
    Figure field;                ///< large, with its colour bar; empty without one
    std::vector<Figure> stages;  ///< of the check's stages, in their order
    Figure histogram;            ///< of the field; empty without one
    ModelReport model;
    std::vector<std::pair<std::string, std::string>> inputs;  ///< files and their SHA-256
    std::string program;                                      ///< with its version
};

/// A small picture of an image, its field no longer than `side` pixels at any side.
Figure thumbnail_of(const image& picture, int side, Progress& progress);

/// Looks at the results in the image list and on the mesh and draws their pictures; `ports` as for
/// check_point. Raises Aborted when told to stop.
PointReport make_point_report(const RunReport& report, const dataSetInterface& data,
                              const imagesList& images, const field_data<double>& mesh,
                              const MarkerSet& ports, Progress& progress);

/// The same on the worker; without ports of its own it takes those that the images carry. The
/// result is there when it is done.
class PointReportTask final : public Task {
  public:
    PointReportTask(Session session, std::shared_ptr<const RunReport> report, MarkerSet ports = {})
        : session_(session),
          report_(std::move(report)),
          ports_(std::move(ports)),
          result_(std::make_shared<PointReport>()) {}
    TaskOutcome run(TaskContext& context) override;
    std::shared_ptr<const PointReport> result() const { return result_; }

  private:
    Session session_;
    std::shared_ptr<const RunReport> report_;
    MarkerSet ports_;
    std::shared_ptr<PointReport> result_;
};

}  // namespace vyn
