#include "view/ui/model/section_plot.h"

#include <QPolygonF>
#include <cmath>

#include <qwt_legend.h>
#include <qwt_plot_curve.h>
#include <qwt_scale_engine.h>
#include <qwt_symbol.h>

#include "view/ui/graph/plot_style.h"

namespace vyn {

namespace {

constexpr QRgb colours[] = {0xff1e88e5, 0xfffb8c00, 0xff43a047, 0xffe53935, 0xff8e24aa, 0xff6d4c41};

/// A stretch of a section that was seen, and its band where it has one.
struct SeenPart {
    QPolygonF points;
    std::vector<BandSample> band;
};

std::vector<SeenPart> seen_parts(const Section& section) {
    std::vector<SeenPart> parts;
    for (const SectionCurve& curve : section.curves) {
        SeenPart part;
        const auto end = [&] {
            if (part.points.size() > 1) parts.push_back(part);
            part = {};
        };
        for (const SectionPoint& point : curve.points) {
            if (std::isnan(point.value)) {
                end();
                continue;
            }
            part.points.append({point.x_c, point.value});
            if (!std::isnan(point.sigma_field))
                part.band.push_back({point.x_c, point.value, point.sigma_field});
        }
        end();
    }
    return parts;
}

}  // namespace

SectionPlot::SectionPlot(QWidget* parent) : QwtPlot(parent) {
    setObjectName(QStringLiteral("section_plot"));
    setMinimumSize(260, 180);
    style_plot(*this);
}

SectionPlot::~SectionPlot() = default;

void SectionPlot::show_sections(const std::vector<PlottedSection>& sections, const QString& label,
                                ValueAxis axis) {
    items_.clear();
    const auto add = [&](const QString& title, const QVector<QPointF>& points) -> QwtPlotCurve& {
        auto curve = std::make_unique<QwtPlotCurve>(title);
        curve->setSamples(points);
        curve->setRenderHint(QwtPlotItem::RenderAntialiased);
        curve->setItemAttribute(QwtPlotItem::Legend, !title.isEmpty());
        curve->attach(this);
        QwtPlotCurve& added = *curve;
        items_.push_back(std::move(curve));
        return added;
    };
    for (std::size_t i = 0; i < sections.size(); ++i) {
        const QColor colour(colours[i % std::size(colours)]);
        QString title = sections[i].title;
        for (const auto& [points, band] : seen_parts(sections[i].section)) {
            add(title, points).setPen(colour, 1.6);
            if (!band.empty()) {
                items_.push_back(make_band(band, colour));
                items_.back()->attach(this);
            }
            title.clear();  // one entry of the legend for all of its parts
        }
        QVector<QPointF> ports;
        for (const SectionPort& port : sections[i].ports)
            ports.append({port.x_c, port.value});
        if (ports.isEmpty()) continue;
        QwtPlotCurve& rings = add({}, ports);
        rings.setStyle(QwtPlotCurve::NoCurve);
        rings.setSymbol(new QwtSymbol(QwtSymbol::Ellipse, palette().brush(QPalette::Base),
                                      QPen(colour.darker(130), 1.6), {8, 8}));
    }
    if (sections.size() > 1 && !legend())
        insertLegend(new QwtLegend, QwtPlot::BottomLegend);
    else if (sections.size() <= 1 && legend())
        insertLegend(nullptr);
    axisScaleEngine(QwtPlot::yLeft)
        ->setAttribute(QwtScaleEngine::Inverted, axis == ValueAxis::turned_over);
    set_plot_titles(*this, {}, tr("x/c"), label);
    setAxisScale(QwtPlot::xBottom, 0, 1);
    replot();
}

}  // namespace vyn
