#include "tools/overlay_paths.h"

#include "tools/text.h"
#include "tools/trace_file.h"

#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <unordered_map>
#include <utility>

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

fs::path folderOf(const fs::path& path) { return path.has_parent_path() ? path.parent_path() : fs::path("."); }

/// Gives one spelling for all the ways to write a path, as far as it exists. Folders are looked up once each: a long
/// list has few.
class Spelling {
 public:
    std::string of(const std::string& text) {
        const fs::path path(text);
        std::error_code error;
        const bool plain = path.has_filename() && path.filename() != "." && path.filename() != "..";
        if (!plain || fs::is_symlink(fs::symlink_status(path, error))) return canonical(path).string();
        const auto [folder, isNew] = folders_.try_emplace(folderOf(path).string());
        if (isNew) folder->second = canonical(folderOf(path));
        return (folder->second / path.filename()).string();
    }

 private:
    static fs::path canonical(const fs::path& path) {
        std::error_code error;
        const fs::path absolute = fs::absolute(path, error);
        if (error) return path;
        fs::path result = fs::weakly_canonical(absolute, error);
        return error ? path : result;
    }

    std::unordered_map<std::string, fs::path> folders_;
};

/// The files that a call reads, each with what it is to the call.
class Inputs {
 public:
    explicit Inputs(const CommandOptions& options) : options_(options) {}

    /// What keeps an output from being written: it is one of them.
    std::string overwrittenBy(const char* option, const std::string& output) {
        struct stat status {};
        // Devices and pipes can be read and written by the same name without harm.
        if (::stat(output.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
        if (!collected_) collect();
        const auto input = files_.find({status.st_dev, status.st_ino});
        if (input == files_.end()) return {};
        return std::string(option) + ": " + inQuotes(output) + " is " + input->second.what + " " +
               inQuotes(*input->second.path) + "; allowed is any other file";
    }

 private:
    struct Input {
        const char* what;
        const std::string* path;
    };

    void collect() {
        for (const std::string& image : options_.images) add("the image", image);
        if (options_.filesFrom != "-") add("the file of --files-from", options_.filesFrom);
        add("the file of --mask", options_.mask);
        add("the file of --grey-weights", options_.greyWeights);
        collected_ = true;
    }

    void add(const char* what, const std::string& path) {
        struct stat status {};
        if (::stat(path.c_str(), &status) == 0)
            files_.emplace(std::pair(status.st_dev, status.st_ino), Input{what, &path});
    }

    const CommandOptions& options_;
    std::map<std::pair<dev_t, ino_t>, Input> files_;  ///< by device and number
    bool collected_ = false;
};

/// Gives out the paths of one call's outputs, each once.
class Outputs {
 public:
    explicit Outputs(CommandOptions& options) : options_(options), inputs_(options) {}

    /// A single file. @return what is wrong, empty if nothing is.
    std::string addFile(const char* option, const std::string& path) {
        std::string message = inputs_.overwrittenBy(option, path);
        if (!message.empty()) return message;
        const auto [other, isNew] = users_.emplace(spelling_.of(path), option);
        if (isNew) return {};
        return std::string(option) + ": " + inQuotes(path) + " is the file of " + other->second +
               " too; allowed is any other file";
    }

    /// One path per image from the pattern of an option; likewise.
    std::string addImages(const char* option, const std::string& pattern, std::vector<std::string>& paths) {
        if (pattern.empty()) return {};
        const std::vector<std::string>& images = options_.images;
        for (std::size_t i = 0; i < images.size(); ++i) {
            paths.push_back(expandOverlayPath(pattern, images[i], i + 1));
            std::string message = inputs_.overwrittenBy(option, paths.back());
            if (!message.empty()) return message;
        }
        const bool placed = paths.size() < 2 || paths[0] != pattern;
        if (!placed) {
            return std::string(option) + ": " + inQuotes(pattern) + " is one file for " +
                   std::to_string(images.size()) + " images; allowed is a name with {name} or {n} in it";
        }
        for (std::size_t i = 0; i < paths.size(); ++i) {
            const auto [other, isNew] = users_.emplace(spelling_.of(paths[i]), inQuotes(images[i]));
            if (isNew) continue;
            return std::string(option) + ": " + inQuotes(paths[i]) + " would be written for " + other->second +
                   " and for " + inQuotes(images[i]) +
                   "; allowed is a file of its own for each, for example with {n} in its name";
        }
        return {};
    }

 private:
    CommandOptions& options_;
    Inputs inputs_;
    Spelling spelling_;
    std::unordered_map<std::string, std::string> users_;  ///< whose a path is, by its spelling
};

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
    Outputs outputs(options);
    std::string message;
    if (!options.json.empty() && options.json != "-") message = outputs.addFile("--json", options.json);
    if (message.empty() && !options.trace.empty()) message = outputs.addFile("--trace", traceFileOf(options.trace));
    if (message.empty()) message = outputs.addImages("--overlay", overlayPattern, options.overlays);
    if (message.empty()) message = outputs.addImages("--report", reportPattern, options.reports);
    return message;
}

}  // namespace qvtool
