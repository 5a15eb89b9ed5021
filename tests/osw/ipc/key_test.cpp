#include "osw/ipc/key.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <string>
#include <vector>

#include "support/selfstart.h"

/** What the next queries of key files tell; after these, the truth. */
enum class Look { Truth, Reserved, Failed };
static std::deque<Look> looks;
static constexpr ino_t reservedInode = 902131;
static ino_t inodeToTell = reservedInode;

/** The library's query of a path, under the name that large files give it. */
extern "C" int stat(const char* path, struct stat* info) noexcept {
    Look look = Look::Truth;
    if (!looks.empty()) {
        look = looks.front();
        looks.pop_front();
    }
    if (look == Look::Failed) {
        errno = EIO;
        return -1;
    }
    const int result = fstatat(AT_FDCWD, path, info, 0);
    if (look == Look::Reserved && result == 0) info->st_ino = inodeToTell;
    return result;
}

namespace {

std::string keyDirectory() {
    return getenv("GEN_MSGQ_PATH");
}

ino_t inodeOf(const std::string& path) {
    struct stat info = {};
    return fstatat(AT_FDCWD, path.c_str(), &info, 0) == 0 ? info.st_ino : 0;
}

bool exists(const std::string& path) {
    return access(path.c_str(), F_OK) == 0;
}

uint32_t keyOf(const char* name) {
    uint32_t key = 0;
    EXPECT_EQ(zatOSWIpcGetServerIpcKey(name, 0, &key), ZAT_OK);
    return key;
}

ZatStatus statusOf(const char* name) {
    uint32_t key = 4711;
    const ZatStatus status = zatOSWIpcGetServerIpcKey(name, 0, &key);
    EXPECT_EQ(key, 4711u) << "written on success only";
    return status;
}

static int tellKey(const std::vector<std::string>& arguments) {
    uint32_t key = 0;
    const ZatStatus status = zatOSWIpcGetServerIpcKey(arguments.at(0).c_str(), 0, &key);
    std::ofstream(arguments.at(1)) << key;
    return status == ZAT_OK ? 0 : 1;
}
SelfRole tellKeyRole("tell-key", tellKey);

TEST(Key, IsTheInodeOfTheKeyFile) {
    const uint32_t first = keyOf("first");
    EXPECT_EQ(first, static_cast<uint32_t>(inodeOf(keyDirectory() + "first")));
    EXPECT_NE(keyOf("second"), first);
    EXPECT_EQ(keyOf("first"), first);
    struct stat info;
    ASSERT_EQ(stat((keyDirectory() + "first").c_str(), &info), 0);
    EXPECT_EQ(info.st_size, 0);
}

TEST(Key, IsCutToThirtyTwoBits) {
    keyOf("name");
    looks = {Look::Reserved};
    inodeToTell = 0x1234567890ABCDEF;
    EXPECT_EQ(keyOf("name"), 0x90ABCDEFu);
}

TEST(Key, IsTheSameInEveryProcess) {
    const int count = 3;
    std::vector<pid_t> children;
    const auto output = [](int i) { return testing::TempDir() + "key" + std::to_string(i); };
    for (int i = 0; i < count; ++i)
        children.push_back(spawnSelf("tell-key", {"shared", output(i)}));
    for (const pid_t child : children)
        ASSERT_EQ(waitForExit(child), 0) << "processes may make the directory at the same time";
    for (int i = 0; i < count; ++i) {
        uint32_t key = 0;
        std::ifstream(output(i)) >> key;
        EXPECT_EQ(key, keyOf("shared"));
    }
}

TEST(Key, NeedsANameAndAPlace) {
    EXPECT_EQ(statusOf(nullptr), ZAT_FAILED);
    EXPECT_EQ(zatOSWIpcGetServerIpcKey("name", 0, nullptr), ZAT_FAILED);
    EXPECT_EQ(zatOSWIpcRevokeServerIpcKey(nullptr), ZAT_FAILED);
    EXPECT_EQ(statusOf("missing/name"), ZAT_IPC_KEY_CREATE_FAILED);
    keyOf("file");
    EXPECT_EQ(statusOf("file/name"), ZAT_IPC_KEY_STAT_FAILED);
    EXPECT_EQ(statusOf(std::string(256, 'n').c_str()), ZAT_IPC_KEY_STAT_FAILED);
}

TEST(KeyDirectory, IsMadeLevelByLevel) {
    const std::string top = testing::TempDir() + "one";
    setenv("GEN_MSGQ_PATH", (top + "/two//three/").c_str(), 1);
    umask(0);
    keyOf("name");
    EXPECT_TRUE(exists(top + "/two/three/name"));
    struct stat info;
    ASSERT_EQ(stat((top + "/two").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0777u);
    ASSERT_EQ(stat((top + "/two/three/name").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0666u);
}

TEST(KeyDirectory, IsAPlainPrefixChosenOnce) {
    const std::string directory = testing::TempDir() + "keys/";
    setenv("GEN_MSGQ_PATH", (directory + "prefix-").c_str(), 1);
    keyOf("name");
    EXPECT_TRUE(exists(directory + "prefix-name"));
    setenv("GEN_MSGQ_PATH", testing::TempDir().c_str(), 1);
    keyOf("other");
    EXPECT_TRUE(exists(directory + "prefix-other"));
}

TEST(KeyDirectory, LiesInTmpUnlessTheEnvironmentSaysOtherwise) {
    unsetenv("GEN_MSGQ_PATH");
    const bool wasThere = exists("/tmp/.zat-msgq");
    const std::string name = "zatosw-test-" + std::to_string(getpid());
    keyOf(name.c_str());
    EXPECT_TRUE(exists("/tmp/.zat-msgq/" + name));
    EXPECT_EQ(zatOSWIpcRevokeServerIpcKey(name.c_str()), ZAT_OK);
    EXPECT_FALSE(exists("/tmp/.zat-msgq/" + name));
    if (!wasThere) rmdir("/tmp/.zat-msgq");
}

TEST(KeyDirectory, IsTriedAgainAfterAFailure) {
    const std::string obstacle = testing::TempDir() + "obstacle";
    std::ofstream(obstacle) << "a file";
    setenv("GEN_MSGQ_PATH", (obstacle + "/keys/").c_str(), 1);
    EXPECT_EQ(statusOf("name"), ZAT_IPC_KEY_DIR_FAILED);
    EXPECT_EQ(zatOSWIpcRevokeServerIpcKey("name"), ZAT_IPC_KEY_DIR_FAILED);
    ASSERT_EQ(unlink(obstacle.c_str()), 0);
    keyOf("name");
    EXPECT_TRUE(exists(obstacle + "/keys/name"));
}

TEST(ReservedKey, IsKeptOccupiedByAFileMovedAside) {
    const std::string path = keyDirectory() + "name";
    keyOf("other");
    looks = {Look::Truth, Look::Reserved, Look::Reserved};
    const uint32_t key = keyOf("name");
    EXPECT_EQ(key, static_cast<uint32_t>(inodeOf(path)));
    EXPECT_TRUE(exists(path + "_collision_1"));
    EXPECT_TRUE(exists(path + "_collision_2"));
    EXPECT_FALSE(exists(path + "_collision_3"));
    looks = {Look::Truth, Look::Reserved};
    keyOf("next");
    EXPECT_TRUE(exists(keyDirectory() + "next_collision_3")) << "one count for all names";
}

TEST(ReservedKey, OfAFileThatIsThereAlreadyIsNotTaken) {
    keyOf("name");
    const std::string path = keyDirectory() + "name";
    const std::string second = testing::TempDir() + "second";
    ASSERT_EQ(link(path.c_str(), second.c_str()), 0);
    looks = {Look::Reserved};
    EXPECT_NE(keyOf("name"), static_cast<uint32_t>(inodeOf(second))) << "made anew";
    EXPECT_FALSE(exists(path + "_collision_1"));
}

TEST(ReservedKey, IsAnyOfTheTable) {
    keyOf("name");
    uint32_t moved = 0;
    for (const ino_t inode : {902131, 902180, 902231, 24553, 24853}) {
        unlink((keyDirectory() + "name").c_str());
        looks = {Look::Truth, Look::Reserved};
        inodeToTell = inode;
        keyOf("name");
        EXPECT_TRUE(exists(keyDirectory() + "name_collision_" + std::to_string(++moved))) << inode;
    }
    for (const ino_t inode : {902130, 902232, 24552, 24554, 24852, 24854, 1}) {
        looks = {Look::Reserved};
        inodeToTell = inode;
        EXPECT_EQ(keyOf("name"), inode);
    }
}

TEST(KeyFailure, TellsTheStepThatFailed) {
    keyOf("old");
    looks = {Look::Failed};
    EXPECT_EQ(statusOf("old"), ZAT_IPC_KEY_STAT_FAILED);
    looks = {Look::Truth, Look::Failed};
    EXPECT_EQ(statusOf("new"), ZAT_IPC_KEY_STAT_FAILED);
    looks = {Look::Truth, Look::Truth, Look::Failed};
    EXPECT_EQ(statusOf("newer"), ZAT_IPC_KEY_STAT_FAILED);
    // A directory is where the file would be moved to.
    ASSERT_EQ(mkdir((keyDirectory() + "newest_collision_1").c_str(), 0700), 0);
    looks = {Look::Truth, Look::Reserved};
    EXPECT_EQ(statusOf("newest"), ZAT_IPC_KEY_RENAME_FAILED);
    EXPECT_NE(keyOf("newest"), 0u);
}

TEST(KeyFailure, LeavesNoFileOpen) {
    keyOf("name");
    const int before = dup(0);
    close(before);
    for (const std::deque<Look>& sequence :
         std::vector<std::deque<Look>>{{Look::Truth},
                                       {Look::Reserved},
                                       {Look::Reserved, Look::Reserved},
                                       {Look::Reserved, Look::Failed},
                                       {Look::Reserved, Look::Truth, Look::Failed}}) {
        looks = sequence;
        uint32_t key = 0;
        zatOSWIpcGetServerIpcKey("name", 0, &key);
    }
    const int after = dup(0);
    close(after);
    EXPECT_EQ(after, before);
}

TEST(RevokeKey, RemovesTheFileIfThereIsOne) {
    keyOf("name");
    EXPECT_EQ(zatOSWIpcRevokeServerIpcKey("name"), ZAT_OK);
    EXPECT_FALSE(exists(keyDirectory() + "name"));
    EXPECT_EQ(zatOSWIpcRevokeServerIpcKey("name"), ZAT_OK);
    EXPECT_EQ(zatOSWIpcRevokeServerIpcKey("never"), ZAT_OK);
    EXPECT_NE(keyOf("name"), 0u);
}

}  // namespace
