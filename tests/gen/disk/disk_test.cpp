// Finding, mounting and formatting the removable disk, the kernel's buffers, the card's attributes.

#include <linux/fs.h>
#include <sys/resource.h>
#include <sys/vfs.h>

#include <csignal>

#include "gen/disk/faked_disk.h"

static struct statfs figuresOfSystem;

extern "C" int statfs(const char*, struct statfs* figures) noexcept {
    *figures = figuresOfSystem;
    return 0;
}

static int flushResult;

extern "C" int ioctl(int, unsigned long request, ...) noexcept {
    return request == BLKFLSBUF ? flushResult : -1;
}

namespace {

TEST_F(FakedDisk, IsOfAKindThatTheKernelTells) {
    const struct {
        const char* content;
        ZatStatus status;
        uint32_t kind;
    } cases[] = {{"   device type =cf\n", 0, ZAT_DISK_CF},
                 {"   device type =md\n=cf\n", 0, ZAT_DISK_MD},
                 {"   device type     =cf\n", 0x20030108, 0},  // beyond the 23rd character
                 {"   device type =xx\n", 0x20030108, 0},
                 {"=cf\n   device type =cf\n", 0x20030108, 0},
                 {"", 0x20030108, 0}};
    for (const auto& [content, status, kind] : cases) {
        provide("/proc/ide/cf", content);
        uint32_t told = 7;
        EXPECT_EQ(zatGENFindDisk("", &told), status) << content;
        EXPECT_EQ(told, kind) << content;
    }
    std::filesystem::remove(placeOf("/proc/ide/cf"));
    uint32_t kind = 7;
    EXPECT_EQ(zatGENFindDisk("", &kind), 0x20030102u);
    EXPECT_EQ(zatGENFindDisk(nullptr, &kind), 0x20030108u);
}

TEST_F(FakedDisk, HasTheLetterOfTheFirstLineThatIsNoComment) {
    const std::string none = "20030111 zatGENGetDrvLetter 268 [error]\n";
    const std::string cut(260, ' ');
    const std::string cases[][2] = {
        {"drive x: file=\"/d1\"\ndrive c: file=\"/d\"\ndrive e: file=\"/d\"\n", "0 c"},
        {"#drive c: file=\"/d\"\n", none + "\n"},
        {"#" + cut + "drive c: file=\"/d\"\n", none + "\n"},
        {cut + "drive c: file=\"/d\"\n", "0 c"},
        {"file=\"/d\",x,x:\tdrive,y drive\tc:", "0 c"},
        {"drives c: file=\"/d\"", "20030111 zatGENGetDrvLetter 290 [error]\n\n"},
        {"x: drive file=\"/d\"", "20030111 zatGENGetDrvLetter 290 [error]\n\n"}};
    for (const auto& [content, outcome] : cases) {
        provide("/etc/mtools.conf", content);
        char letter = '?';
        EXPECT_EQ(outcomeOf([&] { return zatGENGetDiskDrvLetter("/d", &letter); }) + letter,
                  outcome)
            << content;
    }
    std::filesystem::remove(placeOf("/etc/mtools.conf"));
    char letter = '?';
    EXPECT_EQ(zatGENGetDiskDrvLetter("/d", &letter), 0x20030110u);
}

TEST_F(FakedDisk, IsMountedAndUnmountedOnlyWhereItHasToBe) {
    provide("/etc/mtab", std::string("/d /mnt/b\\040c vfat rw,") + std::string(5000, 'x') +
                             " 0 0\n/e /mnt/cf vfat rw 0 0\n/f /mnt/cf vfat rw 0 0\n");
    EXPECT_EQ(zatGENVerifyDiskMount("/d", "/mnt/cf"), 0x20030109u);
    EXPECT_EQ(zatGENMountDisk("/d", "/mnt/b c"), ZAT_OK);
    EXPECT_EQ(zatGENUmountDisk("/d", "/mnt/cf"), ZAT_OK);
    EXPECT_TRUE(calls.empty());
    EXPECT_EQ(zatGENMountDisk("/d", "/mnt/cf"), ZAT_OK);
    EXPECT_EQ(zatGENUmountDisk("/f", "/mnt/cf"), ZAT_OK);
    EXPECT_EQ(calls, (Lines{"mount /d /mnt/cf vfat", "umount /mnt/cf"}));
    char name[4] = "???";
    EXPECT_EQ(zatGENGetDiskDevName("/mnt/cf", name, 2), ZAT_OK);
    EXPECT_STREQ(name, "/e?") << "the first entry, as much as there is room for";
    mountResult = -1;
    EXPECT_EQ(zatGENMountDisk("/d", "/mnt/cf"), 0x2003010Cu);
    EXPECT_EQ(zatGENUmountDisk("/e", "/mnt/cf"), 0x2003010Du);
    std::filesystem::remove(placeOf("/etc/mtab"));
    EXPECT_EQ(zatGENVerifyDiskMount("/d", "/mnt/cf"), 0x20030108u);
    EXPECT_EQ(zatGENUmountDisk("/d", "/mnt/cf"), 0x2003010Du) << "nobody knows that it is not";
}

TEST_F(FakedDisk, IsUnmountedBeforeItIsFormattedAndMountedAfterwards) {
    provide("/etc/mtab", device + " /mnt/cf vfat rw 0 0\n");
    beforeCommand = ">" + placeOf("/etc/mtab") + ";exit 0;";
    EXPECT_EQ(zatGENFormatDisk(device.c_str(), "/mnt/cf"), ZAT_OK);
    EXPECT_EQ(calls, (Lines{"umount /mnt/cf", "mformat c:", "mount " + device + " /mnt/cf vfat"}));
    beforeCommand = "exit 1;";
    EXPECT_EQ(zatGENFormatDisk(device.c_str(), "/mnt/cf"), 0x20030106u);
    EXPECT_EQ(calls.back(), "mformat c:");
}

TEST_F(FakedDisk, HasTheFiguresOfTheSystem) {
    figuresOfSystem.f_blocks = 0xFFFFFFFF;
    figuresOfSystem.f_ffree = UINT64_MAX;
    figuresOfSystem.f_fsid.__val[1] = 9;
    figuresOfSystem.f_namelen = 255;
    figuresOfSystem.f_frsize = 77;
    figuresOfSystem.f_flags = 10;
    figuresOfSystem.f_spare[3] = 14;
    GenDiskStatfs told = {};
    EXPECT_EQ(zatGENGetDiskStatfs("/", &told), ZAT_OK);
    uint32_t words[15];
    memcpy(words, &told, sizeof words);
    EXPECT_EQ((std::vector<uint32_t>(words, words + 15)),
              (std::vector<uint32_t>{0, 0, ~0u, 0, 0, 0, ~0u, 0, 9, 255, 10, 0, 0, 0, 14}));
    ++figuresOfSystem.f_blocks;
    EXPECT_EQ(zatGENGetDiskStatfs("/", &told), 0x20030108u);
}

TEST_F(FakedDisk, HasBuffersThatTheKernelFlushes) {
    EXPECT_EQ(zatGENFlushDiskCache(getenv("TEST_TMPDIR")), 0x20030112u);
    provide("/etc/mtab", "");
    EXPECT_EQ(zatGENFlushDiskCache(placeOf("/etc/mtab").c_str()), ZAT_OK);
    flushResult = -1;
    EXPECT_EQ(zatGENFlushDiskCache(placeOf("/etc/mtab").c_str()), 0x20030107u);
    GenCacheParam values = {};
    EXPECT_EQ(zatGENGetSysCacheParam(&values), 0x20030115u);
    provide("/proc/sys/vm/bdflush", "30 64 65 256 500 3000 60");
    EXPECT_EQ(zatGENGetSysCacheParam(&values), 0x20030108u);
    provide("/proc/sys/vm/bdflush", "30 4000000000 65 256 500 3000 60 7\n");
    EXPECT_EQ(zatGENGetSysCacheParam(&values), ZAT_OK);
    EXPECT_TRUE(values.value1 == 30 && values.value2 == 4000000000 && values.value7 == 60 &&
                values.value8 == 7);
    values = {31, 4000000001, 61, 8};
    EXPECT_EQ(zatGENSetSysCacheParam(&values), ZAT_OK);
    std::string line;
    std::getline(std::ifstream(placeOf("/proc/sys/vm/bdflush")), line);
    EXPECT_EQ(line, "31 4000000001 65 256 500 3000 61 8");
    signal(SIGXFSZ, SIG_IGN);
    const rlimit none = {0, RLIM_INFINITY};
    setrlimit(RLIMIT_FSIZE, &none);
    EXPECT_EQ(zatGENSetSysCacheParam(&values), 0x20030108u) << "written, but not taken";
}

TEST_F(FakedDisk, HasACardWithAttributes) {
    const std::string head = "   attr_size   =1f\n", row = "0123456789abcdefABCDEF0123456789ab\n";
    const struct {
        std::string content;
        uint32_t count;
        std::string outcome;
        Lines::value_type bytes;
    } cases[] = {{head + "0A1b\n", 2, "0 ", "\x0A\x1B"},
                 {head + "0A1b\n", 1, "0 ", "\x0A"},
                 {head + "0\nA1\nb", 2, "0 ", "\x0A"},  // one line more than there are sixteens
                 {head + "0A1", 2, "20030119 zatGENhextobytes 1702 [error:20030119]\n", ""},
                 {head + "FF0G", 2, "20030118 zatGENctoi 1649 [error:20030118]\n", "\xFF"},
                 {head + row, 16, "0 ", "\x01#Eg\x89\xAB\xCD\xEF\xAB\xCD\xEF\x01#Eg\x89"},
                 {head, 1, "20030108 ", ""},
                 {head + "00\n", 0, "2003010a zatGENGetDiskAttributes 1557 [error:2003010a]\n", ""},
                 {head + "00\n", 0x80000000, "20030108 ", ""},
                 {"   attr_size   =0\n00", 1,
                  "2003010a zatGENGetDiskAttributes 1557 [error:2003010a]\n", ""},
                 {"attributes\n00", 1, "20030108 ", ""}};
    for (const auto& [content, count, outcome, bytes] : cases) {
        provide("/proc/ide/cf_attr", content);
        uint8_t read[32] = {};
        EXPECT_EQ(outcomeOf([&, n = count] { return zatGENGetDiskAttribute(1, read, n); }), outcome)
            << content;
        EXPECT_STREQ(reinterpret_cast<char*>(read), bytes.c_str()) << content;
    }
    provide("/proc/ide/cf_attr", head);
    uint32_t size = 0;
    EXPECT_EQ(zatGENGetDiskAttribLen(1, &size), ZAT_OK);
    EXPECT_EQ(size, 0x1Fu);
    EXPECT_EQ(outcomeOf([&] { return zatGENGetDiskAttribLen(0, &size); }),
              "20030108 zatGENGetDiskAttributes 1475 [error:20030108]\n");
    EXPECT_EQ(outcomeOf([] { return zatGENGetDiskAttribute(1, nullptr, 1); }),
              "20030108 zatGENGetDiskAttributes 1549 [error:20030108]\n");
    std::filesystem::remove(placeOf("/proc/ide/cf_attr"));
    EXPECT_EQ(zatGENGetDiskAttribLen(1, &size), 0x20030102u);
}

}  // namespace
