/*
 * Command lines. Their buffers are just large enough for what has to be said, so quoting goes the
 * shorter way: characters are quoted only where the shell would not leave them alone, and where a
 * backslash for each is too much, double quotes go around the whole.
 */

#include "gen/disk/command_private.h"

#include <stdlib.h>
#include <string.h>

/* A buffer that is written to as long as there is room. */
class DiskCommandLine {
  public:
    DiskCommandLine(char* buffer, size_t sizeBytes) : at_(buffer), end_(buffer + sizeBytes) {}

    void put(char character) {
        fits_ = fits_ && at_ != end_;
        if (fits_) *at_++ = character;
    }

    void put(const char* words) {
        while (*words != '\0')
            put(*words++);
    }

    bool fits() const { return fits_; }

  private:
    char* at_;
    char* const end_;
    bool fits_ = true;
};

/* Whether the shell leaves a character alone, wherever it stands inside a word. Those beyond
 * ASCII are parts of letters. */
static bool isPlain(char character) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte >= 0x80) return true;
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= 'a' && byte <= 'z') || (byte != '\0' && strchr("_-+./:,@%", byte) != nullptr);
}

struct Quoting {
    const char* around;
    bool (*needsBackslash)(char character);
    const char* impossible; /* a backslash takes a newline away */
};

static constexpr Quoting quotings[] = {
    {"", [](char character) { return !isPlain(character); }, "\n"},
    {"\"", [](char character) { return strchr("\"$`\\", character) != nullptr; }, ""},
};

static void putQuoted(DiskCommandLine& line, char character, const Quoting& quoting) {
    if (quoting.needsBackslash(character)) line.put('\\');
    line.put(character);
}

/* A shell that takes bytes in pairs for letters would take the backslash for the second of one. */
static bool swallowsBackslash(const char* text, const Quoting& quoting) {
    for (; *text != '\0'; ++text)
        if (static_cast<unsigned char>(text[0]) >= 0x80 && text[1] != '\0' &&
            quoting.needsBackslash(text[1]))
            return true;
    return false;
}

static bool write(DiskCommandLine line, const char* words, char letter, const char* text,
                  const Quoting& quoting) {
    if (strpbrk(text, quoting.impossible) != nullptr || swallowsBackslash(text, quoting))
        return false;
    line.put(words);
    line.put(quoting.around);
    putQuoted(line, letter, quoting);
    line.put(':');
    while (*text != '\0')
        putQuoted(line, *text++, quoting);
    line.put(quoting.around);
    line.put('\0');
    return line.fits();
}

bool diskWriteCommand(char* buffer, size_t sizeBytes, const char* words, char letter,
                      const char* text) {
    for (const Quoting& quoting : quotings)
        if (write(DiskCommandLine(buffer, sizeBytes), words, letter, text, quoting)) return true;
    return false;
}

bool diskRun(const char* command) {
    return system(command) == 0;
}

DiskAnswer diskAsk(const char* command) {
    return DiskAnswer(popen(command, "re"));
}
