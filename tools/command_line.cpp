// CLI11 tells options from values and prints the help. The values themselves are parsed here: numbers must not depend
// on the locale, and every refusal names the option, the value and what is allowed. Image paths are taken from what
// CLI11 leaves over, because it would split a path like "[a,b].png" in two.
#include "tools/command_line.h"

#include "tools/overlay_paths.h"
#include "tools/text.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <limits>
#include <memory>
#include <optional>

namespace qvtool {
namespace {

/// Values that can be judged only together.
struct RawOptions {
    CommandOptions options;
    std::optional<Interval> rangeX;
    std::optional<Interval> rangeY;
    std::string overlay;
    std::string report;
};

/// The subcommands that have an option.
enum class Users { finder, blank, pages, all };

struct OptionSpec {
    Users users;
    const char* name;
    const char* valueName;
    const char* description;
    const char* allowed;
    bool (*apply)(std::string_view, RawOptions&);  ///< false: the value is not allowed
};

template <typename T, std::size_t N>
bool pickWord(std::string_view text, const std::pair<const char*, T> (&words)[N], T& value) {
    for (const auto& [word, meaning] : words) {
        if (text == word) {
            value = meaning;
            return true;
        }
    }
    return false;
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

bool applyMode(std::string_view text, RawOptions& raw) {
    static constexpr std::pair<const char*, Mode> kWords[] = {
        {"edge", Mode::edge}, {"ridge", Mode::ridge}, {"coarse", Mode::coarse}};
    return pickWord(text, kWords, raw.options.mode);
}

bool applyPolarity(std::string_view text, RawOptions& raw) {
    static constexpr std::pair<const char*, Polarity> kWords[] = {
        {"any", Polarity::any}, {"dark", Polarity::dark}, {"light", Polarity::light}};
    return pickWord(text, kWords, raw.options.polarity);
}

bool applyWidth(std::string_view text, RawOptions& raw) {
    const auto values = numbers(text);
    if (!values || values->size() > 2) return false;
    raw.options.widthX = values->front();
    raw.options.widthY = values->back();
    return raw.options.widthX > 0.0 && raw.options.widthY > 0.0;
}

bool applyRange(std::string_view text, std::optional<Interval>& range) {
    const auto values = numbers(text);
    if (!values || values->size() != 2) return false;
    range = Interval{values->front(), values->back()};
    return range->low >= 0.0 && range->low <= range->high;
}

bool applyRangeX(std::string_view text, RawOptions& raw) { return applyRange(text, raw.rangeX); }
bool applyRangeY(std::string_view text, RawOptions& raw) { return applyRange(text, raw.rangeY); }

bool applySharpness(std::string_view text, RawOptions& raw) {
    const auto value = parseNumber(text);
    if (value) raw.options.sharpness = *value;
    return value && *value > 0.0;
}

bool applyPositive(std::string_view text, long& number) {
    const auto value = parseWhole(text);
    if (!value || *value < 1 || *value > std::numeric_limits<std::int32_t>::max()) return false;
    number = static_cast<long>(*value);
    return true;
}

bool applyMax(std::string_view text, RawOptions& raw) { return applyPositive(text, raw.options.maxResults); }
bool applyStreetWidth(std::string_view text, RawOptions& raw) { return applyPositive(text, raw.options.streetWidth); }
bool applyMinLength(std::string_view text, RawOptions& raw) { return applyPositive(text, raw.options.minLength); }

bool applyDirection(std::string_view text, RawOptions& raw) {
    static constexpr std::pair<const char*, Direction> kWords[] = {{"h", Direction::horizontal},
                                                                   {"v", Direction::vertical}};
    return pickWord(text, kWords, raw.options.direction);
}

bool applyMask(std::string_view text, RawOptions& raw) {
    raw.options.mask = text;
    return !text.empty();
}

bool applyGreyWeights(std::string_view text, RawOptions& raw) {
    raw.options.greyWeights = text;
    return !text.empty();
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

bool applyJson(std::string_view text, RawOptions& raw) {
    raw.options.json = text;
    return !text.empty();
}

bool applyOverlay(std::string_view text, RawOptions& raw) {
    raw.overlay = text;
    return isOverlayPath(raw.overlay);
}

bool applyReport(std::string_view text, RawOptions& raw) {
    raw.report = text;
    return isReportPath(raw.report);
}

bool applyTrace(std::string_view text, RawOptions& raw) {
    raw.options.trace = text;
    return !text.empty();
}

constexpr const char* kPositiveWhole = "a whole number from 1 to 2147483647";

constexpr OptionSpec kOptions[] = {
    {Users::blank, "--street-width", "N", "width of the street in pels; required", kPositiveWhole, applyStreetWidth},
    {Users::blank, "--min-length", "N", "shortest blank stretch worth reporting, in pels; required", kPositiveWhole,
     applyMinLength},
    {Users::blank, "--direction", "DIRECTION", "the street runs along the rows: h (default), or the columns: v",
     "h or v", applyDirection},
    {Users::blank, "--mask", "FILE", "image of 0 and 255 in the image's size; 0 is taken as structure", "an image file",
     applyMask},
    {Users::blank, "--grey-weights", "FILE", "weights of the 256 mean grey levels, each 0 to 1 (default 1)",
     "a file of 256 numbers from 0 to 1, separated by white space", applyGreyWeights},
    {Users::pages, "--report", "FILE",
     "page that shows every stage, .html; {name}, {n} for several images; inspect requires it",
     "a file name that ends in .html", applyReport},
    {Users::finder, "--mode", "MODE", "how streets show: edge (default; pairs of edges), ridge or coarse (lines)",
     "edge, ridge or coarse", applyMode},
    {Users::finder, "--width", "X[,Y]", "nominal street width, client units (default 10)",
     "X or X,Y, numbers greater than 0", applyWidth},
    {Users::finder, "--range-x", "LO,HI", "allowed widths for X (default 0.5 to 1.5 times X)",
     "LO,HI with 0 <= LO <= HI", applyRangeX},
    {Users::finder, "--range-y", "LO,HI", "allowed widths for Y (default 0.5 to 1.5 times Y)",
     "LO,HI with 0 <= LO <= HI", applyRangeY},
    {Users::finder, "--sharpness", "S", "width of an edge's transition, client units (default 5)",
     "a number greater than 0", applySharpness},
    {Users::finder, "--polarity", "POLARITY", "street against its surface: any (default), dark or light",
     "any, dark or light", applyPolarity},
    {Users::all, "--max", "N", "most results (default 100)", kPositiveWhole, applyMax},
    {Users::finder, "--client", "A,B,C,D,TX,TY", "client = [A B; C D] * image + (TX, TY) (default 1,0,0,1,0,0)",
     "six numbers A,B,C,D,TX,TY with A*D - B*C finite and not 0", applyClient},
    {Users::all, "--json", "FILE", "where the JSON goes; - is standard output (default -)",
     "a file name, or - for standard output", applyJson},
    {Users::all, "--overlay", "FILE", "picture of the results, .svg or .png; {name}, {n} for several images",
     "a file name that ends in .svg or .png", applyOverlay},
    {Users::finder, "--trace", "PATH", "every candidate that find --mode edge weighs, as text in PATH.trace",
     "a path in an existing folder, without .trace", applyTrace},
};

constexpr const char* kSeeHelp = " (see qvstreet --help)";

constexpr const char* kImageHelp =
    "Images are PNG, TIFF, BMP, PGM/PPM and JPEG files, told by their content. Colour is\n"
    "turned to grey (BT.601), 16 bits are scaled to 8, alpha is dropped; standard error says\n"
    "so. Orientation tags are ignored. A file that begins with - goes after --.\n";

constexpr const char* kStatusHelp =
    "Exit status: 0 ran, also if nothing was found; 1 some images failed; 2 wrong call;\n"
    "3 no image could be read; 4 an output could not be written.\n";

const char* examplesOf(Subcommand subcommand) {
    switch (subcommand) {
        case Subcommand::find:
            return "Examples:\n"
                   "  qvstreet find --mode coarse --width 20 wafer.png\n"
                   "  qvstreet find --mode ridge --width 18,30 --polarity dark --max 9 \\\n"
                   "                --json found.json --overlay found.svg wafer.tif\n"
                   "  qvstreet find --mode coarse --overlay 'out/{name}.png' lot/*.png > lot.jsonl\n";
        case Subcommand::streets:
            return "Examples:\n"
                   "  qvstreet streets --width 20 --range-x 15,25 --range-y 15,25 wafer.png\n"
                   "  qvstreet streets --mode coarse --width 6 --overlay streets.png wafer.png\n";
        case Subcommand::angles:
            return "Examples:\n"
                   "  qvstreet angles wafer.png\n"
                   "  qvstreet angles --max 4 --client 0.5,0,0,0.5,0,0 wafer.png\n";
        case Subcommand::inspect:
            return "Examples:\n"
                   "  qvstreet inspect --width 20 --report wafer.html wafer.png\n"
                   "  qvstreet inspect --mode coarse --report 'pages/{name}.html' lot/*.png\n"
                   "It takes the options of find, and writes JSON only where --json asks for it.\n";
        case Subcommand::blank:
            break;
    }
    return "Examples:\n"
           "  qvstreet blank --street-width 64 --min-length 100 --overlay blank.png street.png\n"
           "  qvstreet blank --street-width 64 --min-length 100 --direction v --max 3 \\\n"
           "                 --grey-weights dark_only.txt street.png\n";
}

class HelpLayout : public CLI::Formatter {
 public:
    HelpLayout() { column_width(26); }
    std::string make_usage(const CLI::App* app, std::string) const override {
        if (app->get_parent() == nullptr) {
            return "Usage: qvstreet SUBCOMMAND [OPTIONS] IMAGE...\n"
                   "       qvstreet SUBCOMMAND --help\n";
        }
        return "Usage: qvstreet " + app->get_name() + " [OPTIONS] IMAGE...\n";
    }
};

constexpr std::pair<Subcommand, const char*> kSubcommands[] = {
    {Subcommand::find, "Find street crossings"},
    {Subcommand::streets, "Find single streets"},
    {Subcommand::angles, "Find the dominant angles, with their scores"},
    {Subcommand::inspect, "Find crossings and streets, and show every stage on a page"},
    {Subcommand::blank, "Find the longest blank stretches in images of one street"},
};

bool offers(Subcommand subcommand, const OptionSpec& spec) {
    switch (spec.users) {
        case Users::finder:
            return subcommand != Subcommand::blank;
        case Users::blank:
            return subcommand == Subcommand::blank;
        case Users::pages:
            return subcommand == Subcommand::blank || subcommand == Subcommand::inspect;
        case Users::all:
            break;
    }
    return true;
}

/// The declared program with a place for the text of each option.
struct Program {
    CLI::App app{"Finds the streets of wafers, where they cross and where they are blank, in camera images.",
                 "qvstreet"};
    std::vector<std::string> values{std::vector<std::string>(std::size(kOptions))};

    Program() {
        app.formatter(std::make_shared<HelpLayout>());
        app.set_version_flag("--version", "qvstreet " QVSTREET_VERSION, "Print the version and exit");
        app.set_help_flag("-h,--help", "Print this help and exit");
        app.require_subcommand(1);
        app.footer(std::string("\n") + examplesOf(Subcommand::find) + "\n" + kStatusHelp);
        for (const auto& [subcommand, description] : kSubcommands) declare(subcommand, description);
    }

    void declare(Subcommand subcommand, const char* description) {
        CLI::App* sub = app.add_subcommand(nameOf(subcommand), description);
        sub->allow_extras();
        for (std::size_t i = 0; i < std::size(kOptions); ++i) {
            if (!offers(subcommand, kOptions[i])) continue;
            sub->add_option(kOptions[i].name, values[i], kOptions[i].description)
                ->type_name(kOptions[i].valueName)
                ->type_size(1);
        }
        sub->footer(std::string("\n") + kImageHelp + "\n" + examplesOf(subcommand) + "\n" + kStatusHelp);
    }
};

ParsedCommandLine wrong(const std::string& message) {
    ParsedCommandLine parsed;
    parsed.status = kWrongCall;
    parsed.message = message;
    return parsed;
}

ParsedCommandLine text(const std::string& output) {
    ParsedCommandLine parsed;
    parsed.output = output;
    return parsed;
}

std::string notAllowed(const std::string& option, const std::string& value, const std::string& allowed) {
    return option + ": " + inQuotes(value) + " is not allowed; allowed is " + allowed;
}

std::optional<Subcommand> subcommandNamed(const std::string& name) {
    for (const auto& [subcommand, description] : kSubcommands) {
        if (name == nameOf(subcommand)) return subcommand;
    }
    return std::nullopt;
}

/// The option of that name that the call's subcommand has.
const OptionSpec* specOf(const std::vector<std::string>& arguments, std::string_view name) {
    const auto subcommand = arguments.empty() ? std::nullopt : subcommandNamed(arguments[0]);
    for (const OptionSpec& spec : kOptions) {
        if (subcommand && name == spec.name && offers(*subcommand, spec)) return &spec;
    }
    return nullptr;
}

std::string valueMissing(const OptionSpec& spec) {
    return std::string(spec.name) + ": its value is missing; allowed is " + spec.allowed;
}

/// What CLI11 stumbled over, in our words.
std::string describeParseError(const Program& program, const std::vector<std::string>& arguments,
                               const CLI::ParseError& error) {
    const std::vector<CLI::App*> chosen = program.app.get_subcommands();
    const std::string allowed = "; allowed are find, streets, angles, inspect and blank";
    if (arguments.empty()) return "no subcommand was given" + allowed;
    const bool option = arguments[0].size() > 1 && arguments[0][0] == '-';
    if (chosen.empty() || option) {
        return inQuotes(arguments[0]) + (option ? " is not an option here" : " is not a subcommand") + allowed +
               ", --help and --version";
    }
    for (const OptionSpec& spec : kOptions) {
        const CLI::Option* given = chosen[0]->get_option_no_throw(spec.name);
        const std::size_t count = given == nullptr ? 0 : given->count();
        if (count > 1) {
            return std::string(spec.name) + ": was given " + std::to_string(count) + " times; allowed is once";
        }
    }
    if (const OptionSpec* spec = specOf(arguments, arguments.back())) return valueMissing(*spec);
    return "the call cannot be understood: " + inQuotes(error.what());
}

/// The images among what CLI11 left over, or the first unknown option.
std::optional<std::string> takeImages(const std::vector<std::string>& rest, std::vector<std::string>& images) {
    for (const std::string& argument : rest) {
        if (argument.size() > 1 && argument[0] == '-') return argument;
        images.push_back(argument);
    }
    return std::nullopt;
}

/// The arguments for CLI11, and the images behind "--", which CLI11 would give to the main program.
struct SplitArguments {
    std::vector<std::string> forParser;
    std::vector<std::string> images;
    const OptionSpec* emptyValue =
        nullptr;  ///< the first option written "--name=", whose value CLI11 would seek elsewhere
};

SplitArguments splitArguments(const std::vector<std::string>& arguments) {
    SplitArguments split;
    bool optionsEnded = false;
    for (const std::string& argument : arguments) {
        if (optionsEnded) {
            split.images.push_back(argument);
        } else if (argument == "--") {
            optionsEnded = true;
        } else {
            // CLI11 takes "++" as a mark of its own; as a path it means the same with its folder.
            split.forParser.push_back(argument == "++" ? "./++" : argument);
            const bool empty = argument.size() > 1 && argument.back() == '=';
            if (empty && split.emptyValue == nullptr)
                split.emptyValue = specOf(arguments, argument.substr(0, argument.size() - 1));
        }
    }
    return split;
}

std::string optionNames(Subcommand subcommand) {
    std::string names;
    for (const OptionSpec& spec : kOptions) {
        if (offers(subcommand, spec)) names += std::string(spec.name) + ", ";
    }
    return names + "--help";
}

/// Fills in the default ranges and holds each width against its range.
std::string settleRanges(RawOptions& raw) {
    CommandOptions& options = raw.options;
    options.rangeX = raw.rangeX.value_or(Interval{0.5 * options.widthX, 1.5 * options.widthX});
    options.rangeY = raw.rangeY.value_or(Interval{0.5 * options.widthY, 1.5 * options.widthY});
    const auto check = [](double width, const Interval& range, const char* axis, const char* option) -> std::string {
        if (range.low <= width && width <= range.high) return {};
        return notAllowed(
            "--width", shortest(width),
            shortest(range.low) + " to " + shortest(range.high) + " for " + axis + ", as " + option + " says");
    };
    const std::string message = check(options.widthX, options.rangeX, "X", "--range-x");
    return message.empty() ? check(options.widthY, options.rangeY, "Y", "--range-y") : message;
}

/// `blank` has no length that suits every image.
std::string settleLengths(const CommandOptions& options) {
    if (options.subcommand != Subcommand::blank) return {};
    const auto required = [](const char* option) {
        return std::string(option) + ": is required by blank; allowed is " + kPositiveWhole;
    };
    if (options.streetWidth == 0) return required("--street-width");
    return options.minLength == 0 ? required("--min-length") : std::string();
}

}  // namespace

ParsedCommandLine parseCommandLine(const std::vector<std::string>& arguments) {
    const SplitArguments split = splitArguments(arguments);
    if (split.emptyValue != nullptr) return wrong(valueMissing(*split.emptyValue) + kSeeHelp);
    Program program;
    try {
        // CLI11 takes a vector from its back.
        program.app.parse(std::vector<std::string>(split.forParser.rbegin(), split.forParser.rend()));
    } catch (const CLI::CallForHelp&) {
        return text(program.app.help());
    } catch (const CLI::CallForVersion& version) {
        return text(std::string(version.what()) + "\n");
    } catch (const CLI::ParseError& error) {
        return wrong(describeParseError(program, split.forParser, error) + kSeeHelp);
    }

    const CLI::App* chosen = program.app.get_subcommands().front();
    RawOptions raw;
    raw.options.subcommand = subcommandNamed(chosen->get_name()).value_or(Subcommand::find);
    if (raw.options.subcommand == Subcommand::inspect) raw.options.json.clear();
    if (const auto unknown = takeImages(chosen->remaining(), raw.options.images)) {
        return wrong(inQuotes(*unknown) + " is not an option; allowed are " + optionNames(raw.options.subcommand));
    }
    raw.options.images.insert(raw.options.images.end(), split.images.begin(), split.images.end());
    for (std::size_t i = 0; i < std::size(kOptions); ++i) {
        const CLI::Option* option = chosen->get_option_no_throw(kOptions[i].name);
        if (option == nullptr || option->count() == 0) continue;
        if (!kOptions[i].apply(program.values[i], raw)) {
            return wrong(notAllowed(kOptions[i].name, program.values[i], kOptions[i].allowed));
        }
    }
    if (const std::string message = settleRanges(raw); !message.empty()) return wrong(message);
    if (const std::string message = settleLengths(raw.options); !message.empty()) return wrong(message);
    if (raw.options.images.empty()) return wrong("no image was given; allowed is one or more image files");
    if (raw.options.subcommand == Subcommand::inspect && raw.report.empty()) {
        return wrong("--report: is required by inspect; allowed is a file name that ends in .html");
    }
    if (const std::string message = settleOutputs(raw.overlay, raw.report, raw.options); !message.empty()) {
        return wrong(message);
    }

    ParsedCommandLine parsed;
    parsed.run = true;
    parsed.options = std::move(raw.options);
    return parsed;
}

}  // namespace qvtool
