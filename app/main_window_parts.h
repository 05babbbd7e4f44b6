#pragma once

#include <memory>

#include "app/experiment_page.h"
#include "app/main_widgets.h"
#include "app/main_window.h"
#include "app/manual.h"
#include "app/model_commands.h"
#include "app/project_commands.h"
#include "app/recovery_keeper.h"
#include "app/run_commands.h"
#include "app/start_page.h"
#include "app/viewer_windows.h"
#include "core/ui/log_page.h"
#include "core/user_folders.h"
#include "process/point/experiment_type.h"

namespace vyn {

/// Where the recovery copies of all running programs lie.
inline std::filesystem::path recovery_folder() {
    return state_folder() / "recovery";
}

/// What the main window owns. The page goes first, then what it talks to.
struct VynLiteForm::Parts {
    Parts(Worker& used_worker, VynLiteForm& window)
        : worker(used_worker),
          widgets(window),
          commands(new ProjectCommands(used_worker, &window)),
          recovery(new RecoveryKeeper(recovery_folder(), &window)),
          viewers(used_worker),
          model(new ModelCommands(used_worker, &window, *widgets.file_menu,
                                  widgets.actions.project_directory)),
          runs(new RunCommands(*widgets.tasks, &window, *widgets.file_menu,
                               widgets.actions.project_directory)) {}

    Worker& worker;
    MainWidgets widgets;
    ProjectCommands* commands;
    RecoveryKeeper* recovery;
    ViewerWindows viewers;
    ModelCommands* model;
    RunCommands* runs;
    Manual manual;
    QVynLog* log = nullptr;
    StartPage* start = nullptr;  ///< among the tasks while there is no experiment page
    std::unique_ptr<ExperimentPage> page;
    ExperimentType page_type = ExperimentType::single;
};

}  // namespace vyn
