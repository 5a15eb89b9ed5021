#include <unistd.h>

#include <array>
#include <climits>
#include <memory>
#include <set>

#include "gen/trace/captured.h"
#include "osw/event_sem_private.h"
#include "osw/mutex_sem_private.h"
#include "osw/task_pool_private.h"

namespace {

using Limits = std::array<int32_t, 4>; /* min, max, rng, step */
enum End { Return, Exit, DeleteItself, IsDeleted };
ZatCountSem gate; /* a post lets a job end */
Shared<int> begun, ran;

uint32_t job(uint32_t end, auto... words) {
    EXPECT_EQ((std::array{words...}), (std::array{2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 10u}));
    ++begun;
    zatOSWSetTaskPriority(pthread_self(), 20);
    zatOSWWaitCountSem(gate, ZAT_FOREVER);
    ++ran;
    if (end == Exit) zatOSWExitTask(1);
    if (end == DeleteItself) zatOSWDeleteTask(pthread_self());
    return 0;
}

class TaskPoolUnderLoad : public testing::Test {
  protected:
    TaskPoolUnderLoad() {
        listen();
        EXPECT_EQ(zatOSWCreateCountSem(&gate, 0, 0), ZAT_OK);
        held = heldMemory();
    }
    ~TaskPoolUnderLoad() override {
        if (pool != nullptr) remove();
        EXPECT_TRUE(waitFor([this] { return heldMemory() == held; })) << heldMemory() - held;
    }
    ZatStatus make(const Limits& l, int32_t initial = 0, int32_t priority = ZAT_INHERIT_PRIORITY) {
        return zatOSWCreateTaskPool(reinterpret_cast<ZatTaskPool*>(&pool), "workersOfThisPool",
                                    priority, 65536, initial, l[0], l[1], l[2], l[3]);
    }
    void remove() {
        EXPECT_EQ(zatOSWDeleteTaskPool(wordOf(pool)), ZAT_OK);
        EXPECT_EQ(zatOSWDeleteTaskPool(wordOf(pool)), ZAT_FAILED);
        pool = nullptr;
    }
    ZatStatus queue(uint32_t a1 = Return, const char* name = "sixteencharacters",
                    ZatTaskEntry entry = job) {
        return zatOSWQueueTaskPool(wordOf(pool), name, entry, a1, 2, 3, 4, 5, 6, 7, 8, 9, 10);
    }
    static ZatStatus change(const Limits& l) {
        return zatOSWChangeTaskPool(0, 1, l[0], l[1], l[2], l[3]);
    }
    static void open() { EXPECT_EQ(zatOSWPostCountSem(gate), ZAT_OK); }
    Limits limits() const { return {pool->min, pool->max, pool->rng, pool->step}; }
    bool reach(int idle, int busy) const {
        return waitFor([=, &p = *pool] {
            return p.idle.count == idle && p.busy.count == busy && p.cur == idle + busy;
        });
    }
    static ZatTaskId firstOf(const ClbLstHead& list) {
        return recordOf<OswPoolWorker>(wordOf(list.first)).threadId;
    }
    /* A caller that waits: for a worker, or behind others for its turn. */
    std::unique_ptr<Worker> wait(int turns = 0) {
        auto waiting = std::make_unique<Worker>([this] { return queue(); });
        EXPECT_TRUE(waitersReach(recordOf<OswMutexSem>(pool->queueMutex), turns));
        EXPECT_TRUE(waitersReach(recordOf<OswEventSem>(pool->idleEvent), 1));
        return waiting;
    }

