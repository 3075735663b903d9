#include "tools/report.h"

namespace qvtool {

const char* nameOf(Subcommand subcommand) {
    switch (subcommand) {
        case Subcommand::find:
            return "find";
        case Subcommand::streets:
            return "streets";
        case Subcommand::angles:
            return "angles";
        case Subcommand::inspect:
            return "inspect";
        case Subcommand::blank:
            break;
    }
    return "blank";
}

const char* nameOf(Mode mode) {
    switch (mode) {
        case Mode::edge:
            return "edge";
        case Mode::ridge:
            return "ridge";
        case Mode::coarse:
            break;
    }
    return "coarse";
}

}  // namespace qvtool
