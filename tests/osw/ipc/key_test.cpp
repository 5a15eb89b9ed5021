#include "osw/ipc/key.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <string>

/** What the next queries of key files tell; after these, the truth. */
enum class Look { Truth, Reserved, Failed };
static std::deque<Look> looks;
static ino_t inodeToTell = 902131;

static int ask(int directory, const char* path, int flags, unsigned wanted, struct statx* facts) {
    static const auto next = reinterpret_cast<decltype(&statx)>(dlsym(RTLD_NEXT, "statx"));
    return next(directory, path, flags, wanted, facts);
}

extern "C" int statx(int directory, const char* path, int flags, unsigned wanted,
                     struct statx* facts) noexcept {
    Look look = Look::Truth;
    if (!looks.empty()) {
        look = looks.front();
        looks.pop_front();
    }
    if (look == Look::Failed) {
        errno = EIO;
        return -1;
    }
    const int result = ask(directory, path, flags, wanted, facts);
    if (look == Look::Reserved && result == 0) facts->stx_ino = inodeToTell;
    return result;
}

/** Whether another process makes each directory just before the library does. */
static bool othersAreFirst;

extern "C" int mkdir(const char* path, mode_t mode) noexcept {
    const int result = mkdirat(AT_FDCWD, path, mode);
    if (!othersAreFirst) return result;
    errno = EEXIST;
    return -1;
}

namespace {

namespace fs = std::filesystem;

std::string keyDirectory() {
    return getenv("GEN_MSGQ_PATH");
}

uint32_t inodeOf(const std::string& path) {
    struct statx facts = {};
    ask(AT_FDCWD, path.c_str(), 0, STATX_INO, &facts);
    return static_cast<uint32_t>(facts.stx_ino);
}

uint32_t keyOf(const std::string& name) {
    uint32_t key = 0;
    EXPECT_EQ(zatOSWIpcGetServerIpcKey(name.c_str(), 0, &key), ZAT_OK);
    return key;
}

bool isKeyedBy(const std::string& name, const std::string& path) {
    const uint32_t key = keyOf(name);
    return key == inodeOf(path);
}

ZatStatus statusOf(const char* name) {
    uint32_t key = 4711;
    const ZatStatus status = zatOSWIpcGetServerIpcKey(name, 0, &key);
    EXPECT_EQ(key, 4711u) << "written on success only";
    return status;
}

TEST(Key, IsTheInodeOfTheKeyFileUntilItIsRevoked) {
    const std::string path = keyDirectory() + "first";
    const uint32_t key = keyOf("first");
    EXPECT_EQ(key, inodeOf(path));
    EXPECT_NE(keyOf("second"), key);
    EXPECT_EQ(keyOf("first"), key);
    looks = {Look::Reserved};
    inodeToTell = 0x1234567890ABCDEF;
    EXPECT_EQ(keyOf("first"), 0x90ABCDEFu) << "cut to 32 bits";
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(zatOSWIpcRevokeServerIpcKey("first"), ZAT_OK) << "also when it is gone";
        EXPECT_EQ(inodeOf(path), 0u);
    }
    EXPECT_EQ(system(("touch -d 2040-01-01 " + path).c_str()), 0);
    EXPECT_TRUE(isKeyedBy("first", path)) << "whenever it was made";
}

TEST(KeyDirectory, IsAPrefixMadeLevelByLevelAndChosenOnce) {
    /* More levels than attempts that other calls have made before. */
    const std::string prefix = testing::TempDir() + "1/2//3/4/5/6/7/8/9/";
    othersAreFirst = true;
    setenv("GEN_MSGQ_PATH", (prefix + "not-a-level-").c_str(), 1);
    umask(0);
    EXPECT_TRUE(isKeyedBy("name", prefix + "not-a-level-name"));
    EXPECT_EQ(fs::status(prefix + "..").permissions(), fs::perms(0777));
    EXPECT_EQ(fs::status(prefix + "not-a-level-name").permissions(), fs::perms(0666));
    setenv("GEN_MSGQ_PATH", testing::TempDir().c_str(), 1);
    EXPECT_TRUE(isKeyedBy("other", prefix + "not-a-level-other"));
}

