#include "tools/output_file.h"

#include "tools/text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>

namespace qvtool {
namespace {

constexpr mode_t kNewFileMode = 0666;  // the umask takes its share
constexpr int kMostLinks = 40;         // as many as the system itself follows

/// Names of unfinished files, in a form that a signal handler may read.
struct UnfinishedName {
    std::array<char, PATH_MAX> path{};
    volatile std::sig_atomic_t inUse = 0;
};
std::array<UnfinishedName, 4> unfinishedNames;

void rememberUnfinished(const std::string& path) {
    for (UnfinishedName& name : unfinishedNames) {
        if (name.inUse != 0 || path.size() >= name.path.size()) continue;
        std::memcpy(name.path.data(), path.c_str(), path.size() + 1);
        name.inUse = 1;
        return;
    }
}

void forgetUnfinished(const std::string& path) {
    for (UnfinishedName& name : unfinishedNames) {
        if (name.inUse != 0 && path == name.path.data()) name.inUse = 0;
    }
}

void onDeadlySignal(int number) {
    for (const UnfinishedName& name : unfinishedNames) {
        if (name.inUse != 0) ::unlink(name.path.data());
    }
    // The handler was installed to act once: the default action now ends the process with this signal.
    ::raise(number);
}

std::string folderOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

/// Where a chain of links leads, whether or not a file is there. Empty for a chain without an end.
std::string withLinksFollowed(std::string path) {
    for (int links = 0; links < kMostLinks; ++links) {
        std::array<char, PATH_MAX> next{};
        const ssize_t length = ::readlink(path.c_str(), next.data(), next.size());
        if (length < 0) return path;
        const std::string target(next.data(), static_cast<std::size_t>(length));
        path = target[0] == '/' ? target : folderOf(path) + target;
    }
    return {};
}

}  // namespace

OutputFile::OutputFile(const std::string& path) : path_(path), target_(path) {
    if (path == "-") {
        descriptor_ = STDOUT_FILENO;
        return;
    }
    openFile();
}

void OutputFile::openFile() {
    struct stat status {};
    const bool exists = ::stat(path_.c_str(), &status) == 0;
    ownsDescriptor_ = true;
    if (exists && S_ISDIR(status.st_mode)) fail(EISDIR);
    if (exists && !S_ISREG(status.st_mode)) {
        descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
        if (descriptor_ < 0) fail(errno);
        return;
    }
    // A rename would replace a write-protected file, which its owner surely did not mean.
    if (exists && ::access(path_.c_str(), W_OK) != 0) fail(errno);
    target_ = withLinksFollowed(path_);
    if (target_.empty()) fail(path_.empty() ? ENOENT : ELOOP);
    if (target_.back() == '/') fail(ENOENT);

    for (int attempt = 0; descriptor_ < 0; ++attempt) {
        temporary_ =
            folderOf(target_) + ".qvstreet-" + std::to_string(::getpid()) + "-" + std::to_string(attempt) + ".tmp";
        descriptor_ = ::open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kNewFileMode);
        if (descriptor_ < 0 && errno != EEXIST) {
            const int error = errno;
            temporary_.clear();
            fail(error);
        }
    }
    rememberUnfinished(temporary_);
    // A replaced file keeps its permissions; where the system refuses, the new file's own are good enough.
    if (exists && ::fchmod(descriptor_, status.st_mode & 07777U) != 0) errno = 0;
}

OutputFile::~OutputFile() {
    if (ownsDescriptor_ && descriptor_ >= 0) ::close(descriptor_);
    if (!temporary_.empty()) {
        ::unlink(temporary_.c_str());
        forgetUnfinished(temporary_);
    }
}

void OutputFile::write(const void* data, std::size_t size) {
    const char* next = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t n = ::write(descriptor_, next, size);
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) fail(errno);
        next += n;
        size -= static_cast<std::size_t>(n);
    }
}

void OutputFile::commit() {
    if (!ownsDescriptor_) {
        // Some file systems tell of a full disk only when a descriptor is closed.
        const int copy = ::dup(descriptor_);
        if (copy < 0 || ::close(copy) != 0) fail(errno);
        return;
    }
    // Pipes and devices cannot be synchronised and say EINVAL.
    if (::fsync(descriptor_) != 0 && errno != EINVAL && errno != ENOTSUP && errno != EROFS) fail(errno);
    const int closing = descriptor_;
    descriptor_ = -1;
    if (::close(closing) != 0) fail(errno);
    if (temporary_.empty()) return;
    if (::rename(temporary_.c_str(), target_.c_str()) != 0) fail(errno);
    forgetUnfinished(temporary_);
    temporary_.clear();
}

void OutputFile::fail(int error) const {
    const bool standardOutput = path_ == "-";
    const std::string name = standardOutput ? "standard output" : inQuotes(path_);
    throw OutputError(name + ": cannot be written: " + std::strerror(error) + "; allowed is " +
                      (standardOutput ? "an open file, pipe or terminal that takes all of it"
                                      : "a file in an existing folder with room and permission to write"));
}

void prepareProcessForOutput() {
    for (int descriptor = 0; descriptor <= 2; ++descriptor) {
        // Else an image or a picture could get number 1, and the JSON would be written into it. Opened for reading, it
        // makes every write fail, as a closed standard output should.
        if (::fcntl(descriptor, F_GETFD) < 0 && errno == EBADF) {
            if (::open("/dev/null", O_RDONLY) < 0) break;
        }
    }
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction current {};
        // What the caller told us to ignore stays ignored.
        if (::sigaction(number, nullptr, &current) != 0 || current.sa_handler == SIG_IGN) continue;
        struct sigaction action {};
        action.sa_handler = onDeadlySignal;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        ::sigaction(number, &action, nullptr);
    }
}

}  // namespace qvtool
