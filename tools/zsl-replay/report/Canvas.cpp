#include "report/Canvas.h"

#include <cairo-svg.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "capture/Case.h"

namespace replay {

namespace {

constexpr double kPi = 3.14159265358979323846;

bool isSvg(const std::string& file) { return file.substr(file.size() - 4) == ".svg"; }

// Well-formed UTF-8 on one line, whatever the input: cairo draws nothing more after a bad byte.
std::string printable(const std::string& text) {
    using nlohmann::json;
    auto line = json::parse(json(text).dump(-1, ' ', false, json::error_handler_t::replace)).get<std::string>();
    for (char& c : line) {
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    }
    return line;
}

}  // namespace

bool canDrawTo(const std::string& file) {
    return file.size() > 4 && (isSvg(file) || file.substr(file.size() - 4) == ".png");
}

Canvas::Canvas(const std::string& file, double width, double height)
    : mFile(file),
      mSurface(isSvg(file)
                   ? cairo_svg_surface_create(file.c_str(), width, height)
                   : cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width), static_cast<int>(height)),
               cairo_surface_destroy),
      mCairo(cairo_create(mSurface.get()), cairo_destroy) {
    cairo_set_source_rgb(mCairo.get(), 1, 1, 1);
    cairo_paint(mCairo.get());
}

void Canvas::finish() {
    cairo_status_t status = cairo_status(mCairo.get());
    if (status == CAIRO_STATUS_SUCCESS && !isSvg(mFile)) {
        status = cairo_surface_write_to_png(mSurface.get(), mFile.c_str());
    }
    cairo_surface_finish(mSurface.get());
    if (status == CAIRO_STATUS_SUCCESS) status = cairo_surface_status(mSurface.get());
    if (status == CAIRO_STATUS_SUCCESS) return;
    throw InputError(mFile + ": expected a file to draw to, found: " + cairo_status_to_string(status));
}

double Canvas::text(double x, double y, const std::string& text, const TextStyle& style) {
    cairo_t* const cr = mCairo.get();
    const std::string line = printable(text);
    cairo_save(cr);
    cairo_select_font_face(cr, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           style.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cr, style.size);
    cairo_text_extents_t extents;
    cairo_text_extents(cr, line.c_str(), &extents);
    const double width = std::min(extents.x_advance, style.most);
    const double start = style.align == Align::kLeft ? 0 : style.align == Align::kRight ? -width : -width / 2;
    cairo_translate(cr, x, y);
    if (style.upright) cairo_rotate(cr, -kPi / 2);
    cairo_rectangle(cr, start - 1, -style.size, width + 2, style.size * 1.3);
    cairo_clip(cr);
    cairo_rectangle(cr, start - 1, -style.size * 0.85, width + 2, style.size * 1.05);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_fill(cr);
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_move_to(cr, start, 0);
    cairo_show_text(cr, line.c_str());
    cairo_restore(cr);
    return width;
}

void Canvas::line(double x0, double y0, double x1, double y1, double width, double grey, bool dashed) {
    cairo_t* const cr = mCairo.get();
    const double dashes[] = {5, 4};
    cairo_set_dash(cr, dashes, dashed ? 2 : 0, 0);
    cairo_set_source_rgb(cr, grey, grey, grey);
    cairo_set_line_width(cr, width);
    cairo_move_to(cr, x0, y0);
    cairo_line_to(cr, x1, y1);
    cairo_stroke(cr);
    cairo_set_dash(cr, dashes, 0, 0);
}

void Canvas::outline(double x, double y, double radius, Shape shape) {
    cairo_t* const cr = mCairo.get();
    cairo_new_path(cr);
    if (shape == Shape::kSquare) {
        cairo_rectangle(cr, x - radius * 0.9, y - radius * 0.9, radius * 1.8, radius * 1.8);
        return;
    }
    // A circle, or a polygon of the four points on a larger one.
    if (shape == Shape::kCircle) cairo_arc(cr, x, y, radius, 0, 2 * kPi);
    for (int i = 0; shape == Shape::kDiamond && i < 4; ++i) {
        cairo_line_to(cr, x + 1.2 * radius * std::cos(i * kPi / 2), y + 1.2 * radius * std::sin(i * kPi / 2));
    }
    cairo_close_path(cr);
}

void Canvas::mark(double x, double y, double radius, Shape shape, bool hollow, bool chosen) {
    cairo_t* const cr = mCairo.get();
    const auto paint = [&](double size, double fill, double width) {
        outline(x, y, size, shape);
        chosen&& fill < 1 ? cairo_set_source_rgb(cr, 0, 0.16, 0.45) : cairo_set_source_rgb(cr, fill, fill, fill);
        cairo_fill_preserve(cr);
        chosen ? cairo_set_source_rgb(cr, 0, 0.16, 0.45) : cairo_set_source_rgb(cr, 0.43, 0.43, 0.43);
        cairo_set_line_width(cr, width);
        cairo_stroke(cr);
    };
    if (chosen) paint(radius * 1.75, 1, std::max(1.2, radius * 0.4));
    paint(radius, hollow ? 1 : 0.72, 1.2);
}

}  // namespace replay
