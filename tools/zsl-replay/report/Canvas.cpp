#include "report/Canvas.h"

#include <cairo.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <iomanip>
#include <memory>
#include <utility>

#include "capture/Text.h"

namespace replay {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDashes[] = {5, 4};

// Sans-serif letters are about this wide, whichever font there is.
double widthOf(size_t characters, double size) { return 0.6 * size * static_cast<double>(characters); }

size_t charactersIn(const std::string& utf8) {
    size_t count = 0;
    for (const char c : utf8) count += (c & 0xC0) != 0x80 ? 1 : 0;
    return count;
}

std::string cutTo(std::string utf8, double most, double size) {
    if (widthOf(charactersIn(utf8), size) <= most) return utf8;
    const auto kept = static_cast<size_t>(std::max(1.0, most / widthOf(1, size) - 1));
    size_t end = 0;
    for (size_t count = 0; end < utf8.size(); ++end) {
        count += (utf8[end] & 0xC0) != 0x80 ? 1 : 0;
        if (count > kept) break;
    }
    return utf8.substr(0, end) + "…";
}

std::string escapedXml(const std::string& text) {
    std::string xml;
    for (const char c : text) {
        xml += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : c == '"' ? "&quot;" : std::string(1, c);
    }
    return xml;
}

std::array<std::pair<double, double>, 4> corners(const Canvas::Outline& mark) {
    const double r = mark.radius;
    const double reach = mark.shape == Shape::kDiamond ? 0 : r;  // of a corner, beside its own axis
    return {{{mark.x - r, mark.y - reach},
             {mark.x + reach, mark.y - r},
             {mark.x + r, mark.y + reach},
             {mark.x - reach, mark.y + r}}};
}

class SvgPrinter {
public:
    explicit SvgPrinter(std::ostream& out) : mOut(out) { mOut << std::fixed << std::setprecision(1); }

    void operator()(const Canvas::Text& text) const {
        static constexpr const char* kAnchors[] = {"start", "middle", "end"};
        mOut << "<text x=\"" << text.x << "\" y=\"" << text.y << "\" font-size=\"" << text.style.size << '"';
        if (text.style.bold) mOut << " font-weight=\"bold\"";
        if (text.style.align != Align::kLeft) {
            mOut << " text-anchor=\"" << kAnchors[static_cast<size_t>(text.style.align)] << '"';
        }
        if (text.style.upright) mOut << " transform=\"rotate(-90 " << text.x << ' ' << text.y << ")\"";
        mOut << '>' << escapedXml(text.text) << "</text>\n";
    }

    void operator()(const Canvas::Line& line) const {
        mOut << "<line x1=\"" << line.x0 << "\" y1=\"" << line.y0 << "\" x2=\"" << line.x1 << "\" y2=\"" << line.y1
             << '"';
        finish(line.pen);
    }

    void operator()(const Canvas::Outline& mark) const {
        if (mark.shape == Shape::kCircle) {
            mOut << "<circle cx=\"" << mark.x << "\" cy=\"" << mark.y << "\" r=\"" << mark.radius << '"';
        } else {
            mOut << "<polygon points=\"";
            for (const auto& [x, y] : corners(mark)) mOut << x << ',' << y << ' ';
            mOut << '"';
        }
        mOut << " fill=\"" << name(mark.fill) << '"';
        finish(mark.pen);
    }

    void operator()(const Canvas::Group& group) const {
        mOut << (group.begins ? "<g><title>" + escapedXml(group.title) + "</title>\n" : "</g>\n");
    }

private:
    static std::string name(Colour colour) {
        char text[8];
        std::snprintf(text, sizeof(text), "#%06x", colour & 0xFFFFFFU);
        return text;
    }

    void finish(const Pen& pen) const {
        mOut << " stroke=\"" << name(pen.colour) << "\" stroke-width=\"" << pen.width << '"';
        if (pen.dashed) mOut << " stroke-dasharray=\"" << kDashes[0] << ' ' << kDashes[1] << '"';
        mOut << "/>\n";
    }

    std::ostream& mOut;
};

class CairoPainter {
public:
    explicit CairoPainter(cairo_t* cairo) : mCairo(cairo) {}

