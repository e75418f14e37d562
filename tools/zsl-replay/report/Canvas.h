// A drawing of the few strokes that pictures here need, in pixels, downwards. It is kept as SVG text, with every mark
// and word in it as such: people search it, and read a mark's own title.

#pragma once

#include <ostream>
#include <sstream>
#include <string>

namespace replay {

using Colour = const char*;
constexpr Colour kBlack = "#000000";
constexpr Colour kGrey = "#6e6e6e";
constexpr Colour kLightGrey = "#b8b8b8";
constexpr Colour kPale = "#d9d9d9";
constexpr Colour kWhite = "#ffffff";
constexpr Colour kBlue = "#002973";  // dark enough to stand out in grey print, too

enum class Shape { kCircle, kSquare, kDiamond };

struct TextStyle {
    double size = 11;
    bool bold = false;
    const char* anchor = "start";  // "middle", "end"
};

struct Pen {
    Colour colour = kBlack;
    double width = 1;
    bool dashed = false;
};

class Canvas {
public:
    Canvas();

    // From a base line. Stands on white, so that lines behind it don't cross it out.
    void text(double x, double y, const std::string& text, const TextStyle& style = {});
    void line(double x0, double y0, double x1, double y1, const Pen& pen);
    void outline(double x, double y, double radius, Shape shape, const Pen& pen, Colour fill);
    // Marks of a group share its title, which a reader shows under the pointer; it is not drawn.
    void beginGroup(const std::string& title);
    void endGroup();

    std::string svg(double width, double height) const;
    // Throws InputError for one that is too large.
    void writePng(std::ostream& out, double width, double height) const;

private:
    void finish(const Pen& pen);

    std::ostringstream mMarks;
};

}  // namespace replay
