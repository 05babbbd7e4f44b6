#include "core/ui/setting_form.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QSignalBlocker>
#include <QSpinBox>
#include <filesystem>

#include "core/errors.h"
#include "core/keys.h"
#include "core/numbers.h"
#include "core/ui/file_question.h"
#include "core/ui/icons.h"
#include "core/ui/number_edit.h"

namespace vyn {

namespace {

const KeyInfo& info_of(std::string_view path) {
    const KeyInfo* info = find_key(path);
    if (!info) throw AlgoError("Algorithm error!", std::string(path) + " is no setting");
    return *info;
}

QString tip_of(const KeyInfo& info) {
    QString tip = QString::fromUtf8(info.meaning.data(), static_cast<int>(info.meaning.size()));
    return tip.left(1).toUpper() + tip.mid(1);
}

std::string text_of(double number, bool whole) {
    return whole ? std::to_string(static_cast<int>(number)) : format_double(number);
}

std::string flag_text(bool on) {
    return on ? "1" : "0";
}

bool is_on(const std::string& value) {
    return value != "0";
}

/// Selects the value; one that is not offered gets an item behind the `offered` ones.
void select_value(QComboBox& box, int offered, const std::vector<SettingForm::Choice>& known,
                  const std::string& value) {
    while (box.count() > offered)
        box.removeItem(offered);
    const QString wanted = QString::fromStdString(value);
    if (box.findData(wanted) < 0) {
        QString shown = wanted;
        for (const SettingForm::Choice& choice : known)
            if (choice.value == value) shown = choice.shown;
        box.addItem(shown, wanted);
    }
    box.setCurrentIndex(box.findData(wanted));
}

}  // namespace

void SettingForm::add(Row row, const char* name) {
    const std::string own_name = row.path.substr(row.path.rfind('/') + 1);
    row.edit->setObjectName(name ? QLatin1String(name) : QString::fromStdString(own_name));
    row.edit->setToolTip(tip_of(info_of(row.path)));
    rows_.push_back(std::move(row));
}

NumberEdit* SettingForm::number(std::string_view path, const char* name) {
    const KeyInfo& info = info_of(path);
    const bool whole = info.fallback.holds<int>();
    auto* edit = new NumberEdit;
    if (whole) {
        edit->set_kind(NumberEdit::Kind::whole);
        edit->set_range(std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    }
    if (info.allowed.kind == Allowed::Kind::range)
        edit->set_range(info.allowed.low, info.allowed.high);
    edit->setMinimumWidth(edit->fontMetrics().horizontalAdvance(QStringLiteral("-1000000.0")));
    add({std::string(path), edit,
         [edit](const std::string& value) { edit->set_number(parse_double(value).value_or(0)); },
         [edit, whole]() -> std::optional<std::string> {
             const std::optional<double> number = edit->number();
             if (!number) return std::nullopt;
             return text_of(*number, whole);
         }},
        name);
    connect(edit, &QLineEdit::textChanged, this, &SettingForm::changed);
    return edit;
}

QSpinBox* SettingForm::spin(std::string_view path, const char* name) {
    const Allowed& allowed = info_of(path).allowed;
    auto* edit = new QSpinBox;
    edit->setRange(static_cast<int>(allowed.low), static_cast<int>(allowed.high));
    add({std::string(path), edit,
         [edit](const std::string& value) { edit->setValue(parse_int(value).value_or(0)); },
         [edit] { return std::optional(std::to_string(edit->value())); }},
        name);
    connect(edit, qOverload<int>(&QSpinBox::valueChanged), this, &SettingForm::changed);
    return edit;
}

QLineEdit* SettingForm::text(std::string_view path, const char* name) {
    auto* edit = new QLineEdit;
    add({std::string(path), edit,
         [edit](const std::string& value) {
             edit->setText(QString::fromStdString(value));
             edit->setCursorPosition(0);
         },
         [edit] { return std::optional(edit->text().toStdString()); }},
        name);
    connect(edit, &QLineEdit::textChanged, this, &SettingForm::changed);
    return edit;
}

QLineEdit* SettingForm::file(std::string_view path, const QString& caption, const QString& filter) {
    QLineEdit* edit = text(path);
    QAction* choose =
        edit->addAction(vyn_icon(QStringLiteral("fileopen.png")), QLineEdit::TrailingPosition);
    choose->setToolTip(tr("Select a file"));
    connect(choose, &QAction::triggered, edit, [edit, caption, filter] {
        const std::string chosen = ask_open_file(
            edit, {caption,
                   filter,
                   {},
                   std::filesystem::path(edit->text().toStdString()).parent_path().string()});
        if (!chosen.empty()) edit->setText(QString::fromStdString(chosen));
    });
    return edit;
}

QCheckBox* SettingForm::flag(std::string_view path, const QString& label) {
    auto* box = new QCheckBox(label);
    add({std::string(path), box, [box](const std::string& value) { box->setChecked(is_on(value)); },
         [box] { return std::optional(flag_text(box->isChecked())); }},
        nullptr);
    connect(box, &QCheckBox::toggled, this, &SettingForm::changed);
    return box;
}

QGroupBox* SettingForm::group(std::string_view path, const QString& title) {
    auto* box = new QGroupBox(title);
    box->setCheckable(true);
    add({std::string(path), box, [box](const std::string& value) { box->setChecked(is_on(value)); },
         [box] { return std::optional(flag_text(box->isChecked())); }},
        nullptr);
    connect(box, &QGroupBox::toggled, this, &SettingForm::changed);
    return box;
}

QComboBox* SettingForm::choice(std::string_view path, const std::vector<Choice>& offered,
                               const std::vector<Choice>& known, const char* name) {
    auto* box = new QComboBox;
    for (const Choice& choice : offered)
        box->addItem(choice.shown, QString::fromStdString(choice.value));
    add({std::string(path), box,
         [box, count = box->count(), known](const std::string& value) {
             select_value(*box, count, known, value);
         },
         [box] { return std::optional(box->currentData().toString().toStdString()); }},
        name);
    connect(box, qOverload<int>(&QComboBox::currentIndexChanged), this, &SettingForm::changed);
    return box;
}

void SettingForm::show(dataSetInterface& data) {
    {
        const QSignalBlocker one_change_only(this);
        for (const Row& row : rows_)
            row.show(format_setting(data.value_or_create(row.path, info_of(row.path).fallback)));
    }
    Q_EMIT changed();
}

bool SettingForm::check() {
    QWidget* first_wrong = nullptr;
    for (const Row& row : rows_) {
        auto* number = dynamic_cast<NumberEdit*>(row.edit);
        if (number && number->isEnabled() && !number->check() && !first_wrong) first_wrong = number;
    }
    if (first_wrong) first_wrong->setFocus();
    return !first_wrong;
}

void SettingForm::write(dataSetInterface& data) const {
    for (const Row& row : rows_) {
        const std::optional<std::string> value = row.value();
        // What was held already is allowed to stay, whatever the table says of it.
        if (!value || (data.exists(row.path) && *value == format_setting(data.value(row.path))))
            continue;
        data.set_value(row.path, parse_setting(row.path, *value), /*is_default=*/false);
    }
}

std::vector<std::string> SettingForm::paths() const {
    std::vector<std::string> paths;
    for (const Row& row : rows_)
        paths.push_back(row.path);
    return paths;
}

}  // namespace vyn
