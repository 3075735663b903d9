#include "tests/tools/subprocess.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace qvtest {
namespace {

namespace fs = std::filesystem;

void redirect(int descriptor, const std::string& path, int flags) {
    const int opened = ::open(path.c_str(), flags, 0644);
    if (opened < 0) ::_exit(120);
    ::dup2(opened, descriptor);
    if (opened != descriptor) ::close(opened);
}

void redirectToClosedPipe(int descriptor) {
    int ends[2];
    if (::pipe(ends) != 0) ::_exit(121);
    ::close(ends[0]);
    ::dup2(ends[1], descriptor);
    ::close(ends[1]);
}

/// The read end of a new pseudo terminal whose other end has the given name.
int openTerminal(std::string& name) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0) throw std::runtime_error("no pseudo terminal");
    name = ::ptsname(master);
    return master;
}

/// All that was written to the terminal; reading it ends with an error when the last writer has gone.
std::string drain(int master) {
    std::string text;
    char buffer[4096];
    for (;;) {
        const ssize_t n = ::read(master, buffer, sizeof buffer);
        if (n <= 0) break;
        text.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(master);
    return text;
}

}  // namespace

bool hasPseudoTerminals() {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    if (master < 0) return false;
    const char* const name = ::grantpt(master) == 0 && ::unlockpt(master) == 0 ? ::ptsname(master) : nullptr;
    const bool usable = name != nullptr && ::access(name, R_OK | W_OK) == 0;
    ::close(master);
    return usable;
}

Outcome runCommand(const std::vector<std::string>& arguments, const Surroundings& surroundings) {
    const TemporaryFolder folder;
    const std::string out = folder.path("out");
    std::string err = folder.path("err");
    const int terminal = surroundings.errorIsTerminal ? openTerminal(err) : -1;

    const pid_t child = ::fork();
    if (child < 0) throw std::runtime_error("no process");
    if (child == 0) {
        redirect(STDERR_FILENO, err, surroundings.errorIsTerminal ? O_WRONLY | O_NOCTTY : O_WRONLY | O_CREAT);
        if (surroundings.output == Standard::captured) redirect(STDOUT_FILENO, out, O_WRONLY | O_CREAT);
        if (surroundings.output == Standard::file) redirect(STDOUT_FILENO, surroundings.outputFile, O_WRONLY | O_CREAT);
        if (surroundings.output == Standard::closed) ::close(STDOUT_FILENO);
        if (surroundings.output == Standard::closedPipe) redirectToClosedPipe(STDOUT_FILENO);
        if (surroundings.fileSizeLimit >= 0) {
            const auto limit = static_cast<rlim_t>(surroundings.fileSizeLimit);
            const rlimit limits{limit, limit};
            ::setrlimit(RLIMIT_FSIZE, &limits);
        }
        std::vector<char*> words = {const_cast<char*>("qvstreet")};
        for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
        words.push_back(nullptr);
        ::execv(QVSTREET_COMMAND, words.data());
        ::_exit(122);
    }

    if (surroundings.whileRunning) surroundings.whileRunning(child);
    Outcome outcome;
    if (terminal >= 0) outcome.err = drain(terminal);
    int status = 0;
    rusage usage{};
    ::wait4(child, &status, 0, &usage);
    if (WIFEXITED(status)) outcome.status = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
    if (surroundings.output == Standard::captured) outcome.out = readText(out);
    if (terminal < 0) outcome.err = readText(err);
    outcome.maxKilobytes = usage.ru_maxrss;
    return outcome;
}

TemporaryFolder::TemporaryFolder() : path_((fs::temp_directory_path() / "qvstreet-test-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary folder");
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

std::vector<std::string> TemporaryFolder::names() const {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(path_))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string readText(const std::string& path) {
    std::ifstream stream(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void writeText(const std::string& path, const std::string& text) {
    std::ofstream stream(path, std::ios::binary);
    stream << text;
    stream.close();
    if (!stream) throw std::runtime_error("cannot write " + path);
}

}  // namespace qvtest
