#include "clb/text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

TEST(Compare, FoldsAsciiLettersTakesBytesAsSignedAndLooksAtNPositionsButAtLeastAtOne) {
    const struct {
        const char* a;
        const char* b;
        int32_t n;
        int32_t difference;
    } rows[] = {{"Hello", "hELLO", INT_MAX, 0},
                {"abc", "abd", INT_MAX, -1},
                {"a", "", INT_MAX, 'a'},
                {"", "Z", INT_MAX, -'z'},
                {"", "", INT_MAX, 0},
                {"@", "`", INT_MAX, '@' - '`'},
                {"[", "{", INT_MAX, '[' - '{'},
                {"\xC4", "\xE4", INT_MAX, 0xC4 - 0xE4},
                {"\x80", "a", INT_MAX, -128 - 'a'},
                {"a", "\xFF", INT_MAX, 'a' + 1},
                {"\xFF\x01", "\xFF\x02", INT_MAX, 0}, /* equal bytes from 0x80 on end it */
                {"abcX", "ABCY", 3, 0},
                {"abcX", "abcY", 4, -1},
                {"aX", "bY", 1, -1},
                {"aX", "aY", 1, 0},
                {"aX", "bY", 0, -1},
                {"aX", "aY", 0, 0},
                {"aX", "aY", INT_MIN, 0}};
    for (const auto& row : rows) {
        EXPECT_EQ(zatCLBCompStrCaseN(row.a, row.b, row.n), row.difference) << row.a << ' ' << row.n;
        if (row.n != INT_MAX) continue;
        EXPECT_EQ(zatCLBCompStrCase(row.a, row.b), row.difference) << row.a;
    }
}

TEST(Convert, ChangesLettersOnlyAndReturnsTheLength) {
    std::string all;
    for (int c = 1; c < 256; ++c)
        all += static_cast<char>(c);
    std::string lower = all;
    std::string upper = all;
    for (size_t i = 0; i < 26; ++i) {
        lower['A' + i - 1] = static_cast<char>('a' + i);
        upper['a' + i - 1] = static_cast<char>('A' + i);
    }
    char text[256];
    EXPECT_EQ(zatCLBConvertLower(text, all.c_str()), 255u);
    EXPECT_EQ(text, lower);
    EXPECT_EQ(zatCLBConvertUpper(text, text), 255u);
    EXPECT_EQ(text, upper);
    EXPECT_EQ(zatCLBConvertUpper(text, ""), 0u);
    EXPECT_STREQ(text, "");
}

/** All pieces of a text of len bytes; none may touch the byte behind its NUL. */
std::vector<std::string> pieces(const std::string& text, uint32_t len, uint32_t size) {
    std::vector<std::string> result;
    const char* pos = nullptr;
    const char* behind = nullptr;
    for (;;) {
        std::vector<char> dst(size + 2, '#');
        char* piece = zatCLBGetLine(dst.data(), size, text.c_str(), len, &pos);
        EXPECT_EQ(dst[size + 1], '#');
        if (piece != nullptr) behind = (behind ? behind : text.c_str()) + std::strlen(piece);
        EXPECT_EQ(pos, behind);
        if (piece == nullptr || pos != behind) return result;
        EXPECT_EQ(piece, dst.data());
        result.push_back(piece);
    }
}

TEST(GetLine, CopiesEachLineWithTheCharacterBehindIt) {
    using Pieces = std::vector<std::string>;
    EXPECT_EQ(pieces("ab\ncd!", 5, 10), (Pieces{"ab\n", "cd!"}));
    EXPECT_EQ(pieces("\n\nx\n", 4, 10), (Pieces{"\n", "\n", "x\n"}));
    EXPECT_EQ(pieces("abcdefgh\n", 9, 4), (Pieces{"abcd", "efgh", "\n"}));
    EXPECT_EQ(pieces("abc\nd\n", 6, 4), (Pieces{"abc\n", "d\n"}));
    EXPECT_EQ(pieces("abc", 2, 2), Pieces{"ab"});
    EXPECT_EQ(pieces("abc", 3, 1), Pieces{});
    EXPECT_EQ(pieces("abc", 0, 10), Pieces{});
}

