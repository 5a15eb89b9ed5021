// Blocks of the default partitions: their header, whom they are charged to, how they are moved;
// and what a memory fault does to the process.

#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "osw/mem_checker.h"
#include "osw/mem_header_private.h"
#include "osw/worker.h"

/** Called when the library makes the semaphore of a partition. */
static std::function<void()> atSemaphore;

extern "C" int semget(key_t key, int count, int flags) noexcept {
    static const auto next = reinterpret_cast<int (*)(key_t, int, int)>(dlsym(RTLD_NEXT, "semget"));
    if (atSemaphore) atSemaphore();
    return next(key, count, flags);
}

namespace {

struct Family {
    std::string name;
    ZatStatus (*allocate)(ZatPartition, void**, uint32_t);
    ZatStatus (*free)(ZatPartition, void*);
    ZatStatus (*reallocate)(ZatPartition, void**, void*, uint32_t);
};

const Family sys = {"Sys", zatOSWSysAllocMemPart, zatOSWSysFreeMemPart, zatOSWSysReAllocMemPart};
const Family org = {"Org", zatOSWOrgAllocMemPart, zatOSWOrgFreeMemPart, zatOSWOrgReAllocMemPart};

// Not inlined, and with work after the call: the return address lies in these functions.
__attribute__((noinline)) void* allocateFrom(const Family& family, uint32_t size) {
    void* block = nullptr;
    EXPECT_EQ(family.allocate(0, &block, size), ZAT_OK);
    return block;
}
__attribute__((noinline)) void freeFrom(const Family& family, void* block) {
    EXPECT_EQ(family.free(0, block), ZAT_OK);
}

template <typename Function>
bool liesIn(uint32_t address, Function* function) {
    return address - reinterpret_cast<uint32_t>(function) < 512;
}

class DefaultBlock : public testing::TestWithParam<bool> {
  protected:
    void SetUp() override { ASSERT_EQ(zatOSWInit(), ZAT_OK); }
    void* allocate(uint32_t size) { return allocateFrom(family, size); }
    void free(void* block) { freeFrom(family, block); }

