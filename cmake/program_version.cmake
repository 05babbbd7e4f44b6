# cmake -D VERSION= -D SOURCE= -D OUTPUT= -P: the source that tells the program's version and commit.
find_program(GIT git)
set(build ${VERSION})
if(GIT)
    execute_process(COMMAND ${GIT} describe --always --exclude * --abbrev=12 --dirty=+
        WORKING_DIRECTORY ${SOURCE} OUTPUT_VARIABLE commit RESULT_VARIABLE failed
        OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(NOT failed)
        string(APPEND build " (${commit})")
    endif()
endif()
# Left as it is, and nothing compiled, when nothing has changed.
file(CONFIGURE OUTPUT ${OUTPUT} CONTENT [[
#include "core/version.h"

namespace vyn {

const char* const program_version = "@build@";

}  // namespace vyn
]] @ONLY)
