#include "calib/ui/conditions_panel.h"

#include <QPalette>

#include "core/ui/setting_form.h"
#include "core/ui/wording.h"
#include "process/steps/law_conditions.h"

namespace vyn {

namespace {

QString escaped(const std::string& text) {
    return QString::fromStdString(text).toHtmlEscaped();
}

QString row_of(const LawConditions::Line& line) {
    return QStringLiteral(
               "<tr style='white-space: nowrap'><td>%1</td><td align=right>&nbsp;&nbsp;%2</td>"
               "<td>&nbsp;&nbsp;&rarr;&nbsp;&nbsp;</td><td><b>%3</b></td></tr>")
        .arg(escaped(line.name), escaped(line.entered), escaped(line.in_law));
}

QString html_of(const LawConditions& conditions) {
    QString html;
    for (const std::string& remark : conditions.remarks)
        html += QStringLiteral("<p>&#9888; %1.</p>").arg(worded(remark).toHtmlEscaped());
    if (conditions.lines.empty()) return html;
    html += QStringLiteral(
                "<table><tr><td></td><td align=right>&nbsp;&nbsp;%1</td><td></td>"
                "<td>%2</td></tr>")
                .arg(QObject::tr("entered"), QObject::tr("number in the law"));
    for (const LawConditions::Line& line : conditions.lines)
        html += row_of(line);
    return html + QStringLiteral("</table>");
}

}  // namespace

ConditionsPanel::ConditionsPanel(QWidget* parent) : QTextEdit(parent) {
    setObjectName(QStringLiteral("conditions"));
    setReadOnly(true);
    setTabChangesFocus(true);
    QPalette colours = palette();
    colours.setBrush(QPalette::Base, colours.brush(QPalette::Window));
    setPalette(colours);
}

QSize ConditionsPanel::sizeHint() const {
    const int line = fontMetrics().lineSpacing();
    return {26 * line, 13 * line};
}

QSize ConditionsPanel::minimumSizeHint() const {
    const int line = fontMetrics().lineSpacing();
    return {22 * line, 8 * line};
}

void ConditionsPanel::show_conditions(dataSetInterface& settings) {
    setHtml(html_of(law_conditions(settings, get_images())));
}

void ConditionsPanel::follow(dataSetInterface& settings, const SettingForm& form) {
    connect(&form, &SettingForm::changed, this, [this, &settings, &form] {
        simpleNamedDataSet edited;
        copy_content(settings, edited);
        form.write(edited);
        show_conditions(edited);
    });
}

}  // namespace vyn
