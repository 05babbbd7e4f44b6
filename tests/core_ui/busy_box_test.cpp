#include "core/ui/busy_box.h"

#include <QApplication>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>
#include <QTextBrowser>
#include <QTimer>
#include <thread>

#include <gtest/gtest.h>

#include "core/errors.h"
#include "core/messages.h"
#include "core/ui/remaining_time.h"

namespace vyn {
namespace {

/// A task made of one function.
class Does final : public Task {
  public:
    using Body = std::function<TaskOutcome(TaskContext&)>;
    explicit Does(Body body) : body_(std::move(body)) {}
    TaskOutcome run(TaskContext& context) override { return body_(context); }

  private:
    Body body_;
};

std::shared_ptr<Job> job_of(Does::Body body) {
    auto job = std::make_shared<Job>();
    job->append(std::make_unique<Does>(std::move(body)));
    return job;
}

TaskOutcome until_aborted(TaskContext& context) {
    context.status("Turning <b>wheels</b>");
    while (true) {
        throw_if_aborted(context);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

class BusyBox : public testing::Test {
  protected:
    QPushButton* button() { return box.findChild<QPushButton*>(QStringLiteral("abort_btn")); }
    QString text() {
        return box.findChild<QTextBrowser*>(QStringLiteral("text_view"))->toPlainText();
    }
    /// Waits inside the box's own event loop until its button shows the text, then goes on.
    void when_button_says(const QString& wanted, std::function<void()> then) {
        auto* watch = new QTimer(&box);
        QObject::connect(watch, &QTimer::timeout, &box, [this, watch, wanted, then] {
            if (button()->text() != wanted) return;
            watch->deleteLater();
            then();
        });
        watch->start(5);
    }

    Worker worker;
    QBusyBox box{worker};
};

TEST_F(BusyBox, ClosesAtItsFirstTickAfterAShortTask) {
    QElapsedTimer clock;
    clock.start();
    EXPECT_EQ(box.run(job_of([](TaskContext&) { return TaskOutcome::done; })), TaskOutcome::done);
    EXPECT_GE(clock.elapsed(), 90);
    EXPECT_EQ(box.result(), 1);
    EXPECT_FALSE(box.isVisible());
    EXPECT_EQ(box.run(std::make_shared<Job>()), TaskOutcome::idle);
}

struct Ending {
    const char* name;
    Does::Body body;
    TaskOutcome outcome;
    const char* failure;
};

class BusyBoxErrors : public BusyBox, public testing::WithParamInterface<Ending> {};

TEST_P(BusyBoxErrors, KeepTheBoxOpenUntilItsButtonIsPressed) {
    when_button_says(QStringLiteral("There are errors!"), [this] {
        EXPECT_TRUE(box.isVisible());
        EXPECT_TRUE(text().contains(QLatin1String(GetParam().failure))) << text().toStdString();
        QTest::mouseClick(button(), Qt::LeftButton);
    });
    EXPECT_EQ(box.run(job_of(GetParam().body)), GetParam().outcome);
    EXPECT_EQ(box.result(), 0);
    EXPECT_EQ(box.failure().empty(), GetParam().outcome != TaskOutcome::failed);
}

INSTANTIATE_TEST_SUITE_P(
    Endings, BusyBoxErrors,
    testing::Values(Ending{"Raised",
                           [](TaskContext&) -> TaskOutcome {
                               throw FileError("File error!", "a<b>.tif");
                           },
                           TaskOutcome::failed, "File error!: a<b>.tif"},
                    Ending{"Unaligned", [](TaskContext&) { return TaskOutcome::done_with_errors; },
                           TaskOutcome::done_with_errors, "the log says more"}),
    [](const auto& row) { return row.param.name; });

TEST_F(BusyBox, ReturnPressedOnceMoreDoesNotAbort) {
    when_button_says(QStringLiteral("There are errors!"),
                     [this] { QTest::keyClick(&box, Qt::Key_Return); });
    box.run(job_of([](TaskContext&) { return TaskOutcome::done_with_errors; }));
    QTimer::singleShot(150, &box, [this] { QTest::keyClick(&box, Qt::Key_Return); });
    EXPECT_EQ(box.run(job_of([](TaskContext& context) {
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        throw_if_aborted(context);
        return TaskOutcome::done;
    })),
              TaskOutcome::done);
}

struct Way {
    const char* name;
    std::function<void(QBusyBox&, QPushButton&)> act;
};

class BusyBoxAbort : public BusyBox, public testing::WithParamInterface<Way> {};

TEST_P(BusyBoxAbort, StopsTheTaskAndClosesOnlyAfterItsEnd) {
    QTimer::singleShot(250, &box, [this] {
        EXPECT_EQ(text(), QStringLiteral("Turning <b>wheels</b>"));
        GetParam().act(box, *button());
        EXPECT_TRUE(box.isVisible());
        EXPECT_FALSE(button()->isEnabled());
    });
    when_button_says(QStringLiteral("Aborted! Click to close."), [this] {
        EXPECT_TRUE(worker.wait_done(0));
        QTest::keyClick(&box, Qt::Key_Escape);
    });
    EXPECT_EQ(box.run(job_of(until_aborted)), TaskOutcome::aborted);
    EXPECT_FALSE(box.isVisible());
}

INSTANTIATE_TEST_SUITE_P(
    Ways, BusyBoxAbort,
    testing::Values(
        Way{"Button",
            [](QBusyBox&, QPushButton& button) { QTest::mouseClick(&button, Qt::LeftButton); }},
        Way{"Escape", [](QBusyBox& box, QPushButton&) { QTest::keyClick(&box, Qt::Key_Escape); }},
        Way{"Close", [](QBusyBox& box, QPushButton&) { box.close(); }}),
    [](const auto& row) { return row.param.name; });

TEST_F(BusyBox, ShowsQuestionsOnTheGuiThreadWhileTheTaskWaits) {
    const auto gui = std::this_thread::get_id();
    std::string asked;
    set_custom_message_fun([&](const char* told) { asked += told; },
                           [&](const char* question) {
                               EXPECT_EQ(std::this_thread::get_id(), gui);
                               asked += question;
                               return true;
                           });
    bool answer = false;
    EXPECT_EQ(box.run(job_of([&](TaskContext& context) {
        context.message("Told. ");
        answer = context.question("Asked?");
        return TaskOutcome::done;
    })),
              TaskOutcome::done);
    set_default_message_fun();
    EXPECT_TRUE(answer);
    EXPECT_EQ(asked, "Told. Asked?");
}

TEST_F(BusyBox, AnAbortEndsTheWaitForAnAnswer) {
    // The user stops the task instead of answering.
    set_custom_message_fun([](const char*) {},
                           [this](const char*) {
                               QTest::mouseClick(button(), Qt::LeftButton);
                               EXPECT_TRUE(QTest::qWaitFor([this] { return worker.wait_done(0); }));
                               return true;
                           });
    when_button_says(QStringLiteral("Aborted! Click to close."),
                     [this] { QTest::mouseClick(button(), Qt::LeftButton); });
    bool answered = false;
    EXPECT_EQ(box.run(job_of([&](TaskContext& context) {
        answered = context.question("Asked?");
        return TaskOutcome::done;
    })),
              TaskOutcome::aborted);
    set_default_message_fun();
    EXPECT_FALSE(answered);
}

TEST_F(BusyBox, QuittingTheProgramAbortsAndWaits) {
    TaskOutcome outcome = TaskOutcome::idle;
    QTimer::singleShot(0, qApp, [&] { outcome = box.run(job_of(until_aborted)); });
    QTimer::singleShot(150, qApp, [] { QCoreApplication::exit(); });
    QCoreApplication::exec();
    EXPECT_EQ(outcome, TaskOutcome::aborted);
    EXPECT_TRUE(worker.wait_done(0));
    EXPECT_FALSE(box.isVisible());
}

TEST(RemainingTime, ExtrapolatesAStep) {
    EXPECT_EQ(RemainingTime::text(10, 0.25), QStringLiteral(", 30 s left"));
    EXPECT_EQ(RemainingTime::text(60, 0.25), QStringLiteral(", 3 min 0 s left"));
    EXPECT_EQ(RemainingTime::text(3600, 0.4), QStringLiteral(", 1 h 30 min left"));
    EXPECT_TRUE(RemainingTime::text(0.1, 0.25).isEmpty());
    EXPECT_TRUE(RemainingTime::text(10, 0).isEmpty());
}

}  // namespace
}  // namespace vyn
