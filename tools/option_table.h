/// @file
/// The options of `qvstreet`: who has them, what they take, and what a value does.
#ifndef QVSTREET_TOOLS_OPTION_TABLE_H
#define QVSTREET_TOOLS_OPTION_TABLE_H

#include "tools/command_line.h"
#include "tools/image_list.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qvtool {

/// Values that can be judged only together.
struct RawOptions {
    CommandOptions options;
    bool widthGiven = false;
    std::optional<Interval> rangeX;
    std::optional<Interval> rangeY;
    std::optional<Shard> shard;
    std::optional<double> measureReach;
    std::optional<double> measureContrast;
    std::string overlay;  ///< patterns, empty where the option is not given
    std::string report;
};

/// The subcommands that have an option.
enum class Users { finder, measured, blank, pages, all };

struct OptionSpec {
    Users users;
    const char* name;       ///< with its dashes
    const char* valueName;  ///< null for a switch, which takes no value
    const char* description;
    const char* allowed;
    bool (*apply)(std::string_view, RawOptions&);  ///< false: the value is not allowed
};

/// All options, in the order in which the help shows them.
const std::vector<OptionSpec>& optionTable();

/// Whether the subcommand has the option.
bool offers(Subcommand subcommand, const OptionSpec& spec);

/// What is allowed where a count or a length of pels is asked for.
extern const char* const kPositiveWhole;

}  // namespace qvtool

#endif
