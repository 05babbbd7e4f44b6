#pragma once

#include <ostream>
#include <string>

#include <gmock/gmock.h>

#include "process/report/warning.h"

namespace vyn {

inline void PrintTo(const Warning& warning, std::ostream* out) {
    *out << name(warning.kind) << ": " << warning.text;
}

namespace test {

/// A warning of this kind that says this among other words.
inline auto warns(WarningKind kind, const std::string& words) {
    return testing::AllOf(testing::Field(&Warning::kind, kind),
                          testing::Field(&Warning::text, testing::HasSubstr(words)));
}

}  // namespace test

}  // namespace vyn
