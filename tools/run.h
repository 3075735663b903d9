/// @file
/// The whole command but for the process around it.
#ifndef QVSTREET_TOOLS_RUN_H
#define QVSTREET_TOOLS_RUN_H

#include <string>
#include <vector>

namespace qvtool {

/// Does what the arguments ask (without the program's name), writes to standard output and standard error.
/// @return the exit status, see ExitStatus. Throws nothing.
int runCommand(const std::vector<std::string>& arguments);

}  // namespace qvtool

#endif
