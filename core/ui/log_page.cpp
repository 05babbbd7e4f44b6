#include "core/ui/log_page.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocumentFragment>
#include <QTimer>
#include <QUrl>
#include <algorithm>

namespace vyn {

namespace {

constexpr int kept_lines = 200;
constexpr int period_ms = 500;
/// So many routine lines of a kind are shown before the rest is folded.
constexpr int open_lines = 2;
constexpr const char* fold_scheme = "fold";

/// How a line of that level looks; %1 is its text.
QString format_of(LogLevel level) {
    switch (level) {
        case LogLevel::fatal:
            return QStringLiteral("<font color=\"red\"><b>Fatal:%1</b></font>");
        case LogLevel::failure:
            return QStringLiteral("<font color=\"red\"><b>%1</b></font>");
        case LogLevel::error:
            return QStringLiteral("<font color=\"red\">%1</font>");
        case LogLevel::information:
            return QStringLiteral("<i>%1</i>");
        case LogLevel::progress:
            return QStringLiteral("%1");
        default:
            return QStringLiteral("<font color=\"#050505\">%1</font>");
    }
}

/// File names and messages hold characters that would be read as markup, and line ends.
QString shown(const std::string& text) {
    return QString::fromStdString(text).trimmed().toHtmlEscaped().replace(QLatin1Char('\n'),
                                                                          QLatin1String("<br>"));
}

QString markup_of(const LogLine& line) {
    return QStringLiteral("<font color=\"gray\">%1</font>&nbsp; ")
               .arg(QString::fromStdString(line.time)) +
           format_of(line.level).arg(shown(line.text));
}

/// What routine lines of one kind have in common; empty for a line that says more.
std::string head_of(const LogLine& line) {
    const std::size_t colon = line.text.find(':');
    return line.level != LogLevel::progress || colon == std::string::npos
               ? std::string()
               : line.text.substr(0, colon);
}

}  // namespace

QVynLog::QVynLog(QWidget* parent)
    : QTextBrowser(parent), tools_(new QWidget(this)), search_(new QLineEdit(tools_)) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    setOpenLinks(false);
    document()->setMaximumBlockCount(kept_lines);
    setAccessibleName(tr("Log"));
    connect(this, &QTextBrowser::anchorClicked, this, &QVynLog::unfold);
    make_tools();
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &QVynLog::process_log);
    timer->start(period_ms);
}

void QVynLog::make_tools() {
    search_->setObjectName(QStringLiteral("log_search"));
    search_->setPlaceholderText(tr("Search the log (Ctrl+F)"));
    search_->setAccessibleName(tr("Search the log"));
    search_->setClearButtonEnabled(true);
    auto* copy = new QPushButton(tr("&Copy"), tools_);
    copy->setObjectName(QStringLiteral("log_copy"));
    copy->setToolTip(tr("Copy what is selected, or all lines"));
    auto* open = new QPushButton(tr("&Open the log file"), tools_);
    open->setObjectName(QStringLiteral("log_open"));
    open->setEnabled(false);
    open_ = open;
    auto* line = new QHBoxLayout(tools_);
    line->setContentsMargins(2, 2, 2, 2);
    line->addWidget(search_, 1);
    line->addWidget(copy);
    line->addWidget(open);
    setViewportMargins(0, tools_->sizeHint().height(), 0, 0);

    connect(search_, &QLineEdit::textChanged, this, &QVynLog::mark_found);
    connect(search_, &QLineEdit::returnPressed, this,
            [this] { find_text(QTextDocument::FindBackward); });
    connect(copy, &QPushButton::clicked, this, &QVynLog::copy_all);
    connect(open, &QPushButton::clicked, this, &QVynLog::open_file);
    auto* find = new QShortcut(QKeySequence::Find, this);
    find->setContext(Qt::WidgetWithChildrenShortcut);
    connect(find, &QShortcut::activated, search_, [this] {
        search_->setFocus(Qt::ShortcutFocusReason);
        search_->selectAll();
    });
}

void QVynLog::resizeEvent(QResizeEvent* event) {
    QTextBrowser::resizeEvent(event);
    tools_->setGeometry(viewport()->x(), frameWidth(), viewport()->width(),
                        tools_->sizeHint().height());
}

