#include "tools/stroke_font.h"

#include <string_view>

namespace qvtool {
namespace {

/// Strokes are runs of points, separated by blanks; a point is two digits, column and row. Columns run from 0 at the
/// left, rows upwards: 0 the descenders' end, 2 the baseline, 6 the height of small letters, 8 that of digits.
struct Glyph {
    char letter;
    int width;
    std::string_view strokes;
};

constexpr Glyph kGlyphs[] = {
    {'0', 4, "123243473818070312"},
    {'1', 2, "072822 0242"},
    {'2', 4, "07183847460242"},
    {'3', 4, "07183847463515 354443321203"},
    {'4', 4, "32380444"},
    {'5', 4, "480805354443321203"},
    {'6', 4, "473818070312324344351504"},
    {'7', 4, "084812"},
    {'8', 4, "123243443515040312 1506071838474635"},
    {'9', 4, "031232434738180706153546"},
    {'.', 0, "02"},
    {',', 0, "0201"},
    {':', 0, "03 06"},
    {'-', 3, "0535"},
    {'+', 4, "0545 2327"},
    {'=', 4, "0444 0646"},
    {'(', 1, "18070312"},
    {')', 1, "08171302"},
    {'/', 3, "0238"},
    {'a', 3, "3526160503122233 3632"},
    {'b', 3, "0802 0516263533221203"},
    {'c', 3, "3526160503122233"},
    {'d', 3, "3832 3526160503122233"},
    {'e', 3, "04343526160503122233"},
    {'f', 2, "281712 0626"},
    {'g', 3, "3526160503122233 3631201001"},
    {'h', 3, "0802 0516263532"},
    {'i', 0, "0602 08"},
    {'j', 1, "161100 18"},
    {'k', 3, "0802 360432"},
    {'l', 1, "080312"},
    {'m', 4, "0602 05162522 25364542"},
    {'n', 3, "0602 0516263532"},
    {'o', 3, "160503122233352616"},
    {'p', 3, "0600 0516263533221203"},
    {'q', 3, "3630 3526160503122233"},
    {'r', 2, "0602 051626"},
    {'s', 3, "3616051424332202"},
    {'t', 2, "181322 0626"},
    {'u', 3, "0603122233 3632"},
    {'v', 4, "062246"},
    {'w', 4, "0612243246"},
    {'x', 3, "0632 0236"},
    {'y', 4, "0622 4610"},
    {'z', 3, "06360232"},
};

constexpr int kBaselineRow = 2;
constexpr int kGapWidth = 2;      // columns of a letter that has no strokes
constexpr double kSpacing = 1.8;  // columns between letters
constexpr double kUnit = 0.12;    // a column or row as a part of the font's size: six rows are 0.72

const Glyph* glyphOf(char letter) {
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    for (const Glyph& glyph : kGlyphs) {
        if (glyph.letter == letter) return &glyph;
    }
    return nullptr;
}

void addStrokes(const Glyph& glyph, const Position& origin, double unit, std::vector<Segment>& strokes) {
    bool drawing = false;
    Position last;
    for (std::size_t i = 0; i < glyph.strokes.size();) {
        if (glyph.strokes[i] == ' ') {
            drawing = false;
            ++i;
            continue;
        }
        const Position next{origin.x + unit * (glyph.strokes[i] - '0'),
                            origin.y - unit * (glyph.strokes[i + 1] - '0' - kBaselineRow)};
        i += 2;
        const bool lonely = !drawing && (i >= glyph.strokes.size() || glyph.strokes[i] == ' ');
        if (drawing) strokes.push_back({last, next});
        if (lonely) strokes.push_back({next, next});
        drawing = true;
        last = next;
    }
}

}  // namespace

std::vector<Segment> textStrokes(const std::string& text, const Position& baseline, double size) {
    std::vector<Segment> strokes;
    const double unit = kUnit * size;
    Position origin = baseline;
    for (const char letter : text) {
        const Glyph* glyph = glyphOf(letter);
        if (glyph != nullptr) addStrokes(*glyph, origin, unit, strokes);
        origin.x += unit * ((glyph != nullptr ? glyph->width : kGapWidth) + kSpacing);
    }
    return strokes;
}

double textWidth(const std::string& text, double size) {
    double columns = 0.0;
    for (const char letter : text) {
        const Glyph* glyph = glyphOf(letter);
        columns += (glyph != nullptr ? glyph->width : kGapWidth) + kSpacing;
    }
    return text.empty() ? 0.0 : kUnit * size * (columns - kSpacing);
}

}  // namespace qvtool
