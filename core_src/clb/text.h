/**
 * @file
 * Small calls on NUL-terminated byte strings: comparison and conversion without regard to case,
 * lines, words, trimming and translation.
 *
 * Only the 26 ASCII letters have case. No call allocates, blocks or keeps anything between calls;
 * each touches its arguments only and may run in any task, as long as no other task uses the same
 * memory. A null string is accepted only where a call says so.
 */
#ifndef ZATOSW_CLB_TEXT_H
#define ZATOSW_CLB_TEXT_H

#include "../zatosw_export.h"

ZATOSW_BEGIN_DECLS

/**
 * Compares two strings without regard to case.
 *
 * Bytes count as signed: one of 0x80 or above is less than every ASCII character, and where both
 * strings have the same such byte the comparison ends with 0, whatever follows.
 *
 * @param a, b  the strings
 * @return 0 when equal; otherwise the first differing character of a minus that of b, both in
 *         lower case, the end of a string being 0
 */
ZATOSW_API int32_t zatCLBCompStrCase(const char* a, const char* b);

/**
 * Compares the beginnings of two strings as zatCLBCompStrCase() does.
 *
 * @param a, b  the strings
 * @param n     number of characters to compare at most; 0 or less still compares the first one
 * @return as zatCLBCompStrCase()
 */
ZATOSW_API int32_t zatCLBCompStrCaseN(const char* a, const char* b, int32_t n);

/**
 * Copies a string with its letters in lower case.
 *
 * @param dst  receives the string; at least the length of src + 1 bytes. May be src itself.
 * @param src  the string
 * @return length of src
 */
ZATOSW_API uint32_t zatCLBConvertLower(char* dst, const char* src);

/**
 * Copies a string with its letters in upper case.
 *
 * @param dst  receives the string; at least the length of src + 1 bytes. May be src itself.
 * @param src  the string
 * @return length of src
 */
ZATOSW_API uint32_t zatCLBConvertUpper(char* dst, const char* src);

/**
 * Copies the next line of a text, with its newline.
 *
 * A line longer than size - 1 characters comes in pieces of size characters. When the text does
 * not end in a newline, the last line is followed by one byte from behind the buffer, so
 * buf[len] must be readable.
 *
 * @param dst   receives the line and a NUL; it must hold size + 1 bytes
 * @param size  characters that are copied at most
 * @param buf   the text; need not be terminated
 * @param len   length of the text in bytes
 * @param pos   in: where to go on, or the address of a null pointer = at the beginning; out: behind
 *              the characters copied
 * @return dst; null, with dst and pos unchanged, when size is below 2 or nothing is left
 */
ZATOSW_API char* zatCLBGetLine(char* dst, uint32_t size, const char* buf, uint32_t len,
                               const char** pos);

/**
 * Skips the characters that are in a set.
 *
 * Nothing but a character outside the set ends the walk. Forwards, the string's NUL does, at the
 * latest; backwards the caller must know that such a character exists.
 *
 * @param p    where to start; null gives null
 * @param set  the characters to skip; null or empty gives p
 * @param dir  'F' = forwards, everything else = backwards
 * @return the first position, p included, whose character is not in the set
 */
ZATOSW_API char* zatCLBSkipChar(const char* p, const char* set, char dir);

/**
 * Strips blanks, tabs, carriage returns and newlines from both ends of a string.
 *
 * @param s  the string, changed in place: a NUL cuts the end off; null gives null
 * @return the first character left, inside s
 */
ZATOSW_API char* zatCLBStripStr(char* s);

/**
 * Replaces characters of a string by others, in place.
 *
 * @param s     the string
 * @param to    the new characters; those beyond the length of from are not used
 * @param from  the characters to replace, each by the one of to at the same index; of a character
 *              that occurs twice the first index counts
 * @return s; null, with nothing changed, when s or from is null or empty or to is shorter than
 *         from
 */
ZATOSW_API char* zatCLBTransChar(char* s, const char* to, const char* from);

/**
 * Takes the next word off a string. Words are separated by blanks, tabs, carriage returns and
 * newlines.
 *
 * @param s     the string, changed in place: a NUL ends the word; null = go on at *cont
 * @param cont  in, when s is null: where to go on; out: behind the word
 * @return the word; null, with *cont unchanged, when there is none left or the place to start at
 *         is null
 */
ZATOSW_API char* zatCLBGetWord(char* s, char** cont);

/**
 * Finds a word by its number, with the separators of zatCLBGetWord(). The string is not changed.
 *
 * @param s  the string; null gives null
 * @param n  number of the word, 1 = first
 * @return the word's first character; null when n is below 1 or there are fewer words
 */
ZATOSW_API char* zatCLBGetWordIndex(const char* s, int32_t n);

/**
 * Overwrites the beginning of a string with one character. The string never grows.
 *
 * @param s  the string; nothing is done when it is null
 * @param c  the character
 * @param n  number of characters to write at most; the string's end ends it earlier
 */
ZATOSW_API void zatCLBSetChar(char* s, char c, uint32_t n);

ZATOSW_END_DECLS

#endif