void QVynLog::keyPressEvent(QKeyEvent* event) {
    if (event->matches(QKeySequence::FindNext))
        find_text({});
    else if (event->matches(QKeySequence::FindPrevious))
        find_text(QTextDocument::FindBackward);
    else
        QTextBrowser::keyPressEvent(event);
}

void QVynLog::set_file(const std::filesystem::path& file) {
    file_ = QString::fromStdString(file.string());
    open_->setEnabled(!file_.isEmpty());
    open_->setToolTip(file_);
}

void QVynLog::process_log() {
    const std::vector<LogLine> lines = get_log_mgr().take_new_lines();
    if (lines.empty()) return;
    const auto skipped = lines.size() - std::min<std::size_t>(lines.size(), kept_lines);
    std::for_each(lines.begin() + static_cast<std::ptrdiff_t>(skipped), lines.end(),
                  [this](const LogLine& line) { append_line(line); });
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
    mark_found();
}

void QVynLog::append_line(const LogLine& line) {
    const QString markup = markup_of(line);
    if (!fold_away(line, markup)) append_markup(markup);
}

void QVynLog::append_markup(const QString& markup) {
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    if (!document()->isEmpty()) end.insertBlock(QTextBlockFormat(), QTextCharFormat());
    end.insertHtml(markup);
}

bool QVynLog::fold_away(const LogLine& line, const QString& markup) {
    const std::string head = head_of(line);
    if (head.empty() || head != run_.head) {
        run_ = {head, 1, {}};
        return false;
    }
    if (++run_.lines <= open_lines) return false;
    if (run_.lines == open_lines + 1)
        folds_.push_back(run_);
    else {
        QTextCursor last(document());
        last.movePosition(QTextCursor::End);
        last.select(QTextCursor::BlockUnderCursor);
        last.removeSelectedText();
    }
    Fold& fold = folds_.back();
    fold.hidden << markup;
    append_markup(QStringLiteral("<a href=\"%1:%2\">%3</a>")
                      .arg(QLatin1String(fold_scheme))
                      .arg(folds_.size() - 1)
                      .arg(tr("%n more line(s) of \"%1\"", nullptr, fold.hidden.size())
                               .arg(shown(fold.head))));
    return true;
}

/// Puts the lines in the place of their link.
void QVynLog::unfold(const QUrl& link) {
    if (link.scheme() != QLatin1String(fold_scheme)) return;
    const auto index = link.path().toUInt();
    if (index >= folds_.size()) return;
    for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
        if (block.begin().atEnd() ||
            block.begin().fragment().charFormat().anchorHref() != link.toString())
            continue;
        QTextCursor place(block);
        place.select(QTextCursor::BlockUnderCursor);
        place.removeSelectedText();
        for (const QString& markup : qAsConst(folds_[index].hidden)) {
            place.insertBlock(QTextBlockFormat(), QTextCharFormat());
            place.insertHtml(markup);
        }
        break;
    }
    folds_[index].hidden.clear();
    if (index + 1 == folds_.size()) run_ = {};
}

void QVynLog::find_text(QTextDocument::FindFlags flags) {
    const QString wanted = search_->text();
    if (wanted.isEmpty() || find(wanted, flags)) return;
    // From the other end again.
    moveCursor(flags & QTextDocument::FindBackward ? QTextCursor::End : QTextCursor::Start);
    find(wanted, flags);
}

void QVynLog::mark_found() {
    QList<QTextEdit::ExtraSelection> found;
    const QString wanted = search_->text();
    if (!wanted.isEmpty())
        for (QTextCursor at = document()->find(wanted); !at.isNull();
             at = document()->find(wanted, at)) {
            QTextCharFormat format;
            format.setBackground(palette().brush(QPalette::Highlight));
            format.setForeground(palette().brush(QPalette::HighlightedText));
            found.append({at, format});
        }
    setExtraSelections(found);
    QPalette colours = palette();
    if (!wanted.isEmpty() && found.isEmpty()) colours.setColor(QPalette::Text, Qt::red);
    search_->setPalette(colours);
}

void QVynLog::copy_all() {
    const QString selected = textCursor().selection().toPlainText();
    QGuiApplication::clipboard()->setText(selected.isEmpty() ? toPlainText() : selected);
}

void QVynLog::open_file() {
    QDesktopServices::openUrl(QUrl::fromLocalFile(file_));
}

}  // namespace vyn
