// A drawing of the few strokes that pictures here need, kept until it is written. Lengths are in pixels, downwards.
// SVG is written as text, with every mark and word in it as such: people search it, and read a mark's own title.

#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace replay {

using Colour = uint32_t;  // 0xRRGGBB
constexpr Colour kBlack = 0x000000;
constexpr Colour kGrey = 0x6e6e6e;
constexpr Colour kLightGrey = 0xb8b8b8;
constexpr Colour kPale = 0xd9d9d9;
constexpr Colour kWhite = 0xffffff;
constexpr Colour kBlue = 0x002973;  // dark enough to stand out in grey print, too

enum class Shape { kCircle, kSquare, kDiamond };
enum class Align { kLeft, kCentre, kRight };

struct TextStyle {
    double size = 11;
    bool bold = false;
    Align align = Align::kLeft;
    bool upright = false;  // reads upwards
    double most = 1e9;     // cut at this width
};

struct Pen {
    Colour colour = kBlack;
    double width = 1;
    bool dashed = false;
};

class Canvas {
public:
    // From a base line. Stands on white, so that lines behind it don't cross it out. Returns about its width.
    double text(double x, double y, const std::string& text, const TextStyle& style = {});
    void line(double x0, double y0, double x1, double y1, const Pen& pen);
    // Marks of a group share its title, which a reader shows under the pointer; it is not drawn.
    void beginGroup(const std::string& title);
    void endGroup();
    void outline(double x, double y, double radius, Shape shape, const Pen& pen, Colour fill);

    void writeSvg(std::ostream& out, double width, double height) const;
    void writePng(std::ostream& out, double width, double height) const;

    struct Text {
        double x, y;
        std::string text;
        TextStyle style;
    };
    struct Line {
        double x0, y0, x1, y1;
        Pen pen;
    };
    struct Outline {
        double x, y, radius;
        Shape shape;
        Pen pen;
        Colour fill;
    };
    struct Group {
        std::string title;
        bool begins;
    };

private:
    std::vector<std::variant<Text, Line, Outline, Group>> mStrokes;
};

}  // namespace replay
