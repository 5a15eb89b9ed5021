/* A command line in words, and words as numbers. */
#ifndef ZATOSW_GEN_WORDS_PRIVATE_H
#define ZATOSW_GEN_WORDS_PRIVATE_H

#include "gen/console/console_private.h"

/* What the console does after a command. */
enum class GenThen { Prompt, ShowMenus, ShowCommands, End };

/* A line, whole, and a copy that is cut into words from its beginning on. */
class GenCommandLine {
  public:
    explicit GenCommandLine(const char* text);

    /* The next word, null behind the last one. */
    const char* nextWord();

    /* What stands behind the words taken so far, without blanks before it. */
    const char* rest() const;

    /* For the command to set. */
    GenThen then = GenThen::Prompt;

  private:
    GenLine whole_;
    GenLine words_;
    char* next_;
};

/* Whether two words are the same, capitals or not. A null is no word. */
bool genIsWord(const char* word, const char* other);

/* Reads a decimal number, as "%d" does: what follows its digits does not matter. */
bool genReadNumber(const char* word, int32_t& number);

/* The same with numbers above 2147483647, which come as they are written or as negative ones. */
bool genReadUnsigned(const char* word, uint32_t& number);

/* Reads a hexadecimal number, as "%lx" does. */
bool genReadHex(const char* word, uint32_t& number);

#endif