    const Family& family = GetParam() ? org : sys;
};

INSTANTIATE_TEST_SUITE_P(IsOrg, DefaultBlock, testing::Bool());

TEST_P(DefaultBlock, CarriesAHeaderThatAddsUp) {
    for (uint32_t size : {0u, 1u, 100u}) {
        void* block = allocate(size);
        EXPECT_EQ(wordOf(block) % 8, 0u);
        const auto* words = static_cast<uint32_t*>(block) - 6;
        EXPECT_TRUE(liesIn(words[1], allocateFrom)) << std::hex << words[1];
        const std::vector<uint32_t> expected = {
            0x55555555,
            words[1],
            0xAAAAAAAA,
            size,
            static_cast<uint32_t>(pthread_self()),
            0x5A5A5A5B - (words[1] + size + static_cast<uint32_t>(pthread_self()))};
        EXPECT_EQ(std::vector<uint32_t>(words, words + 6), expected);
        free(block);
    }
}

TEST_P(DefaultBlock, IsChargedToItsTaskUntilSomebodyFreesIt) {
    const uint32_t before = heldMemory();
    void* first = allocate(1000);
    void* second = allocate(0x10000);
    EXPECT_EQ(heldMemory(), before + 1000 + 0x10000) << "as asked for";
    free(allocate(500));
    free(allocate(100));
    EXPECT_EQ(infoOf(0).memPeak, before + 1500 + 0x10000);
    void* left[2] = {};
    Worker([&] {
        free(second);
        EXPECT_EQ(heldMemory(), 0u) << "another task's block";
        left[0] = allocate(500);
        EXPECT_EQ(heldMemory(), 500u);
        return ZAT_OK;
    }).join();
    EXPECT_EQ(heldMemory(), before + 1000);
    std::thread([&] {
        free(first);
        left[1] = allocate(500);
        EXPECT_EQ(oswHeaderOf(left[1])->taskId, pthread_self()) << "not a task";
    }).join();
    for (void* block : left) {
        EXPECT_EQ(heldMemory(), before) << "who allocated the others is gone";
        free(block);
    }
    EXPECT_EQ(heldMemory(), before);
}

TEST_P(DefaultBlock, KeepsItsContentWhenItIsMovedWhichItIsNotInAnotherPartition) {
    const uint32_t before = heldMemory();
    void* block = nullptr;
    ASSERT_EQ(family.reallocate(0, &block, nullptr, 100), ZAT_OK);
    const std::string content(100, 'w');
    memcpy(block, content.data(), 100);
    for (const uint32_t size : {5000u, 20u}) {
        void* moved = nullptr;
        ASSERT_EQ(family.reallocate(0, &moved, block, size), ZAT_OK);
        EXPECT_EQ(memcmp(moved, content.data(), std::min(size, 100u)), 0);
        EXPECT_EQ(oswHeaderOf(moved)->size, size);
        EXPECT_EQ(heldMemory(), before + size) << "the old block is freed";
        block = moved;
    }
    void* untouched = &block;
    EXPECT_EQ(family.reallocate(0, &untouched, block, 0), ZAT_OK);
    EXPECT_EQ(heldMemory(), before);

    alignas(8) uint8_t memory[256];
    ZatPartition partition = 0;
    ASSERT_EQ(zatOSWSysCreateMemPart(&partition, memory, sizeof memory), ZAT_OK);
    ASSERT_EQ(zatOSWSysAllocMemPart(partition, &block, 16), ZAT_OK);
    EXPECT_EQ(family.reallocate(partition, &untouched, block, 32), ZAT_FAILED);
    EXPECT_EQ(headOf(partition)->curBlocks, 1u);
    EXPECT_EQ(family.reallocate(partition, &untouched, block, 0), ZAT_OK);
    EXPECT_EQ(headOf(partition)->curBlocks, 0u);
    EXPECT_EQ(untouched, &block);
}

TEST(SystemPartition, IsMadeOnceByAllWhoNeedIt) {
    SKIP_IF_RACES_ARE_CHECKED();
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    EXPECT_EQ(sysPartId, 0u);
    // Whoever makes it lets the others come as far as they can.
    atSemaphore = [] { EXPECT_TRUE(waitFor(allOthersSleep)); };
    constexpr uint32_t count = 8;
    pthread_barrier_t start;
    pthread_barrier_init(&start, nullptr, count);
    std::vector<void*> blocks(count);
    std::vector<std::thread> threads;
    for (void*& block : blocks)
        threads.emplace_back([&] {
            pthread_barrier_wait(&start);
            block = allocateFrom(sys, 100);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(std::set<void*>(blocks.begin(), blocks.end()).size(), count);
    EXPECT_EQ(headOf(sysPartId)->curBlocks, count) << "a partition was made and lost";
    EXPECT_EQ(headOf(sysPartId)->curBytes, count * (104 + 24 + 8));
    for (void* block : blocks)
        freeFrom(sys, block);
    const auto left = blocksOf(sysPartId);
    ASSERT_EQ(left.size(), 1u);
    EXPECT_GE(left[0].size, 0x100000u - 48);
}

TEST(SystemPartition, GivesPlainBlocksUnderItsNameButExpectsTheHeader) {
    void* low = allocateFrom(sys, 100);
    void* plain = nullptr;
    ASSERT_EQ(zatOSWSysAllocMemPart(sysPartId, &plain, 100), ZAT_OK);
    EXPECT_EQ(headOf(sysPartId)->curBytes, 104u + 24u + 8u + 104u + 8u) << "no header";
    EXPECT_EQ(zatOSWOrgFreeMemPart(sysPartId, plain), ZAT_OK);
    void* high = nullptr;
    ASSERT_EQ(zatOSWSysAllocBottomMemPart(0, &high, 100), ZAT_OK);
    EXPECT_EQ(oswHeaderOf(high)->size, 100u);
    EXPECT_LT(low, high);
    EXPECT_EQ(zatOSWSysFreeMemPart(sysPartId, low), ZAT_OK);
    EXPECT_EQ(oswHeaderOf(low)->size, 0xFFFFFFFFu) << "what a freed header tells";
    freeFrom(sys, high);
    EXPECT_TRUE(liesIn(oswHeaderOf(high)->caller, freeFrom));
    EXPECT_EQ(headOf(sysPartId)->curBlocks, 0u);
}

TEST(SystemPartition, IsExhaustedQuietly) {
    void* old = allocateFrom(sys, 100);
    for (uint32_t size : {0x200000u, 0xFFFFFFD0u, 0xFFFFFFE7u, 0xFFFFFFE8u, 0xFFFFFFFFu}) {
        void* block = &block;
        EXPECT_EQ(zatOSWSysAllocMemPart(0, &block, size), ZAT_OSW_PART_EXHAUSTED) << size;
        EXPECT_EQ(zatOSWSysAllocBottomMemPart(0, &block, size), ZAT_OSW_PART_EXHAUSTED) << size;
        EXPECT_EQ(zatOSWSysReAllocMemPart(0, &block, old, size), ZAT_OSW_PART_EXHAUSTED) << size;
        EXPECT_EQ(block, nullptr);
    }
    EXPECT_EQ(oswHeaderOf(old)->size, 100u) << "the old block stays";
    freeFrom(sys, old);
}

TEST(HeapCalls, LookLikeThoseOfTheLanguage) {
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    const uint32_t before = heldMemory();
    auto* block = static_cast<uint8_t*>(zatOSWSubAllocMem(15));
    memset(block, 0xFF, 15);
    freeFrom(org, block);
    block = static_cast<uint8_t*>(zatOSWSubCallocMem(3, 5));
    EXPECT_EQ(std::count(block, block + 15, 0), 15);
    EXPECT_EQ(heldMemory(), before + 15);
    block[0] = 7;
    block = static_cast<uint8_t*>(zatOSWSubReAllocMem(block, 1000));
    EXPECT_EQ(block[0], 7);
    EXPECT_EQ(zatOSWSubReAllocMem(block, 0), nullptr);
    EXPECT_EQ(zatOSWOrgFreeMemPart(0, nullptr), ZAT_OK);
    void* plain = zatOSWOrgMalloc(100);
    EXPECT_EQ(heldMemory(), before);
    zatOSWOrgFree(plain);
}

TEST(SubFprintf, CutsModerateTextsAndRefusesLongOnes) {
    for (const int length : {0, 319, 320, 1279, 1280}) {
        FILE* file = tmpfile();
        ASSERT_NE(file, nullptr);
        const int expected = length > 1279 ? -1 : std::min(length, 319);
        EXPECT_EQ(zatOSWSubFprintf(file, "%*s", length, ""), expected) << length;
        EXPECT_EQ(ftell(file), std::max(expected, 0)) << length;
        fclose(file);
    }
}

// A fault stores to address 0. Here that page comes into being when it is written to, so that the
// process survives and shows what the library does around the store; the task that called does not.

void permitTheStore(int, siginfo_t* fault, void*) {
    static const char mark[] = "<store>\n";
    if (fault->si_addr != nullptr || write(2, mark, sizeof mark - 1) < 0) abort();
    mprotect(nullptr, 4096, PROT_READ | PROT_WRITE);
}

/** What a call writes to standard error, a mark standing for the store; none if not permitted. */
std::optional<std::string> survive(const std::function<void()>& call) {
    void* page = mmap(nullptr, 4096, PROT_NONE, MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (page == MAP_FAILED) return std::nullopt;
    struct sigaction action = {};
    struct sigaction before;
    action.sa_sigaction = permitTheStore;
    action.sa_flags = SA_SIGINFO;
    sigaction(SIGSEGV, &action, &before);
    passOwnMessages();
    testing::internal::CaptureStderr();
    Worker task([&] {
        call();
        return ZAT_OK;
    });
    EXPECT_EQ(task.join(), 0xFFFFFFFF) << "the task ends";
    std::string text = testing::internal::GetCapturedStderr();
    sigaction(SIGSEGV, &before, nullptr);
    munmap(nullptr, 4096);
    text = std::regex_replace(text, std::regex("Line-[1-9][0-9]*\n"), "Line-N\n");
    return std::regex_replace(text, std::regex("func=0x[0-9a-f]+\n"), "func=F\n");
}

#define SKIP_IF_MEMORY_IS_CHECKED() \
    if (memoryIsChecked()) GTEST_SKIP() << "the memory checker reports the store itself"

const std::string store = "<store>\n";
const std::string survived = "OSW:<Fatal>:File-zatoslnx, Line-N\n";

/** What the messages of a call begin with. */
std::string messageOf(const std::string& function) {
    return "OSW:<Fatal>:" + function + "():";
}

std::string dumpLine(const uint8_t* bytes, int count) {
    std::string hex;
    std::string characters;
    for (int i = 0; i < count; ++i) {
        hex += format(i % 2 == 0 ? "%02X" : "%02X ", bytes[i]);
        characters += bytes[i] >= 32 && bytes[i] <= 126 ? static_cast<char>(bytes[i]) : '.';
    }
    return format("OSW:%08x| %-39.39s | %s\n", wordOf(bytes), hex.c_str(), characters.c_str());
}

struct Fault {
    std::function<void()> call;
    std::string text;
};

/** Where the allocation that is tried puts its block. */
void* allocated;

/** An allocation's fault; the out pointer has to become null. */
Fault badAllocation(const std::string& function, const std::function<void(void**)>& call) {
    const std::string text = messageOf("zatOSW" + function) + "Memory allocate failed\n";
    const bool storeFirst = function == "SysAllocMemPart" || function == "OrgAllocMemPart";
    return {[call] {
                allocated = &allocated;
                call(&allocated);
            },
            (storeFirst ? store + text : text + store) + survived};
}

Fault badFree(const Family& family, ZatPartition partition, uint32_t block) {
    const std::string begin = messageOf("zatOSW" + family.name + "FreeMemPart");
    return {[=] { family.free(partition, reinterpret_cast<void*>(block)); },
            begin + format("partid<%x> pblk<%x>\n", partition, block) + begin +
                "Memory free error rc<20020105>\n" + store + survived};
}

Fault badHeader(const Family& family, ZatPartition partition, void* block) {
    const std::string begin = messageOf("zatOSW" + family.name + "FreeMemPart");
    const auto* header = static_cast<uint8_t*>(block) - 24;
    return {[=] { family.free(partition, block); },
            begin + "header checksum error\n" + begin +
                format("addr=0x%x, func=F\n", wordOf(block)) + dumpLine(header, 16) +
                dumpLine(header + 16, 8) + store + survived};
}

std::vector<Fault> allFaults() {
    alignas(8) static uint8_t memory[64];
    static ZatPartition part;
    EXPECT_EQ(zatOSWSysCreateMemPart(&part, memory, sizeof memory), ZAT_OK);
    void* freedTwice = allocateFrom(sys, 8);
    freeFrom(sys, freedTwice);
    void* plain = nullptr;
    EXPECT_EQ(zatOSWSysAllocMemPart(sysPartId, &plain, 40), ZAT_OK);
    plain = static_cast<char*>(memset(plain, 'A', 40)) + 24;
    static MemDbgHead foreign[2] = {{0x55555555, 0, 0xAAAAAAAA, 0, 0, 0x5A5A5A5B}, {}};
    const auto calloc = [](void** out) {
        *out = nullptr;
        zatOSWSubCallocMem(0x10001, 0x10000);
    };
    std::vector<Fault> faults = {
        badAllocation("SysAllocMemPart", [](void** o) { zatOSWSysAllocMemPart(part, o, 0); }),
        badAllocation("SysAllocBottomMemPart",
                      [](void** o) { zatOSWSysAllocBottomMemPart(part, o, 0); }),
        badAllocation("OrgAllocMemPart", [](void** o) { zatOSWOrgAllocMemPart(part, o, 0); }),
        badAllocation("OrgAllocMemPart", [](void** o) { zatOSWOrgAllocMemPart(0, o, ~15u); }),
        badAllocation("OrgAllocMemPart", calloc),
        badFree(sys, part, part + 24),
        badFree(sys, part, part + headOf(part)->end),
        badFree(org, part, part - 8),
        badFree(sys, 0, wordOf(&foreign[1])),
        badFree(sys, 0, 0),
        badHeader(sys, 0, freedTwice),
        badHeader(sys, sysPartId, plain)};
    for (const uint32_t alignment : {0u, 3u, 12u, 8u}) {
        const ZatPartition where = alignment == 8 ? 0 : part;
        faults.push_back(badAllocation("SysAlignAllocMemPart", [=](void** out) {
            return zatOSWSysAlignAllocMemPart(where, out, alignment, 8);
        }));
        faults.push_back(badAllocation("SysAlignAllocBottomMemPart", [=](void** out) {
            return zatOSWSysAlignAllocBottomMemPart(where, out, alignment, 8);
        }));
    }
    static MemDbgHead damaged[6][2];
    for (uint32_t word = 0; word < 6; ++word) {
        damaged[word][0] = {0x55555555, 0, 0xAAAAAAAA, 0, 0, 0x5A5A5A5B};
        reinterpret_cast<uint32_t*>(damaged[word])[word] ^= 0x8000;
        faults.push_back(badHeader(word % 2 == 0 ? org : sys, 0, &damaged[word][1]));
    }
    return faults;
}

TEST(Fault, EndsTheProcessBetweenItsMessages) {
    SKIP_IF_MEMORY_IS_CHECKED();
    for (const Fault& fault : allFaults()) {
        EXPECT_EXIT(fault.call(), testing::KilledBySignal(SIGSEGV), "") << fault.text;
        allocated = nullptr;
        EXPECT_EQ(survive(fault.call).value_or(fault.text), fault.text);
        EXPECT_EQ(allocated, nullptr) << fault.text;
    }
}

TEST(Fault, OfTheSystemPartitionLetsTheNextCallTryAgain) {
    SKIP_IF_MEMORY_IS_CHECKED();
    ASSERT_EQ(zatOSWInit(), ZAT_OK);
    const std::string keys = getenv("GEN_MSGQ_PATH");
    const std::string away = testing::TempDir() + "away";
    ASSERT_EQ(rename(keys.c_str(), away.c_str()), 0);
    const Fault fault =
        badAllocation("SysAllocMemPart", [](void** out) { zatOSWSysAllocMemPart(0, out, 8); });
    const auto text = survive(fault.call);
    if (!text) GTEST_SKIP() << "page 0 cannot be mapped";
    EXPECT_EQ(*text, fault.text);
    ASSERT_EQ(rename(away.c_str(), keys.c_str()), 0);
    freeFrom(sys, allocateFrom(sys, 8));
}

}  // namespace
