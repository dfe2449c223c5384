// Files that the engine opens by itself, and locks between processes.
#include "platform/infile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/engine.h"

namespace {

TEST(InFile, OnlyRegularFilesAreOpened) {
    const ScratchFolder folder;
    std::ofstream("file") << "text";
    std::filesystem::create_symlink("file", "link");
    std::filesystem::create_directory("folder");
    mkfifo("pipe", 0600);
    const struct {
        const char* path;
        bool opens;
        const char* why;
    } cases[] = {{"file", true, nullptr},
                 {"link", true, nullptr},
                 {"missing", false, nullptr},
                 {"folder", false, "not a regular file"},
                 {"pipe", false, "not a regular file"},
                 {"/dev/zero", false, "not a regular file"}};
    for (const auto& c : cases) {
        const char* why = "";
        std::FILE* file = OpenRegularFile(c.path, &why);
        EXPECT_EQ(file != nullptr, c.opens) << c.path;
        EXPECT_STREQ(why, c.why) << c.path;
        if (file != nullptr) { std::fclose(file); }
    }
}

// What another process says of the lock on a path.
bool AnotherProcessCanLock(const char* path) {
    const int child = fork();
    if (child == 0) {
        PathLock lock;
        _exit(lock.TryLock(path) ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WEXITSTATUS(status) == 0;
}

TEST(PathLock, IsHeldByOneProcessUntilItIsReleased) {
    const ScratchFolder folder;
    std::ofstream("file") << "text";
    for (const char* path : {"file", "."}) {
        PathLock lock;
        ASSERT_TRUE(lock.TryLock(path));
        EXPECT_FALSE(AnotherProcessCanLock(path)) << path;
        lock.Release();
        EXPECT_TRUE(AnotherProcessCanLock(path)) << path;
        EXPECT_TRUE(lock.TryLock(path)) << "a holder that has ended leaves nothing";
    }
    PathLock lock;
    EXPECT_TRUE(lock.TryLock("missing"));
}

}  // namespace
