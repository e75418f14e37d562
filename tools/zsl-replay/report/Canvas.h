// The few strokes that pictures here need, on an SVG or PNG surface.

#pragma once

#include <cairo.h>

#include <memory>
#include <string>

namespace replay {

enum class Shape { kCircle, kSquare, kDiamond };
enum class Align { kLeft, kCentre, kRight };

struct TextStyle {
    double size = 11;
    bool bold = false;
    Align align = Align::kLeft;
    bool upright = false;  // reads upwards
    double most = 1e9;     // cut at this width
};

// Whether the name ends in .svg or .png, as a canvas's must.
bool canDrawTo(const std::string& file);

class Canvas {
public:
    Canvas(const std::string& file, double width, double height);
    void finish();  // throws InputError where the file can't be written

    // From a base line. The text stands on white, so that lines behind it don't cross it out. Returns its width.
    double text(double x, double y, const std::string& text, const TextStyle& style = {});
    // A chosen mark is larger, darker and ringed.
    void mark(double x, double y, double radius, Shape shape, bool hollow, bool chosen);
    void line(double x0, double y0, double x1, double y1, double width, double grey, bool dashed = false);

private:
    void outline(double x, double y, double radius, Shape shape);

    std::string mFile;
    std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> mSurface;
    std::unique_ptr<cairo_t, void (*)(cairo_t*)> mCairo;
};

}  // namespace replay
