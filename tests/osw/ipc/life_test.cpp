/* The table that processes share: what it looks like, who makes it, what is left of it. */

#include <sys/shm.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <optional>

#include "osw/ipc/peer.h"
#include "osw/worker.h"

static constexpr char tableName[] = "zatoswipcglobalshm";

static uint32_t join(uint32_t, uint32_t) {
    return zatOSWIpcInit();
}
static uint32_t make(uint32_t number, uint32_t = 0) {
    return zatOSWIpcCreateCountSem(("object" + std::to_string(number)).c_str(), &object, 0, 1);
}
static constexpr OnObject<zatOSWIpcWaitCountSem> await;
static uint32_t makeNamed(uint32_t length, uint32_t = 0) {
    return zatOSWIpcCreateMutexSem(std::string(length, 'n').c_str(), &object, 0, 1);
}
/* Comes up, uses an object and terminates, again and again. */
static uint32_t comeAndGo(uint32_t times, uint32_t) {
    for (ZatStatus status = ZAT_OK; times > 0; --times) {
        if ((status = zatOSWIpcInit()) != ZAT_OK) return status;
        if ((status = make(times % 2)) != ZAT_OK) return status;
        if ((status = zatOSWIpcPostCountSem(object)) != ZAT_OK) return status;
        if ((status = await()) != ZAT_OK) return status;
        if (times % 3 != 0 && (status = zatOSWIpcDeleteCountSem(object)) != ZAT_OK) return status;
        zatOSWIpcTerm();
    }
    return ZAT_OK;
}

