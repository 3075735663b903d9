/// @file
/// The command line of `qvstreet`: what may be asked for, and what is said about a call that is wrong.
#ifndef QVSTREET_TOOLS_COMMAND_LINE_H
#define QVSTREET_TOOLS_COMMAND_LINE_H

#include "tools/report.h"

#include <array>
#include <string>
#include <vector>

namespace qvtool {

/// Exit statuses of the command.
enum ExitStatus : int {
    kRan = 0,               ///< all images were worked on, also if nothing was found
    kSomeImagesFailed = 1,  ///< some images could not be read, or the finder refused them
    kWrongCall = 2,         ///< an option or argument is wrong; nothing was done
    kNoImageRead = 3,       ///< not one image could be read
    kOutputFailed = 4       ///< an output could not be written
};

enum class Polarity { any, dark, light };
const char* nameOf(Polarity polarity);
enum class Direction { horizontal, vertical };

struct Interval {
    double low = 0.0;
    double high = 0.0;
};

/// A call that has passed all tests.
struct CommandOptions {
    Subcommand subcommand = Subcommand::find;
    std::vector<std::string> images;
    Mode mode = Mode::edge;
    double widthX = 10.0;  ///< client units
    double widthY = 10.0;
    Interval rangeX{5.0, 15.0};  ///< allowed widths, client units; holds widthX
    Interval rangeY{5.0, 15.0};
    double sharpness = 5.0;  ///< width of an edge's transition, client units
    Polarity polarity = Polarity::any;
    long maxResults = 100;
    bool clientGiven = false;
    std::array<double, 6> client{1.0, 0.0, 0.0, 1.0, 0.0, 0.0};  ///< A, B, C, D, TX, TY of client from image
    bool measure = false;                                        ///< the results are measured on the whole image
    double measureReach = 1e30;    ///< how far from a crossing its streets are followed, client units
    double measureContrast = 3.0;  ///< contrast that an edge must have, grey levels
    long streetWidth = 0;          ///< `blank` only, pels across the street
    long minLength = 0;            ///< `blank` only, shortest stretch worth reporting, pels along the street
    Direction direction = Direction::horizontal;
    std::string mask;                   ///< `blank` only; empty: no mask
    std::string greyWeights;            ///< `blank` only; empty: all weights 1
    std::string filesFrom;              ///< the list that the images came from, "-" standard input; empty: none
    std::string json = "-";             ///< "-" is standard output; empty: none, as `inspect` has it by itself
    bool jsonLines = false;             ///< each document is one line, also that of a single image
    bool seconds = true;                ///< the JSON tells times
    std::string trace;                  ///< the trace is the file of this name and ".trace"; empty: none
    std::vector<std::string> overlays;  ///< one path per image, or none
    std::vector<std::string> reports;   ///< likewise, of pages
};

/// A parsed call: either options to run, or text to print and a status to end with.
struct ParsedCommandLine {
    bool run = false;
    CommandOptions options;
    int status = kRan;
    std::string output;   ///< for standard output (help, version)
    std::string message;  ///< for standard error, without the program's name
};

/// Reads the list of images too, if the call names one.
/// @param arguments without the program's name.
ParsedCommandLine parseCommandLine(const std::vector<std::string>& arguments);

}  // namespace qvtool

#endif
