// One image after the other: read, search, write JSON, draw, write a page. What fails for one image is said on standard
// error and in its JSON, and the next one gets its turn; only a JSON output that cannot be written ends the run,
// because nothing that follows could be told to anybody.
#include "tools/run.h"

#include "tools/blank_page.h"
#include "tools/blank_run.h"
#include "tools/command_line.h"
#include "tools/finder_run.h"
#include "tools/html_page.h"
#include "tools/image_file.h"
#include "tools/inspection.h"
#include "tools/output_file.h"
#include "tools/overlay.h"
#include "tools/overlay_paths.h"
#include "tools/result_json.h"
#include "tools/search_hints.h"
#include "tools/text.h"
#include "tools/text_file.h"
#include "tools/trace_file.h"

#include <unistd.h>

#include <cstdio>
#include <exception>
#include <optional>

namespace qvtool {
namespace {

// So many unreadable images at the beginning of a list are no accident.
constexpr std::size_t kDoubtfulPaths = 10;

/// Standard error, with a progress line that steps aside for messages.
class Console {
 public:
    explicit Console(std::size_t images)
        : showsProgress_(images > 1 && ::isatty(STDERR_FILENO) == 1), images_(images) {}
    ~Console() { clearProgress(); }
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    void say(const std::string& message) {
        clearProgress();
        std::fprintf(stderr, "qvstreet: %s\n", message.c_str());
    }

    void progress(std::size_t number, const std::string& image) {
        if (!showsProgress_) return;
        clearProgress();
        std::fprintf(stderr, "%zu/%zu %s", number, images_, inQuotes(image).c_str());
        std::fflush(stderr);
        visible_ = true;
    }

 private:
    void clearProgress() {
        if (visible_) std::fputs("\r\x1b[K", stderr);
        visible_ = false;
    }

    bool showsProgress_;
    std::size_t images_;
    bool visible_ = false;
};

class Run {
 public:
    explicit Run(const CommandOptions& options) : options_(options), console_(options.images.size()) {}

    int run() {
        if (!prepare()) return kWrongCall;
        try {
            if (!options_.trace.empty()) startTrace(options_.trace);
            if (!options_.json.empty()) json_.emplace(options_.json);
            for (std::size_t i = 0; i < options_.images.size(); ++i) {
                console_.progress(i + 1, options_.images[i]);
                runImage(i);
            }
            if (json_) json_->commit();
        } catch (const OutputError& error) {
            console_.say(error.what());
            return kOutputFailed;
        }
        if (pictureFailed_) return kOutputFailed;
        if (unreadable_ > 0 && unreadable_ == options_.images.size()) return kNoImageRead;
        return unreadable_ + refused_ > 0 ? kSomeImagesFailed : kRan;
    }

 private:
    /// Says what concerns the whole call. False: an option names a file that cannot serve.
    bool prepare() {
        const bool refines = options_.subcommand == Subcommand::find || options_.subcommand == Subcommand::inspect;
        if (refines && options_.mode == Mode::ridge && options_.polarity == Polarity::any) {
            console_.say(
                "--mode ridge needs --polarity dark or light to measure its crossings; with any it takes the streets "
                "for "
                "light ones");
        }
        if (options_.subcommand != Subcommand::blank) return true;
        try {
            blank_.emplace(loadBlankInputs(options_));
        } catch (const InputError& error) {
            console_.say(error.what());
            return false;
        }
        if (blank_->mask) {
            for (const std::string& note : blank_->mask->notes) {
                console_.say("--mask: " + inQuotes(options_.mask) + ": " + note);
            }
        }
        return true;
    }

    /// What an image's page is made from.
    struct Seen {
        Inspection inspection;      ///< of `inspect`
        qvDiagObject blankRecords;  ///< of `blank`
    };

    void runImage(std::size_t index) {
        ImageReport report;
        report.image = options_.images[index];
        report.subcommand = options_.subcommand;
        report.mode = options_.mode;
        GreyImage image;
        Seen seen;
        const bool wasRead = read(report, image);
        const bool searched = wasRead && searchImage(image, report, seen);
        if (report.traceFailed) {
            pictureFailed_ = true;
            console_.say("--trace: " + inQuotes(traceFileOf(options_.trace)) +
                         " does not hold the whole trace; allowed is a file with room for all of it");
        }
        if (searched) tellHints(image, report);
        if (!options_.seconds) report.seconds.reset();
        if (json_) json_->write(toJson(report, options_.jsonLines));
        if (searched && !options_.overlays.empty()) draw(image, report, options_.overlays[index]);
        // A refused image has a page too: it shows how far the search came.
        if (wasRead && !options_.reports.empty()) writePage(image, report, seen, options_.reports[index]);
    }

    bool read(ImageReport& report, GreyImage& image) {
        try {
            image = readImageFile(report.image);
        } catch (const ImageError& error) {
            ++unreadable_;
            failed(report, error.what());
            doubtList();
            return false;
        }
        anyRead_ = true;
        report.width = image.width;
        report.height = image.height;
        for (const std::string& note : image.notes) console_.say(inQuotes(report.image) + ": " + note);
        return true;
    }

