#include <unistd.h>

#include <cmath>
#include <cstdio>

#include "tests/fuzz/fuzz_input.h"
#include "tools/command_line.h"

// Any arguments are a call that is right in every number, a text to print, or a wrong call with a message. An input is
// the arguments, each ended by a line feed. Standard input is empty.

namespace {

using qvtest::require;
using qvtool::CommandOptions;

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = std::min(text.find('\n', at), text.size());
        // No argument of a process can hold a NUL.
        lines.push_back(text.substr(at, end - at).c_str());
        at = end + 1;
    }
    return lines;
}

/// Whether some argument could make the parser open a file: none is to be read here but standard input.
bool opensAFile(const std::vector<std::string>& arguments) {
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const bool named = arguments[i].compare(0, 12, "--files-from") == 0;
        const bool standardInput =
            arguments[i] == "--files-from=-" ||
            (arguments[i] == "--files-from" && i + 1 < arguments.size() && arguments[i + 1] == "-");
        if (named && !standardInput) return true;
    }
    return false;
}

void checkRange(double width, const qvtool::Interval& range) {
    require(width > 0.0 && std::isfinite(width), "a width above 0");
    require(range.low >= 0.0 && range.low <= width && width <= range.high, "a width within its range");
}

void check(const CommandOptions& options) {
    checkRange(options.widthX, options.rangeX);
    checkRange(options.widthY, options.rangeY);
    require(options.sharpness > 0.0 && std::isfinite(options.sharpness), "a sharpness above 0");
    require(options.maxResults > 0, "most results above 0");
    const double determinant = options.client[0] * options.client[3] - options.client[1] * options.client[2];
    require(determinant != 0.0 && std::isfinite(determinant), "a client transform that can be turned round");
    require(options.measureReach > 0.0, "a reach above 0");
    require(options.measureContrast > 0.0, "a contrast above 0");
    const std::size_t images = options.images.size();
    require(options.overlays.empty() || options.overlays.size() == images, "a picture for each image");
    require(options.reports.empty() || options.reports.size() == images, "a page for each image");
    if (options.subcommand != qvtool::Subcommand::blank) return;
    require(options.streetWidth > 0 && options.minLength > 0, "lengths above 0");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const bool noInput = std::freopen("/dev/null", "r", stdin) != nullptr;
    const std::vector<std::string> arguments = linesOf(std::string(reinterpret_cast<const char*>(data), size));
    require(noInput, "/dev/null can be read");
    if (opensAFile(arguments)) return 0;
    const qvtool::ParsedCommandLine parsed = qvtool::parseCommandLine(arguments);
    if (parsed.run) {
        require(parsed.output.empty() && parsed.message.empty(), "a call that runs has nothing to say");
        check(parsed.options);
    } else if (parsed.status == qvtool::kRan) {
        require(!parsed.output.empty() && parsed.message.empty(), "help is printed");
    } else {
        require(parsed.status == qvtool::kWrongCall, "a wrong call has status 2");
        require(!parsed.message.empty() && parsed.output.empty(), "a wrong call has a message");
    }
    return 0;
}
