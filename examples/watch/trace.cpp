#include "trace.h"

#include <initializer_list>

// The records stay where they are: the library keeps their addresses.
static zatGENTrcComp components[] = {
    {watchComponent, 0, 0, 0, 0, 0, 0, ZAT_GEN_DUMP_SIZE, "WATCH"},
};

void openTrace() {
    zatGENAddTraceId(components, 1);
    for (const unsigned component : {ZAT_GEN_SYSTEM, watchComponent}) {
        for (const unsigned level : {levelReport, levelTrouble, levelConsole})
            zatGENTrcSet(component, level);
        zatGENPrnSet(component, levelConsole);
    }
}

bool made(ZatStatus status, const char* what) {
    if (status == ZAT_OK) return true;
    watchSay(levelTrouble, "Cannot make the %s: %s (%lx)\n", what, zatStatusText(status),
             static_cast<unsigned long>(status));
    return false;
}
