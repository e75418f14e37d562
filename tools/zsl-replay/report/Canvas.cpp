#include "report/Canvas.h"

#include <fmt/format.h>
#include <librsvg/rsvg.h>

#include <memory>
#include <sstream>

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
    g_autofree gchar* xml = g_markup_escape_text(printable(text).c_str(), -1);
    return xml;
}

}  // namespace

void Canvas::text(double x, double y, const std::string& text, const char* style) {
    mMarks += fmt::format("<text class=\"{}\" x=\"{:.1f}\" y=\"{:.1f}\">{}</text>\n", style, x, y, escaped(text));
}

void Canvas::line(double x0, double y0, double x1, double y1, const std::string& style) {
    constexpr char kLine[] = "<line class=\"{}\" x1=\"{:.1f}\" y1=\"{:.1f}\" x2=\"{:.1f}\" y2=\"{:.1f}\"/>\n";
    mMarks += fmt::format(kLine, style, x0, y0, x1, y1);
}

void Canvas::mark(double x, double y, double scale, const std::string& words, const std::string& title) {
    constexpr char kMark[] = "<g class=\"{}\" transform=\"translate({:.1f} {:.1f}) scale({:.1f})\"><title>{}</title>";
    mMarks += fmt::format(kMark, words, x, y, scale, escaped(title));
    std::istringstream symbols(words);
    for (std::string symbol; symbols >> symbol;) mMarks += fmt::format("<use href=\"#{}\"/>", symbol);
    mMarks += "</g>\n";
}

std::string Canvas::svg(double width, double height) const {
    constexpr char kPage[] =
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{:.0f}\" height=\"{:.0f}\">\n{}{}</svg>\n";
    return fmt::format(kPage, width, height, kStyle, mMarks);
}

std::string Canvas::png(double width, double height) const {
    const std::string text = svg(width, height);
    const std::unique_ptr<RsvgHandle, void (*)(gpointer)> page(
        rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(text.data()), text.size(), nullptr), g_object_unref);
    g_autoptr(GdkPixbuf) pixels = page ? rsvg_handle_get_pixbuf(page.get()) : nullptr;
    g_autofree gchar* bytes = nullptr;
    gsize size = 0;
    if (pixels == nullptr || !gdk_pixbuf_save_to_buffer(pixels, &bytes, &size, "png", nullptr, nullptr)) {
        throw InputError("--picture: expected what a PNG file can show, found too much: --request and --frame pick");
    }
    return {bytes, size};
}

}  // namespace replay
