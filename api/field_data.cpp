#include "api/field_data.h"

namespace vyn {

field_data<double>& get_field_data() {
    static field_data<double> field;
    return field;
}

}  // namespace vyn
