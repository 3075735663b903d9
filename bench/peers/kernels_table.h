#ifndef QVSTREET_BENCH_PEERS_KERNELS_TABLE_H
#define QVSTREET_BENCH_PEERS_KERNELS_TABLE_H

#include <iosfwd>

namespace qvbench {

/// Measures `setImage` + `find` in coarse mode with every version of the kernels that runs here, and prints the table as
/// it stands in the pages of the project. The version in use afterwards is the one before.
void printKernelsTable(std::ostream& out, int rounds);

}  // namespace qvbench

#endif
