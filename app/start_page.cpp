#include "app/start_page.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QStandardPaths>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "app/messages.h"
#include "schedule/ui/run_process.h"

namespace vyn {

namespace {

/// Where the example lies; it is made once and then belongs to the user.
QString example_folder() {
    return QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation) +
           QStringLiteral("/example");
}

QString example_project() {
    return example_folder() + QStringLiteral("/project.xml");
}

QLabel* heading(const QString& text, QWidget* parent) {
    auto* label = new QLabel(text, parent);
    QFont large = label->font();
    large.setPointSizeF(large.pointSizeF() * 1.3);
    large.setBold(true);
    label->setFont(large);
    return label;
}

}  // namespace

StartPage::StartPage(QWidget* parent) : QWidget(parent), projects_(new QTreeWidget(this)) {
    setObjectName(QStringLiteral("start_page"));
    auto* buttons = new QHBoxLayout;
    const auto add = [&](const char* name, const QString& text, const QString& tip) {
        auto* button = new QPushButton(text, this);
        button->setObjectName(QLatin1String(name));
        button->setToolTip(tip);
        button->setAutoDefault(true);
        buttons->addWidget(button);
        return button;
    };
    QPushButton* made = add("start_new", tr("&New project..."),
                            tr("Choose the type of experiment and a file for the project"));
    QPushButton* open = add("start_open", tr("&Open project..."), tr("Open a project file"));
    QPushButton* example =
        add("start_example", tr("Open the &example"),
            tr("A test point with known pressures, made on the spot: press Calculate All in it"));
    example_ = example;
    buttons->addStretch(1);
    connect(made, &QPushButton::clicked, this, &StartPage::new_wanted);
    connect(open, &QPushButton::clicked, this, &StartPage::open_wanted);
    connect(example, &QPushButton::clicked, this, &StartPage::make_example);

    projects_->setObjectName(QStringLiteral("start_projects"));
    projects_->setAccessibleName(tr("Recent projects"));
    projects_->setHeaderLabels({tr("Project"), tr("Folder"), tr("Changed")});
    projects_->setRootIsDecorated(false);
    connect(projects_, &QTreeWidget::itemActivated, this, [this](const QTreeWidgetItem* item) {
        Q_EMIT project_wanted(item->data(0, Qt::UserRole).toString());
    });
    auto* drop = new QLabel(tr("Drop a project, pictures or a table of points here."), this);
    drop->setAlignment(Qt::AlignCenter);
    drop->setFrameShape(QFrame::StyledPanel);
    drop->setMargin(fontMetrics().lineSpacing());

    auto* column = new QVBoxLayout(this);
    column->addWidget(heading(tr("From paint images to pressure"), this));
    column->addLayout(buttons);
    column->addWidget(drop);
    column->addWidget(heading(tr("Recent projects"), this));
    column->addWidget(projects_, 1);
    connect(&maker_, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) example_ended();
    });
    connect(&maker_, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            &StartPage::example_ended);
}

void StartPage::show_projects(const QStringList& files) {
    projects_->clear();
    for (const QString& file : files) {
        const QFileInfo info(file);
        auto* item = new QTreeWidgetItem(
            projects_,
            {info.fileName(), QDir::toNativeSeparators(info.path()),
             info.exists() ? info.lastModified().toString(QStringLiteral("yyyy-MM-dd HH:mm"))
                           : tr("not there")});
        item->setData(0, Qt::UserRole, file);
        item->setDisabled(!info.exists());
    }
    for (int column = 0; column < projects_->columnCount(); ++column)
        projects_->resizeColumnToContents(column);
    if (!files.isEmpty()) projects_->setCurrentItem(projects_->topLevelItem(0));
}

void StartPage::make_example() {
    if (QFileInfo::exists(example_project())) return Q_EMIT project_wanted(example_project());
    if (maker_.state() != QProcess::NotRunning) return;
    example_->setEnabled(false);
    QDir().mkpath(example_folder());
    maker_.start(batch_program(), {QStringLiteral("sample"), example_folder()});
}

void StartPage::example_ended() {
    example_->setEnabled(true);
    if (maker_.error() != QProcess::FailedToStart && maker_.exitStatus() == QProcess::NormalExit &&
        maker_.exitCode() == 0 && QFileInfo::exists(example_project()))
        return Q_EMIT project_wanted(example_project());
    report_failure(window(), tr("The example was not made.\n%1")
                                 .arg(QString::fromUtf8(maker_.readAllStandardError()).trimmed()));
}

}  // namespace vyn
