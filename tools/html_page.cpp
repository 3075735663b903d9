// A page from the top down: verdict, the large view, results, then one section for each record, then the appendix. All
// that comes from outside (paths, texts of records) goes through xmlText on its way into the markup, and none of it
// into the script or the style sheet.
#include "tools/html_page.h"

#include "qvstreet/platform/text.h"
#include "tools/html_assets.h"
#include "tools/html_images.h"
#include "tools/html_plot.h"
#include "tools/sketch_marks.h"
#include "tools/sketch_svg.h"
#include "tools/text.h"

#include <algorithm>
#include <cmath>

namespace qvtool {
namespace {

// Characters for pictures, for shapes over them, and for the rest of the page: 4.6 million together, and style, script
// and the last record that still fits come on top.
constexpr std::size_t kImageBudget = 2200000;
constexpr std::size_t kSketchBudget = 1600000;
constexpr std::size_t kTextBudget = 800000;

// No layer takes more than this part of what is left for shapes.
constexpr std::size_t kLayersThatShare = 3;

// Wider tables do not fit beside an image.
constexpr std::size_t kMostSideColumns = 5;

constexpr std::size_t kMostRows = 300;
constexpr std::size_t kMostLetters = 2000;

// Width and height in display pels in which views are usually seen: marks are drawn for these.
constexpr double kMainWidth = 900.0;
constexpr double kRecordWidth = 460.0;
constexpr double kViewHeight = 750.0;

double viewScale(long width, long height, double displayWidth) {
    return std::max(static_cast<double>(width) / displayWidth, static_cast<double>(height) / kViewHeight);
}

std::string escaped(const std::wstring& text) {
    if (text.size() <= kMostLetters) return xmlText(qfUtf8(text));
    return xmlText(qfUtf8(text.substr(0, kMostLetters))) + "\xE2\x80\xA6";
}

bool looksLikeNumber(const std::wstring& cell) {
    return !cell.empty() && cell.find_first_not_of(L"0123456789.,+-e% ") == std::wstring::npos;
}

/// Whether all cells of the column that hold anything hold numbers.
bool isNumeric(const qvDiagTable& table, std::size_t column) {
    bool any = false;
    for (const std::vector<std::wstring>& row : table.rows) {
        if (column >= row.size() || row[column].empty()) continue;
        if (!looksLikeNumber(row[column])) return false;
        any = true;
    }
    return any;
}

std::string hexColour(const Colour& colour) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string text = "#";
    for (const unsigned char part : {colour.red, colour.green, colour.blue}) {
        text += kDigits[part >> 4];
        text += kDigits[part & 15U];
    }
    return text;
}

class PageWriter {
 public:
    explicit PageWriter(const Page& page) : page_(page), images_(kImageBudget) {
        images_.add(page.view.image);
        for (long i = 0; i < recordCount(); ++i) images_.add(page.records->diagRecord(i).image());
    }

    std::string write() {
        writeHead();
        writeSummary();
        writeRecords();
        html_ += "<section id=\"appendix\" class=\"record flat\"><h2>Parameters and times</h2><div class=\"side\">";
        for (const qvDiagTable& table : page_.appendix) writeTable(table);
        html_ += "</div></section>\n</main>\n<script>";
        html_ += pageScript();
        html_ += "</script>\n</body>\n</html>\n";
        return std::move(html_);
    }

 private:
    long recordCount() const { return page_.records == nullptr ? 0 : page_.records->numRecords(); }

    void writeHead() {
        const std::string title = xmlText(page_.title);
        // The policy keeps the page from any request, whatever it holds.
        html_ +=
            "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
            "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; style-src "
            "'unsafe-inline'; script-src 'unsafe-inline'\">\n"
            "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
            "<link rel=\"icon\" href=\"data:,\">\n<title>" +
            title + " - qvstreet</title>\n<style>";
        html_ += pageStyle();
        html_ += "</style>\n</head>\n<body>\n<a class=\"skip\" href=\"#verdict\">To the result</a>\n";
        html_ += "<svg width=\"0\" height=\"0\" style=\"position:absolute\" aria-hidden=\"true\"><defs>\n";
        images_.writeDefinitions(html_);
        html_ += "</defs></svg>\n<main>\n<h1>" + title + "</h1>\n<p class=\"subtitle\">" + xmlText(page_.subtitle) +
                 "</p>\n";
        textStart_ = html_.size();
    }