    void operator()(const Canvas::Text& text) const {
        cairo_save(mCairo);
        cairo_select_font_face(mCairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                               text.style.bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
        cairo_set_font_size(mCairo, text.style.size);
        cairo_text_extents_t extents;
        cairo_text_extents(mCairo, text.text.c_str(), &extents);
        cairo_translate(mCairo, text.x, text.y);
        if (text.style.upright) cairo_rotate(mCairo, -kPi / 2);
        cairo_move_to(mCairo, -extents.x_advance * 0.5 * static_cast<double>(text.style.align), 0);
        cairo_text_path(mCairo, text.text.c_str());
        stroke({kWhite, 4, false}, true);
        setColour(kBlack);
        cairo_fill(mCairo);
        cairo_restore(mCairo);
    }

    void operator()(const Canvas::Line& line) const {
        cairo_move_to(mCairo, line.x0, line.y0);
        cairo_line_to(mCairo, line.x1, line.y1);
        stroke(line.pen, false);
    }

    void operator()(const Canvas::Outline& mark) const {
        cairo_new_path(mCairo);
        if (mark.shape == Shape::kCircle) {
            cairo_arc(mCairo, mark.x, mark.y, mark.radius, 0, 2 * kPi);
        } else {
            for (const auto& [x, y] : corners(mark)) cairo_line_to(mCairo, x, y);
            cairo_close_path(mCairo);
        }
        setColour(mark.fill);
        cairo_fill_preserve(mCairo);
        stroke(mark.pen, false);
    }

    void operator()(const Canvas::Group&) const {}

private:
    void setColour(Colour colour) const {
        cairo_set_source_rgb(mCairo, (colour >> 16 & 0xFF) / 255.0, (colour >> 8 & 0xFF) / 255.0,
                             (colour & 0xFF) / 255.0);
    }

    void stroke(const Pen& pen, bool preserve) const {
        setColour(pen.colour);
        cairo_set_line_width(mCairo, pen.width);
        cairo_set_dash(mCairo, kDashes, pen.dashed ? 2 : 0, 0);
        preserve ? cairo_stroke_preserve(mCairo) : cairo_stroke(mCairo);
    }

    cairo_t* mCairo;
};

}  // namespace

double Canvas::text(double x, double y, const std::string& text, const TextStyle& style) {
    std::string line = cutTo(printable(text), style.most, style.size);
    const double width = widthOf(charactersIn(line), style.size);
    mStrokes.push_back(Text{x, y, std::move(line), style});
    return width;
}

void Canvas::line(double x0, double y0, double x1, double y1, const Pen& pen) {
    mStrokes.push_back(Line{x0, y0, x1, y1, pen});
}

void Canvas::beginGroup(const std::string& title) { mStrokes.push_back(Group{printable(title), true}); }
void Canvas::endGroup() { mStrokes.push_back(Group{"", false}); }

void Canvas::outline(double x, double y, double radius, Shape shape, const Pen& pen, Colour fill) {
    mStrokes.push_back(Outline{x, y, radius, shape, pen, fill});
}

void Canvas::writeSvg(std::ostream& out, double width, double height) const {
    const SvgPrinter printer(out);
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
        << "\" font-family=\"sans-serif\">\n<style>text {paint-order: stroke; stroke: #fff; stroke-width: "
           "4px}</style>\n"
        << "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n";
    for (const auto& stroke : mStrokes) std::visit(printer, stroke);
    out << "</svg>\n";
}

void Canvas::writePng(std::ostream& out, double width, double height) const {
    const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width), static_cast<int>(height)),
        cairo_surface_destroy);
    const std::unique_ptr<cairo_t, void (*)(cairo_t*)> cairo(cairo_create(surface.get()), cairo_destroy);
    cairo_set_source_rgb(cairo.get(), 1, 1, 1);
    cairo_paint(cairo.get());
    const CairoPainter painter(cairo.get());
    for (const auto& stroke : mStrokes) std::visit(painter, stroke);
    const auto write = [](void* stream, const unsigned char* data, unsigned size) {
        static_cast<std::ostream*>(stream)->write(reinterpret_cast<const char*>(data), size);
        return CAIRO_STATUS_SUCCESS;
    };
    const cairo_status_t status = cairo_surface_write_to_png_stream(surface.get(), write, &out);
    if (status != CAIRO_STATUS_SUCCESS) {
        throw InputError(std::string("--picture: expected something to draw, found: ") +
                         cairo_status_to_string(status));
    }
}

}  // namespace replay
