// Labels and attributes: the commands as the shell understands them, and as mtools carries them
// out.

#include <sys/stat.h>
#include <sys/wait.h>

#include "gen/disk/faked_disk.h"

namespace {

class Commands : public FakedDisk {
  protected:
    ZatStatus getAttributes(const std::string& name, uint8_t& flags) const {
        return zatGENGetDiskFSAttribute(device.c_str(), directory.c_str(), name.c_str(), &flags);
    }
    ZatStatus setAttributes(const std::string& name, uint8_t flags) const {
        return zatGENSetDiskFSAttribute(device.c_str(), directory.c_str(), name.c_str(), flags);
    }
    std::string label() {
        char label[13] = "????????????";
        return outcomeOf([&] { return zatGENGetDiskLabel(device.c_str(), label); }) + label;
    }
    ZatStatus setLabel(const std::string& label) const {
        return zatGENSetDiskLabel(device.c_str(), label.c_str());
    }
    std::string makeFile(const std::string& name) const {
        std::filesystem::create_directories(directory + "/dir");
        std::ofstream(directory + name) << "content";
        return directory + name;
    }

    const std::string directory = inTestDirectory("cf");
};

/* The commands' names are functions of the shell, which keep their last argument in a file. */
class CommandText : public Commands {
  protected:
    CommandText() {
        const std::string keep =
            "() { for last; do :; done; printf %s \"$last\" >'" + kept + "'; };";
        beforeCommand = "mlabel" + keep + "mattrib" + keep;
    }

    std::string lastArgument() const {
        std::ifstream file(kept);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    const std::string kept = inTestDirectory("kept");
};

TEST_F(CommandText, StaysTextWhateverTheShellWouldMakeOfIt) {
    for (int character = 1; character < 256; ++character) {
        const std::string label = std::string("a ") + static_cast<char>(character) + "'b";
        EXPECT_EQ(setLabel(label), ZAT_OK) << character;
        EXPECT_EQ(lastArgument(), "c:" + label) << character;
    }
    for (const char* label :
         {"ABCDEFGHIJK", "$(rm -r *)", ";;&|<>()#*?", "a\nb'`x`", "", "~", "-c"}) {
        EXPECT_EQ(setLabel(label), ZAT_OK) << label;
        EXPECT_EQ(lastArgument(), std::string("c:") + label);
    }
    EXPECT_EQ(setLabel("$$$$$$$"), ZAT_OK);
    const size_t before = calls.size();
    EXPECT_EQ(setLabel("$$$$$$$$$"), 0x2003010Fu) << "no room to say that it is text";
    EXPECT_EQ(setLabel("ABCDEFGHIJKL"), 0x2003010Eu);
    EXPECT_EQ(calls.size(), before);
    provide("/etc/mtools.conf", "drive ;: file=\"" + device + "\"\n");
    EXPECT_EQ(setLabel("x"), ZAT_OK);
    EXPECT_EQ(lastArgument(), ";:x");
}

TEST_F(CommandText, IsThatOfTheFileOnTheDrive) {
    const std::string file = makeFile("/dir/file");
    EXPECT_EQ(setAttributes(file, 5), ZAT_OK);
    EXPECT_EQ(setAttributes(file, 0xF2), ZAT_OK);
    const std::string odd = makeFile("/it's $(touch x).txt");
    EXPECT_EQ(setAttributes(odd, 0), ZAT_OK);
    EXPECT_EQ(lastArgument(), "c:/it's $(touch x).txt");
    uint8_t flags = 0xFF;
    EXPECT_EQ(outcomeOf([&] { return getAttributes(odd, flags); }),
              "20030116 zatGENGetDiskFSAttribute 775 [error]\n");
    EXPECT_EQ(flags, 0);
    EXPECT_EQ(lastArgument(), "c:/it's $(touch x).txt");
    const Lines before = calls;
    EXPECT_EQ(before[0], "mattrib +r -h +a c:/dir/file");
    EXPECT_EQ(before[1], "mattrib -r +h -a c:/dir/file");
    const std::string tooOdd = makeFile("/`$`$`$`$`");
    EXPECT_EQ(setAttributes(tooOdd, 0), 0x20030117u);
    EXPECT_EQ(getAttributes(tooOdd, flags), 0x20030116u);
    EXPECT_EQ(setAttributes("/etc/passwd", 0), 0x2003011Au);
    EXPECT_EQ(setAttributes(directory + "/missing", 0), 0x2003010Bu);
    EXPECT_EQ(calls, before);
    provide("/proc/ide/cf", "");
    EXPECT_EQ(getAttributes(file, flags), 0x20030108u) << "the disk comes first";
}

TEST_F(Commands, GiveLabelsOfUnderstoodAnswersOnly) {
    const std::string cases[][2] = {
        {" Volume label is MY DISK", "0 MY"},
        {" Volume label is ABCDEFGHIJKLM\\n", "0 ABCDEFGHIJK"},
        {" Volume label is \\n", "20030113 "},
        {" Volume has no label\\n", "20030114 "},
        {"Volume label is X\\n", "20030113 zatGENGetDiskLabel 471 [error]\n"},
        {"", "20030113 "}};
    for (const auto& [answer, outcome] : cases) {
        beforeCommand = "printf '" + answer + "'; exit;";
        EXPECT_EQ(label(), outcome) << answer;
    }
    EXPECT_EQ(calls.front(), "mlabel -s c:");
}

TEST_F(Commands, AreWaitedForByATaskThatIsDeleted) {
    const std::string pipe = inTestDirectory("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    beforeCommand = "cat '" + pipe + "'; exit;";
    {
        Worker asking([this] {
            char label[12];
            zatGENGetDiskLabel(device.c_str(), label);
            pthread_testcancel();
            return ZatStatus{ZAT_OK};
        });
        ASSERT_TRUE(waitFor([] { return callCount > 0; }));
        EXPECT_EQ(zatOSWDeleteTask(asking.id()), ZAT_OK);
        std::ofstream(pipe) << " Volume label is X\n";
        EXPECT_EQ(asking.join(), 0xFFFFFFFFu);
    }
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "no child is left";
}

TEST_F(Commands, DoWhatTheySay) {
    if (std::system("command -v mlabel mattrib mformat >/dev/null") != 0)
        GTEST_SKIP() << "no mtools";
    setenv("MTOOLSRC", placeOf("/etc/mtools.conf").c_str(), 1);
    std::ofstream{device};
    std::filesystem::resize_file(device, 1440 * 1024);
    ASSERT_EQ(zatGENFormatDisk(device.c_str(), directory.c_str()), ZAT_OK);
    EXPECT_EQ(label(), "20030114 ");
    EXPECT_EQ(setLabel("MY DISK"), ZAT_OK);
    EXPECT_EQ(label(), "0 MY");
    const std::string odd = makeFile("/dir/it's $(x).txt");
    std::system(("mcopy -s '" + directory + "/dir' c:").c_str());
    uint8_t flags[2] = {0xFF, 0xFF};
    for (const uint8_t set : {7, 0, 2, 5}) {
        EXPECT_EQ(setAttributes(odd, set), ZAT_OK);
        EXPECT_EQ(getAttributes(odd, flags[0]), ZAT_OK);
        EXPECT_EQ(flags[0], set);
    }
    EXPECT_EQ(getAttributes(directory + "/dir", flags[0]), ZAT_OK);
    EXPECT_TRUE(flags[0] == ZAT_DISK_FILE_DIRECTORY && flags[1] == 0xFF);
    const std::string missing = makeFile("/only here");
    EXPECT_EQ(setAttributes(missing, 0), 0x20030117u);
}

}  // namespace
