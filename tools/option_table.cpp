#include "tools/option_table.h"

#include "tools/overlay_paths.h"
#include "tools/text.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

namespace qvtool {

const char* const kPositiveWhole = "a whole number from 1 to 2147483647";

namespace {

constexpr std::pair<const char*, Mode> kModes[] = {
    {"edge", Mode::edge}, {"ridge", Mode::ridge}, {"coarse", Mode::coarse}};
constexpr std::pair<const char*, Polarity> kPolarities[] = {
    {"any", Polarity::any}, {"dark", Polarity::dark}, {"light", Polarity::light}};
constexpr std::pair<const char*, Direction> kDirections[] = {{"h", Direction::horizontal}, {"v", Direction::vertical}};

/// One of the words.
template <auto member, const auto& words>
bool applyWord(std::string_view text, RawOptions& raw) {
    for (const auto& [word, meaning] : words) {
        if (text == word) {
            raw.options.*member = meaning;
            return true;
        }
    }
    return false;
}

/// Any text but none.
template <auto member>
bool applyText(std::string_view text, RawOptions& raw) {
    raw.options.*member = text;
    return !text.empty();
}

std::optional<long> positive(std::string_view text) {
    const auto value = parseWhole(text);
    if (!value || *value < 1 || *value > std::numeric_limits<std::int32_t>::max()) return std::nullopt;
    return static_cast<long>(*value);
}

template <auto member>
bool applyPositive(std::string_view text, RawOptions& raw) {
    const auto value = positive(text);
    if (value) raw.options.*member = *value;
    return value.has_value();
}

std::optional<std::vector<double>> numbers(std::string_view text) {
    std::vector<double> values;
    for (const std::string_view part : splitAtCommas(text)) {
        const std::optional<double> value = parseNumber(part);
        if (!value) return std::nullopt;
        values.push_back(*value);
    }
    return values;
}

bool applyWidth(std::string_view text, RawOptions& raw) {
    const auto values = numbers(text);
    if (!values || values->size() > 2) return false;
    raw.widthGiven = true;
    raw.options.widthX = values->front();
    raw.options.widthY = values->back();
    return raw.options.widthX > 0.0 && raw.options.widthY > 0.0;
}

template <auto range>
bool applyRange(std::string_view text, RawOptions& raw) {
    const auto values = numbers(text);
    if (!values || values->size() != 2) return false;
    raw.*range = Interval{values->front(), values->back()};
    return values->front() >= 0.0 && values->front() <= values->back();
}

bool applySharpness(std::string_view text, RawOptions& raw) {
    const auto value = parseNumber(text);
    if (value) raw.options.sharpness = *value;
    return value && *value > 0.0;
}

bool applyMeasure(std::string_view, RawOptions& raw) {
    raw.options.measure = true;
    return true;
}

template <auto member>
bool applyMeasureNumber(std::string_view text, RawOptions& raw) {
    raw.*member = parseNumber(text);
    return raw.*member && *(raw.*member) > 0.0;
}

bool applyClient(std::string_view text, RawOptions& raw) {
    const auto values = numbers(text);
    if (!values || values->size() != 6) return false;
    const std::vector<double>& v = *values;
    std::copy(v.begin(), v.end(), raw.options.client.begin());
    raw.options.clientGiven = true;
    const double determinant = v[0] * v[3] - v[1] * v[2];
    return std::isfinite(determinant) && determinant != 0.0;
}

bool applyOverlay(std::string_view text, RawOptions& raw) {
    raw.overlay = text;
    return isOverlayPath(raw.overlay);
}

bool applyReport(std::string_view text, RawOptions& raw) {
    raw.report = text;
    return isReportPath(raw.report);
}

bool applyShard(std::string_view text, RawOptions& raw) {
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos) return false;
    const auto number = positive(text.substr(0, slash));
    const auto count = positive(text.substr(slash + 1));
    if (!number || !count || *number > *count) return false;
    raw.shard = Shard{static_cast<std::size_t>(*number), static_cast<std::size_t>(*count)};
    return true;
}

bool applyNoSeconds(std::string_view, RawOptions& raw) {
    raw.options.seconds = false;
    return true;
}

constexpr const char* kRange = "LO,HI with 0 <= LO <= HI";

}  // namespace

