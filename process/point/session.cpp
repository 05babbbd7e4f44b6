#include "process/point/session.h"

namespace vyn {

Session program_session() {
    return {vyn_db(), get_images(), get_field_data()};
}

}  // namespace vyn