TEST(SkipChar, StopsAtTheFirstCharacterOutsideTheSet) {
    const char text[] = "xaabx";
    EXPECT_EQ(zatCLBSkipChar(text + 1, "ab", 'F'), text + 4);
    EXPECT_EQ(zatCLBSkipChar(text + 3, "ab", 'B'), text);
    EXPECT_EQ(zatCLBSkipChar(text + 3, "ab", 'f'), text);
    EXPECT_EQ(zatCLBSkipChar(text, "abx", 'F'), text + 5) << "the NUL is in no set";
    EXPECT_EQ(zatCLBSkipChar(text, "", 'F'), text);
    EXPECT_EQ(zatCLBSkipChar(nullptr, "a", 'F'), nullptr);
}

TEST(StripStr, CutsBlanksOffBothEnds) {
    const char* const rows[][2] = {{"  a b \t\n", "a b"}, {"\r\n \ta", "a"}, {"a ", "a"},
                                   {"ab", "ab"},          {"   ", ""},       {"", ""}};
    for (const auto& [given, expected] : rows) {
        std::string text = given;
        EXPECT_STREQ(zatCLBStripStr(text.data()), expected);
    }
    EXPECT_EQ(zatCLBStripStr(nullptr), nullptr);
}

TEST(TransChar, ReplacesByTheFirstIndexInFrom) {
    const struct {
        std::string given;
        const char* to;
        const char* from;
        const char* expected; /* null: refused and left alone */
    } rows[] = {{"a-b_c", "  ", "-_", "a b c"}, {"aba", "bcX", "aba", "bcb"},
                {"ab", "XYZ", "b", "aX"},       {"ab", "X", "ab", nullptr},
                {"ab", "X", "", nullptr},       {"", "X", "a", nullptr}};
    for (const auto& row : rows) {
        std::string text = row.given;
        EXPECT_EQ(zatCLBTransChar(text.data(), row.to, row.from),
                  row.expected == nullptr ? nullptr : text.data());
        EXPECT_EQ(text, row.expected == nullptr ? row.given : row.expected);
    }
    EXPECT_EQ(zatCLBTransChar(nullptr, "X", "a"), nullptr);
}

TEST(Words, AreTakenOneAfterAnotherOrByTheirNumber) {
    char text[] = " one  two\t\r\n";
    EXPECT_EQ(zatCLBGetWordIndex(text, 1), text + 1);
    EXPECT_EQ(zatCLBGetWordIndex(text, 2), text + 6);
    for (int32_t n : {3, INT_MAX, 0, -1})
        EXPECT_EQ(zatCLBGetWordIndex(text, n), nullptr) << n;
    EXPECT_EQ(zatCLBGetWordIndex("", 1), nullptr);
    EXPECT_EQ(zatCLBGetWordIndex(nullptr, 1), nullptr);

    char* cont = nullptr;
    EXPECT_EQ(zatCLBGetWord(nullptr, &cont), nullptr);
    EXPECT_STREQ(zatCLBGetWord(text, &cont), "one");
    EXPECT_EQ(cont, text + 5);
    EXPECT_STREQ(zatCLBGetWord(nullptr, &cont), "two");
    EXPECT_EQ(cont, text + 10);
    EXPECT_EQ(zatCLBGetWord(nullptr, &cont), nullptr);
    EXPECT_EQ(cont, text + 10) << "unchanged when only separators are left";
    char lone[] = "word";
    EXPECT_STREQ(zatCLBGetWord(lone, &cont), "word");
    EXPECT_EQ(cont, lone + 4);
}

TEST(SetChar, NeverWritesBeyondTheString) {
    char text[] = "abc\0d";
    zatCLBSetChar(text, 'x', 0);
    EXPECT_STREQ(text, "abc");
    zatCLBSetChar(text, 'x', 2);
    EXPECT_STREQ(text, "xxc");
    zatCLBSetChar(text, 'y', 5);
    EXPECT_EQ(std::memcmp(text, "yyy\0d", sizeof text), 0);
}

}  // namespace
