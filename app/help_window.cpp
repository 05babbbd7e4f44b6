#include "app/help_window.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QDir>
#include <QHelpContentWidget>
#include <QHelpEngine>
#include <QHelpIndexWidget>
#include <QHelpLink>
#include <QHelpSearchEngine>
#include <QHelpSearchQueryWidget>
#include <QHelpSearchResultWidget>
#include <QSplitter>
#include <QTabWidget>
#include <QTextBrowser>
#include <QToolBar>
#include <QVBoxLayout>

#include "core/errors.h"
#include "core/ui/icons.h"
#include "core/ui/window_size.h"
#include "core/user_folders.h"

namespace vyn {

namespace {

/// Takes pages, style sheets and pictures out of the help file.
class ManualBrowser final : public QTextBrowser {
  public:
    ManualBrowser(const QHelpEngine& engine, QWidget* parent)
        : QTextBrowser(parent), engine_(engine) {
        setOpenLinks(false);
        connect(this, &QTextBrowser::anchorClicked, this, [this](const QUrl& link) {
            if (link.scheme() == QLatin1String("qthelp"))
                setSource(link);
            else
                QDesktopServices::openUrl(link);
        });
    }
    QVariant loadResource(int type, const QUrl& name) override {
        if (name.scheme() == QLatin1String("qthelp")) return engine_.fileData(name);
        return QTextBrowser::loadResource(type, name);
    }

  private:
    const QHelpEngine& engine_;
};

/// The engine's own data; made anew where it is missing.
QString collection_file() {
    const QDir folder(QString::fromStdString((state_folder() / "help").string()));
    folder.mkpath(QStringLiteral("."));
    return folder.filePath(QStringLiteral("manual.qhc"));
}

[[noreturn]] void fail(const QString& help_file, const QString& why) {
    throw FileError("File error!", (help_file + QLatin1String(": ") + why).toStdString());
}

}  // namespace

QString find_help_file() {
    const QDir program(QCoreApplication::applicationDirPath());
    for (const char* place : {"help/HELPVYNLITE.qch", "../share/vynlite/help/HELPVYNLITE.qch"}) {
        QString file = QDir::cleanPath(program.filePath(QLatin1String(place)));
        if (QFileInfo(file).isFile()) return file;
    }
    return {};
}

HelpWindow::HelpWindow(const QString& help_file, QWidget* parent)
    : QMainWindow(parent),
      engine_(std::make_unique<QHelpEngine>(collection_file())),
      browser_(new ManualBrowser(*engine_, this)) {
    setObjectName(QStringLiteral("Manual"));
    setWindowTitle(tr("VynLite manual"));
    browser_->setObjectName(QStringLiteral("page"));
    open_manual(help_file);
    make_panels();
    make_tool_bar();
    resize(on_screen({fontMetrics().averageCharWidth() * 150, fontMetrics().lineSpacing() * 48}));
    show_page_named(QStringLiteral("index"));
}

// The browser reads from the engine until it is gone.
HelpWindow::~HelpWindow() {
    delete takeCentralWidget();
}

void HelpWindow::open_manual(const QString& help_file) {
    if (!engine_->setupData()) fail(help_file, engine_->error());
    name_space_ = QHelpEngineCore::namespaceName(help_file);
    if (name_space_.isEmpty()) fail(help_file, tr("not a help file"));
    if (engine_->registeredDocumentations().contains(name_space_) &&
        engine_->documentationFileName(name_space_) != help_file)
        engine_->unregisterDocumentation(name_space_);
    if (!engine_->registeredDocumentations().contains(name_space_) &&
        !engine_->registerDocumentation(help_file))
        fail(help_file, engine_->error());
    // Reads the contents of the file as it is now.
    if (!engine_->setupData()) fail(help_file, engine_->error());
}

void HelpWindow::make_panels() {
    auto* panels = new QTabWidget;
    panels->setObjectName(QStringLiteral("panels"));
    panels->addTab(engine_->contentWidget(), tr("&Contents"));
    panels->addTab(engine_->indexWidget(), tr("&Index"));
    auto* search = new QWidget;
    auto* column = new QVBoxLayout(search);
    QHelpSearchEngine* searching = engine_->searchEngine();
    column->addWidget(searching->queryWidget());
    column->addWidget(searching->resultWidget(), 1);
    panels->addTab(search, tr("&Search"));

    connect(engine_->contentWidget(), &QHelpContentWidget::linkActivated, this,
            &HelpWindow::show_page);
    connect(engine_->indexWidget(), &QHelpIndexWidget::documentActivated, this,
            [this](const QHelpLink& link) { show_page(link.url); });
    connect(engine_->indexWidget(), &QHelpIndexWidget::documentsActivated, this,
            [this](const QList<QHelpLink>& links) { show_page(links.first().url); });
    connect(searching->queryWidget(), &QHelpSearchQueryWidget::search, this,
            [searching] { searching->search(searching->queryWidget()->searchInput()); });
    connect(searching->resultWidget(), &QHelpSearchResultWidget::requestShowLink, this,
            &HelpWindow::show_page);
    searching->scheduleIndexDocumentation();

    auto* splitter = new QSplitter(this);
    splitter->addWidget(panels);
    splitter->addWidget(browser_);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({fontMetrics().averageCharWidth() * 42, 10000});
    setCentralWidget(splitter);
}

void HelpWindow::make_tool_bar() {
    QToolBar* bar = addToolBar(tr("Pages"));
    bar->setObjectName(QStringLiteral("pages"));
    QAction* back = bar->addAction(vyn_icon(QStringLiteral("player_rew.png")), tr("Back"));
    QAction* forward = bar->addAction(vyn_icon(QStringLiteral("player_fwd.png")), tr("Forward"));
    back->setShortcut(QKeySequence::Back);
    forward->setShortcut(QKeySequence::Forward);
    back->setEnabled(false);
    forward->setEnabled(false);
    connect(back, &QAction::triggered, browser_, &QTextBrowser::backward);
    connect(forward, &QAction::triggered, browser_, &QTextBrowser::forward);
    connect(browser_, &QTextBrowser::backwardAvailable, back, &QAction::setEnabled);
    connect(browser_, &QTextBrowser::forwardAvailable, forward, &QAction::setEnabled);
}

void HelpWindow::show_page(const QUrl& page) {
    browser_->setSource(page);
}

void HelpWindow::show_page_named(const QString& name) {
    for (const QUrl& page : engine_->files(name_space_, QString(), QStringLiteral("html")))
        if (page.fileName() == name + QLatin1String(".html")) return show_page(page);
}

}  // namespace vyn