namespace {

uint32_t semaphores(const char* name) {
    return static_cast<uint32_t>(semaphoresOf(name));
}

/* A page as all processes see it. */
using Page = std::array<uint32_t, 1024>;
const Page& page(const std::string& name) {
    const int segment = shmget(keyOf(name), sizeof(Page), 0);
    EXPECT_GE(segment, 0);
    return *static_cast<const Page*>(shmat(segment, nullptr, SHM_RDONLY));
}

/* Puts an entry of an expected page together: useCount, type, and its words from offset 40 on. */
void expectEntry(Page& page, uint32_t type, std::initializer_list<uint32_t> words) {
    uint32_t* entry = &page[5 + 21 * type];
    strcpy(reinterpret_cast<char*>(entry), "x");
    entry[8] = 1;
    entry[9] = type;
    std::copy(words.begin(), words.end(), entry + 10);
}

TEST(SharedTable, IsLaidOutAsEveryProcessExpects) {
    ZatIpcHandle mutex, count, event, queue, timer, lock, part;
    ASSERT_EQ(zatOSWIpcCreateMutexSem("x", &mutex, 0, 0), ZAT_OK);
    ASSERT_EQ(zatOSWIpcCreateCountSem("x", &count, 0, 3), ZAT_OK);
    ASSERT_EQ(zatOSWIpcCreateEventSem("x", &event, 0, 1), ZAT_OK);
    ASSERT_EQ(zatOSWIpcCreateMsgQueue("x", &queue, 7, 64, 0), ZAT_OK);
    ASSERT_EQ(zatOSWIpcCreateTimer("x", &timer, 8192), ZAT_OK);
    ASSERT_EQ(zatOSWIpcCreateSELock("x", &lock, 0, ZAT_SE_LOCK_EXCLUSIVE), ZAT_OK);
    ASSERT_EQ(zatOSWIpcCreateMemPart(&part, "x", 4096), ZAT_OK);
    const uint32_t process = static_cast<uint32_t>(getpid());
    const uint32_t thread = pthread_self();
    EXPECT_EQ(zatOSWIpcPostCountSem(count), ZAT_OK);
    EXPECT_EQ(zatOSWIpcSendMsgQueue(queue, "", 1, 0, 0), ZAT_OK);

    Page expected = {1, 1, 4096, 4096, 0xFFFFFFFF};
    expectEntry(expected, 0, {process, thread, 0, 0, 1, 0, semaphores("x_msem")});
    expectEntry(expected, 1, {0, 0, process, thread, 4, 0, semaphores("x_csem"), 0, 3});
    expectEntry(expected, 2, {0, 0, 0, 0, 1, 0, semaphores("x_esem"), 0, 1});
    const auto queueId = static_cast<uint32_t>(msgget(keyOf("x_msg"), 0));
    expectEntry(expected, 3, {process, thread, 0, 0, 7, 64, 1, 0, 0, semaphores("x_msg"), queueId});
    expectEntry(expected, 4, {0, 0, 0, 0, 8192, 0, semaphores("x_tmr")});
    expectEntry(expected, 5, {process, thread, process, thread, semaphores("x_sel"), 1});
    expectEntry(expected, 6, {static_cast<uint32_t>(shmget(keyOf("x_shm"), 0, 0)), 4096});
    const Page& found = page(tableName);
    for (uint32_t word = 0; word < found.size(); ++word)
        EXPECT_EQ(found[word], expected[word]) << "offset " << word * 4;
    EXPECT_EQ(zatOSWIpcInit(), ZAT_OK) << "once more";
    EXPECT_EQ(found, expected);
    const Peer peer(join, 0);
    EXPECT_EQ(found[1], 2u);
}

TEST(SharedTable, GrowsByAPageWhoseKeyFileStays) {
    for (uint32_t i = 0; i < 49; ++i)
        ASSERT_EQ(make(i), ZAT_OK);
    const Page& first = page(tableName);
    const std::string second = std::string(tableName) + "1";
    EXPECT_EQ(first[0], 2u);
    EXPECT_EQ(first[4], static_cast<uint32_t>(shmget(keyOf(second), 0, 0)));
    const Page& next = page(second);
    EXPECT_STREQ(reinterpret_cast<const char*>(&next[5]), "object48");
    EXPECT_EQ(next[4], 0xFFFFFFFF);
    {
        Peer peer;
        EXPECT_EQ(peer(make, 48), ZAT_OK) << "a page that it did not know";
        EXPECT_EQ(next[13], 2u);
        EXPECT_EQ(make(49), ZAT_OK);
        EXPECT_EQ(peer(make, 49), ZAT_OK);
        EXPECT_EQ(first[0], 2u);
    }
    shmdt(&first);
    shmdt(&next);
    EXPECT_EQ(zatOSWTerm(), ZAT_OK);
    EXPECT_EQ(systemVObjects(), 0);
    EXPECT_EQ(keyFiles(), std::vector<std::string>{second});
}

TEST(SharedTable, CutsNamesAndLooksForThemWhole) {
    ASSERT_EQ(makeNamed(32), ZAT_OK);
    const std::string file = std::string(31, 'n') + "_msem";
    const auto isThere = [=] { return std::filesystem::exists(getenv("GEN_MSGQ_PATH") + file); };
    EXPECT_TRUE(isThere());
    Peer peer;
    ZatIpcHandle cut = object;
    EXPECT_EQ(makeNamed(32), ZAT_IPC_SEMGET_FAILED);
    EXPECT_EQ(peer(makeNamed, 32), ZAT_IPC_SEMGET_FAILED);
    EXPECT_TRUE(isThere()) << "it is the first one's";
    EXPECT_EQ(makeNamed(31), ZAT_OK);
    EXPECT_EQ(object, cut) << "what it is called now";
    EXPECT_EQ(zatOSWIpcDeleteMutexSem(object), ZAT_OK);
    EXPECT_EQ(zatOSWIpcDeleteMutexSem(object), ZAT_OK);
    EXPECT_FALSE(isThere());
    EXPECT_EQ(makeNamed(32), ZAT_OK);
}

TEST(SharedLayer, EndsWaitsWhenItGoesAndIsUsableWhenItComesBack) {
    ASSERT_EQ(make(1), ZAT_OK);
    ASSERT_EQ(await(), ZAT_OK);
    ZatIpcHandle unnamed = 0;
    ASSERT_EQ(zatOSWIpcCreateCountSem(nullptr, &unnamed, 0, 1), ZAT_OK);
    for (const bool alone : {false, true}) {
        std::optional<Peer> peer;
        if (!alone) {
            EXPECT_EQ(peer.emplace()(make, 1), ZAT_OK);
        }
        Worker waiter([] { return await(ZAT_FOREVER); });
        EXPECT_TRUE(blockedReach(ZAT_IPC_TYPE_COUNT, 1));
        const Stopwatch sinceTerm;
        zatOSWIpcTerm();
        const ZatStatus status = waiter.join();
        EXPECT_TRUE(isSlow() || sinceTerm.elapsedMs() < 900) << "not by its look after a second";
        EXPECT_TRUE(status == ZAT_IPC_NO_OBJECT || status == ZAT_IPC_SEM_REMOVED) << status;
        EXPECT_EQ(await(), ZAT_IPC_SEMOP_FAILED);
        EXPECT_EQ(make(1), ZAT_IPC_SEMOP_FAILED) << "it does not come back by itself";
        EXPECT_EQ(keyFiles().empty(), alone);
        EXPECT_EQ(zatOSWIpcInit(), ZAT_OK);
        EXPECT_EQ(await(), ZAT_IPC_NO_OBJECT);
        EXPECT_EQ(zatOSWIpcPostCountSem(unnamed), ZAT_IPC_NO_OBJECT);
        ASSERT_EQ(make(1), ZAT_OK);
        EXPECT_EQ(await(), alone ? ZAT_OK : ZAT_TIMED_OUT) << "what was left of it";
    }
}

TEST(SharedLayer, IsCleanedUpByTheLastProcessThatIsNotKilled) {
    {
        Peer last(make, 0), killed(make, 0);
        for (uint32_t i = 1; i < 60; ++i)
            EXPECT_EQ(killed(make, i), ZAT_OK) << "also in a page that the last one never saw";
        killed.kill();
    }
    EXPECT_EQ(systemVObjects(), 0);
    EXPECT_EQ(keyFiles(), std::vector{std::string(tableName) + "1"});
}

TEST(SharedLayer, ComesUpWhileTheLastProcessBeforeItTerminates) {
    Peer peers[3];
    for (Peer& peer : peers)
        peer.begin(comeAndGo, isSlow() ? 50 : 2000);
    for (Peer& peer : peers)
        EXPECT_EQ(peer.end(), ZAT_OK);
    expectNothingLeft();
}

/* Whoever makes a lock semaphore may be killed before it is set. */
TEST(SharedLayer, RepairsALockThatWasMadeButNeverSet) {
    std::filesystem::create_directories(getenv("GEN_MSGQ_PATH"));
    for (const char* lock : {tableName, "zatoswipcmsem", "zatoswipcshm"}) {
        const std::string path = getenv("GEN_MSGQ_PATH") + std::string(lock);
        std::ofstream(path).close();
        struct stat info;
        ASSERT_EQ(stat(path.c_str(), &info), 0);
        ASSERT_GE(semget(static_cast<key_t>(info.st_ino), 1, IPC_CREAT | IPC_EXCL | 0666), 0);
        {
            Peer peers[3];
            for (Peer& peer : peers)
                peer.begin(makeNamed, 3);
            for (Peer& peer : peers)
                EXPECT_EQ(peer.end(), ZAT_OK) << lock;
        }
        expectNothingLeft();
    }
}

}  // namespace
