#include "app/pages/raw_layout_edit.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QRegularExpressionValidator>

namespace vyn {

namespace {

QString value_of(const QWidget* edit) {
    if (const auto* choice = qobject_cast<const QComboBox*>(edit))
        return choice->currentData().toString();
    return static_cast<const QLineEdit*>(edit)->text();
}

void show_value(QWidget* edit, const QString& value) {
    if (auto* choice = qobject_cast<QComboBox*>(edit))
        choice->setCurrentIndex(choice->findData(value));
    else
        static_cast<QLineEdit*>(edit)->setText(value);
}

}  // namespace

RawLayoutEdit::RawLayoutEdit(QWidget* parent) : QWidget(parent), grid_(new QGridLayout(this)) {
    grid_->setContentsMargins(0, 0, 0, 0);
    add_number("width", "", tr("&Width:"));
    add_number("height", "", tr("Hei&ght:"));
    add_choice("type", tr("&Pixels:"),
               {{tr("16 bits"), "u16"},
                {tr("8 bits"), "u8"},
                {tr("32 bits"), "u32"},
                {tr("64 bits"), "u64"},
                {tr("8 bits with a sign"), "i8"},
                {tr("16 bits with a sign"), "i16"},
                {tr("32 bits with a sign"), "i32"},
                {tr("64 bits with a sign"), "i64"},
                {tr("Floating point, 32 bits"), "f32"},
                {tr("Floating point, 64 bits"), "f64"}});
    add_choice("order", tr("Order of &bytes:"),
               {{tr("Lowest first"), "little"}, {tr("Highest first"), "big"}});
    add_number("offset", "0", tr("B&ytes before the first pixel:"));
    add_choice("first_row", tr("First &row:"),
               {{tr("At the top"), "top"}, {tr("At the bottom"), "bottom"}});
    add_number("frames", "1", tr("&Frames:"));
    add_number("gap", "0", tr("Bytes betwee&n frames:"));
    add_number("full_scale", "", tr("Saturated fr&om:"));
}

void RawLayoutEdit::add_number(const char* name, const char* usual, const QString& label) {
    auto* edit = new QLineEdit;
    edit->setValidator(
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]{0,12}")), edit));
    edit->setPlaceholderText(QLatin1String(usual));
    add(name, usual, label, edit);
}

void RawLayoutEdit::add_choice(const char* name, const QString& label,
                               const std::vector<std::pair<QString, const char*>>& offered) {
    auto* edit = new QComboBox;
    for (const auto& [shown, value] : offered)
        edit->addItem(shown, QLatin1String(value));
    add(name, offered.front().second, label, edit);
}

void RawLayoutEdit::add(const char* name, const char* usual, const QString& label, QWidget* edit) {
    constexpr int pairs_in_a_row = 2;
    const int count = static_cast<int>(fields_.size());
    const int row = count / pairs_in_a_row;
    const int column = 2 * (count % pairs_in_a_row);
    auto* caption = new QLabel(label);
    caption->setBuddy(edit);
    edit->setObjectName(QStringLiteral("raw_") + QLatin1String(name));
    grid_->addWidget(caption, row, column);
    grid_->addWidget(edit, row, column + 1);
    fields_.push_back({name, usual, edit});
}

void RawLayoutEdit::show_text(const std::string& text) {
    QStringList words = QString::fromStdString(text).split(
        QRegularExpression(QStringLiteral("[\\s,]+")), Qt::SkipEmptyParts);
    for (const Field& field : fields_) {
        const QString start = QLatin1String(field.name) + QLatin1Char('=');
        QString value =
            qobject_cast<QComboBox*>(field.edit) ? QLatin1String(field.usual) : QString();
        for (const QString& word : words.filter(
                 QRegularExpression(QLatin1Char('^') + QRegularExpression::escape(start)))) {
            value = word.mid(start.size());
            words.removeAll(word);
        }
        show_value(field.edit, value);
    }
    others_ = words.join(QLatin1Char(' ')).toStdString();
}

std::string RawLayoutEdit::text() const {
    QStringList words;
    for (const Field& field : fields_)
        if (const QString value = value_of(field.edit);
            !value.isEmpty() && value != QLatin1String(field.usual))
            words << QLatin1String(field.name) + QLatin1Char('=') + value;
    const bool told = !value_of(fields_[0].edit).isEmpty() || !value_of(fields_[1].edit).isEmpty();
    if (!told) return others_;
    if (!others_.empty()) words << QString::fromStdString(others_);
    return words.join(QLatin1Char(' ')).toStdString();
}

}  // namespace vyn
