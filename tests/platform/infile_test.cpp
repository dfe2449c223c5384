// Files that the engine opens by itself, and locks between processes.
#include "platform/infile.h"

#include <filesystem>
#include <fstream>

#include <sys/stat.h>

#include "support/engine.h"

namespace {

TEST(InFile, OnlyRegularFilesAreOpened) {
    const ScratchFolder folder;
    std::ofstream("file") << "text";
    std::filesystem::create_symlink("file", "link");
    mkfifo("pipe", 0600);
    const char* why = "";
    std::FILE* file = OpenRegularFile("link", &why);
    ASSERT_NE(file, nullptr) << why;
    std::fclose(file);
    for (const char* path : {".", "pipe", "/dev/zero"}) {
        EXPECT_EQ(OpenRegularFile(path, &why), nullptr);
        EXPECT_STREQ(why, "not a regular file") << path;
    }
    EXPECT_EQ(OpenRegularFile("missing", &why), nullptr);
    EXPECT_EQ(why, nullptr);
}

TEST(PathLock, IsHeldByOneUntilItIsReleased) {
    const ScratchFolder folder;
    std::ofstream("file") << "text";
    for (const char* path : {"file", "."}) {
        PathLock lock, other;
        EXPECT_TRUE(lock.TryLock(path));
        EXPECT_FALSE(other.TryLock(path)) << path;
        lock.Release();
        EXPECT_TRUE(other.TryLock(path)) << path;
    }
    EXPECT_TRUE(PathLock().TryLock("missing"));
}

}  // namespace
