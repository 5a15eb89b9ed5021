/* Masks by component and level; see mask_commands_private.h. */

#include "gen/console/mask_commands_private.h"

/* "*" in place of a component: levels of all of them. */
static void changeAll(const GenMaskChange& change, GenCommandLine& line) {
    while (const char* word = line.nextWord()) {
        int32_t level = 0;
        if (genIsWord(word, "*")) return change.everyLevel();
        if (genReadNumber(word, level)) change.level(static_cast<uint32_t>(level));
    }
}

static zatGENTrcComp* findComponent(const char* word) {
    uint32_t id = 0;
    if (zatGENTrcComp* named = zatGENGetTrcMaskByName(word)) return named;
    return genReadUnsigned(word, id) ? zatGENGetTrcMaskById(id) : nullptr;
}

static void changeOne(const GenMaskChange& change, uint16_t& mask, GenCommandLine& line) {
    while (const char* word = line.nextWord()) {
        int32_t level = 0;
        if (genIsWord(word, "*")) {
            mask = change.sets ? genAllLevels : 0;
            return;
        }
        if (!genReadNumber(word, level) || level < 0 || level > int32_t{genHighestLevel}) continue;
        const uint32_t bit = 1u << level;
        mask = static_cast<uint16_t>(change.sets ? mask | bit : mask & ~bit);
    }
}

void genChangeMasks(const GenMaskChange& change, GenCommandLine& line) {
    const char* word = line.nextWord();
    if (word == nullptr) return;
    if (genIsWord(word, "*")) return changeAll(change, line);
    if (zatGENTrcComp* component = findComponent(word))
        changeOne(change, component->*change.mask, line);
}
