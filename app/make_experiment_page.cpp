#include "app/experiment_page.h"

namespace vyn {

std::unique_ptr<ExperimentPage> make_experiment_page(ExperimentPageKind, Worker&, QWidget*) {
    return nullptr;
}

}  // namespace vyn
