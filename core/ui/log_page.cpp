#include "core/ui/log_page.h"

#include <QScrollBar>
#include <QTextCursor>
#include <QTimer>
#include <algorithm>

namespace vyn {

namespace {

constexpr int kept_lines = 200;
constexpr int period_ms = 500;

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

}  // namespace

QVynLog::QVynLog(QWidget* parent) : QTextBrowser(parent) {
    setReadOnly(true);
    setUndoRedoEnabled(false);
    document()->setMaximumBlockCount(kept_lines);
    setAccessibleName(tr("Log"));
    auto* timer = new QTimer(this);
    connect(timer, &QTimer::timeout, this, &QVynLog::process_log);
    timer->start(period_ms);
}

void QVynLog::process_log() {
    const std::vector<LogLine> lines = get_log_mgr().take_new_lines();
    if (lines.empty()) return;
    const auto skipped = lines.size() - std::min<std::size_t>(lines.size(), kept_lines);
    std::for_each(lines.begin() + static_cast<std::ptrdiff_t>(skipped), lines.end(),
                  [this](const LogLine& line) { append_line(line); });
    verticalScrollBar()->setValue(verticalScrollBar()->maximum());
}

void QVynLog::append_line(const LogLine& line) {
    QTextCursor end(document());
    end.movePosition(QTextCursor::End);
    if (!document()->isEmpty()) end.insertBlock(QTextBlockFormat(), QTextCharFormat());
    end.insertHtml(format_of(line.level).arg(shown(line.text)));
}

}  // namespace vyn
