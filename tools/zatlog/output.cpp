#include "output.h"

#include <errno.h>
#include <locale.h>
#include <stdio.h>
#include <unistd.h>
#include <wchar.h>
#include <wctype.h>

#include <string>

static int failure = 0;

// Its character set tells what a control character is.
static bool isTerminal() {
    if (isatty(STDOUT_FILENO) == 0) return false;
    setlocale(LC_CTYPE, "");
    return true;
}

static std::string harmless(std::string_view text) {
    std::string shown;
    mbstate_t state = {};
    while (!text.empty()) {
        wchar_t symbol = 0;
        size_t length = mbrtowc(&symbol, text.data(), text.size(), &state);
        if (length == 0 || length > text.size()) {  // a NUL, or no character of this set
            symbol = 0;
            length = 1;
            state = {};
        }
        if (symbol == L'\n' || symbol == L'\t' || iswprint(static_cast<wint_t>(symbol)) != 0)
            shown += text.substr(0, length);
        else
            shown += '?';
        text.remove_prefix(length);
    }
    return shown;
}

bool writeText(std::string_view text) {
    static const bool terminal = isTerminal();
    std::string shown;
    if (terminal) text = shown = harmless(text);
    if (failure == 0 && fwrite(text.data(), 1, text.size(), stdout) != text.size()) failure = errno;
    return failure == 0;
}

int flushOutput() {
    if (failure == 0 && fflush(stdout) != 0) failure = errno;
    return failure;
}
