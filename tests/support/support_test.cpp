// What all other tests rely on: the place that the launcher gives each, and the helpers.

#include "support/support.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/msg.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <string>

#include "support/selfstart.h"

static int exitWith(const std::vector<std::string>& arguments) {
    return std::stoi(arguments.at(0)) + std::stoi(arguments.at(1));
}
static SelfRole exitWithRole("exit-with", exitWith);

static int killSelf(const std::vector<std::string>&) {
    return raise(SIGKILL);
}
static SelfRole killSelfRole("kill-self", killSelf);

static int waitForEver(const std::vector<std::string>&) {
    for (;;)
        pause();
}
static SelfRole waitForEverRole("wait-for-ever", waitForEver);

TEST(SelfStart, ReportsHowARoleEnds) {
    EXPECT_EQ(waitForExit(spawnSelf("exit-with", {"40", "2"})), 42);
    EXPECT_EQ(waitForExit(spawnSelf("kill-self")), 128 + SIGKILL);
    EXPECT_EQ(waitForExit(spawnSelf("no-such-role")), 127);
}

TEST(SelfStart, KillsAChildThatOutlivesItsLimit) {
    pid_t child = spawnSelf("wait-for-ever");
    ASSERT_GT(child, 0);
    EXPECT_EQ(waitForExit(child, 100), -1);
    EXPECT_EQ(kill(child, 0), -1) << "the child is still there";
}

TEST(SelfStart, StartsProgramsOfTheHost) {
    EXPECT_EQ(waitForExit(spawn({"sh", "-c", "exit 5"})), 5);
}

TEST(Launcher, GivesADirectoryForTheTestAlone) {
    const char* directory = std::getenv("TMPDIR");
    ASSERT_NE(directory, nullptr);
    struct stat status;
    ASSERT_EQ(stat(directory, &status), 0);
    EXPECT_EQ(status.st_nlink, 2u) << "not empty";
    EXPECT_EQ(testing::TempDir(), std::string(directory) + "/");
    EXPECT_STREQ(std::getenv("GEN_MSGQ_PATH"), (std::string(directory) + "/keys/").c_str());
}

// The same key twice, each left behind by its test: neither may see the other's queue.
static void takeKey() {
    if (std::getenv("ZATOSW_SHARED_IPC") != nullptr) GTEST_SKIP() << "no IPC namespace permitted";
    int queue = msgget(0x5A415431, IPC_CREAT | IPC_EXCL | 0600);
    EXPECT_GE(queue, 0) << "the key is taken: tests share their System V objects";
}
TEST(Launcher, SeparatesSystemVObjectsOfOneTest) {
    takeKey();
}
TEST(Launcher, SeparatesSystemVObjectsOfAnother) {
    takeKey();
}

// A deleted task is cancelled where it waits, and cleans up: the target must be able to unwind from
// a signal into the system call, which an emulator does not do by itself.
struct Waiting {
    std::atomic<pid_t> threadId{0};
    std::atomic<bool> cleaned{false};
};

static void* waitAndCleanUp(void* argument) {
    Waiting* waiting = static_cast<Waiting*>(argument);
    pthread_cleanup_push([](void* ended) { static_cast<Waiting*>(ended)->cleaned = true; },
                         waiting);
    waiting->threadId = gettid();
    for (;;)
        pause();
    pthread_cleanup_pop(0);
}

// A thread that is cancelled earlier notices by itself when it comes to wait, without a signal.
static bool sleeps(pid_t threadId) {
    std::ifstream file("/proc/self/task/" + std::to_string(threadId) + "/stat");
    std::string stat;
    std::getline(file, stat);
    return stat.find(") S ") != std::string::npos;
}

TEST(Target, UnwindsAThreadThatIsCancelledInASystemCall) {
    Waiting waiting;
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, waitAndCleanUp, &waiting), 0);
    ASSERT_TRUE(waitFor([&] { return waiting.threadId != 0 && sleeps(waiting.threadId); }));
    ASSERT_EQ(pthread_cancel(thread), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_TRUE(waiting.cleaned);
}

TEST(WaitFor, GivesUpNoEarlierThanItsLimit) {
    Stopwatch stopwatch;
    EXPECT_FALSE(waitFor([] { return false; }, 50));
    EXPECT_GE(stopwatch.elapsedMs(), 50u);
}

TEST(WaitFor, EndsWhenTheStateIsReached) {
    int looks = 0;
    EXPECT_TRUE(waitFor([&] { return ++looks == 3; }));
    EXPECT_EQ(looks, 3);
}

TEST(Seed, IsTheOneGivenInTheEnvironment) {
    setenv("ZATOSW_SEED", "0x2A", 1);
    EXPECT_EQ(testSeed(), 42u);
    setenv("ZATOSW_SEED", "43", 1);
    EXPECT_EQ(testSeed(), 42u) << "one seed per process";
}
