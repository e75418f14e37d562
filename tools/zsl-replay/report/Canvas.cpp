#include "report/Canvas.h"

#include <cairo.h>
#include <librsvg/rsvg.h>

#include <iomanip>
#include <memory>

#include "capture/Text.h"

namespace replay {

namespace {

std::string escaped(const std::string& text) {
    std::string xml;
    for (const char c : printable(text)) {
        xml += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
    }
    return xml;
}

}  // namespace

Canvas::Canvas() { mMarks << std::fixed << std::setprecision(1); }

void Canvas::text(double x, double y, const std::string& text, const TextStyle& style) {
    if (text.empty()) return;
    mMarks << "<text x=\"" << x << "\" y=\"" << y << "\" font-size=\"" << style.size << "\" text-anchor=\""
           << style.anchor << (style.bold ? "\" font-weight=\"bold\">" : "\">") << escaped(text) << "</text>\n";
}

void Canvas::line(double x0, double y0, double x1, double y1, const Pen& pen) {
    mMarks << "<line x1=\"" << x0 << "\" y1=\"" << y0 << "\" x2=\"" << x1 << "\" y2=\"" << y1 << '"';
    finish(pen);
}

void Canvas::outline(double x, double y, double radius, Shape shape, const Pen& pen, Colour fill) {
    if (shape == Shape::kCircle) {
        mMarks << "<circle cx=\"" << x << "\" cy=\"" << y << "\" r=\"" << radius << '"';
    } else {
        mMarks << "<rect x=\"" << x - radius << "\" y=\"" << y - radius << "\" width=\"" << 2 * radius << "\" height=\""
               << 2 * radius << '"';
        if (shape == Shape::kDiamond) mMarks << " transform=\"rotate(45 " << x << ' ' << y << ")\"";
    }
    mMarks << " fill=\"" << fill << '"';
    finish(pen);
}

void Canvas::finish(const Pen& pen) {
    mMarks << " stroke=\"" << pen.colour << "\" stroke-width=\"" << pen.width
           << (pen.dashed ? "\" stroke-dasharray=\"5 4\"/>\n" : "\"/>\n");
}

void Canvas::beginGroup(const std::string& title) { mMarks << "<g><title>" << escaped(title) << "</title>\n"; }
void Canvas::endGroup() { mMarks << "</g>\n"; }

std::string Canvas::svg(double width, double height) const {
    std::ostringstream out;
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height
        << "\" font-family=\"sans-serif\">\n<style>text {paint-order: stroke; stroke: #fff; stroke-width: "
           "4px}</style>\n<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n"
        << mMarks.str() << "</svg>\n";
    return out.str();
}

void Canvas::writePng(std::ostream& out, double width, double height) const {
    const std::string text = svg(width, height);
    const std::unique_ptr<RsvgHandle, void (*)(gpointer)> picture(
        rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(text.data()), text.size(), nullptr), g_object_unref);
    const std::unique_ptr<cairo_surface_t, void (*)(cairo_surface_t*)> surface(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(width), static_cast<int>(height)),
        cairo_surface_destroy);
    const std::unique_ptr<cairo_t, void (*)(cairo_t*)> cairo(cairo_create(surface.get()), cairo_destroy);
    const RsvgRectangle page = {0, 0, width, height};
    const auto write = [](void* stream, const unsigned char* data, unsigned size) {
        static_cast<std::ostream*>(stream)->write(reinterpret_cast<const char*>(data), size);
        return CAIRO_STATUS_SUCCESS;
    };
    if (!picture || cairo_status(cairo.get()) != CAIRO_STATUS_SUCCESS ||
        !rsvg_handle_render_document(picture.get(), cairo.get(), &page, nullptr) ||
        cairo_surface_write_to_png_stream(surface.get(), write, &out) != CAIRO_STATUS_SUCCESS) {
        throw InputError("--picture: expected what a PNG file can show, found too much: --request and --frame pick");
    }
}

}  // namespace replay
