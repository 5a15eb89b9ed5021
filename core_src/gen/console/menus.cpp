/* Menus and command functions of the application; see menus_private.h. */

#include "gen/console/menus_private.h"

#include <string.h>

#include <algorithm>

#include "gen/task_lock_private.h"
#include "osw/mem_part.h"

/* A function of whichever signature its table has. */
using Function = void (*)();

struct MenuTable {
    Function* slots;
    uint32_t count;
    uint32_t capacity;
};

static constexpr uint32_t growStep = 5;
static MenuTable tables[3];

static MenuTable& tableOf(GenMenuKind kind) {
    return tables[static_cast<uint32_t>(kind)];
}

/* Makes room in a full table. */
static ZatStatus grow(MenuTable& table) {
    const uint32_t capacity = table.capacity + growStep;
    void* memory = nullptr;
    const ZatStatus status = zatOSWOrgAllocMemPart(0, &memory, capacity * sizeof(Function));
    if (status != ZAT_OK) return status;
    auto* slots = static_cast<Function*>(memory);
    std::copy_n(table.slots, table.count, slots);
    if (table.slots != nullptr) zatOSWOrgFreeMemPart(0, table.slots);
    table.slots = slots;
    table.capacity = capacity;
    return ZAT_OK;
}

static ZatStatus add(GenMenuKind kind, Function function) {
    if (function == nullptr) return ZAT_OK;
    const GenTaskLock lock;
    if (!lock.isHeld()) return lock.status();
    MenuTable& table = tableOf(kind);
    if (table.count == table.capacity)
        if (const ZatStatus status = grow(table); status != ZAT_OK) return status;
    table.slots[table.count++] = function;
    return ZAT_OK;
}

static ZatStatus remove(GenMenuKind kind, Function function) {
    const GenTaskLock lock;
    if (!lock.isHeld()) return lock.status();
    MenuTable& table = tableOf(kind);
    Function* end = table.slots + table.count;
    Function* slot = std::find(table.slots, end, function);
    if (slot != end) *slot = nullptr;
    return ZAT_OK;
}

/* The next function of a table from a place on, which moves behind it; null when there is none. */
static Function next(GenMenuKind kind, uint32_t& place) {
    const GenTaskLock lock;
    if (!lock.isHeld()) return nullptr;
    const MenuTable& table = tableOf(kind);
    while (place < table.count)
        if (const Function function = table.slots[place++]) return function;
    return nullptr;
}

bool genHasMenu(GenMenuKind kind) {
    uint32_t place = 0;
    return next(kind, place) != nullptr;
}

bool genCallMenus(GenMenuKind kind) {
    uint32_t place = 0;
    while (const Function function = next(kind, place)) {
        char buffer[ZAT_GEN_COMMAND_LINE_SIZE] = "";
        if (reinterpret_cast<ZatGenMenuFunc>(function)(buffer, sizeof buffer) != 0) return false;
    }
    return true;
}

void genCallCommands(const char* line) {
    uint32_t place = 0;
    while (const Function function = next(GenMenuKind::Command, place)) {
        char copy[ZAT_GEN_COMMAND_LINE_SIZE] = "";
        strncpy(copy, line, sizeof copy - 1);
        reinterpret_cast<ZatGenCommandFunc>(function)(copy);
    }
}

void genForgetMenus() {
    const GenTaskLock lock;
    if (!lock.isHeld()) return;
    for (MenuTable& table : tables) {
        if (table.slots != nullptr) zatOSWOrgFreeMemPart(0, table.slots);
        table = {};
    }
}

static Function anyFunction(ZatGenMenuFunc menu) {
    return reinterpret_cast<Function>(menu);
}

static Function anyFunction(ZatGenCommandFunc command) {
    return reinterpret_cast<Function>(command);
}

ZatStatus zatGENAddCtrlCommandMenu(ZatGenMenuFunc menu) {
    return add(GenMenuKind::Control, anyFunction(menu));
}

ZatStatus zatGENAddUserCommandMenu(ZatGenMenuFunc menu) {
    return add(GenMenuKind::User, anyFunction(menu));
}

ZatStatus zatGENAddCommandProcess(ZatGenCommandFunc command) {
    return add(GenMenuKind::Command, anyFunction(command));
}

ZatStatus zatGENRemoveCtrlCommandMenu(ZatGenMenuFunc menu) {
    return remove(GenMenuKind::Control, anyFunction(menu));
}

ZatStatus zatGENRemoveUserCommandMenu(ZatGenMenuFunc menu) {
    return remove(GenMenuKind::User, anyFunction(menu));
}

ZatStatus zatGENRemoveCommandProcess(ZatGenCommandFunc command) {
    return remove(GenMenuKind::Command, anyFunction(command));
}
