/* MDF: looks at memory and changes it, a cell after the other. */

#include <string.h>

#include "gen/console/commands_private.h"
#include "gen/console/mapped_memory_private.h"
#include "osw/handle_private.h"

/* A cell of 1, 2 or 4 bytes. */
struct Cell {
    uint32_t address;
    uint32_t size;
};

static uint32_t sizeOf(const char* word) {
    if (genIsWord(word, "B")) return sizeof(uint8_t);
    if (genIsWord(word, "S")) return sizeof(uint16_t);
    if (genIsWord(word, "L")) return sizeof(uint32_t);
    return 0;
}

template <class Word>
static Word load(uint32_t address) {
    Word word;
    memcpy(&word, oswRecord<void>(address), sizeof word);
    return word;
}

template <class Word>
static void store(uint32_t address, uint32_t value) {
    const auto word = static_cast<Word>(value);
    memcpy(oswRecord<void>(address), &word, sizeof word);
}

static void show(const Cell& cell) {
    const auto address = static_cast<unsigned long>(cell.address);
    if (cell.size == sizeof(uint8_t))
        genSay(" %08lx | %02x ->\n", address, load<uint8_t>(cell.address));
    else if (cell.size == sizeof(uint16_t))
        genSay(" %08lx | %04hx ->\n", address, load<uint16_t>(cell.address));
    else
        genSay(" %08lx | %08lx ->\n", address,
               static_cast<unsigned long>(load<uint32_t>(cell.address)));
}

static void change(const Cell& cell, uint32_t value) {
    if (cell.size == sizeof(uint8_t))
        store<uint8_t>(cell.address, value);
    else if (cell.size == sizeof(uint16_t))
        store<uint16_t>(cell.address, value);
    else
        store<uint32_t>(cell.address, value);
}

/* What is typed at a cell: a hexadecimal value is stored, and the next cell comes, as by N or
 * nothing; P goes back, Q ends it, at anything else the cell is shown again. False at the end. */
static bool answer(Cell& cell) {
    char text[ZAT_GEN_COMMAND_LINE_SIZE];
    if (zatGENGetInput(text, sizeof text) == nullptr || genIsWord(text, "Q")) return false;
    uint32_t value = 0;
    if (genIsWord(text, "P")) {
        cell.address -= cell.size;
    } else if (genIsWord(text, "N") || text[0] == '\0') {
        cell.address += cell.size;
    } else if (genReadHex(text, value)) {
        change(cell, value);
        cell.address += cell.size;
    }
    return true;
}

void genRunModify(GenCommandLine& line) {
    Cell cell = {0, 0};
    if (!genReadHex(line.nextWord(), cell.address)) return;
    cell.size = sizeOf(line.nextWord());
    if (cell.size == 0) return;
    genSay("Modify mode <N-next P-previous Q-quit>\n");
    do {
        if (!genCheckAccess(cell.address, cell.size, GenAccess::Write)) return;
        show(cell);
    } while (answer(cell));
}
