#include <QDialog>
#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QTableView>
#include <QTableWidget>

#include "app/main_window.h"
#include "app/run_commands.h"
#include "core/progress.h"
#include "sample/synthetic_run.h"
#include "schedule/ui/run_page.h"
#include "scripts/screenshots/scenes.h"

namespace vyn::screenshots {

void play_run(Theatre& theatre) {
    constexpr int points = 12;
    const std::filesystem::path folder = theatre.folder.toStdString() + "/../run";
    QDir(QString::fromStdString(folder.string())).removeRecursively();
    SyntheticOptions options;
    options.width = 320;
    options.height = 240;
    options.noise = SyntheticOptions::Noise::camera;
    Progress quiet;
    write_synthetic_point(make_synthetic_point(options, quiet), folder, quiet);
    write_synthetic_run(options, points, folder, quiet);
    std::filesystem::remove(folder / "wind_on_p005.tif");

    VynLiteForm window(theatre.worker);
    window.open_files({QString::fromStdString((folder / "run.csv").string())});
    auto& page = *window.findChild<RunPage*>();
    wait_for([&] { return page.run() != nullptr; }, "the run");
    page.findChild<QPushButton*>(QStringLiteral("run_rest"))->click();
    wait_for(
        [&] {
            return !page.is_computing() &&
                   page.run()->statuses.back().kind == PointStatus::Kind::done;
        },
        "the points of the run");
    page.findChild<QTableView*>(QStringLiteral("run_table"))->selectRow(1);
    theatre.shots.take(window, QStringLiteral("run_page"), QSize(1180, 760));
    theatre.shots.take_modal(
        QStringLiteral("new_run"), "vyn::NewRunDialog",
        [&] { window.findChild<RunCommands*>()->make_new(); },
        [&](QWidget& dialog) {
            dialog.findChild<QLineEdit*>(QStringLiteral("run_folder"))
                ->setText(QString::fromStdString(folder.lexically_normal().string()));
            auto& patterns = *dialog.findChild<QTableWidget*>(QStringLiteral("run_patterns"));
            patterns.item(0, 1)->setText(QStringLiteral("wind_on_p{point}.tif"));
            patterns.item(1, 1)->setText(QStringLiteral("wind_on_p{point}.mrk"));
        });
}

}  // namespace vyn::screenshots
