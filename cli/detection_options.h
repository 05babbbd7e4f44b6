#pragma once

#include <optional>
#include <string>

#include <CLI/CLI.hpp>

#include "align/dots/marker_detection.h"

namespace vyn::cli {

/// Which dots are markers, as the user says it.
struct DetectionArguments {
    bool bright = false;
    std::string size;  ///< "MIN..MAX"; empty: the default
    int expect = 0;
    std::optional<double> cut;
};

/// Puts --bright, --size, --expect and --cut on a command; the arguments must outlive it.
void add_detection_options(CLI::App& app, DetectionArguments& arguments);

/// Raises UsageError for a size that is no range or out of range.
DetectionOptions detection_options(const DetectionArguments& arguments);

}  // namespace vyn::cli
