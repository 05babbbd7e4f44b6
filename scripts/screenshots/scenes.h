#pragma once

#include <QSize>
#include <QString>

#include "core/worker.h"
#include "process/report/run_report.h"
#include "scripts/screenshots/shots.h"

namespace vyn::screenshots {

/// What the scenes are played with.
struct Theatre {
    Worker& worker;
    Shots& shots;
    QString folder;         ///< of the synthetic test point; its project is project.xml
    QString binary_folder;  ///< of one with two channels
    QString bent_folder;    ///< of one that bends between its markers
    QString model_folder;   ///< of one with a mesh
};

/// Reads a project into the data set and the image list.
void open_project(Theatre& theatre, const QString& file);
/// Runs Calculate All of the project on the worker, without a window; what the run found out.
std::shared_ptr<RunReport> compute(Theatre& theatre);

constexpr QSize viewer_size(1000, 640);
constexpr QSize window_size(1180, 820);

/// The main window with its pages, busy box, log, about box and help.
void play_window(Theatre& theatre);
/// The dialogs of settings.
void play_dialogs(Theatre& theatre);
/// From the ports to the field of the law fitted to them, and the check of that point.
void play_in_situ(Theatre& theatre);
/// Viewers, fashion dialogs, markers, graphs.
void play_viewer(Theatre& theatre);
/// Markers on the model put on their dots, and the settings of the resection.
void play_association(Theatre& theatre);
/// A run of many points.
void play_run(Theatre& theatre);
/// The field on the model.
void play_model(Theatre& theatre);

}  // namespace vyn::screenshots
