// Damaged image files: every truncation of every seed, bit flips, and sizes that no file of that length can have. A reader
// answers with an image within the limits or with a refusal that gives a reason, under 1 GiB of memory and 10 seconds of the
// processor.
//
// The files go through the command's own file reader, in child processes that take a batch of files each, because a
// process for each file would take hours; a sample goes through the command itself, whose exit status has to be a
// documented one.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <random>
#include <string>
#include <vector>

#include "tests/soak/declared_size.h"
#include "tests/soak/sanitized.h"
#include "tests/soak/soak_main.h"
#include "tools/image_file.h"

namespace {

namespace fs = std::filesystem;
using qvtest::FileBytes;
using qvtest::SoakOptions;
using qvtest::soakRequire;

constexpr rlim_t kMostMemory = rlim_t{1} << 30;
constexpr unsigned kMostSeconds = 10;    // of the processor, so that a busy machine fails nothing
constexpr unsigned kMostPatience = 200;  // seconds on the clock, for a reader that sleeps
constexpr std::size_t kMostSeedBytes = 4096;
constexpr std::size_t kLeastSeeds = 5;  // a format
constexpr long kFlips = 10000;          // a seed
constexpr long kShortFlips = 100;
constexpr long kBatch = 2000;

// The first is beyond the limit of the readers; the second is the largest square within it: some formats say in a few
// bytes that all of it is one grey, which is an image.
constexpr std::uint32_t kDeclaredSides[] = {100000, 23170};

struct Seed {
    std::string format;
    std::string name;
    FileBytes bytes;
    bool isFirst = false;  ///< of its format
    long firstCase = 0;    ///< then come its truncations, its flips and its declared sizes
    long cases() const {
        return static_cast<long>(bytes.size()) + kFlips + static_cast<long>(std::size(kDeclaredSides));
    }
    /// The one that declares a size beyond the limits of the readers.
    long tooLargeCase() const { return firstCase + static_cast<long>(bytes.size()) + kFlips; }
};

/// What the children tell, in memory that they share with their parent.
struct Account {
    long current = -1;  ///< the case at work
    long files = 0;
    long images = 0;
    long refusals = 0;
    double slowest = 0.0;  ///< seconds
    char failure[400] = {};
};

/// Not where a sanitizer wants more addresses than that for itself.
void limitMemory() {
    if (qvtest::kIsSanitized) return;
    const rlimit limit{kMostMemory, kMostMemory};
    ::setrlimit(RLIMIT_AS, &limit);
}

/// From now on; 0 seconds for no limit any more. The limits outlive the call of another program.
void limitTime(unsigned seconds, unsigned patience) {
    const itimerval limit{{0, 0}, {static_cast<time_t>(seconds), 0}};
    ::setitimer(ITIMER_PROF, &limit, nullptr);
    ::alarm(patience);
}

std::vector<Seed> readSeeds() {
    std::vector<Seed> seeds;
    for (const char* format : {"png", "tiff", "jpeg", "bmp", "pnm"}) {
        std::vector<fs::path> paths;
        for (const fs::directory_entry& entry :
             fs::directory_iterator(std::string(QVSTREET_FUZZ_CORPUS "/") + format)) {
            if (entry.path().filename().string().compare(0, 5, "seed_") == 0) paths.push_back(entry.path());
        }
        soakRequire(paths.size() >= kLeastSeeds, std::string("fewer than five seeds of ") + format);
        std::sort(paths.begin(), paths.end());
        for (const fs::path& path : paths) {
            std::ifstream file(path, std::ios::binary);
            Seed seed{
                format, path.filename().string(), {std::istreambuf_iterator<char>(file), {}}, path == paths.front()};
            soakRequire(!seed.bytes.empty() && seed.bytes.size() <= kMostSeedBytes, seed.name + " has a wrong size");
            seed.firstCase = seeds.empty() ? 0 : seeds.back().firstCase + seeds.back().cases();
            seeds.push_back(seed);
        }
    }
    return seeds;
}

bool isInShortForm(const Seed& seed, long number) {
    const long flip = number - seed.firstCase - static_cast<long>(seed.bytes.size());
    // The largest size takes half a gigabyte where it is believed.
    if (number == seed.firstCase + seed.cases() - 1) return seed.isFirst;
    return flip < 0 || flip >= kFlips || flip % (kFlips / kShortFlips) == 0;
}

/// The damaged file of that number, and what was done to it.
FileBytes damaged(const Seed& seed, long number, std::uint64_t randomSeed, std::string* what = nullptr) {
    const auto local = static_cast<std::size_t>(number - seed.firstCase);
    FileBytes file = seed.bytes;
    std::string damage;
    if (local < seed.bytes.size()) {
        file.resize(local);
        damage = "cut to " + std::to_string(local) + " bytes";
    } else if (local < seed.bytes.size() + static_cast<std::size_t>(kFlips)) {
        std::mt19937_64 random(randomSeed * 1000003U + static_cast<std::uint64_t>(number));
        damage = "bits flipped:";
        for (std::uint64_t flips = 1 + random() % 3; flips > 0; --flips) {
            const std::size_t bit = random() % (8 * file.size());
            file[bit / 8] ^= static_cast<unsigned char>(1U << bit % 8);
            damage += " " + std::to_string(bit);
        }
    } else {
        const std::uint32_t side = kDeclaredSides[local - seed.bytes.size() - static_cast<std::size_t>(kFlips)];
        file = qvtest::declaring(seed.bytes, seed.format, side);
        damage = "declaring " + std::to_string(side) + " squared";
    }
    if (what != nullptr) *what = seed.format + "/" + seed.name + ", " + damage;
    return file;
}

/// Puts the file where the reader finds it under a name.
void replaceFile(int descriptor, const FileBytes& file) {
    const bool done = ::ftruncate(descriptor, 0) == 0 &&
                      ::pwrite(descriptor, file.data(), file.size(), 0) == static_cast<ssize_t>(file.size()) &&
                      ::lseek(descriptor, 0, SEEK_SET) == 0;
    soakRequire(done, "no memory for a file");
}

void readOne(const std::string& path, bool isTooLarge, Account& account) {
    qvtool::GreyImage image;
    try {
        image = qvtool::readImageFile(path);
    } catch (const qvtool::ImageError& error) {
        soakRequire(std::strlen(error.what()) > 0, "a refusal without a reason");
        ++account.refusals;
        return;
    }
    soakRequire(!isTooLarge, "not refused");
    // It throws what the readers throw, so it stands apart: an image beyond the limits is no refusal.
    qvtool::checkSize(static_cast<std::uint64_t>(image.width), static_cast<std::uint64_t>(image.height));
    soakRequire(image.pels.size() == static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height),
                "an image without all its pels");
    ++account.images;
}