TEST(KeyDirectory, LiesInTmpUnlessTheEnvironmentSaysOtherwise) {
    unsetenv("GEN_MSGQ_PATH");
    const bool wasThere = inodeOf("/tmp/.zat-msgq") != 0;
    const std::string name = "zatosw-test-" + std::to_string(getpid());
    EXPECT_TRUE(isKeyedBy(name, "/tmp/.zat-msgq/" + name));
    EXPECT_EQ(zatOSWIpcRevokeServerIpcKey(name.c_str()), ZAT_OK);
    if (!wasThere) rmdir("/tmp/.zat-msgq");
}

TEST(KeyDirectory, IsTriedAgainAfterAFailure) {
    const std::string obstacle = testing::TempDir() + "obstacle";
    std::ofstream(obstacle) << "a file";
    setenv("GEN_MSGQ_PATH", (obstacle + "/keys/").c_str(), 1);
    EXPECT_EQ(statusOf("name"), ZAT_IPC_KEY_DIR_FAILED);
    EXPECT_EQ(zatOSWIpcRevokeServerIpcKey("name"), ZAT_IPC_KEY_DIR_FAILED);
    ASSERT_EQ(unlink(obstacle.c_str()), 0);
    EXPECT_TRUE(isKeyedBy("name", obstacle + "/keys/name"));
}

TEST(ReservedKey, IsKeptOccupiedByAFileMovedAside) {
    keyOf("other");
    int moved = 0;
    for (const ino_t inode : {902131, 902180, 902231, 24553, 24853}) {
        const std::string path = keyDirectory() + "name" + std::to_string(inode);
        looks = {Look::Truth, Look::Reserved, Look::Reserved};
        inodeToTell = inode;
        EXPECT_TRUE(isKeyedBy("name" + std::to_string(inode), path));
        for (int i = 0; i < 2; ++i)
            EXPECT_NE(inodeOf(path + "_collision_" + std::to_string(++moved)), 0u) << inode;
    }
    for (const ino_t inode : {902130, 902232, 24552, 24554, 24852, 24854, 1}) {
        looks = {Look::Reserved};
        inodeToTell = inode;
        EXPECT_EQ(keyOf("other"), inode);
    }
}

TEST(ReservedKey, OfAFileThatIsThereAlreadyIsNotTaken) {
    keyOf("name");
    const std::string path = keyDirectory() + "name";
    ASSERT_EQ(link(path.c_str(), (path + "-kept").c_str()), 0);
    looks = {Look::Reserved};
    EXPECT_NE(keyOf("name"), inodeOf(path + "-kept")) << "removed and made anew";
    EXPECT_EQ(inodeOf(path + "_collision_1"), 0u);
}

/* The number that the next file to be opened gets. */
int nextFile() {
    const int file = dup(0);
    close(file);
    return file;
}

TEST(KeyFailure, TellsTheStepThatFailedAndLeavesNoFileOpen) {
    keyOf("file");
    const int file = nextFile();
    EXPECT_EQ(statusOf(nullptr), ZAT_FAILED);
    EXPECT_EQ(zatOSWIpcGetServerIpcKey("name", 0, nullptr), ZAT_FAILED);
    EXPECT_EQ(statusOf("missing/name"), ZAT_IPC_KEY_CREATE_FAILED);
    for (const std::string& name :
         {std::string("file/name"), std::string(256, 'n'), std::string(5000, 'n')}) {
        EXPECT_EQ(statusOf(name.c_str()), ZAT_IPC_KEY_STAT_FAILED);
        EXPECT_EQ(zatOSWIpcRevokeServerIpcKey(name.c_str()), ZAT_OK) << "there is none";
    }
    for (size_t truths : {0, 1, 2}) {
        looks.assign(truths, Look::Truth);
        looks.push_back(Look::Failed);
        EXPECT_EQ(statusOf("name"), ZAT_IPC_KEY_STAT_FAILED);
        zatOSWIpcRevokeServerIpcKey("name");
    }
    // A directory is where the file would be moved to.
    ASSERT_EQ(mkdir((keyDirectory() + "name_collision_1").c_str(), 0700), 0);
    looks = {Look::Truth, Look::Reserved};
    EXPECT_EQ(statusOf("name"), ZAT_IPC_KEY_RENAME_FAILED);
    EXPECT_TRUE(isKeyedBy("name", keyDirectory() + "name"));
    EXPECT_EQ(nextFile(), file);
}

}  // namespace