    void writeSummary() {
        html_ += std::string("<p id=\"verdict\" tabindex=\"-1\" class=\"verdict ") + (page_.isGood ? "good" : "bad") +
                 "\">" + xmlText(page_.verdict) + "</p>\n";
        for (const std::string& remark : page_.remarks) {
            html_ += "<p class=\"remark\">" + xmlText(remark) + "</p>\n";
        }
        html_ += "<div class=\"summary\">\n<div>";
        writeView(page_.view.image, page_.view.layers, page_.title, kMainWidth);
        html_ += "</div>\n<div>";
        if (!page_.findings.empty()) {
            html_ += "<h2>How it came about</h2><ul class=\"findings\">";
            for (const std::string& finding : page_.findings) html_ += "<li>" + xmlText(finding) + "</li>";
            html_ += "</ul>\n";
        }
        for (const qvDiagTable& table : page_.results) writeTable(table);
        writeContents();
        html_ += "</div>\n</div>\n";
    }

    void writeContents() {
        if (recordCount() == 0) return;
        html_ += "<nav aria-label=\"Stages\"><h2>The stages</h2><ol>";
        for (long i = 0; i < std::min(recordCount(), 60L); ++i) {
            html_ += "<li><a href=\"#record" + std::to_string(i + 1) + "\">" + titleOf(i) + "</a></li>";
        }
        html_ += "</ol><p><a href=\"#appendix\">Parameters and times</a></p></nav>\n";
    }

    std::string titleOf(long record) const {
        const std::wstring& annotation = page_.records->diagRecord(record).recordAnnotation();
        return annotation.empty() ? "Record" : escaped(annotation);
    }

    void writeRecords() {
        for (long i = 0; i < recordCount(); ++i) {
            if (html_.size() - textStart_ - sketchesWritten_ > kTextBudget) {
                html_ += "<section class=\"record flat\"><p class=\"none\">" + std::to_string(recordCount() - i) +
                         " further records are left out, to keep the page small.</p></section>\n";
                return;
            }
            writeRecord(i);
        }
    }

    void writeRecord(long index) {
        const qvDiagRecord& record = page_.records->diagRecord(index);
        const bool hasImage = record.image().isBound() && record.image().width() > 0 && record.image().height() > 0;
        html_ += "<section id=\"record" + std::to_string(index + 1) + "\" class=\"record" + (hasImage ? "" : " flat") +
                 "\"><h2>" + std::to_string(index + 1) + ". " + titleOf(index) + "</h2>\n";
        if (hasImage) {
            std::vector<PageLayer> layers;
            for (const qvDiagEntry& entry : record.entries()) {
                if (entry.kind != qvDiagEntry::eGraphics && entry.kind != qvDiagEntry::eSketch) continue;
                layers.push_back({entry.label, entry.sketch, entry.coordinateSystem, true});
            }
            // What was dropped must not cover what was kept.
            std::stable_partition(layers.begin(), layers.end(),
                                  [](const PageLayer& layer) { return layer.name.rfind(L"Dropped", 0) == 0; });
            html_ += "<div>";
            writeView(record.image(), layers, qfUtf8(record.recordAnnotation()), kRecordWidth);
            html_ += "</div>\n";
        }
        html_ += "<div class=\"side\">";
        const auto isBelow = [&](const qvDiagEntry& entry) {
            return hasImage && entry.kind == qvDiagEntry::eTable && entry.table.heading.size() > kMostSideColumns;
        };
        for (const qvDiagEntry& entry : record.entries()) {
            if (!isBelow(entry)) writeEntry(entry);
        }
        closeTexts();
        html_ += "</div>\n<div class=\"wide\">";
        for (const qvDiagEntry& entry : record.entries()) {
            if (isBelow(entry)) writeEntry(entry);
        }
        html_ += "</div></section>\n";
    }