/// The child: ends with 0, or with 1 and a failure in the account, or by a signal.
int readBatch(const Seed& seed, long first, long last, const SoakOptions& options, Account& account) {
    limitMemory();
    const int descriptor = ::memfd_create("image", MFD_CLOEXEC);
    const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
    try {
        for (long number = first; number < last; ++number) {
            if (!options.wants(number) || (options.isShort && !isInShortForm(seed, number))) continue;
            account.current = number;
            replaceFile(descriptor, damaged(seed, number, options.seed));
            const auto start = std::chrono::steady_clock::now();
            limitTime(kMostSeconds, kMostPatience);
            readOne(path, number == seed.tooLargeCase(), account);
            limitTime(0, 0);
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
            account.slowest = std::max(account.slowest, taken.count());
            ++account.files;
        }
        return 0;
    } catch (const std::exception& error) {
        std::strncpy(account.failure, error.what(), sizeof account.failure - 1);
    }
    return 1;
}

std::string endOf(int status) {
    if (WIFSIGNALED(status)) return std::string("ended by the signal ") + ::strsignal(WTERMSIG(status));
    return "ended with status " + std::to_string(WEXITSTATUS(status));
}

/// Gives the most resident memory, in KiB.
long readAll(const std::vector<Seed>& seeds, const SoakOptions& options, Account& account) {
    long mostMemory = 0;
    for (const Seed& seed : seeds) {
        for (long first = seed.firstCase; first < seed.firstCase + seed.cases(); first += kBatch) {
            const long last = std::min(first + kBatch, seed.firstCase + seed.cases());
            const pid_t child = ::fork();
            soakRequire(child >= 0, "no process");
            if (child == 0) ::_exit(readBatch(seed, first, last, options, account));
            int status = 0;
            rusage usage{};
            ::wait4(child, &status, 0, &usage);
            mostMemory = std::max(mostMemory, usage.ru_maxrss);
            if (status == 0) continue;
            std::string what;
            damaged(seed, account.current, options.seed, &what);
            throw qvtest::SoakFailure("case " + std::to_string(account.current) + " (" + what + "): " + endOf(status) +
                                      " " + account.failure);
        }
    }
    return mostMemory;
}

