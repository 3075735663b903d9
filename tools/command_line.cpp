// CLI11 tells options from values and prints the help. The values themselves are parsed here: numbers must not depend
// on the locale, and every refusal names the option, the value and what is allowed. Image paths are taken from what
// CLI11 leaves over, because it would split a path like "[a,b].png" in two.
#include "tools/command_line.h"

#include "tools/image_list.h"
#include "tools/option_table.h"
#include "tools/overlay_paths.h"
#include "tools/text.h"
#include "tools/text_file.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <memory>
#include <optional>

namespace qvtool {
namespace {

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
                   "  qvstreet find --mode coarse --width 20 --overlay 'out/{name}.png' lot/*.png > lot.jsonl\n"
                   "  find lot -name '*.png' | qvstreet find --mode coarse --width 20 --files-from - > lot.jsonl\n"
                   "  qvstreet find --mode coarse --width 20 --files-from lot.txt --shard 3/20 --json part-03.jsonl\n";
        case Subcommand::streets:
            return "Examples:\n"
                   "  qvstreet streets --mode coarse --width 6 --overlay streets.png wafer.png\n"
                   "  qvstreet streets --width 28 --range-x 24,32 --range-y 24,32 wafer.png\n"
                   "In edge mode streets takes X and Y of --width, --range-x and --range-y the other way round: X for\n"
                   "the level streets, Y for the upright ones.\n";
        case Subcommand::angles:
            return "Examples:\n"
                   "  qvstreet angles wafer.png\n"
                   "  qvstreet angles --max 4 --client 0.5,0,0,0.5,0,0 wafer.png\n";
        case Subcommand::inspect:
            return "Examples:\n"
                   "  qvstreet inspect --width 28 --report wafer.html wafer.png\n"
                   "  qvstreet inspect --mode coarse --width 20 --report 'pages/{name}.html' lot/*.png\n"
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

/// The declared program with a place for the text of each option.
struct Program {
    CLI::App app{"Finds the streets of wafers, where they cross and where they are blank, in camera images.",
                 "qvstreet"};
    std::vector<std::string> values{std::vector<std::string>(optionTable().size())};

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
        for (std::size_t i = 0; i < values.size(); ++i) {
            const OptionSpec& spec = optionTable()[i];
            if (!offers(subcommand, spec)) continue;
            if (spec.valueName == nullptr) {
                sub->add_flag(spec.name, spec.description)
                    ->disable_flag_override()
                    ->multi_option_policy(CLI::MultiOptionPolicy::Throw);
            } else {
                sub->add_option(spec.name, values[i], spec.description)->type_name(spec.valueName)->type_size(1);
            }
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
    for (const OptionSpec& spec : optionTable()) {
        if (subcommand && name == spec.name && offers(*subcommand, spec)) return &spec;
    }
    return nullptr;
}

std::string valueMissing(const OptionSpec& spec) {
    if (spec.valueName == nullptr) return std::string(spec.name) + ": takes no value; allowed is " + spec.allowed;
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
    for (const std::string& argument : arguments) {
        const OptionSpec* spec = specOf(arguments, argument.substr(0, argument.find('=')));
        if (spec != nullptr && spec->valueName == nullptr && argument != spec->name) return valueMissing(*spec);
    }
    for (const OptionSpec& spec : optionTable()) {
        const CLI::Option* given = chosen[0]->get_option_no_throw(spec.name);
        const std::size_t count = given == nullptr ? 0 : given->count();
        if (count > 1) {
            return std::string(spec.name) + ": was given " + std::to_string(count) + " times; allowed is once";
        }
    }
    const OptionSpec* last = specOf(arguments, arguments.back());
    if (last != nullptr && last->valueName != nullptr) return valueMissing(*last);
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
    for (const OptionSpec& spec : optionTable()) {
        if (offers(subcommand, spec)) names += std::string(spec.name) + ", ";
    }
    return names + "--help";
}

/// How many letters have to be put in, left out or replaced to make one word of the other.
std::size_t lettersBetween(std::string_view a, std::string_view b) {
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j) row[j] = j;
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i + 1;
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
        }
    }
    return row.back();
}

/// The option that is meant by a word that is none: the nearest one of those that differ by two letters at most, so
/// that two exchanged letters count, or the only one that begins so. Empty where there is none.
std::string nearestOption(Subcommand subcommand, const std::string& argument) {
    constexpr std::size_t kMostLetters = 2;
    const std::string_view word = std::string_view(argument).substr(0, argument.find('='));
    std::string nearest;
    std::string longer;
    std::size_t beginning = 0;
    std::size_t least = kMostLetters + 1;
    for (const OptionSpec& spec : optionTable()) {
        if (!offers(subcommand, spec)) continue;
        const std::string_view name = spec.name;
        if (const std::size_t letters = lettersBetween(word, name); letters < least) {
            least = letters;
            nearest = name;
        }
        if (word.size() > 2 && name.substr(0, word.size()) == word) {
            ++beginning;
            longer = name;
        }
    }
    return nearest.empty() && beginning == 1 ? longer : nearest;
}

