#include "gen/console/words_private.h"

#include <stdio.h>
#include <string.h>

#include "clb/text.h"

GenCommandLine::GenCommandLine(const char* text) : whole_{}, words_{}, next_(words_.text) {
    const size_t length = strnlen(text, sizeof whole_.text - 1);
    memcpy(whole_.text, text, length);
    memcpy(words_.text, text, length);
}

const char* GenCommandLine::nextWord() {
    return zatCLBGetWord(nullptr, &next_);
}

const char* GenCommandLine::rest() const {
    return zatCLBSkipChar(whole_.text + (next_ - words_.text), " \t\r\n", 'F');
}

bool genIsWord(const char* word, const char* other) {
    return word != nullptr && zatCLBCompStrCase(word, other) == 0;
}

bool genReadNumber(const char* word, int32_t& number) {
    return word != nullptr && sscanf(word, "%d", &number) == 1;
}

bool genReadUnsigned(const char* word, uint32_t& number) {
    long long wide = 0;
    if (word == nullptr || sscanf(word, "%lld", &wide) != 1) return false;
    number = static_cast<uint32_t>(wide);
    return wide >= INT32_MIN && wide <= UINT32_MAX;
}

bool genReadHex(const char* word, uint32_t& number) {
    unsigned long wide = 0;
    if (word == nullptr || sscanf(word, "%lx", &wide) != 1) return false;
    number = static_cast<uint32_t>(wide);
    return true;
}
