#include "tools/overlay_paths.h"

#include "tools/text.h"
#include "tools/trace_file.h"

#include <filesystem>
#include <map>

namespace qvtool {
namespace {

namespace fs = std::filesystem;

bool hasExtension(const std::string& path, const char* extension) {
    std::string end = fs::path(path).extension().string();
    for (char& c : end) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return end == extension;
}

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

/// One spelling for all the ways to write a path, as far as it exists.
std::string oneSpelling(const std::string& path) {
    std::error_code error;
    const fs::path absolute = fs::absolute(path, error);
    if (error) return path;
    const fs::path canonical = fs::weakly_canonical(absolute, error);
    return error ? path : canonical.string();
}

bool isRegularFile(const std::string& path) {
    std::error_code error;
    return fs::is_regular_file(path, error);
}

bool sameFile(const std::string& a, const std::string& b) {
    std::error_code error;
    return fs::equivalent(a, b, error) && !error;
}

/// What keeps an output from being written: it is a file that the call reads.
std::string overwritesInput(const char* option, const std::string& output, const CommandOptions& options) {
    // Devices and pipes can be read and written by the same name without harm.
    if (!isRegularFile(output)) return {};
    const auto clash = [&](const std::string& what, const std::string& input) -> std::string {
        if (input.empty() || !sameFile(output, input)) return {};
        return std::string(option) + ": " + inQuotes(output) + " is " + what + " " + inQuotes(input) +
               "; allowed is any other file";
    };
    for (const std::string& image : options.images) {
        if (const std::string message = clash("the image", image); !message.empty()) return message;
    }
    const std::string message = clash("the file of --mask", options.mask);
    return message.empty() ? clash("the file of --grey-weights", options.greyWeights) : message;
}

/// The paths that were given out so far, and whose they are.
using Users = std::map<std::string, std::string>;

std::string checkDistinct(const char* option, const std::vector<std::string>& paths, const CommandOptions& options,
                          Users& users) {
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const auto [other, isNew] = users.emplace(oneSpelling(paths[i]), inQuotes(options.images[i]));
        if (!isNew) {
            return std::string(option) + ": " + inQuotes(paths[i]) + " would be written for " + other->second +
                   " and for " + inQuotes(options.images[i]) +
                   "; allowed is a file of its own for each, for example with {n} in its name";
        }
    }
    return {};
}

/// One path per image from the pattern of an option.
std::string settlePaths(const char* option, const std::string& pattern, const CommandOptions& options,
                        std::vector<std::string>& paths, Users& users) {
    if (pattern.empty()) return {};
    for (std::size_t i = 0; i < options.images.size(); ++i) {
        paths.push_back(expandOverlayPath(pattern, options.images[i], i + 1));
        const std::string message = overwritesInput(option, paths.back(), options);
        if (!message.empty()) return message;
    }
    const bool placed = paths.size() < 2 || paths[0] != pattern;
    if (!placed) {
        return std::string(option) + ": " + inQuotes(pattern) + " is one file for " +
               std::to_string(options.images.size()) + " images; allowed is a name with {name} or {n} in it";
    }
    return checkDistinct(option, paths, options, users);
}

}  // namespace

bool isOverlayPath(const std::string& path) { return hasExtension(path, ".svg") || hasExtension(path, ".png"); }

bool isReportPath(const std::string& path) { return hasExtension(path, ".html"); }

bool isSvgPath(const std::string& path) { return hasExtension(path, ".svg"); }

std::string expandOverlayPath(const std::string& pattern, const std::string& image, std::size_t number) {
    std::string path = pattern;
    // The number first: an image's name may hold "{n}" itself.
    replaceAll(path, "{n}", std::to_string(number));
    replaceAll(path, "{name}", fs::path(image).stem().string());
    return path;
}

std::string settleOutputs(const std::string& overlayPattern, const std::string& reportPattern,
                          CommandOptions& options) {
    Users users;
    if (!options.json.empty() && options.json != "-") {
        const std::string message = overwritesInput("--json", options.json, options);
        if (!message.empty()) return message;
        users.emplace(oneSpelling(options.json), "--json");
    }
    if (!options.trace.empty()) {
        const std::string file = traceFileOf(options.trace);
        const std::string message = overwritesInput("--trace", file, options);
        if (!message.empty()) return message;
        if (!users.emplace(oneSpelling(file), "--trace").second) {
            return "--trace: " + inQuotes(file) + " is the file of --json too; allowed is any other file";
        }
    }
    const std::string message = settlePaths("--overlay", overlayPattern, options, options.overlays, users);
    if (!message.empty()) return message;
    return settlePaths("--report", reportPattern, options, options.reports, users);
}

}  // namespace qvtool
