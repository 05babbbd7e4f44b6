#pragma once

#include <QString>

#include "core/worker.h"
#include "scripts/screenshots/shots.h"

namespace vyn::screenshots {

/// What the scenes are played with.
struct Theatre {
    Worker& worker;
    Shots& shots;
    QString folder;  ///< of the synthetic test point; its project is project.xml
};

/// Reads a project into the data set and the image list.
void open_project(Theatre& theatre, const QString& file);
/// Runs Calculate All of the project on the worker, without a window.
void compute(Theatre& theatre);

/// The main window with its pages, busy box, log, about box and help.
void play_window(Theatre& theatre);
/// The dialogs of settings, the in-situ calibration and the check of the point.
void play_dialogs(Theatre& theatre);
/// Viewers, fashion dialogs, markers, graphs.
void play_viewer(Theatre& theatre);

}  // namespace vyn::screenshots
