#include "app/pages/results_list.h"

#include <QGridLayout>
#include <QLabel>
#include <QToolButton>

#include "app/pages/elided_label.h"
#include "app/pages/page_parts.h"

namespace vyn {

namespace {

constexpr QSize preview_size{32, 24};

QString words(const ImageState& state) {
    switch (state.kind) {
        case ImageState::Kind::absent:
            return ResultsList::tr("not calculated");
        case ImageState::Kind::current:
            return ResultsList::tr("up to date");
        case ImageState::Kind::out_of_date:
            return ResultsList::tr("out of date: %1").arg(QString::fromStdString(state.reason));
        case ImageState::Kind::unknown:
            return ResultsList::tr("of unknown origin");
    }
    return {};
}

/// Corrected pictures are as their camera saw them, and the displacement is what was looked for.
bool needs_alignment(const std::string& image) {
    return !image.ends_with("_cor") && !image.starts_with(image_names::displacement);
}

}  // namespace

ResultsList::ResultsList(ExperimentType type, QWidget* parent) : QGroupBox(tr("Results"), parent) {
    auto* grid = new QGridLayout(this);
    grid->setVerticalSpacing(2);
    std::vector<std::string> results = page_results(type);
    // What the user came for stands together.
    const auto field = std::ranges::find(results, image_names::field);
    results.insert(field == results.end() ? field : field + 1, model_result);
    for (const std::string& image : results) {
        const QString label = image == model_result
                                  ? tr("Field on the model")
                                  : QString::fromStdString(image_label(type, image));
        auto* view = icon_button(image + "_view_btn", "thumbnail", tr("View %1").arg(label), this);
        Line line{image,
                  new QLabel(this),
                  new QLabel(label, this),
                  new ElidedLabel(Qt::ElideRight, this),
                  view,
                  0};
        line.preview->setFixedSize(preview_size);
        line.preview->setScaledContents(false);
        line.preview->setAlignment(Qt::AlignCenter);
        line.state->setObjectName(QString::fromStdString(image + "_state"));
        const int row = grid->rowCount();
        grid->addWidget(line.preview, row, 0);
        grid->addWidget(line.label, row, 1);
        grid->addWidget(line.state, row, 2);
        grid->addWidget(line.view, row, 3);
        connect(view, &QToolButton::clicked, this, [this, image] { Q_EMIT view_wanted(image); });
        lines_.push_back(line);
    }
    grid->setColumnStretch(2, 1);
    grid->setRowStretch(grid->rowCount(), 1);
}

void ResultsList::show_look(const PageLook& look, const QString& unaligned) {
    for (const Line& line : lines_) {
        const bool listed = std::ranges::find(look.state.results, line.image,
                                              &ResultEntry::image) != look.state.results.end();
        for (QWidget* part :
             std::initializer_list<QWidget*>{line.preview, line.label, line.state, line.view})
            part->setVisible(listed);
    }
    const auto preview_of = [&](const std::string& image) {
        const auto found = look.previews.find(image);
        return found == look.previews.end() ? nullptr : &found->second;
    };
    for (const ResultEntry& result : look.state.results)
        if (const auto line = std::ranges::find(lines_, result.image, &Line::image);
            line != lines_.end())
            show_line(*line, result, preview_of(result.image), unaligned);
}

void ResultsList::show_line(Line& line, const ResultEntry& result, const Thumbnail* preview,
                            const QString& unaligned) {
    const bool badly_made = !unaligned.isEmpty() && needs_alignment(result.image) &&
                            result.state.kind != ImageState::Kind::absent;
    const QString text =
        badly_made ? tr("%1, but %2").arg(words(result.state), unaligned) : words(result.state);
    line.state->set_text(text);
    line.state->set_alarm(badly_made || result.state.kind == ImageState::Kind::out_of_date);
    line.state->setToolTip(wrapped(text));
    line.view->setEnabled(result.state.kind != ImageState::Kind::absent);
    const qint64 key = preview ? preview->picture.cacheKey() : 0;
    if (key == line.shown) return;
    line.shown = key;
    const double scale = devicePixelRatioF();
    QPixmap small;
    if (preview && !preview->picture.isNull()) {
        small = QPixmap::fromImage(preview->picture.scaled(
            preview_size * scale, Qt::KeepAspectRatio, Qt::SmoothTransformation));
        small.setDevicePixelRatio(scale);
    }
    line.preview->setPixmap(small);
}

}  // namespace vyn
