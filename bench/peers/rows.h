#ifndef QVSTREET_BENCH_PEERS_ROWS_H
#define QVSTREET_BENCH_PEERS_ROWS_H

#include <map>
#include <string>
#include <vector>

#include "bench/peers/measurement.h"

// What is compared with what, and how far it may lie above it.

namespace qvbench {

/// What a row is about.
enum class RowKind { wholeRun, stage, growth };

/// One ratio: the time of our task over the time of the other one.
struct Row {
    RowKind kind = RowKind::stage;
    /// The name under which the command line knows it.
    std::string name;
    std::string quantity;
    /// Names of our tasks; of several the slowest counts.
    std::vector<std::string> ours;
    /// What ours is divided by, in words, and the name of that task.
    std::string against;
    std::string peer;
    /// The ratio that has to be held, and the one that is aimed at.
    double gate = 0.0;
    double aim = 0.0;
    /// Values that one run of ours and one run of the peer gives, where these differ.
    double oursOutputs = 1.0;
    double peerOutputs = 1.0;
};

/// All rows, in the order of the table.
std::vector<Row> allRows();

/// Every task that this build has, by its name.
std::map<std::string, Task> allTasks();

/// Tasks of this library.
void addOwnTasks(std::vector<Task>& tasks);
/// The textbook's mode filter. Needs nothing but the library's images.
void addTextbookTasks(std::vector<Task>& tasks);
/// Tasks of OpenCV and of FFTW; declared also in a build without them, where nobody calls them.
void addOpenCvTasks(std::vector<Task>& tasks);
void addFftwTasks(std::vector<Task>& tasks);

/// Versions of the two, for the head of the table.
std::string openCvVersion();
std::string fftwVersion();

}  // namespace qvbench

#endif