    void writeEntry(const qvDiagEntry& entry) {
        switch (entry.kind) {
            case qvDiagEntry::eText:
                writeText(entry);
                break;
            case qvDiagEntry::ePlot:
                closeTexts();
                writePlot(html_, entry.plot);
                break;
            case qvDiagEntry::eTable:
                closeTexts();
                writeTable(entry.table);
                break;
            case qvDiagEntry::eGraphics:
            case qvDiagEntry::eSketch:
                break;
        }
    }

    /// A label that only repeats the text is not shown.
    void writeText(const qvDiagEntry& entry) {
        if (!inTexts_) html_ += "<dl>";
        inTexts_ = true;
        html_ += "<dt>" + (entry.label == entry.text ? std::string() : escaped(entry.label)) + "</dt><dd>" +
                 escaped(entry.text) + "</dd>";
    }

    void closeTexts() {
        if (inTexts_) html_ += "</dl>\n";
        inTexts_ = false;
    }

    void writeTable(const qvDiagTable& table) {
        const std::string label = escaped(table.label);
        html_ += "<div class=\"table\" role=\"region\" tabindex=\"0\" aria-label=\"" + label + "\"><table><caption>" +
                 label + "</caption>";
        std::vector<const char*> classes;
        std::size_t columns = table.heading.size();
        for (const std::vector<std::wstring>& row : table.rows) columns = std::max(columns, row.size());
        for (std::size_t i = 0; i < columns; ++i) classes.push_back(isNumeric(table, i) ? " class=\"n\"" : "");
        if (!table.heading.empty()) {
            html_ += "<thead><tr>";
            for (std::size_t i = 0; i < table.heading.size(); ++i) {
                html_ += std::string("<th scope=\"col\"") + classes[i] + ">" + escaped(table.heading[i]) + "</th>";
            }
            html_ += "</tr></thead>";
        }
        html_ += "<tbody>";
        const std::size_t shown = std::min(table.rows.size(), kMostRows);
        for (std::size_t r = 0; r < shown; ++r) {
            html_ += "<tr>";
            for (std::size_t i = 0; i < table.rows[r].size(); ++i) {
                html_ += std::string("<td") + classes[i] + ">" + escaped(table.rows[r][i]) + "</td>";
            }
            html_ += "</tr>";
        }
        html_ += "</tbody></table>";
        if (table.rows.empty()) html_ += "<p class=\"none\">None.</p>";
        if (shown < table.rows.size()) {
            html_ += "<p class=\"none\">" + std::to_string(table.rows.size() - shown) + " more rows are left out.</p>";
        }
        html_ += "</div>\n";
    }

