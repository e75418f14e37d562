#include "report/Canvas.h"

#include <cairo.h>
#include <librsvg/rsvg.h>

#include <iomanip>
#include <memory>

#include "capture/Text.h"

namespace replay {

namespace {

// The blue is dark enough to stand out in grey print, too.
constexpr char kStyle[] = R"(<style>
text {font: 11px sans-serif; paint-order: stroke; stroke: #fff; stroke-width: 4px}
.title {font-size: 13px; font-weight: bold}
.name {font-size: 12px; font-weight: bold}
.number {font-size: 10px; text-anchor: middle}
.bold {font-weight: bold}
line {stroke: #000; stroke-width: 1.4}
.row {stroke: #d9d9d9}
.anchor {stroke-dasharray: 5 4}
g {fill: #b8b8b8; stroke: #6e6e6e; stroke-width: 1.2}
.chosen, .uncertain {fill: #002973; stroke: #002973}
.not-held {fill: #fff}
</style>
<defs>
<circle id="consumer" r="7"/>
<rect id="producer" x="-7" y="-7" width="14" height="14"/>
<path id="all" d="M0-10 10 0 0 10-10 0z"/>
<circle id="chosen" r="13" fill="#fff" stroke-width="2.8"/>
<circle id="uncertain" r="13" fill="#fff" stroke-width="2.8" stroke-dasharray="5 4"/>
<path id="gained" d="M0-27v12M-6-21h12" stroke="#000" stroke-width="2"/>
<path id="lost" d="M-11-11 11 11M-11 11 11-11" stroke="#000" stroke-width="2"/>
<g id="not-held"/>
</defs>
<rect width="100%" height="100%" fill="#fff"/>
)";

std::string escaped(const std::string& text) {
    const std::unique_ptr<gchar, void (*)(gpointer)> xml(g_markup_escape_text(printable(text).c_str(), -1), g_free);
    return xml.get();
}

}  // namespace

Canvas::Canvas() { mMarks << std::fixed << std::setprecision(1); }

void Canvas::text(double x, double y, const std::string& text, const char* style) {
    if (text.empty()) return;
    mMarks << "<text class=\"" << style << "\" x=\"" << x << "\" y=\"" << y << "\">" << escaped(text) << "</text>\n";
}

void Canvas::line(double x0, double y0, double x1, double y1, const char* style) {
    mMarks << "<line class=\"" << style << "\" x1=\"" << x0 << "\" y1=\"" << y0 << "\" x2=\"" << x1 << "\" y2=\"" << y1
           << "\"/>\n";
}

void Canvas::mark(double x, double y, double scale, const std::string& words, const std::string& title) {
    mMarks << "<g class=\"" << words << "\" transform=\"translate(" << x << ' ' << y << ") scale(" << scale
           << ")\"><title>" << escaped(title) << "</title>";
    std::istringstream symbols(words);
    for (std::string symbol; symbols >> symbol;) mMarks << "<use href=\"#" << symbol << "\"/>";
    mMarks << "</g>\n";
}

std::string Canvas::svg(double width, double height) const {
    std::ostringstream out;
    out << "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" << width << "\" height=\"" << height << "\">\n"
        << kStyle << mMarks.str() << "</svg>\n";
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
