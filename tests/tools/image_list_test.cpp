#include "tools/image_list.h"

#include "tests/tools/subprocess.h"
#include "tools/text_file.h"

#include <gtest/gtest.h>

using namespace qvtool;

namespace {

using Paths = std::vector<std::string>;
using Block = std::pair<std::size_t, std::size_t>;

std::string refusal(const std::string& path) {
    try {
        readImageList(path);
    } catch (const InputError& error) {
        return error.what();
    }
    return "was read";
}

}  // namespace

TEST(ImageList, EachLineIsAPathAndEmptyOnesDoNotCount) {
    EXPECT_EQ(pathsIn("a.png\n\nb c.png\n"), (Paths{"a.png", "b c.png"}));
    EXPECT_EQ(pathsIn("\n\na"), (Paths{"a"}));
    EXPECT_EQ(pathsIn(""), Paths{});
    EXPECT_EQ(pathsIn("\n\r\n"), Paths{});
}

TEST(ImageList, OneCarriageReturnBeforeTheLineEndIsNoPartOfThePath) {
    EXPECT_EQ(pathsIn("a.png\r\nb\rc\r\r\nd\r"), (Paths{"a.png", "b\rc\r", "d"}));
}

TEST(ImageList, NothingIsQuotedOrTrimmed) {
    EXPECT_EQ(pathsIn(" 'a' \n\"b\"\n--max\n#c\n\\n\n\xFF\n"), (Paths{" 'a' ", "\"b\"", "--max", "#c", "\\n", "\xFF"}));
}

TEST(ImageList, ANulByteAnywhereMakesNulBytesTheEnds) {
    using namespace std::string_literals;
    EXPECT_EQ(pathsIn("a\nb\r\0\0c\n"s), (Paths{"a\nb\r", "c\n"}));
    EXPECT_EQ(pathsIn("a\n\0"s), (Paths{"a\n"}));
}

TEST(ImageList, AFileThatCannotBeReadIsNamed) {
    const qvtest::TemporaryFolder folder;
    EXPECT_EQ(refusal(folder.path("none")),
              "--files-from: '" + folder.path("none") + "': cannot be opened: No such file or directory");
    EXPECT_EQ(refusal(folder.path()), "--files-from: '" + folder.path() + "': cannot be read: Is a directory");
    // A list longer than one read.
    qvtest::writeText(folder.path("long"), std::string(100000, 'x') + "\ny");
    EXPECT_EQ(readImageList(folder.path("long")), (Paths{std::string(100000, 'x'), "y"}));
}

TEST(TextFile, TheMostBytesAreAllowedAndOneMoreIsNot) {
    const qvtest::TemporaryFolder folder;
    qvtest::writeText(folder.path("t"), "1234567");
    EXPECT_EQ(readTextFile({"--o", folder.path("t"), 7, "allowed is less"}), "1234567");
    try {
        readTextFile({"--o", folder.path("t"), 6, "allowed is less"});
        FAIL() << "was read";
    } catch (const InputError& error) {
        EXPECT_EQ(error.what(), "--o: '" + folder.path("t") + "': has more than 6 bytes; allowed is less");
    }
}

TEST(ShardBlocks, TheyFollowEachOtherAndDifferByAtMostOne) {
    EXPECT_EQ(blockOf({1, 3}, 8), (Block{0, 2}));
    EXPECT_EQ(blockOf({2, 3}, 8), (Block{2, 5}));
    EXPECT_EQ(blockOf({3, 3}, 8), (Block{5, 8}));
    EXPECT_EQ(blockOf({1, 1}, 8), (Block{0, 8}));
}

TEST(ShardBlocks, FewerImagesThanShardsLeaveSomeEmpty) {
    EXPECT_EQ(blockOf({1, 3}, 2), (Block{0, 0}));
    EXPECT_EQ(blockOf({2, 3}, 2), (Block{0, 1}));
    EXPECT_EQ(blockOf({3, 3}, 2), (Block{1, 2}));
    EXPECT_EQ(blockOf({2, 3}, 0), (Block{0, 0}));
}

TEST(ShardBlocks, TheLargestCountsDoNotWrap) {
    // 2^30 images in 2^31 - 1 shards: the last one ends with the last image.
    EXPECT_EQ(blockOf({2147483647, 2147483647}, 1073741824), (Block{1073741823, 1073741824}));
}