    /// The image with its layers, the buttons before it and the read-out behind it.
    /// @param displayWidth  in which it is usually seen; the wider one is the main view
    void writeView(const qvPelBuffer_const<unsigned char>& image, const std::vector<PageLayer>& layers,
                   const std::string& name, double displayWidth) {
        if (!image.isBound() || image.width() == 0 || image.height() == 0) return;
        const bool isMain = displayWidth == kMainWidth;
        const qvXform<2> client = image.clientFromImageXform();
        const double scale = viewScale(image.width(), image.height(), displayWidth);
        const std::string viewName = "view" + std::to_string(views_++);
        std::string buttons;
        std::string drawings;
        std::string notes;
        int number = 0;
        for (const PageLayer& layer : layers) {
            if (layer.sketch.isEmpty()) continue;
            const std::string id = viewName + "layer" + std::to_string(++number);
            drawings += "<g id=\"" + id + "\">";
            drawSketch(layer, client, scale, drawings, notes);
            drawings += "</g>";
            buttons += "<button type=\"button\" aria-pressed=\"true\" data-layer=\"" + id + "\"" +
                       (layer.shown ? "" : " data-off") +
                       "><i style=\"background:" + hexColour(shownColour(layer.sketch.shapes().front().color)) +
                       "\"></i> " + escaped(layer.name) +
                       (number < 10 ? " <kbd>" + std::to_string(number) + "</kbd>" : "") + "</button>";
        }
        html_ += std::string("<figure class=\"view") + (isMain ? " main" : "") + "\" data-client=\"" +
                 clientText(client) + "\">";
        if (!buttons.empty()) {
            html_ += "<div class=\"layers\" role=\"group\" aria-label=\"Layers\">" + buttons + "</div>";
        }
        html_ += "<svg viewBox=\"" + std::to_string(image.offset().first) + " " +
                 std::to_string(image.offset().second) + " " + std::to_string(image.width()) + " " +
                 std::to_string(image.height()) + "\" tabindex=\"0\" role=\"group\" aria-label=\"Image of " +
                 xmlText(name) + "\">";
        images_.writeUse(html_, image);
        html_ += drawings;
        html_ += "</svg><output class=\"where\" aria-live=\"off\"></output>";
        if (isMain) {
            html_ +=
                "<p class=\"help\">The pointer tells its coordinates. Click the picture: then the wheel or "
                "<kbd>+</kbd> "
                "<kbd>-</kbd> zooms, dragging or the arrow keys move, <kbd>Home</kbd> shows all again; the keys "
                "<kbd>1</kbd> to <kbd>9</kbd> switch layers, <kbd>0</kbd> all. The pictures below work alike.</p>";
        }
        html_ += notes + "</figure>\n";
    }

    /// Draws what fits the budget: the first shapes where it is not all of them.
    void drawSketch(const PageLayer& layer, const qvXform<2>& client, double scale, std::string& drawings,
                    std::string& notes) {
        const std::size_t allowed = (kSketchBudget - std::min(kSketchBudget, sketchesWritten_)) / kLayersThatShare;
        const std::vector<qvShape>& shapes = layer.sketch.shapes();
        std::string drawing = drawn(layer.sketch, layer.system, client, scale);
        if (drawing.size() > allowed) {
            const double part = static_cast<double>(allowed) / static_cast<double>(drawing.size());
            const auto kept = static_cast<std::ptrdiff_t>(0.9 * part * static_cast<double>(shapes.size()));
            drawing = drawn(qvUISketch(std::vector<qvShape>(shapes.begin(), shapes.begin() + kept)), layer.system,
                            client, scale);
            notes += "<p class=\"none\">" + escaped(layer.name) + ": the first " + std::to_string(kept) + " of " +
                     std::to_string(shapes.size()) + " shapes are drawn.</p>";
        }
        drawings += drawing;
        sketchesWritten_ += drawing.size();
    }

    static std::string drawn(const qvUISketch& sketch, qvDisplay::CoordinateSystem system, const qvXform<2>& client,
                             double scale) {
        std::string svg;
        qvXform<2> imageFromClient;
        if (system == qvDisplay::eClientCoordinates) imageFromClient = client.inverse();
        writeSketchSvg(svg, sketch, system, imageFromClient, scale);
        return svg;
    }

    static std::string clientText(const qvXform<2>& client) {
        const qvVector<2> x = client.mapVector(qvVector<2>(1.0, 0.0));
        const qvVector<2> y = client.mapVector(qvVector<2>(0.0, 1.0));
        std::string text;
        for (const double part : {x.x(), y.x(), x.y(), y.y(), client.trans().x(), client.trans().y()}) {
            text += (text.empty() ? "" : " ") + shortest(part);
        }
        return text;
    }

    const Page& page_;
    PageImages images_;
    std::string html_;
    std::size_t textStart_ = 0;
    std::size_t sketchesWritten_ = 0;
    int views_ = 0;
    bool inTexts_ = false;
};

}  // namespace

double pageViewScale(long width, long height) { return viewScale(width, height, kMainWidth); }

std::string htmlPage(const Page& page) { return PageWriter(page).write(); }

}  // namespace qvtool
