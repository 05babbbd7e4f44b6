#pragma once

#include <QColor>
#include <QMainWindow>
#include <memory>
#include <vector>

#include "render/line_profile.h"

class QCheckBox;
class QListWidget;
class QSpinBox;
class QwtPlot;
class QwtPlotItem;
class QwtPlotZoomer;

namespace vyn {

class NumberEdit;

/// The profile of one line.
struct GraphCurve {
    LineProfile profile;
    QColor colour;
    std::size_t line = 0;   ///< from 0
    std::size_t image = 0;  ///< that it is of, from 0: the viewer's own; by its number dashed
    QString image_name;     ///< empty where profiles of one image only are shown
};

/// An image that profiles of the same lines can be drawn of.
struct GraphImage {
    QString name;
    bool used = false;
    bool operator==(const GraphImage&) const = default;
};

/// Profiles along lines of an image: plotted with gaps where pixels are excluded, zoomed with the
/// left button, read with the pointer, exported as table or picture.
class GraphWindow : public QMainWindow {
    Q_OBJECT
  public:
    explicit GraphWindow(QWidget* parent);
    ~GraphWindow() override;

    /// `quantity` names the values, with their unit.
    void show_curves(std::vector<GraphCurve> curves, const QString& title, const QString& quantity);
    /// Images of other viewers for the user to choose.
    void show_images(const std::vector<GraphImage>& images);
    const std::vector<GraphCurve>& curves() const { return curves_; }
    QwtPlot& plot() const { return *plot_; }

    /// Write the curves as comma-separated values, or the plot as PNG or SVG by the file's
    /// extension. A failure is told to the user.
    void write_table(const QString& file);
    void write_picture(const QString& file);

  public Q_SLOTS:
    void export_table();
    void export_picture();
    void copy_table();
    void copy_picture();

  Q_SIGNALS:
    void line_removed(std::size_t index);
    /// A line's coordinates were typed.
    void line_moved(std::size_t index, Point from, Point to);
    /// An image of `show_images` is to be used, or not any more.
    void image_chosen(int index, bool used);
    void lines_cleared();
    /// Pixels to be averaged across the lines.
    void width_chosen(int width);
    /// The pointer is at this distance from the lines' starts; NaN when it left the plot.
    void pointed(double distance);

  private:
    void make_plot();
    void make_actions();
    void make_form();
    QWidget* make_range_group();
    QWidget* make_line_group();
    QWidget* make_image_group();
    void list_lines();
    void show_ends();
    void apply_ends();
    void draw_curves();
    void apply_ranges();
    void show_ranges();
    std::string table() const;

    QwtPlot* plot_;
    QwtPlotZoomer* zoomer_;
    std::vector<std::unique_ptr<QwtPlotItem>> items_;
    std::vector<GraphCurve> curves_;

    QCheckBox* automatic_;
    NumberEdit* ranges_[4];  ///< distance from, to; value from, to
    QSpinBox* width_;
    QListWidget* list_;
    NumberEdit* ends_[4];  ///< x and y of the chosen line's start, of its end
    QListWidget* image_list_;
    std::vector<GraphImage> images_;
    bool writing_ = false;  ///< widgets are being set; their changes are not the user's
};

}  // namespace vyn