    OswTaskPool* pool = nullptr;
    uint32_t held = 0;
};

class TaskPool : public TaskPoolUnderLoad {
    void SetUp() override { SKIP_IF_THREADS_ARE_FOLLOWED(); }
};

TEST_F(TaskPool, SettlesItsLimits) {
    const Limits table[][2] = {{{0, -1, 9, 5}, {0, -1, 9, 5}},
                               {{5, 3, 7, 2}, {5, 5, 0, 0}},
                               {{2, 2, 3, 1}, {2, 2, 0, 0}},
                               {{9, -1, 3, 6}, {9, -1, 6, 6}}};
    for (const auto& [given, settled] : table) {
        ASSERT_EQ(zatOSWSetTaskPoolDefault(3, given[0], given[1], given[2], given[3]), ZAT_OK);
        ASSERT_EQ(make({}, -1), ZAT_OK);
        EXPECT_EQ(limits(), settled);
        EXPECT_EQ(change({}), ZAT_OK);
        EXPECT_EQ(change(given), ZAT_OK);
        EXPECT_EQ(limits(), settled);
        EXPECT_TRUE(reach(3, 0));
        remove();
    }
    ASSERT_EQ(make({}), ZAT_OK);
    for (int number : {1, -1, INT_MAX})
        EXPECT_EQ(zatOSWChangeTaskPool(number, 1, 0, 0, 0, 0), ZAT_FAILED) << number;
}

TEST_F(TaskPool, RunsAndReportsJobs) {
    const auto show = [] { return printedBy([] { zatOSWShowTaskPool(component, 3); }); };
    EXPECT_EQ(show(), (Lines{"task pool information\n", "< no task pool >\n"}));
    ASSERT_EQ(make({}, -1), ZAT_OK);
    EXPECT_EQ(queue(), ZAT_OK);
    const ZatTaskId worker = firstOf(pool->busy);
    const std::string row = format("        %10u   0 sixteencharacter\n", worker);
    Lines lines = {"task pool information\n",
                   "  no  min   max   rng   step  stack    cur   peak    task name\n",
                   " --- ----- ----- ----- ----- -------- ----- ----- ---------------- \n",
                   "   1     0    -1    10     5    65536     1     1 workersOfThisPoo\n",
                   "  <run>   task id   st    task name\n",
                   "        ---------- --- ---------------- \n",
                   row};
    EXPECT_EQ(show(), lines);
    open();
    EXPECT_TRUE(reach(1, 0));
    lines[4] = " <free>   task id   st    task name\n";
    EXPECT_EQ(show(), lines);
    EXPECT_EQ(nameOf(worker), "sixteencharacter");
    int32_t priority = -1;
    EXPECT_EQ(zatOSWGetTaskPriority(worker, &priority), ZAT_OK);
    EXPECT_EQ(priority, 0);
    EXPECT_EQ(queue(Return, "Controller-P"), ZAT_OK);
    open();
    EXPECT_TRUE(reach(1, 0));
    uint32_t address = 0;
    char last = 0;
    EXPECT_EQ(sscanf(nameOf(worker).c_str(), "mainTh%8x-%c", &address, &last), 2);
    EXPECT_EQ(nameOf(worker), format("mainTh%08x-P", address));
    EXPECT_EQ(change({}), ZAT_OK);
    EXPECT_EQ(queue(Return, "alone"), ZAT_OK);
    EXPECT_TRUE(isRegistered("alone") && reach(1, 0));
    open();
    EXPECT_TRUE(waitFor([] { return ran == 3 && !isRegistered("alone"); }));
}

TEST_F(TaskPool, TrimsItsWorkersAsItsLimitsSay) {
    std::minstd_rand random(testSeed());
    const auto below = [&](uint32_t end) { return static_cast<int>(random() % end); };
    ASSERT_EQ(make({0, 4, 2, 1}), ZAT_OK);
    int idle = 0, busy = 0, peak = 0;
    for (int round = emulated() || isRunBy("valgrind") ? 150 : 1500; round-- > 0;) {
        const auto [min, max, rng, step] = limits();
        const int choice = below(10);
        if (choice == 0) {
            EXPECT_EQ(change({below(5), below(5) - 1 ?: 5, below(5), below(3)}), ZAT_OK);
            peak = 0;
        } else if (choice < 6 && (idle > 0 || max < 0 || busy < max)) {
            EXPECT_EQ(queue(), ZAT_OK);
            ++busy;
            idle > 0 ? --idle : peak = std::max(peak, busy);
        } else if (busy > 0) {
            open();
            const bool surplus = idle + busy-- > min;
            const bool batch = surplus && step != 0 && rng <= idle + 1;
            if (!batch && (!surplus || rng != 0)) ++idle;
            for (int ended = 1; batch && ended < rng && idle > 0 && idle + busy > min; ++ended)
                --idle;
        }
        ASSERT_TRUE(reach(idle, busy)) << idle << ' ' << busy;
        ASSERT_EQ(pool->peak, peak);
    }
    while (busy-- > 0)
        open();
}

std::mutex visits;
std::multiset<uint32_t> visited;

uint32_t visit(uint32_t number, uint32_t) {
    const std::lock_guard lock(visits);
    visited.insert(number);
    return 0;
}

TEST_F(TaskPoolUnderLoad, RunsEveryJobOnceOnAtMostSoManyWorkers) {
    std::minstd_rand random(testSeed());
    const auto upTo = [&](int last) { return static_cast<int>(random() % uint32_t(last + 1)); };
    const uint32_t jobs = emulated() || isRunBy("valgrind") ? 100 : 1000;
    const int max = 1 + upTo(2);
    ASSERT_EQ(make({0, max, 2, 1}), ZAT_OK);
    Shared<uint32_t> taken, done;
    std::vector<std::unique_ptr<Worker>> callers;
    for (uint32_t first = 0; first < 4 * jobs; first += jobs)
        callers.push_back(std::make_unique<Worker>([&, first] {
            for (uint32_t i = first; i < first + jobs; ++i)
                if (queue(i, "visit", taskEntry<visit>) == ZAT_OK) ++taken;
            return ++done;
        }));
    for (; done < 4; pauseBriefly())
        EXPECT_EQ(change({upTo(max), max, upTo(2), upTo(1)}), ZAT_OK);
    callers.clear();
    const auto count = [] { return std::lock_guard(visits), visited.size(); };
    EXPECT_TRUE(waitFor([&] { return count() == taken; }));
    const std::lock_guard lock(visits);
    EXPECT_EQ(std::set(visited.begin(), visited.end()).size(), 4 * jobs) << "a job was refused";
    EXPECT_LE(pool->peak, max);
}

TEST_F(TaskPool, LetsCallersWaitForAWorkerOrForRoom) {
    ASSERT_EQ(make({1, 1, 0, 0}), ZAT_OK);
    EXPECT_EQ(queue(), ZAT_OK);
    const auto first = wait(), second = wait(1);
    first->remove();
    EXPECT_EQ(change({1, 1, 0, 0}), ZAT_OK);
    auto& event = recordOf<OswEventSem>(pool->idleEvent);
    EXPECT_TRUE(waitFor([&] { return peek(event, &OswEventSem::signalled) == 0; }));
    const auto third = wait(1), fourth = wait(2);
    fourth->remove();
    EXPECT_EQ(change({1, 2, 0, 0}), ZAT_OK);
    EXPECT_EQ(second->join(), ZAT_OK) << "a change that made no room ended the wait";
    EXPECT_TRUE(waitFor([] { return begun == 2; }));
    remove();
    EXPECT_EQ(third->join(), ZAT_FAILED);
    open(), open();
    EXPECT_TRUE(waitFor([] { return ran == 2; }));
}

TEST_F(TaskPool, LosesWorkersButNoJobs) {
    for (const End end : {Exit, DeleteItself, IsDeleted}) {
        ASSERT_EQ(make({1, 1, 0, 0}), ZAT_OK);
        EXPECT_EQ(queue(end), ZAT_OK);
        const auto waiting = wait();
        end != IsDeleted ? open() : void(zatOSWDeleteTask(firstOf(pool->busy)));
        EXPECT_EQ(waiting->join(), ZAT_OK);
        open();
        ASSERT_TRUE(reach(1, 0)) << "the waiting caller's job was not run, end " << end;
        remove();
    }
    const uint32_t space = addressSpaceKb();
    ASSERT_EQ(make({1, 1, 0, 0}), ZAT_OK);
    for (int round = 0; round < 200; ++round) {
        EXPECT_EQ(queue(Exit), ZAT_OK);
        open();
        ASSERT_TRUE(reach(0, 0));
    }
    remove();
    EXPECT_LT(addressSpaceKb(), space + 10000) << "stacks stay behind";
    for (int round = 0; round < 30; ++round) {
        ASSERT_EQ(make({1, 1, 0, 0}, 1), ZAT_OK);
        EXPECT_EQ(zatOSWDeleteTask(firstOf(pool->idle)), ZAT_OK);
        ASSERT_TRUE(reach(0, 0)) << "a worker that had not begun";
        remove();
    }
}

TEST_F(TaskPool, LeavesNothingWhereWorkersAreRefused) {
    if (seteuid(65534) != 0) GTEST_SKIP() << "this user has no other";
    EXPECT_EQ(make({0, 4, 1, 1}, 3, 50), ZatStatus{EPERM});
    EXPECT_EQ(pool, nullptr);
    ASSERT_EQ(make({0, 4, 1, 1}, 0, 50), ZAT_OK);
    EXPECT_EQ(queue(), ZatStatus{EPERM});
    EXPECT_TRUE(reach(0, 0));
    remove();
    EXPECT_EQ(seteuid(0), 0);
}

}  // namespace
