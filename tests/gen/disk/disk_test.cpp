// A removable disk that is not there: the files in which the library looks for it are those of the
// test, mounts succeed, commands are noted. What commands do is done by the real mtools.

#include <dlfcn.h>
#include <mntent.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <vector>

#include "osw/worker.h"

using Lines = std::vector<std::string>;

static Lines calls;               /* mounts and commands, in their order */
static std::string beforeCommand; /* what the shell does first */
static bool mountFails;

static struct statfs figures;

/* Where the test, in a directory of its own, keeps a file of the system. */
static std::string placeOf(const std::string& path) {
    return std::filesystem::path(path).filename();
}

template <class Function>
static Function* systemsOwn(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

static int note(const std::string& call) {
    calls.push_back(call);
    return mountFails ? -1 : 0;
}

extern "C" FILE* fopen(const char* path, const char* mode) {
    const bool isFaked = strncmp(path, "/proc/", 6) == 0 || strncmp(path, "/etc/m", 6) == 0;
    return systemsOwn<decltype(fopen)>("fopen64")(isFaked ? placeOf(path).c_str() : path, mode);
}

extern "C" FILE* setmntent(const char* path, const char* mode) noexcept {
    return systemsOwn<decltype(fopen)>("setmntent")(placeOf(path).c_str(), mode);
}

extern "C" int mount(const char* device, const char* directory, const char* type, unsigned long,
                     const void*) noexcept {
    return note(std::string("mount ") + device + " " + directory + " " + type);
}

extern "C" int umount(const char* directory) noexcept {
    return note(std::string("umount ") + directory);
}

extern "C" int statfs(const char*, struct statfs* told) noexcept {
    *told = figures;
    return mountFails ? -1 : 0;
}

extern "C" int system(const char* command) {
    note(command);
    return systemsOwn<decltype(system)>("system")((beforeCommand + command).c_str());
}

extern "C" FILE* popen(const char* command, const char* mode) {
    note(command);
    return systemsOwn<decltype(fopen)>("popen")((beforeCommand + command).c_str(), mode);
}

namespace {

void provide(const char* path, const std::string& content) {
    std::ofstream(placeOf(path)) << content;
}

/* What a call says and prints, in one. */
template <class Call>
std::string outcomeOf(Call call) {
    testing::internal::CaptureStdout();
    const std::string status = format("%x ", call());
    return status + testing::internal::GetCapturedStdout();
}

/* Calls with one content of a file after the other. */
template <class Call>
void expectOutcomes(const char* path, Call call,
                    const std::vector<std::pair<std::string, std::string>>& cases) {
    for (const auto& [content, outcome] : cases) {
        provide(path, content);
        EXPECT_EQ(outcomeOf(call), outcome) << content;
    }
}

/* A disk of the kind "=cf" with letter c. Calls leave neither open files nor memory behind. */
class Disk : public testing::Test {
  protected:
    Disk() {
        std::filesystem::current_path(getenv("TEST_TMPDIR"));
        /* The commands become functions of the shell that keep their last argument in a file. */
        const std::string keep = "() { for last; do :; done; printf %s \"$last\" >kept; };";
        beforeCommand = "mlabel" + keep + "mattrib" + keep;
        provide("/proc/ide/cf", "   device type =cf\n");
        provide("/etc/mtools.conf", "drive c: file=\"image\" 1.44m mformat_only\n");
    }
    ~Disk() override {
        EXPECT_EQ(openFiles(), filesBefore);
        EXPECT_EQ(heldMemory(), memoryBefore);
    }
    static long openFiles() {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    }
    static ZatStatus getAttributes(const std::string& path, uint8_t& flags) {
        return zatGENGetDiskFSAttribute("image", "mounted", path.c_str(), &flags);
    }
    static ZatStatus setAttributes(const std::string& path, uint8_t flags) {
        return zatGENSetDiskFSAttribute("image", "mounted", path.c_str(), flags);
    }
    static ZatStatus setLabel(const std::string& label) {
        return zatGENSetDiskLabel("image", label.c_str());
    }
    static std::string makeFile(const std::string& name) {
        std::filesystem::create_directories("mounted/dir");
        std::ofstream("mounted" + name) << "content";
        return "mounted" + name;
    }

    const uint32_t memoryBefore = (zatOSWInit(), heldMemory());
    const long filesBefore = openFiles();
};

TEST_F(Disk, IsOfTheKindThatTheKernelTellsAndHasALetterOfMtools) {
    const auto find = [] {
        uint32_t kind = 7;
        char letter = '?';
        ZatStatus status = zatGENFindDisk("", &kind);
        if (status == ZAT_OK) status = zatGENGetDiskDrvLetter("/d", &letter);
        printf("%u%c", kind, letter);
        return status;
    };
    const std::string cut(260, ' '), unknown = "20030111 zatGENGetDrvLetter ";
    char none[13] = "????????????";
    expectOutcomes(
        "/etc/mtools.conf", find,
        {{"#" + cut + "drive c: file=\"/d\"\n", unknown + "268 [error]\n1\n"},
         {"drives x: file=\"/d\"", unknown + "290 [error]\n1\n"},
         {"file=\"/d\",x,x:\tdrive,y drive\tc:", "0 1c"},
         {"drive x: file=\"/d1\"\ndrive c: file=\"/d\"\ndrive e: file=\"/d\"\n", "0 1c"}});
    expectOutcomes("/proc/ide/cf", find,
                   {{"   device type =md\n=cf\n", "0 2c"},
                    {"   device type       =cf\n", "20030108 0?"},  // beyond the 23rd character
                    {"=cf\n   device type =cf\n", "20030108 0?"}});
    std::filesystem::remove(placeOf("/proc/ide/cf"));
    EXPECT_EQ(zatGENGetDiskLabel("/d", none), ZAT_DISK_NO_PROC_FILE);
    std::filesystem::remove(placeOf("/etc/mtools.conf"));
    EXPECT_EQ(zatGENGetDiskDrvLetter("/d", none), ZAT_DISK_NO_MTOOLS_CONF);
    EXPECT_EQ(none[0], '\n');
}

TEST_F(Disk, IsMountedAndUnmountedOnlyWhereItHasToBe) {
    EXPECT_EQ(zatGENVerifyDiskMount("/d", "/mnt"), 0x20030108u);
    EXPECT_EQ(zatGENUmountDisk("/d", "/mnt"), ZAT_OK) << "nobody knows";
    provide("/etc/mtab", "/d /mnt/b\\040c vfat rw," + std::string(5000, 'x') +
                             " 0 0\n/e /mnt/cf vfat rw 0 0\n/f /mnt/cf vfat rw 0 0\n");
    EXPECT_EQ(zatGENVerifyDiskMount("/d", "/mnt/cf"), ZAT_DISK_NOT_MOUNTED);
    EXPECT_EQ(zatGENMountDisk("/d", "/mnt/b c"), ZAT_OK);
    EXPECT_EQ(zatGENUmountDisk("/d", "/mnt/cf"), ZAT_OK);
    EXPECT_EQ(calls, Lines{"umount /mnt"});
    for (const bool fails : {false, true}) {
        mountFails = fails;
        EXPECT_EQ(zatGENMountDisk("/d", "/mnt/cf"), fails ? ZAT_DISK_MOUNT_FAILED : ZAT_OK);
        EXPECT_EQ(zatGENUmountDisk("/f", "/mnt/cf"), fails ? ZAT_DISK_UNMOUNT_FAILED : ZAT_OK);
        EXPECT_EQ(calls[1] + calls[2], "mount /d /mnt/cf vfatumount /mnt/cf");
    }
    char name[4] = "???";
    EXPECT_EQ(zatGENGetDiskDevName("/mnt/cf", name, 2), ZAT_OK);
    EXPECT_STREQ(name, "/e?") << "the first entry, as much as there is room for";
}

TEST_F(Disk, HasFiguresAndBuffersInTheKernel) {
    /* What follows the fragment size is told behind the longest name. */
    figures = {1, 2, 3, 4, 5, 6, UINT64_MAX, {{8, 9}}, 10, 4711, 11, {12, 13, 14, 15}};
    const uint32_t words[] = {1, 2, 3, 4, 5, 6, UINT32_MAX, 8, 9, 10, 11, 12, 13, 14, 15};
    GenDiskStatfs told = {};
    EXPECT_EQ(zatGENGetDiskStatfs("/", &told), ZAT_OK);
    EXPECT_EQ(memcmp(&told, words, sizeof told), 0);
    figures.f_bavail = uint64_t{UINT32_MAX} + 1;
    EXPECT_EQ(zatGENGetDiskStatfs("/", &told), 0x20030108u);
    EXPECT_EQ(zatGENFlushDiskCache(getenv("TEST_TMPDIR")), 0x20030112u);
    EXPECT_EQ(zatGENFlushDiskCache("/dev/null"), 0x20030107u);
    GenCacheParam values = {};
    for (const auto status : {zatGENGetSysCacheParam(&values), zatGENSetSysCacheParam(&values)})
        EXPECT_EQ(status, ZAT_DISK_NO_CACHE_FILE);
    provide("/proc/sys/vm/bdflush", "30 4000000000 65 256 500 3000 60 7\n");
    EXPECT_EQ(zatGENGetSysCacheParam(&values), ZAT_OK);
    values = {values.value1 + 1, values.value2 + 1, values.value7 + 1, values.value8 + 1};
    EXPECT_EQ(zatGENSetSysCacheParam(&values), ZAT_OK);
    std::string line;
    std::getline(std::ifstream(placeOf("/proc/sys/vm/bdflush")), line);
    EXPECT_EQ(line, "31 4000000001 65 256 500 3000 61 8");
    signal(SIGXFSZ, SIG_IGN);
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit none = {0, limit.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
    EXPECT_EQ(zatGENSetSysCacheParam(&values), 0x20030108u) << "written, but not taken";
    setrlimit(RLIMIT_FSIZE, &limit); /* what counts the lines that run writes at the end */
}

TEST_F(Disk, HasACardWithAttributes) {
    const std::string head = "   attr_size   =1f\n";
    uint32_t count = 8;
    const auto read = [&] {
        char bytes[17] = {};
        const ZatStatus status =
            zatGENGetDiskAttribute(1, reinterpret_cast<uint8_t*>(bytes), count);
        printf("%s", bytes);
        return status;
    };
    expectOutcomes(
        "/proc/ide/cf_attr", read,
        {{head + "0A1", "20030119 zatGENhextobytes 1702 [error:20030119]\n"},
         {head + "4a0G", "20030118 zatGENctoi 1649 [error:20030118]\nJ"},
         {head + "4a6B6c6d6e6f707172\n", "0 Jklmnopq"},
         {head + "3031\n32\n", "0 01"},  // one line per 16 bytes
         {head, "20030108 "},
         {"   attr_size   =0\n00", "2003010a zatGENGetDiskAttributes 1557 [error:2003010a]\n"}});
    const auto tellLength = [&] { return zatGENGetDiskAttribLen(1, &count); };
    expectOutcomes("/proc/ide/cf_attr", tellLength,
                   {{head, "0 "},
                    {"   attr_size   =  1F0                 \n", "0 "},
                    {"   attr_size   =\n", "20030108 "},
                    {"", "20030108 "}});
    EXPECT_EQ(count, 0x1F0u);
    EXPECT_EQ(outcomeOf([&] { return zatGENGetDiskAttribLen(0, &count); }),
              "20030108 zatGENGetDiskAttributes 1475 [error:20030108]\n");
    count = 0x80000000;
    EXPECT_EQ(outcomeOf(read), "20030108 ");
}

TEST_F(Disk, HasLabelsAndPathsThatStayTextForTheShell) {
    Lines labels = {"ABCDEFGHIJK", "$(rm -r *)", "\\$a;&|<>()#", "a\nb'`x`", "", "$$$$$$$"};
    for (int character = 1; character < 256; ++character)
        labels.push_back(std::string("a ") + static_cast<char>(character) + "'b");
    for (const std::string& label : labels) {
        EXPECT_EQ(setLabel(label), ZAT_OK) << label;
        std::ifstream argument("kept");
        EXPECT_EQ(std::string(std::istreambuf_iterator<char>(argument), {}), "c:" + label);
        const std::string& call = calls.back();
        const auto isSwallowed = [](uint8_t before, char it) { return before > 127 && it == '\\'; };
        EXPECT_EQ(std::adjacent_find(call.begin(), call.end(), isSwallowed), call.end())
            << "a shell may take the backslash for the second byte of a letter: " << call;
    }
    EXPECT_EQ(calls[0], "mlabel -n c:ABCDEFGHIJK");
    calls.clear();
    EXPECT_EQ(setLabel("$$$$$$$$$"), 0x2003010Fu) << "no room to say that it is text";
    EXPECT_EQ(setLabel("ABCDEFGHIJKL"), 0x2003010Eu);
    EXPECT_EQ(setAttributes(makeFile("/`$`$`$`$`"), 0), 0x20030117u);
    EXPECT_EQ(setAttributes("/etc/passwd", 0), 0x2003011Au);
    EXPECT_EQ(setAttributes("mounted/missing", 0), 0x2003010Bu);
    EXPECT_EQ(setAttributes(makeFile("/dir/file"), 0xF5), ZAT_OK);
    EXPECT_EQ(calls, Lines{"mattrib +r -h +a c:/dir/file"});
}

TEST_F(Disk, WaitsForItsCommandsWhenTheTaskIsDeleted) {
    ASSERT_EQ(mkfifo("pipe", 0600), 0);
    beforeCommand = "cat pipe; exit;";
    char label[13] = "????????????";
    Worker asking([&] {
        const ZatStatus status = zatGENGetDiskLabel("image", label);
        pthread_testcancel();
        return status;
    });
    std::ofstream answer("pipe");  // is open when the command reads it
    EXPECT_EQ(zatOSWDeleteTask(asking.id()), ZAT_OK);
    answer << " Volume label is ABCDEFGHIJKLM\n";
    answer.close();
    EXPECT_EQ(asking.join(), 0xFFFFFFFFu);
    EXPECT_STREQ(label, "ABCDEFGHIJK");
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
}

TEST_F(Disk, IsFormattedLabelledAndItsFilesAreMarked) {
    if (std::system("which mlabel mattrib mformat") != 0) GTEST_SKIP() << "no mtools";
    setenv("MTOOLSRC", "mtools.conf", 1);
    std::ofstream("image") << std::string(1440 * 1024, '\0');
    provide("/etc/mtab", "image /mnt/cf vfat rw 0 0\n");
    beforeCommand = ">mtab;";  // it is unmounted now
    calls.clear();
    ASSERT_EQ(zatGENFormatDisk("image", "/mnt/cf"), ZAT_OK);
    EXPECT_EQ(calls, (Lines{"umount /mnt/cf", "mformat c:", "mount image /mnt/cf vfat"}));
    char label[13] = "????????????";
    const auto read = [&] { return zatGENGetDiskLabel("image", label); };
    EXPECT_EQ(read(), 0x20030114u);
    EXPECT_TRUE(setLabel("MY DISK") == ZAT_OK && read() == ZAT_OK);
    EXPECT_STREQ(label, "MY");
    const std::string odd = makeFile("/dir/it's $(x).txt");
    ASSERT_EQ(std::system("mcopy -s mounted/dir c:"), 0);
    uint8_t flags[2] = {0xFF, 0xFF};
    for (const uint8_t set : {7, 0, 2, 5}) {
        EXPECT_EQ(setAttributes(odd, set), ZAT_OK);
        EXPECT_EQ(getAttributes(odd, flags[0]), ZAT_OK);
        EXPECT_TRUE(flags[0] == set && flags[1] == 0xFF);
    }
    EXPECT_EQ(getAttributes("mounted/dir", flags[0]), ZAT_OK);
    EXPECT_EQ(flags[0], ZAT_DISK_FILE_DIRECTORY);
    std::filesystem::remove("image");
    EXPECT_EQ(outcomeOf([&] { return getAttributes(odd, flags[0]); }),
              "20030116 zatGENGetDiskFSAttribute 775 [error]\n");
    EXPECT_EQ(zatGENFormatDisk("image", "/mnt/cf"), 0x20030106u);
    EXPECT_EQ(read(), 0x20030113u);
}

}  // namespace
