#include "schedule/ui/run_page.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QTableWidget>
#include <QTest>
#include <QUndoStack>

#include "app/experiment_page.h"
#include "app/run_commands.h"
#include "core/atomic_file.h"
#include "core/keys.h"
#include "sample/synthetic_run.h"
#include "schedule/ui/run_table.h"
#include "tests/app/app_fixture.h"

namespace vyn::test {
namespace {

using Kind = PointStatus::Kind;

/// A run of four small points in the window, the third without its picture.
class RunPageTest : public AppTest {
  protected:
    RunPageTest() {
        SyntheticOptions options;
        options.width = 160;
        options.height = 120;
        Progress quiet;
        write_synthetic_point(make_synthetic_point(options, quiet), folder.path(), quiet);
        write_synthetic_run(options, 4, folder.path(), quiet);
        std::filesystem::rename(folder / "wind_on_p003.tif", folder / "away.tif");
        start();
        window->open_files({QString::fromStdString((folder / "run.csv").string())});
        wait([&] { return page().run() != nullptr; });
    }

    RunPage& page() { return child<RunPage>("RunPage"); }
    QTableView& view() { return child<QTableView>("run_table"); }
    void press_button(const char* name) {
        QTest::mouseClick(&child<QPushButton>(name), Qt::LeftButton);
    }
    static void wait(const std::function<bool()>& done) {
        constexpr int patience_ms = 60000;
        ASSERT_TRUE(QTest::qWaitFor(done, patience_ms));
    }
    std::vector<Kind> kinds() {
        std::vector<Kind> all;
        for (const PointStatus& status : page().run()->statuses)
            all.push_back(status.kind);
        return all;
    }
    void wait_for(const std::vector<Kind>& wanted) {
        wait([&] { return !page().is_computing() && kinds() == wanted; });
    }
    std::string attempt_of(std::size_t point) {
        const auto& state = page().run()->statuses[point].state;
        return state ? state->attempt : std::string();
    }
};

TEST_F(RunPageTest, ComputesSaysWhatFailedAndGoesOnAfterRepair) {
    EXPECT_EQ(kinds(), std::vector<Kind>(4, Kind::waiting));
    auto& problems = child<QListWidget>("run_problems");
    ASSERT_EQ(problems.count(), 1);
    EXPECT_TRUE(problems.item(0)->text().contains(QStringLiteral("wind_on_p003.tif")));

    press_button("run_rest");
    wait_for({Kind::done, Kind::done, Kind::failed, Kind::done});
    auto& state = child<QLabel>("run_state");
    wait([&] { return state.text() == QStringLiteral("3 done, 1 failed"); });
    const std::string first = attempt_of(0);

    std::filesystem::rename(folder / "away.tif", folder / "wind_on_p003.tif");
    press_button("run_rest");
    wait_for(std::vector<Kind>(4, Kind::done));
    EXPECT_EQ(attempt_of(0), first) << "what was done is computed once";

    // A figure has its column, with numbers that sort as numbers.
    const auto& table = *page().findChild<RunTable*>();
    const auto rms = std::ranges::find(table.figures(), std::string_view("rms_px"),
                                       [](const FigureInfo* figure) { return figure->name; });
    ASSERT_NE(rms, table.figures().end());
    const int column = table.figure_column(**rms);
    view().sortByColumn(column, Qt::DescendingOrder);
    const auto& sorted = *view().model();
    for (int row = 1; row < sorted.rowCount(); ++row)
        EXPECT_GE(sorted.index(row - 1, column).data(RunTable::sort_role).toDouble(),
                  sorted.index(row, column).data(RunTable::sort_role).toDouble());

    // The chosen one is computed anew and opens in the experiment page.
    view().selectRow(0);
    const auto chosen = static_cast<std::size_t>(
        static_cast<const QSortFilterProxyModel&>(sorted).mapToSource(sorted.index(0, 0)).row());
    const std::string before = attempt_of(chosen);
    press_button("run_selected");
    wait([&] { return !page().is_computing() && attempt_of(chosen) != before; });
    view().selectRow(0);
    press_button("run_open_point");
    ASSERT_TRUE(window->experiment_page());
    const std::string opened = read(vyn_db(), keys::head_file);
    EXPECT_NE(opened.find("run_results/" + page().run()->schedule.points[chosen].name + "/"),
              std::string::npos)
        << opened;
}

TEST_F(RunPageTest, CellsAreEditedWrittenAndTakenBack) {
    const auto& table = *page().findChild<RunTable*>();
    const int mark_column = 4;  // state, point, base, wind_on_file, wind_on_mark_file
    ASSERT_EQ(table.headerData(mark_column, Qt::Horizontal, Qt::DisplayRole).toString(),
              QStringLiteral("wind_on_mark_file"));
    const std::string before = read_file(folder / "run.csv", 1 << 20);
    auto& model = *view().model();
    ASSERT_TRUE(model.setData(model.index(1, mark_column), QStringLiteral("nothing.mrk")));
    const auto problem_count = [&] { return child<QListWidget>("run_problems").count(); };
    wait([&] { return problem_count() == 2; });
    EXPECT_NE(read_file(folder / "run.csv", 1 << 20).find("p002,,,nothing.mrk"), std::string::npos);
    page().findChild<QUndoStack*>()->undo();
    wait([&] { return problem_count() == 1; });
    EXPECT_EQ(read_file(folder / "run.csv", 1 << 20), before);

    // What others wrote meanwhile is not overwritten.
    write_file(folder / "run.csv", before + "p005,,,\n");
    press(QStringLiteral("Run"), QStringLiteral("OK"));
    model.setData(model.index(1, mark_column), QStringLiteral("other.mrk"));
    EXPECT_TRUE(all_answered());
    wait([&] { return page().run()->schedule.points.size() == 5; });
    EXPECT_EQ(read_file(folder / "run.csv", 1 << 20), before + "p005,,,\n");
}

TEST_F(RunPageTest, TableThatCannotBeReadOrUsedSaysWhy) {
    write_file(folder / "wrong.csv", "point,wind_on_fil,mach\na,x.tif,fast\n");
    window->open_files({QString::fromStdString((folder / "wrong.csv").string())});
    auto& problems = child<QListWidget>("run_problems");
    wait([&] { return problems.count() > 0 && problems.item(0)->text().contains("did you mean"); });
    EXPECT_FALSE(child<QPushButton>("run_rest").isEnabled());
    std::filesystem::remove(folder / "wrong.csv");
    child<QLineEdit>("run_base").setModified(true);
    Q_EMIT child<QLineEdit>("run_base").editingFinished();
    wait([&] {
        return child<QLabel>("run_title").text().contains(QStringLiteral("cannot be read"));
    });
}

TEST_F(RunPageTest, RunThatGivesUpAtOnceSaysWhy) {
    child<QLineEdit>("run_limits").setText(QStringLiteral("rms_pix=1"));
    press(QStringLiteral("Run"), QStringLiteral("OK"));  // of the computation
    press(QStringLiteral("Run"), QStringLiteral("OK"));  // of reading the table again
    press_button("run_rest");
    wait([&] { return all_answered() && !page().is_computing(); });
    EXPECT_NE(shown.find("did you mean \"rms_px\"?"), std::string::npos) << shown;
    EXPECT_EQ(kinds(), std::vector<Kind>(4, Kind::waiting));
    child<QLineEdit>("run_limits").clear();
}

TEST_F(RunPageTest, NewTableComesFromAFolderOfPictures) {
    const std::filesystem::path made = folder / "made.csv";
    expect_dialog(QStringLiteral("New run from pictures"), [&](QDialog& dialog) {
        dialog.findChild<QLineEdit*>(QStringLiteral("run_folder"))
            ->setText(QString::fromStdString(folder.path().string()));
        auto& patterns = *dialog.findChild<QTableWidget*>(QStringLiteral("run_patterns"));
        patterns.item(1, 1)->setText(QStringLiteral("wind_on_p{point}.mrk"));
        patterns.item(0, 1)->setText(QStringLiteral("wind_on_p{point}.tif"));
        EXPECT_TRUE(dialog.findChild<QLabel*>(QStringLiteral("run_found"))
                        ->text()
                        .startsWith(QStringLiteral("4 point")));
        choose_file(QStringLiteral("Table of the run"), made);
        button_of(dialog, QStringLiteral("OK")).click();
    });
    action("newRunAction").trigger();
    wait([&] { return page().run() && page().run()->schedule.file == made; });
    ASSERT_EQ(page().run()->schedule.table.rows.size(), 4U);
    EXPECT_EQ(page().run()->schedule.table.rows[2].cells,
              (std::vector<std::string>{"003", "", "wind_on_p003.mrk"}));
}

}  // namespace
}  // namespace vyn::test
