// Lines recorded and played, and files that are transferred, read and written.

#include "session.h"

namespace {

const std::string askName = "Input record file name.\n", askPlayed = "Input play file name.\n",
                  askStep = "Select step mode : 1(Yes) or 0(No)\n",
                  askRepeat = "Select repeat mode : 1(Yes) or 0(No)\n",
                  begin = askStep + askRepeat + ">>>> Enter play mode >>>>\n",
                  end = ">>>> Exit play mode >>>>\n", noInput = "< ERROR > during data input.\n",
                  step = "=====>> step <<===== (Null:Step, Q:Quit, G:Go)\n",
                  notOpened = "< ERROR > could not open file : ",
                  notWritten = "< ERROR > could not write record file.\n",
                  refused = "Cannot enter record mode\nCannot enter play mode\n",
                  noExit = "Cannot quit from record/play mode\n",
                  notRecording = "Invalid requset - not in record mode\n";

TEST_F(Console, RecordsAndPlaysLines) {
    EXPECT_EQ(session("R tape\n\t echo  a \n\nr x\nP x\nEXIT\ns\nS"),
              "a\n" + refused + noExit + notRecording);
    EXPECT_EQ(session("p\ntape\n0\n2\necho b\nS\nP no\nR /no/x\nS"),
              askPlayed + begin + "a\n" + refused + noExit + end + "b\n" + notRecording +
                  notOpened + "no.\n" + notOpened + "/no/x.\n" + notRecording);
    EXPECT_EQ(std::filesystem::file_size("tape"), strlen("echo  a\n\nr x\nP x\nEXIT\ns\n"));
    EXPECT_EQ(session("R /dev/full\necho a", "a\n"), "a\n" + noInput + notWritten);
    std::ofstream("tape") << "echo a \r\necho b";
    EXPECT_EQ(session("P tape\nx\n0"), begin + "a\nb\n" + noInput);
}

TEST_F(Console, PlaysStepByStep) {
    std::ofstream("tape") << "echo a\necho b\nS\n";
    const std::string a = ">> command >>  echo a\n" + step + "a\n",
                      b = ">> command >>  echo b\n" + step;
    EXPECT_EQ(session("P tape\n-1\n0\n\n\n\n"), begin + a + b + "b\n" + end);
    EXPECT_EQ(session("P tape\n1\n0\n \n q "), begin + a + b + end);
    EXPECT_EQ(session("P tape\n1\n0\nG"), begin + a + "b\n" + end);
    EXPECT_EQ(session("P tape\n1\n1\n\n\n\nQ"), begin + a + b + "b\n" + a + b + end);
}

TEST_F(Console, EndsWithItsInput) {
    std::ofstream("tape") << "echo a\nS\n";
    const std::pair<std::string, std::string> prompts[] = {
        {askName, "R"},           {askPlayed, "P"},       {askStep, "P tape"},
        {askRepeat, "P tape\n1"}, {step, "P tape\n1\n1"}, {"a\n", "R file\necho a"}};
    for (const auto& [prompt, lines] : prompts) {
        EXPECT_TRUE(session(lines, prompt).ends_with(prompt + noInput)) << said;
        EXPECT_EQ(session("S"), notRecording) << "still in a mode after " << prompt;
    }
}

TEST_F(Console, TransfersFiles) {
    static std::string blocks;
    std::ofstream("file") << std::string(2047, '.') + "~~";
    std::ofstream("empty") << "";
    zatGENSetDumpLogFunc(
        [](auto id, auto kind, auto level, auto block, auto length, auto a6, auto a7) {
            EXPECT_TRUE(id == component && level == 15 && a6 == 0xFFFFFFFF && a7 == length);
            blocks += std::to_string(kind) + ":";
            blocks.append(reinterpret_cast<const char*>(block), length);
        });
    const std::string first = " ======== start of file transfer <", rest = "> ========\n",
                      last = " ======== end of file transfer <", mark = "\x1b%-12345X",
                      named = "file -> to" + rest, empty = "empty" + rest;
    EXPECT_EQ(session("FT file to\nft empty\nFT"),
              first + named + last + named + first + empty + last + empty);
    EXPECT_EQ(blocks, "10:" + mark + "@FT START to" + mark + "10:" + std::string(1024, '.') +
                          "10:" + std::string(1023, '.') + "~10:~10:" + mark + "@FT END to" + mark +
                          "9:" + first + empty + "9:" + last + empty);
    EXPECT_TRUE(session("FT nowhere").ends_with(notOpened + "nowhere\n"));
}

TEST_F(Console, ReadsAndWritesWholeFiles) {
    session("");  // of the component
    uint32_t size = zatGENWriteFileData("file", "a\0b\nc", 5);
    void* bytes = zatGENReadFileData("file", &size);
    ASSERT_TRUE(size == 5 && memcmp(bytes, "a\0b\nc", 5) == 0 && hookChannel == 0x10F);
    zatOSWOrgFreeMemPart(0, bytes);
    std::ofstream("4 GiB") << "and a byte";
    std::filesystem::resize_file("4 GiB", (uint64_t{1} << 32) + 1);
    EXPECT_FALSE(zatGENReadFileData("4 GiB", &size) || zatGENReadFileData("/", &size) ||
                 zatGENReadFileData("no", &size) || zatGENWriteFileData("/no/x", "", 1) ||
                 zatGENWriteFileData("/dev/full", "a", 1));
    EXPECT_EQ(said,
              "File: file (size - 5) \n< ERROR > could not read file: 4 GiB.\n"
              "< ERROR > could not read file: /.\n" +
                  notOpened + "no.\n" + notOpened + "/no/x. Error Code is 2\n" +
                  "< ERROR > could not write file: /dev/full.\n");
}

}  // namespace
