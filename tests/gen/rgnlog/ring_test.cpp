// The ring: its bytes against a model, damaged rings, and writers that are killed anywhere.

/* The source itself: it is hidden in the library. */
#include "gen/rgnlog/ring.cpp"  // NOLINT(bugprone-suspicious-include)

#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <deque>

#include "osw/mem_checker.h"

namespace {

/** Time stamp and payload. */
using Entry = std::string;
using Entries = std::deque<Entry>;

uint32_t below(uint32_t limit) {
    static std::mt19937 random(testSeed());
    return static_cast<uint32_t>(random() % limit);
}

Entry some(uint32_t length) {
    Entry entry(8 + length, 0);
    std::generate(entry.begin(), entry.end(), [] { return static_cast<char>(below(256)); });
    return entry;
}

/** What a ring holds after some writes. */
struct Model {
    uint32_t area, limit, cur = 0, free = area;
    Entries entries = {};

    uint32_t sizeOf(const Entry& entry) const {
        return entries.size() == 1 ? area - free : (uint32_t(entry.size()) + 19) / 8 * 8;
    }
    void write(Entry entry) {
        if (limit > 0) entry.resize(std::min<size_t>(entry.size(), 8 + limit));
        const uint32_t need = (uint32_t(entry.size()) + 19) / 8 * 8;
        if (need > area) {
            entry.resize(std::max(area, 20u) - 12);
            entries.clear();
            free = 0;
        } else {
            for (; free < need; entries.pop_front())
                free += sizeOf(entries.front());
            free -= need;
            cur = (cur + need) % area;
        }
        entries.push_back(entry);
    }
};

/** A ring that forked children share, with its parts at either end of what may be touched. */
struct Ring : GenRing {
    explicit Ring(uint32_t areaSize, uint32_t limit = 0) : model{areaSize, limit} {
        void* memory = mmap(nullptr, bytes * 3, PROT_NONE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        page = static_cast<uint8_t*>(memory) + bytes;
        EXPECT_EQ(mprotect(page, bytes, PROT_READ | PROT_WRITE), 0);
        const bool isAtEnd = below(2) == 0;
        size = areaSize;
        area = isAtEnd ? page + bytes - size : page;
        header = reinterpret_cast<RgnLogHeader*>(isAtEnd ? page : page + bytes - sizeof *header);
        genRingInit(*this, limit == 0 ? -int32_t(below(2)) : int32_t(limit));
    }
    uint32_t& word(uint32_t at) const { return wordAt(*this, at % size, 0); }
    std::string image() const { return {page, page + bytes}; }
    void restore(const std::string& image) const { memcpy(page, image.data(), bytes); }

    void write(const Entry& entry) {
        const auto length = static_cast<uint32_t>(entry.size() - 8), cut = below(length + 1);
        const RgnLogPiece pieces[] = {
            {entry.data() + 8, cut}, {nullptr, 0}, {entry.data() + 8 + cut, length - cut}};
        genRingWrite(*this, {reinterpret_cast<const ZatClock*>(entry.data()), pieces, 3, length});
        model.write(entry);
    }
    Entries walk(GenRingOrder order) const {
        Entries found;
        GenRingWalk walk(*this, order);
        for (GenRingEntry entry; walk.next(entry) && found.size() <= size / 8;) {
            found.emplace_back(reinterpret_cast<const char*>(&entry.time), 8);
            found.back().append(entry.first, entry.first + entry.firstLength);
            found.back().append(entry.second, entry.second + entry.secondLength);
        }
        if (order == GenRingOrder::NewestFirst) std::reverse(found.begin(), found.end());
        return found;
    }
    std::string read() const {
        std::string all;
        for (uint32_t position = ZAT_GEN_OLDEST, length = 0; all.size() <= size;) {
            std::vector<uint8_t> buffer(below(60));
            length = genRingRead(*this, buffer.data(), uint32_t(buffer.size()), position);
            if (length == ZAT_GEN_LOG_END) break;
            EXPECT_EQ(length == 0, buffer.size() < 4);
            all.append(buffer.data(), buffer.data() + length);
        }
        return all;
    }
    /** Whether the sizes go once around, and the words that look back say the same. */
    bool isSound() const {
        const uint32_t cur = header->cur;
        bool holds = header->size == size && cur < size && cur % 8 == 0 && header->full <= 1;
        for (uint32_t sum = 0, record = 0; holds && sum < size; sum += record) {
            record = word(cur + sum + 4);
            holds = record - 8 < size - sum && record % 8 == 0 && record <= size - sum &&
                    word(cur + sum + record) == record;
        }
        return holds;
    }

    Model model;
    uint8_t* page;
    static inline const auto bytes = static_cast<uint32_t>(sysconf(_SC_PAGESIZE));
};

/** Compares what a ring is read to, byte by byte, and what is walked, with its model. */
void check(const Ring& ring, const Model& model) {
    const uint32_t cur = ring.header->cur;
    ASSERT_TRUE(ring.isSound() && cur == model.cur && ring.header->run == 0);
    ASSERT_EQ(ring.header->full == 0 ? ring.word(cur + 4) : 0, model.free);
    const std::string bytes = ring.read();
    ASSERT_EQ(bytes.size(), ring.size - model.free);
    uint32_t at = 0, words[5] = {}, newest = ring.word(cur);
    for (const Entry& entry : model.entries) {
        const uint32_t size = model.sizeOf(entry);
        memcpy(words, bytes.substr(at).append(20, 0).data(), sizeof words);
        ASSERT_TRUE(words[0] == newest && words[1] == size);
        ASSERT_TRUE(size < 24 || words[4] == entry.size() - 8);
        ASSERT_TRUE(size < 16 || bytes.compare(at + 8, 8, entry, 0, 8) == 0);
        ASSERT_TRUE(size < 24 || bytes.compare(at + 20, entry.size() - 8, entry, 8) == 0);
        newest = size;
        at += size;
    }
    for (const GenRingOrder order : {GenRingOrder::OldestFirst, GenRingOrder::NewestFirst})
        ASSERT_TRUE(ring.size < 16 || ring.walk(order) == model.entries);
}

TEST(Ring, FollowsAModelThroughRandomWrites) {
    for (uint32_t round = 0; round < (emulated() ? 60 : 300) && !HasFailure(); ++round) {
        Ring ring(8 + (round < 30 ? round / 2 : below(60)) * 8, below(2) * below(60));
        for (int i = 0; i < 60 && !HasFatalFailure(); ++i) {
            check(ring, ring.model);
            ring.write(some(1 + below(below(4) == 0 ? ring.size + 20 : ring.size / 4 + 1)));
        }
    }
}

/** A length whose records fill a ring exactly, now and then. */
uint32_t someLength(const Ring& ring) {
    return 1 + below(below(2) == 0 ? 4 : ring.size / 2);
}

Ring someRing() {
    Ring ring(below(3) == 0 ? 8 + below(20) * 8 : 24 + below(6) * 24);
    for (uint32_t i = below(10); i > 0; --i)
        ring.write(some(someLength(ring)));
    return ring;
}

/** Walks, reads, mends and writes a spoilt ring. */
void use(Ring& ring, uint32_t position) {
    const std::string spoilt = ring.image();
    for (const bool isMended : {true, false}) {
        for (const GenRingOrder order : {GenRingOrder::OldestFirst, GenRingOrder::NewestFirst})
            EXPECT_LE(ring.walk(order).size(), ring.size / 8);
        EXPECT_LE(ring.read().size(), ring.size);
        uint32_t at = position;
        const uint32_t length =
            genRingRead(ring, std::vector<uint8_t>(ring.size).data(), ring.size, at);
        EXPECT_TRUE(length == ZAT_GEN_LOG_END || (length - 1 < ring.size && at < ring.size));
        if (isMended) genRingMend(ring);
        EXPECT_TRUE(!isMended || ring.isSound()) << "mended";
        if (isMended) ring.restore(spoilt);
        ring.write(some(1 + below(20)));
    }
    ring.header->maxEntry = 0;
    ring.write(some(ring.size));
    EXPECT_TRUE(ring.isSound() && ring.walk(GenRingOrder::NewestFirst).size() == 1) << "replaced";
}

TEST(Ring, SurvivesAnyDamagedWord) {
    for (int round = 0; round < (memoryIsChecked() || emulated() ? 8 : 40); ++round) {
        Ring ring = someRing();
        const std::string whole = ring.image();
        for (uint32_t i = 0; i < 5 + ring.size / 4; ++i)
            for (const uint32_t base : {0u, ring.size, 0x80000000u})
                for (const int near : {-8, -4, -1, 0, 1, 4, 8, 12, 16, 24}) {
                    ring.restore(whole);
                    (i < 5 ? (&ring.header->run)[i] : ring.word(i * 4 - 20)) =
                        base + uint32_t(near);
                    use(ring, base + uint32_t(near));
                    ASSERT_FALSE(HasFailure()) << "word " << i << ": " << near << " from " << base;
                }
    }
}

/** Mends a ring whose writer was killed: what was not to be overwritten is there, in order. */
void mend(const Ring& ring, const Entries& before, const Entries& after) {
    const std::string left = ring.image();
    genRingMend(ring);
    ASSERT_TRUE(ring.isSound());
    const Entries found = ring.walk(GenRingOrder::OldestFirst);
    EXPECT_EQ(ring.walk(GenRingOrder::NewestFirst), found);
    for (const Entry& entry : found)
        EXPECT_TRUE(entry == after.back() || std::count(before.begin(), before.end(), entry) == 1);
    const auto kept = after.end() - 1;
    EXPECT_TRUE(kept == after.begin() ||
                std::search(found.begin(), found.end(), after.begin(), kept) != found.end());
    ring.restore(left);
}

TEST(Ring, IsMendedWhereverItsWriterWasKilled) {
    if (emulated() || isRunBy("valgrind")) GTEST_SKIP() << "no single steps there";
    for (int round = 0; round < (memoryIsChecked() ? 12 : 50) && !HasFailure(); ++round) {
        Ring ring = someRing();
        if (ring.size < 24) continue;
        const Entry entry = some(someLength(ring) + below(2) * below(ring.size));
        Model after = ring.model;
        after.write(entry);
        const pid_t child = fork();
        if (child == 0) {
            ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
            raise(SIGSTOP);
            ring.write(entry);
            _exit(0);
        }
        int status = 0;
        for (std::string seen; waitpid(child, &status, 0) == child && WIFSTOPPED(status);) {
            if (ring.image() != seen) mend(ring, ring.model.entries, after.entries);
            seen = ring.image();
            ASSERT_EQ(ptrace(PTRACE_SINGLESTEP, child, nullptr, nullptr), 0);
        }
        EXPECT_EQ(status, 0);
        check(ring, after);
    }
}

}  // namespace