/// Fills in the default ranges and holds each width against its range.
std::string settleRanges(RawOptions& raw) {
    CommandOptions& options = raw.options;
    options.rangeX = raw.rangeX.value_or(Interval{0.5 * options.widthX, 1.5 * options.widthX});
    options.rangeY = raw.rangeY.value_or(Interval{0.5 * options.widthY, 1.5 * options.widthY});
    const auto check = [&raw](double width, const Interval& range, const char* axis,
                              const char* option) -> std::string {
        if (range.low <= width && width <= range.high) return {};
        const std::string allowed =
            shortest(range.low) + " to " + shortest(range.high) + " for " + axis + ", as " + option + " says";
        if (raw.widthGiven) return notAllowed("--width", shortest(width), allowed);
        return "--width: is not given, and its default " + shortest(width) + " is not allowed; allowed is " + allowed;
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

/// A limit of the measurement says nothing where nothing is measured.
std::string settleMeasure(RawOptions& raw) {
    for (const auto& [option, value] :
         {std::pair("--measure-reach", raw.measureReach), std::pair("--measure-contrast", raw.measureContrast)}) {
        if (!value || raw.options.measure) continue;
        return std::string(option) + ": " + inQuotes(shortest(*value)) + " is not used; allowed is beside --measure";
    }
    raw.options.measureReach = raw.measureReach.value_or(raw.options.measureReach);
    raw.options.measureContrast = raw.measureContrast.value_or(raw.options.measureContrast);
    return {};
}

/// Reads the list, if the images stand in one.
std::string settleImages(RawOptions& raw) {
    CommandOptions& options = raw.options;
    options.jsonLines = !options.filesFrom.empty() || raw.shard || options.images.size() > 1;
    if (options.filesFrom.empty()) {
        return options.images.empty() ? "no image was given; allowed is one or more image files, or --files-from"
                                      : std::string();
    }
    if (!options.images.empty()) {
        return "--files-from: " + inQuotes(options.filesFrom) + " was given beside the image " +
               inQuotes(options.images.front()) + "; allowed is one or the other";
    }
    try {
        options.images = readImageList(options.filesFrom);
    } catch (const InputError& error) {
        return error.what();
    }
    return {};
}

/// Leaves the shard's images and their outputs.
void takeBlock(const Shard& shard, CommandOptions& options) {
    const auto [begin, end] = blockOf(shard, options.images.size());
    for (std::vector<std::string>* list : {&options.images, &options.overlays, &options.reports}) {
        if (list->empty()) continue;
        const auto first = list->begin();
        *list = std::vector<std::string>(std::make_move_iterator(first + static_cast<std::ptrdiff_t>(begin)),
                                         std::make_move_iterator(first + static_cast<std::ptrdiff_t>(end)));
    }
}

}  // namespace

const char* nameOf(Polarity polarity) {
    switch (polarity) {
        case Polarity::any:
            return "any";
        case Polarity::dark:
            return "dark";
        case Polarity::light:
            break;
    }
    return "light";
}

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
        const std::string meant = nearestOption(raw.options.subcommand, *unknown);
        return wrong(inQuotes(*unknown) + " is not an option" +
                     (meant.empty() ? "; allowed are " : ", did you mean " + meant + "? Allowed are ") +
                     optionNames(raw.options.subcommand));
    }
    raw.options.images.insert(raw.options.images.end(), split.images.begin(), split.images.end());
    for (std::size_t i = 0; i < program.values.size(); ++i) {
        const OptionSpec& spec = optionTable()[i];
        const CLI::Option* option = chosen->get_option_no_throw(spec.name);
        if (option == nullptr || option->count() == 0) continue;
        if (!spec.apply(program.values[i], raw)) return wrong(notAllowed(spec.name, program.values[i], spec.allowed));
    }
    if (const std::string message = settleRanges(raw); !message.empty()) return wrong(message);
    if (const std::string message = settleLengths(raw.options); !message.empty()) return wrong(message);
    if (const std::string message = settleMeasure(raw); !message.empty()) return wrong(message);
    if (const std::string message = settleImages(raw); !message.empty()) return wrong(message);
    if (raw.options.subcommand == Subcommand::inspect && raw.report.empty()) {
        return wrong("--report: is required by inspect; allowed is a file name that ends in .html");
    }
    if (const std::string message = settleOutputs(raw.overlay, raw.report, raw.options); !message.empty()) {
        return wrong(message);
    }
    // Only now, so that no job of a list can have the same outputs as another.
    if (raw.shard) takeBlock(*raw.shard, raw.options);

    ParsedCommandLine parsed;
    parsed.run = true;
    parsed.options = std::move(raw.options);
    return parsed;
}

}  // namespace qvtool
