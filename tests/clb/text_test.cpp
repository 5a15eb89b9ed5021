#include "clb/text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

TEST(Compare, IgnoresTheCaseOfAsciiLettersOnly) {
    EXPECT_EQ(zatCLBCompStrCase("Hello", "hELLO"), 0);
    EXPECT_EQ(zatCLBCompStrCase("abc", "abd"), -1);
    EXPECT_EQ(zatCLBCompStrCase("a", ""), 97);
    EXPECT_EQ(zatCLBCompStrCase("", "Z"), -'z');
    EXPECT_EQ(zatCLBCompStrCase("", ""), 0);
    EXPECT_EQ(zatCLBCompStrCase("@[", "@["), 0);
    EXPECT_NE(zatCLBCompStrCase("@", "`"), 0);
    EXPECT_NE(zatCLBCompStrCase("[", "{"), 0);
    EXPECT_NE(zatCLBCompStrCase("\xC4", "\xE4"), 0);
}

TEST(Compare, TakesBytesAsSignedAndEndsAtEqualOnesOf0x80OrAbove) {
    EXPECT_EQ(zatCLBCompStrCase("\x80", "a"), -128 - 'a');
    EXPECT_EQ(zatCLBCompStrCase("a", "\xFF"), 'a' + 1);
    EXPECT_EQ(zatCLBCompStrCase("x\xFF"
                                "1",
                                "X\xFF"
                                "2"),
              0);
}

TEST(Compare, LooksAtNPositionsButAtLeastAtOne) {
    EXPECT_EQ(zatCLBCompStrCaseN("abcX", "ABCY", 3), 0);
    EXPECT_EQ(zatCLBCompStrCaseN("abcX", "abcY", 4), -1);
    EXPECT_EQ(zatCLBCompStrCaseN("ab", "ab", 100), 0);
    for (int32_t n : {1, 0, -1, INT_MIN}) {
        EXPECT_EQ(zatCLBCompStrCaseN("aX", "bY", n), -1) << n;
        EXPECT_EQ(zatCLBCompStrCaseN("aX", "aY", n), 0) << n;
    }
}

TEST(Convert, ChangesLettersOnlyAndReturnsTheLength) {
    std::string all;
    for (int c = 1; c < 256; ++c) {
        all += static_cast<char>(c);
    }
    std::string lower = all;
    std::string upper = all;
    for (size_t i = 0; i < 26; ++i) {
        lower['A' + i - 1] = static_cast<char>('a' + i);
        upper['a' + i - 1] = static_cast<char>('A' + i);
    }
    char text[256];
    EXPECT_EQ(zatCLBConvertLower(text, all.c_str()), 255u);
    EXPECT_EQ(text, lower);
    EXPECT_EQ(zatCLBConvertUpper(text, all.c_str()), 255u);
    EXPECT_EQ(text, upper);

    char own[] = "MiXed";
    EXPECT_EQ(zatCLBConvertLower(own, own), 5u);
    EXPECT_STREQ(own, "mixed");
    EXPECT_EQ(zatCLBConvertUpper(own, ""), 0u);
    EXPECT_STREQ(own, "");
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
    EXPECT_EQ(zatCLBSkipChar(text, "ab", 'F'), text);
    EXPECT_EQ(zatCLBSkipChar(text, "abx", 'F'), text + 5) << "the NUL is in no set";
    EXPECT_EQ(zatCLBSkipChar(text, "", 'F'), text);
    EXPECT_EQ(zatCLBSkipChar(nullptr, "a", 'F'), nullptr);
}

TEST(StripStr, CutsBlanksOffBothEnds) {
    auto strip = [](const char* given) {
        std::string text = given;
        return std::string(zatCLBStripStr(text.data()));
    };
    EXPECT_EQ(strip("  a b \t\n"), "a b");
    EXPECT_EQ(strip("\r\n \ta"), "a");
    EXPECT_EQ(strip("a "), "a");
    EXPECT_EQ(strip("ab"), "ab");
    EXPECT_EQ(strip("   "), "");
    EXPECT_EQ(strip(""), "");
    EXPECT_EQ(zatCLBStripStr(nullptr), nullptr);
}

TEST(TransChar, ReplacesByTheFirstIndexInFrom) {
    auto translate = [](const char* given, const char* to, const char* from) {
        std::string text = given;
        char* result = zatCLBTransChar(text.data(), to, from);
        EXPECT_TRUE(result == nullptr || result == text.data());
        return result == nullptr ? "null:" + text : text;
    };
    EXPECT_EQ(translate("a-b_c", "  ", "-_"), "a b c");
    EXPECT_EQ(translate("aba", "bcX", "aba"), "bcb");
    EXPECT_EQ(translate("ab", "XYZ", "b"), "aX");
    EXPECT_EQ(translate("ab", "X", "ab"), "null:ab");
    EXPECT_EQ(translate("ab", "X", ""), "null:ab");
    EXPECT_EQ(translate("", "X", "a"), "null:");
    EXPECT_EQ(zatCLBTransChar(nullptr, "X", "a"), nullptr);
}

TEST(GetWord, TakesWordAfterWord) {
    char text[] = " one  two\t\r\n";
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
    EXPECT_EQ(zatCLBGetWord(nullptr, &cont), nullptr);
}

TEST(GetWordIndex, CountsWordsFromOne) {
    const char text[] = " one two\n";
    EXPECT_EQ(zatCLBGetWordIndex(text, 1), text + 1);
    EXPECT_EQ(zatCLBGetWordIndex(text, 2), text + 5);
    for (int32_t n : {3, INT_MAX, 0, -1}) {
        EXPECT_EQ(zatCLBGetWordIndex(text, n), nullptr) << n;
    }
    EXPECT_EQ(zatCLBGetWordIndex("", 1), nullptr);
    EXPECT_EQ(zatCLBGetWordIndex(nullptr, 1), nullptr);
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
