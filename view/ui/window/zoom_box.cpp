#include "view/ui/window/zoom_box.h"

#include <QLineEdit>

#include "core/numbers.h"
#include "view/ui/canvas/field_view.h"

namespace vyn {

namespace {

constexpr double fit = 0;

QString percent_text(double percent) {
    return QStringLiteral("%1 %").arg(QString::fromStdString(format_general(percent, 4)));
}

}  // namespace

ZoomBox::ZoomBox(VynFieldView& view) : view_(view) {
    setObjectName(QStringLiteral("zoom_factor"));
    setToolTip(tr("Pixels of the screen per pixel of the image"));
    setAccessibleName(tr("Zoom"));
    setEditable(true);
    setInsertPolicy(QComboBox::NoInsert);
    setCompleter(nullptr);           // would make "12.5 %" of a typed 1
    setFocusPolicy(Qt::ClickFocus);  // arrows and letters belong to the view
    addItem(tr("Fit"), fit);
    for (const double percent : {12.5, 25.0, 50.0})
        addItem(percent_text(percent), percent);
    addItem(tr("1:1"), 100.0);
    for (const double percent : {200.0, 400.0, 800.0, 1600.0})
        addItem(percent_text(percent), percent);
    setMaximumWidth(fontMetrics().horizontalAdvance(QStringLiteral("0000.00 %")) + 40);
    connect(this, QOverload<int>::of(&QComboBox::activated), this, &ZoomBox::choose);
    connect(lineEdit(), &QLineEdit::returnPressed, this, &ZoomBox::read_text);
    connect(lineEdit(), &QLineEdit::editingFinished, this, &ZoomBox::show_zoom);
    connect(&view, &VynFieldView::view_changed, this, &ZoomBox::show_zoom);
    connect(&view, &VynFieldView::updated, this, &ZoomBox::show_zoom);
    show_zoom();
}

void ZoomBox::show_zoom() {
    setEnabled(view_.picture() != nullptr);
    setCurrentIndex(-1);
    setEditText(percent_text(100 * view_.transform().zoom * view_.devicePixelRatioF()));
}

void ZoomBox::choose(int index) {
    const double percent = itemData(index).toDouble();
    if (percent == fit)
        view_.fit();
    else
        set_percent(percent);
    show_zoom();
    view_.setFocus();
}

void ZoomBox::read_text() {
    QString text = currentText().trimmed();
    if (const int index = findText(text); index >= 0) return choose(index);
    if (text.endsWith(QLatin1Char('%'))) text.chop(1);
    const auto percent = parse_double(text.toStdString());
    if (percent && *percent > 0) set_percent(*percent);
    show_zoom();
    view_.setFocus();
}

void ZoomBox::set_percent(double percent) {
    const double wanted = percent / 100 / view_.devicePixelRatioF();
    view_.zoom_about(QRectF(view_.rect()).center(), wanted / view_.transform().zoom);
}

}  // namespace vyn
