#include <QScrollBar>
#include <QTabWidget>

#include "api/image_list.h"
#include "app/about.h"
#include "app/experiment_page.h"
#include "app/help_window.h"
#include "app/main_window.h"
#include "app/type_dialog.h"
#include "core/data_set.h"
#include "core/errors.h"
#include "core/keys.h"
#include "core/project_file.h"
#include "core/ui/busy_box.h"
#include "process/project/project_tasks.h"
#include "process/steps/chain.h"
#include "scripts/screenshots/scenes.h"

namespace vyn::screenshots {

namespace {

void run(Theatre& theatre, const std::shared_ptr<Job>& job) {
    theatre.worker.post(job, std::make_shared<TaskContext>());
    wait_for([&] { return theatre.worker.wait_done(0); }, "a job");
    if (!job->failure().empty()) throw AlgoError("Algorithm error!", job->failure());
}

/// A computation that is long enough to be seen: many passes of a wide median.
void show_busy_box(Theatre& theatre) {
    write(vyn_db(), keys::filter_enable, 1);
    write(vyn_db(), keys::filter_type, 4);
    write(vyn_db(), keys::filter_dx, 31);
    write(vyn_db(), keys::filter_dy, 31);
    write(vyn_db(), keys::filter_iter, 60);
    QBusyBox box(theatre.worker);
    theatre.shots.take_modal(QStringLiteral("busy_box"), "vyn::QBusyBox", [&] {
        box.run(calculate(Goal::all, program_session(), std::make_shared<RunReport>()));
    });
    write(vyn_db(), keys::filter_enable, 0);
}

}  // namespace

void open_project(Theatre& theatre, const QString& file) {
    auto job = std::make_shared<Job>();
    ReadProject request;
    request.file = file.toStdString();
    request.geometry = ReadProject::Geometry::if_named;
    job->append(std::make_unique<ReadProjectTask>(program_session(), std::move(request)));
    run(theatre, job);
}

std::shared_ptr<RunReport> compute(Theatre& theatre) {
    auto report = std::make_shared<RunReport>();
    run(theatre, calculate(Goal::all, program_session(), report));
    return report;
}

void play_window(Theatre& theatre) {
    VynLiteForm window(theatre.worker);
    theatre.shots.take(window, QStringLiteral("main_window_empty"), window_size);
    ExperimentTypeDialog type(&window);
    theatre.shots.take(type, QStringLiteral("type_dialog"));
    type.hide();

    const QString fresh = theatre.folder + QStringLiteral("/point.xml");
    simpleNamedDataSet single_channel;
    write(single_channel, keys::test_single, 1);
    save_xml(single_channel, fresh.toLocal8Bit().constData());
    window.open_files({fresh});
    theatre.shots.take(window, QStringLiteral("main_window_new"), window_size);
    vyn_db().set_modified(false);

    window.open_files({theatre.folder + QStringLiteral("/project.xml")});
    theatre.shots.take(window, QStringLiteral("main_window_inputs"), window_size);
    window.calculateCalculate_AllAction_activated();
    wait(1000);
    for (auto* bar : window.experiment_page()->findChildren<QScrollBar*>())
        bar->setValue(bar->maximum());
    theatre.shots.take(window, QStringLiteral("main_window"), window_size);
    window.findChild<QTabWidget*>(QStringLiteral("vyn_tasks"))->setCurrentIndex(1);
    theatre.shots.take(window, QStringLiteral("log_page"), window_size);
    window.findChild<QTabWidget*>(QStringLiteral("vyn_tasks"))->setCurrentIndex(0);
    show_busy_box(theatre);

    vyn_db().set_modified(false);
    window.open_files({theatre.binary_folder + QStringLiteral("/project.xml")});
    theatre.shots.take(window, QStringLiteral("double_page"), QSize(1180, 900));

    QVynLiteAbout about(&window);
    theatre.shots.take(about, QStringLiteral("about"));
    about.hide();
    HelpWindow help(find_help_file());
    theatre.shots.take(help, QStringLiteral("help_window"), window_size);
}

}  // namespace vyn::screenshots
