#pragma once

#include <QString>
#include <memory>

#include "core/worker.h"
#include "process/run_report.h"
#include "scripts/screenshots/shots.h"

namespace vyn::screenshots {

/// What the scenes are played with.
struct Theatre {
    Worker& worker;
    Shots& shots;
    QString folder;         ///< of the synthetic test point; its project is project.xml
    QString binary_folder;  ///< of one with two channels
};

/// Reads a project into the data set and the image list.
void open_project(Theatre& theatre, const QString& file);
/// Runs Calculate All of the project on the worker, without a window.
void compute(Theatre& theatre,
             const std::shared_ptr<RunReport>& report = std::make_shared<RunReport>());

/// The main window with its pages, busy box, log, about box and help.
void play_window(Theatre& theatre);
/// The dialogs of settings, the in-situ calibration and the check of the point.
void play_dialogs(Theatre& theatre);
/// Viewers, fashion dialogs, markers, graphs.
void play_viewer(Theatre& theatre);

}  // namespace vyn::screenshots
