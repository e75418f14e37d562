// A drawing as SVG text, with every mark and word in it as such: people search it, and read a mark's own title. What
// things look like is said once, by a style sheet.

#pragma once

#include <string>

namespace replay {

// In pixels, downwards.
class Canvas {
public:
    // From a base line. Stands on white, so that lines behind it don't cross it out.
    void text(double x, double y, const std::string& text, const char* style = "plain");
    void line(double x0, double y0, double x1, double y1, const std::string& style);
    // Of words such as "chosen producer", each a symbol of the page and a style. A reader shows the title under the
    // pointer.
    void mark(double x, double y, double scale, const std::string& words, const std::string& title);

    // The bytes of a file. Throws InputError for a PNG that is too large.
    std::string svg(double width, double height) const;
    std::string png(double width, double height) const;

private:
    std::string mMarks;
};

}  // namespace replay
