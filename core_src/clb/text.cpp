/**
 * @file
 * String calls. A char is signed on some of the machines served and unsigned on others, so every
 * comparison of byte values names the type that it means.
 */
#include "clb/text.h"

#include <string.h>

#include <algorithm>

namespace {

constexpr char kSeparators[] = " \t\r\n";
constexpr char kCaseDistance = 'a' - 'A';

char toLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + kCaseDistance) : c;
}

char toUpper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - kCaseDistance) : c;
}

bool isEmpty(const char* s) {
    return s == nullptr || *s == '\0';
}

/** strchr() finds a string's terminator, too; here it belongs to no set. */
const char* findInSet(const char* set, char c) {
    return c == '\0' ? nullptr : strchr(set, c);
}

/** Compares the first position even when the limit is 0. */
int32_t compareFolded(const char* a, const char* b, uint32_t limit) {
    for (uint32_t i = 0;; ++i) {
        const int8_t foldedA = static_cast<int8_t>(toLower(a[i]));
        const int8_t foldedB = static_cast<int8_t>(toLower(b[i]));
        const int32_t difference = foldedA - foldedB;
        /* With equal characters the test of a's is one of b's, too. */
        if (difference != 0 || foldedA <= 0 || i + 1 >= limit) return difference;
    }
}

uint32_t convert(char* dst, const char* src, char (*convertChar)(char)) {
    uint32_t length = 0;
    for (; src[length] != '\0'; ++length) {
        dst[length] = convertChar(src[length]);
    }
    dst[length] = '\0';
    return length;
}

}  // namespace

int32_t zatCLBCompStrCase(const char* a, const char* b) {
    return compareFolded(a, b, UINT32_MAX);
}

int32_t zatCLBCompStrCaseN(const char* a, const char* b, int32_t n) {
    return compareFolded(a, b, static_cast<uint32_t>(std::max(n, 1)));
}

uint32_t zatCLBConvertLower(char* dst, const char* src) {
    return convert(dst, src, toLower);
}

uint32_t zatCLBConvertUpper(char* dst, const char* src) {
    return convert(dst, src, toUpper);
}

char* zatCLBGetLine(char* dst, uint32_t size, const char* buf, uint32_t len, const char** pos) {
    const char* start = *pos == nullptr ? buf : *pos;
    const char* end = buf + len;
    if (size < 2 || start >= end) return nullptr;
    const uint32_t limit = std::min(size - 1, static_cast<uint32_t>(end - start));
    const void* newline = memchr(start, '\n', limit);
    const uint32_t length = newline == nullptr
                                ? limit
                                : static_cast<uint32_t>(static_cast<const char*>(newline) - start);
    /* The byte behind the characters counted goes along even when it is not the newline. */
    memcpy(dst, start, length + 1);
    dst[length + 1] = '\0';
    *pos = start + length + 1;
    return dst;
}

char* zatCLBSkipChar(const char* p, const char* set, char dir) {
    if (p != nullptr && !isEmpty(set)) {
        while (findInSet(set, *p) != nullptr) {
            p += dir == 'F' ? 1 : -1;
        }
    }
    return const_cast<char*>(p);
}

char* zatCLBStripStr(char* s) {
    if (s == nullptr) return nullptr;
    char* start = zatCLBSkipChar(s, kSeparators, 'F');
    const size_t length = strlen(start);
    if (length > 1) {
        zatCLBSkipChar(start + length - 1, kSeparators, 'B')[1] = '\0';
    }
    return start;
}

char* zatCLBTransChar(char* s, const char* to, const char* from) {
    if (isEmpty(s) || isEmpty(from) || isEmpty(to) || strlen(to) < strlen(from)) return nullptr;
    for (char* c = s; *c != '\0'; ++c) {
        if (const char* match = findInSet(from, *c); match != nullptr) *c = to[match - from];
    }
    return s;
}

char* zatCLBGetWord(char* s, char** cont) {
    char* start = s != nullptr ? s : *cont;
    if (start == nullptr) return nullptr;
    char* word = start + strspn(start, kSeparators);
    if (*word == '\0') return nullptr;
    char* end = word + strcspn(word, kSeparators);
    if (*end != '\0') *end++ = '\0';
    *cont = end;
    return word;
}

char* zatCLBGetWordIndex(const char* s, int32_t n) {
    if (s == nullptr || n < 1) return nullptr;
    const char* word = s + strspn(s, kSeparators);
    for (; n > 1 && *word != '\0'; --n) {
        word += strcspn(word, kSeparators);
        word += strspn(word, kSeparators);
    }
    return *word == '\0' ? nullptr : const_cast<char*>(word);
}

void zatCLBSetChar(char* s, char c, uint32_t n) {
    if (s == nullptr) return;
    for (uint32_t i = 0; i < n && s[i] != '\0'; ++i) {
        s[i] = c;
    }
}