const std::vector<OptionSpec>& optionTable() {
    using Options = CommandOptions;
    static const std::vector<OptionSpec> table = {
        {Users::blank, "--street-width", "N", "width of the street in pels; required", kPositiveWhole,
         applyPositive<&Options::streetWidth>},
        {Users::blank, "--min-length", "N", "shortest blank stretch worth reporting, in pels; required", kPositiveWhole,
         applyPositive<&Options::minLength>},
        {Users::blank, "--direction", "DIRECTION", "the street runs along the rows: h (default), or the columns: v",
         "h or v", applyWord<&Options::direction, kDirections>},
        {Users::blank, "--mask", "FILE", "image of 0 and 255 in the image's size; 0 is taken as structure",
         "an image file", applyText<&Options::mask>},
        {Users::blank, "--grey-weights", "FILE", "weights of the 256 mean grey levels, each 0 to 1 (default 1)",
         "a file of 256 numbers from 0 to 1, separated by white space", applyText<&Options::greyWeights>},
        {Users::pages, "--report", "FILE",
         "page that shows every stage, .html; {name}, {n} for several images; inspect requires it",
         "a file name that ends in .html", applyReport},
        {Users::finder, "--mode", "MODE",
         "how streets show: edge (default; pairs of edges, at least 2.5 times --sharpness and 1/49\n"
         "of the image's side apart), ridge or coarse (lines)",
         "edge, ridge or coarse", applyWord<&Options::mode, kModes>},
        {Users::finder, "--width", "X[,Y]", "nominal street width, client units (default 10)",
         "X or X,Y, numbers greater than 0", applyWidth},
        {Users::finder, "--range-x", "LO,HI", "allowed widths for X (default 0.5 to 1.5 times X)", kRange,
         applyRange<&RawOptions::rangeX>},
        {Users::finder, "--range-y", "LO,HI", "allowed widths for Y (default 0.5 to 1.5 times Y)", kRange,
         applyRange<&RawOptions::rangeY>},
        {Users::finder, "--sharpness", "S", "width of an edge's transition, client units (default 5)",
         "a number greater than 0", applySharpness},
        {Users::finder, "--polarity", "POLARITY", "street against its surface: any (default), dark or light",
         "any, dark or light", applyWord<&Options::polarity, kPolarities>},
        {Users::all, "--max", "N", "most results (default 100)", kPositiveWhole, applyPositive<&Options::maxResults>},
        {Users::finder, "--client", "A,B,C,D,TX,TY", "client = [A B; C D] * image + (TX, TY) (default 1,0,0,1,0,0)",
         "six numbers A,B,C,D,TX,TY with A*D - B*C finite and not 0", applyClient},
        {Users::measured, "--measure", nullptr, "measure what was found on the whole image, to parts of a pel",
         "the bare option", applyMeasure},
        {Users::measured, "--measure-reach", "X",
         "how far from a crossing its streets are followed, client units (default: the whole image)",
         "a number greater than 0", applyMeasureNumber<&RawOptions::measureReach>},
        {Users::measured, "--measure-contrast", "G", "contrast that an edge must have, grey levels (default 3)",
         "a number greater than 0", applyMeasureNumber<&RawOptions::measureContrast>},
        {Users::all, "--json", "FILE", "where the JSON goes; - is standard output (default -)",
         "a file name, or - for standard output", applyText<&Options::json>},
        {Users::all, "--overlay", "FILE", "picture of the results, .svg or .png; {name}, {n} for several images",
         "a file name that ends in .svg or .png", applyOverlay},
        {Users::finder, "--trace", "PATH", "every candidate that find --mode edge weighs, as text in PATH.trace",
         "a path in an existing folder, without .trace", applyText<&Options::trace>},
        {Users::all, "--files-from", "LIST", "the images are the lines of this file; - is standard input",
         "a file with the path of one image in each line, or - for standard input", applyText<&Options::filesFrom>},
        {Users::all, "--shard", "I/N", "only the I-th of N blocks of the images, in order; one line of JSON each",
         "I/N, whole numbers with 1 <= I <= N <= 2147483647", applyShard},
        {Users::all, "--no-seconds", nullptr, "no times in the JSON, so that runs can be compared", "the bare option",
         applyNoSeconds},
    };
    return table;
}

bool offers(Subcommand subcommand, const OptionSpec& spec) {
    switch (spec.users) {
        case Users::finder:
            return subcommand != Subcommand::blank;
        case Users::measured:
            return subcommand != Subcommand::blank && subcommand != Subcommand::angles;
        case Users::blank:
            return subcommand == Subcommand::blank;
        case Users::pages:
            return subcommand == Subcommand::blank || subcommand == Subcommand::inspect;
        case Users::all:
            break;
    }
    return true;
}

}  // namespace qvtool
