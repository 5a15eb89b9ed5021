/* Libraries: loaded, and a function of theirs called or run as a task. */

#include "gen/console/commands_private.h"
#include "osw/library.h"
#include "osw/task_private.h"

static constexpr uint32_t argumentCount = 10;

/* A function of a library, and what it is to be called with. */
struct LibraryCall {
    const char* name;
    ZatTaskEntry function;
    uint32_t arguments[argumentCount];
};

static void sayFailure(const char* what, ZatStatus status) {
    genSay("< ERROR > failed to %s rc = %08lx\n", what, static_cast<unsigned long>(status));
}

/* Words that are no numbers leave a 0. */
static void readArguments(GenCommandLine& line, LibraryCall& call) {
    for (uint32_t& argument : call.arguments) {
        int32_t number = 0;
        genReadNumber(line.nextWord(), number);
        argument = static_cast<uint32_t>(number);
    }
}

/* Loads the library and looks for the function, if there is one to call. */
static bool prepare(GenCommandLine& line, LibraryCall& call) {
    const char* path = line.nextWord();
    if (path == nullptr) return false;
    call.name = line.nextWord();
    readArguments(line, call);
    ZatLibrary library = nullptr;
    ZatStatus status = zatOSWLoadLibrary(&library, path);
    if (status != ZAT_OK) {
        sayFailure("load library", status);
        return false;
    }
    if (call.name == nullptr) return false;
    void* address = nullptr;
    status = zatOSWGetProcAddress(library, call.name, &address);
    if (status != ZAT_OK) {
        sayFailure("get address procedure in library", status);
        return false;
    }
    call.function = reinterpret_cast<ZatTaskEntry>(address);
    return true;
}

void genRunLoadLibrary(GenCommandLine& line) {
    LibraryCall call = {};
    if (!prepare(line, call)) return;
    const uint32_t* a = call.arguments;
    call.function(a[0], a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
}

void genRunLibraryTask(GenCommandLine& line) {
    LibraryCall call = {};
    if (!prepare(line, call)) return;
    const uint32_t* a = call.arguments;
    ZatTaskId task = 0;
    const ZatStatus created =
        zatOSWCreateJoinTask(&task, call.name, ZAT_INHERIT_PRIORITY, 0, call.function, 0, a[0],
                             a[1], a[2], a[3], a[4], a[5], a[6], a[7], a[8], a[9]);
    if (const ZatStatus status = oswCreated(created, task); status != ZAT_OK)
        sayFailure("create task of library", status);
}

void genRunUnloadLibrary(GenCommandLine& line) {
    const char* path = line.nextWord();
    if (path == nullptr) return;
    if (const ZatStatus status = zatOSWUnloadLibrary(path); status != ZAT_OK)
        sayFailure("unload library", status);
}

void genRunLibraries(GenCommandLine&) {
    zatOSWShowLoadLibInfo(genConsole.component, genConsoleLevel);
}