/// Runs `qvstreet find` on the file: 0, or 3 with a message that names the file.
void callCommand(const FileBytes& file, const std::string& what) {
    const int image = ::memfd_create("image", 0);
    const int messages = ::memfd_create("messages", 0);
    replaceFile(image, file);
    const std::string path = "/proc/self/fd/" + std::to_string(image);
    const pid_t child = ::fork();
    soakRequire(child >= 0, "no process");
    if (child == 0) {
        limitMemory();
        limitTime(kMostSeconds, kMostPatience);
        ::dup2(messages, STDERR_FILENO);
        ::execl(QVSTREET_COMMAND, "qvstreet", "find", "--mode", "coarse", "--width", "6", "--json", "/dev/null",
                path.c_str(), static_cast<char*>(nullptr));
        ::_exit(120);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    std::string text(static_cast<std::size_t>(::lseek(messages, 0, SEEK_END)), ' ');
    const ssize_t got = ::pread(messages, text.data(), text.size(), 0);
    ::close(image);
    ::close(messages);
    const bool ran = WIFEXITED(status) && (WEXITSTATUS(status) == 0 || WEXITSTATUS(status) == 1);
    const bool refused =
        WIFEXITED(status) && WEXITSTATUS(status) == 3 && got > 0 && text.find(path) != std::string::npos;
    soakRequire(ran || refused, "the command on " + what + " " + endOf(status) + ": " + text);
}

long sampleCommand(const std::vector<Seed>& seeds, const SoakOptions& options) {
    const long calls = options.isShort ? 1 : 20;  // a seed
    std::mt19937_64 random(options.seed);
    long made = 0;
    for (const Seed& seed : seeds) {
        for (long i = 0; i < calls; ++i, ++made) {
            // The last call of each seed is the size that no file can have. The size behind it is left to the readers:
            // where they find an image, the search takes its time.
            const auto impossible = static_cast<std::uint64_t>(seed.tooLargeCase() - seed.firstCase);
            const auto local = i + 1 == calls && !options.isShort ? impossible : random() % impossible;
            std::string what;
            callCommand(damaged(seed, seed.firstCase + static_cast<long>(local), options.seed, &what), what);
        }
    }
    return made;
}

std::string run(const SoakOptions& options) {
    const std::vector<Seed> seeds = readSeeds();
    void* const shared = ::mmap(nullptr, sizeof(Account), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    soakRequire(shared != MAP_FAILED, "no memory to share");
    Account& account = *new (shared) Account;
    const long mostMemory = readAll(seeds, options, account);
    soakRequire(!options.isWhole() || (account.images > 0 && account.refusals > 0), "every file had the same fate");
    const long calls = options.onlyCase < 0 ? sampleCommand(seeds, options) : 0;
    char figures[300];
    std::snprintf(figures, sizeof figures,
                  "%zu seeds, %ld damaged files, %ld refused, %ld read, slowest %.2f s, most memory %ld MiB%s; "
                  "%ld calls of the command",
                  seeds.size(), account.files, account.refusals, account.images, account.slowest, mostMemory / 1024,
                  qvtest::kIsSanitized ? " (without limit)" : "", calls);
    return figures;
}

}  // namespace

int main(int count, char** arguments) { return qvtest::soakMain("image_files", count, arguments, run); }
