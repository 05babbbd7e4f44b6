#include "app/experiment_page.h"
#include "app/pages/form_double_basic.h"
#include "app/pages/form_single_basic.h"

namespace vyn {

std::unique_ptr<ExperimentPage> make_experiment_page(ExperimentPageKind kind, Worker& worker,
                                                     QWidget* parent) {
    if (kind == ExperimentPageKind::double_channel)
        return std::make_unique<FormDoubleBasic>(worker, parent);
    return std::make_unique<FormSingleBasic>(worker, parent);
}

}  // namespace vyn
