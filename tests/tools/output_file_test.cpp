#include "tools/output_file.h"

#include "tests/tools/subprocess.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

using namespace qvtool;
using qvtest::readText;
using qvtest::TemporaryFolder;
using qvtest::writeText;
using Names = std::vector<std::string>;

namespace {

std::string failureOf(const std::string& path) {
    try {
        OutputFile file(path);
        file.write("text");
        file.commit();
        return {};
    } catch (const OutputError& error) {
        return error.what();
    }
}

}  // namespace

TEST(OutputFile, AppearsUnderItsNameOnlyWhenCommitted) {
    const TemporaryFolder folder;
    {
        OutputFile file(folder.path("a.json"));
        file.write("half");
        EXPECT_NE(folder.names(), (Names{"a.json"}));
        file.write(" and half");
        file.commit();
        EXPECT_EQ(folder.names(), (Names{"a.json"}));
    }
    EXPECT_EQ(readText(folder.path("a.json")), "half and half");
}

TEST(OutputFile, LeavesNothingBehindWithoutCommit) {
    const TemporaryFolder folder;
    {
        OutputFile file(folder.path("a.json"));
        file.write("half");
    }
    EXPECT_EQ(folder.names(), Names{});
}

TEST(OutputFile, KeepsTheOldFileUntilTheNewOneIsWhole) {
    const TemporaryFolder folder;
    writeText(folder.path("a.json"), "old");
    {
        OutputFile file(folder.path("a.json"));
        file.write("new");
        EXPECT_EQ(readText(folder.path("a.json")), "old");
    }
    EXPECT_EQ(readText(folder.path("a.json")), "old");
    EXPECT_EQ(failureOf(folder.path("a.json")), "");
    EXPECT_EQ(readText(folder.path("a.json")), "text");
}

TEST(OutputFile, ReplacedFilesKeepTheirPermissionsAndNewOnesFollowTheUmask) {
    const TemporaryFolder folder;
    writeText(folder.path("old"), "old");
    ::chmod(folder.path("old").c_str(), 0640);
    EXPECT_EQ(failureOf(folder.path("old")), "");
    struct stat status {};
    ASSERT_EQ(::stat(folder.path("old").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
    const mode_t mask = ::umask(027);
    EXPECT_EQ(failureOf(folder.path("new")), "");
    ::umask(mask);
    ASSERT_EQ(::stat(folder.path("new").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0640U);
}

TEST(OutputFile, ASymbolicLinkStaysALink) {
    const TemporaryFolder folder;
    writeText(folder.path("real"), "old");
    ASSERT_EQ(::symlink("real", folder.path("link").c_str()), 0);
    EXPECT_EQ(failureOf(folder.path("link")), "");
    EXPECT_EQ(readText(folder.path("real")), "text");
    EXPECT_EQ(folder.names(), (Names{"link", "real"}));
    struct stat status {};
    ASSERT_EQ(::lstat(folder.path("link").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
}

TEST(OutputFile, ALinkToAFileThatIsNotThereYetBringsItThere) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkdir(folder.path("data").c_str(), 0755), 0);
    ASSERT_EQ(::symlink("data/middle", folder.path("link").c_str()), 0);
    ASSERT_EQ(::symlink("real", folder.path("data/middle").c_str()), 0);
    EXPECT_EQ(failureOf(folder.path("link")), "");
    EXPECT_EQ(readText(folder.path("data/real")), "text");
    struct stat status {};
    ASSERT_EQ(::lstat(folder.path("link").c_str(), &status), 0);
    EXPECT_TRUE(S_ISLNK(status.st_mode));
    ASSERT_EQ(::symlink("no/real", folder.path("astray").c_str()), 0);
    EXPECT_NE(failureOf(folder.path("astray")).find("No such file or directory"), std::string::npos);
}

TEST(OutputFile, LinksInACircleAreAnErrorAndStay) {
    const TemporaryFolder folder;
    ASSERT_EQ(::symlink("b", folder.path("a").c_str()), 0);
    ASSERT_EQ(::symlink("a", folder.path("b").c_str()), 0);
    EXPECT_NE(failureOf(folder.path("a")).find("Too many levels of symbolic links"), std::string::npos);
    EXPECT_EQ(folder.names(), (Names{"a", "b"}));
}

TEST(OutputFile, TwoFilesMayBeUnfinishedInOneFolder) {
    const TemporaryFolder folder;
    OutputFile a(folder.path("a"));
    OutputFile b(folder.path("b"));
    a.write("1");
    b.write("2");
    a.commit();
    b.commit();
    EXPECT_EQ(readText(folder.path("a")), "1");
    EXPECT_EQ(readText(folder.path("b")), "2");
}

TEST(OutputFile, FoldersMissingFoldersAndFullDevicesAreErrorsThatNameTheFile) {
    const TemporaryFolder folder;
    const std::string allowed = "; allowed is a file in an existing folder with room and permission to write";
    EXPECT_EQ(failureOf(folder.path()), "'" + folder.path() + "': cannot be written: Is a directory" + allowed);
    EXPECT_EQ(failureOf(folder.path("no/a")),
              "'" + folder.path("no/a") + "': cannot be written: No such file or directory" + allowed);
    EXPECT_EQ(failureOf(folder.path("a/")),
              "'" + folder.path("a/") + "': cannot be written: No such file or directory" + allowed);
    EXPECT_EQ(failureOf("/dev/full"), "'/dev/full': cannot be written: No space left on device" + allowed);
    EXPECT_EQ(failureOf(""), "'': cannot be written: No such file or directory" + allowed);
    EXPECT_EQ(folder.names(), Names{});
}

TEST(OutputFile, DevicesAreWrittenDirectly) {
    EXPECT_EQ(failureOf("/dev/null"), "");
    struct stat status {};
    ASSERT_EQ(::stat("/dev/null", &status), 0);
    EXPECT_TRUE(S_ISCHR(status.st_mode));
}

TEST(OutputFile, AWriteProtectedFileIsNotReplaced) {
    if (::geteuid() == 0) GTEST_SKIP() << "root may write everywhere";
    const TemporaryFolder folder;
    writeText(folder.path("a"), "old");
    ::chmod(folder.path("a").c_str(), 0444);
    EXPECT_NE(failureOf(folder.path("a")).find("Permission denied"), std::string::npos);
    EXPECT_EQ(readText(folder.path("a")), "old");
}