    /// A list of something else than paths fails line by line, and no message about a line says so.
    void doubtList() {
        if (options_.filesFrom.empty() || anyRead_ || unreadable_ != kDoubtfulPaths) return;
        console_.say(
            "--files-from: " + inQuotes(options_.filesFrom) + ": not one of its first " +
            std::to_string(kDoubtfulPaths) +
            " lines names an image that can be read: is this a list of paths? Allowed is a file with the path of "
            "one image in each line");
    }

    /// What concerns the options is said once, with the first image that it is true of.
    void tellHints(const GreyImage& image, const ImageReport& report) {
        const SearchHints& hints = report.hints;
        if (!edgeLimitTold_ && !hints.edgeLimit.empty()) {
            console_.say(hints.edgeLimit);
            edgeLimitTold_ = true;
        }
        const std::string oblong = oblongTold_ ? "" : oblongSentence(options_, image.width, image.height);
        if (!oblong.empty()) {
            console_.say(oblong);
            oblongTold_ = true;
        }
        if (!hints.linesLost.empty()) console_.say(inQuotes(report.image) + ": " + hints.linesLost);
        if (!hints.nothing.empty()) console_.say(inQuotes(report.image) + ": " + reasonForNothing(image, hints));
    }

    std::string reasonForNothing(const GreyImage& image, const SearchHints& hints) const {
        const bool isFind = options_.subcommand == Subcommand::find;
        const std::string nothing = isFind ? "No crossing found. " : "No street found. ";
        // A second search takes its time; in a lot it would be taken for every bare image.
        std::string reason = options_.images.size() == 1 ? diagnosedReason(options_, image) : "";
        if (reason.empty()) reason = hints.nothing;
        return nothing + reason + " qvstreet inspect shows every stage.";
    }

    bool searchImage(const GreyImage& image, ImageReport& report, Seen& seen) {
        try {
            if (blank_) {
                runBlank(options_, *blank_, image, report, options_.reports.empty() ? nullptr : &seen.blankRecords);
            } else if (options_.subcommand == Subcommand::inspect) {
                runInspection(options_, image, report, seen.inspection);
            } else {
                runFinder(options_, image, report);
            }
            return true;
        } catch (const Refusal& error) {
            ++refused_;
            return failed(report, error.what());
        }
    }

    bool failed(ImageReport& report, const std::string& message) {
        report.error = message;
        console_.say(inQuotes(report.image) + ": " + message);
        return false;
    }

    void draw(const GreyImage& image, const ImageReport& report, const std::string& path) {
        try {
            OutputFile file(path);
            const auto sink = [&](const unsigned char* data, std::size_t size) { file.write(data, size); };
            const Overlay overlay = layOutOverlay(report, options_.client);
            if (isSvgPath(path)) {
                writeOverlaySvg(sink, image, overlay);
            } else {
                writeOverlayPng(sink, image, overlay);
            }
            file.commit();
        } catch (const OutputError& error) {
            pictureFailed_ = true;
            console_.say(std::string("--overlay: ") + error.what());
        } catch (const std::exception& error) {
            pictureFailed_ = true;
            console_.say("--overlay: " + inQuotes(path) + ": cannot be drawn: " + error.what());
        }
    }

    void writePage(const GreyImage& image, const ImageReport& report, const Seen& seen, const std::string& path) {
        try {
            const Page page = blank_ ? blankPage(options_, image, report, seen.blankRecords)
                                     : inspectionPage(options_, report, seen.inspection);
            OutputFile file(path);
            file.write(htmlPage(page));
            file.commit();
            std::string summary = page.verdict;
            for (const std::string& remark : page.remarks) summary += " " + remark;
            console_.say(inQuotes(report.image) + ": " + summary + " The page is " + inQuotes(path) + ".");
        } catch (const OutputError& error) {
            pictureFailed_ = true;
            console_.say(std::string("--report: ") + error.what());
        } catch (const std::exception& error) {
            pictureFailed_ = true;
            console_.say("--report: " + inQuotes(path) + ": cannot be made: " + error.what());
        }
    }

    const CommandOptions& options_;
    Console console_;
    std::optional<OutputFile> json_;
    std::optional<BlankInputs> blank_;  ///< for `blank` only
    std::size_t unreadable_ = 0;
    std::size_t refused_ = 0;
    bool pictureFailed_ = false;
    bool anyRead_ = false;
    bool edgeLimitTold_ = false;
    bool oblongTold_ = false;
};

int printText(const std::string& text) {
    try {
        OutputFile output("-");
        output.write(text);
        output.commit();
        return kRan;
    } catch (const OutputError& error) {
        std::fprintf(stderr, "qvstreet: %s\n", error.what());
        return kOutputFailed;
    }
}

}  // namespace

int runCommand(const std::vector<std::string>& arguments) {
    try {
        const ParsedCommandLine parsed = parseCommandLine(arguments);
        if (parsed.run) return Run(parsed.options).run();
        if (!parsed.message.empty()) std::fprintf(stderr, "qvstreet: %s\n", parsed.message.c_str());
        return parsed.output.empty() ? parsed.status : printText(parsed.output);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qvstreet: ended by an internal error: %s\n", error.what());
        return kSomeImagesFailed;
    }
}

}  // namespace qvtool
