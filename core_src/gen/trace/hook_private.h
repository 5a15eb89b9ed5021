/*
 * The print and dump-log hooks, and the lists of user functions.
 *
 * Lists are appended to under the task lock and read without one: a function is linked when its
 * node is complete, and nothing but zatGENTrcTerm() unlinks any.
 */
#ifndef ZATOSW_GEN_TRACE_HOOK_PRIVATE_H
#define ZATOSW_GEN_TRACE_HOOK_PRIVATE_H

#include "gen/trace/hook.h"

extern ZatGenPrintFunc genPrintHook;
extern ZatGenDumpLogFunc genDumpLogHook;

/* A function of whichever signature its list has. */
using GenUserFunction = void (*)();

struct GenUserNode {
    GenUserNode* next;
    GenUserFunction function;
};

struct GenUserList {
    GenUserNode* head;
    GenUserNode* tail; /* the node added last, for whoever looks at the list from outside: after
                        * zatGENTrcTerm() it may be gone */
};

enum class GenUserKind { LogPrint, LogDump, McLog, McLogError, McDump };
constexpr uint32_t genUserKinds = 5;

/* Adds a function to a list; 0 or the status of the allocation. */
ZatStatus genAddUserFunction(GenUserKind kind, GenUserFunction function);

/* The node behind one, or with null the first. */
GenUserNode* genNextUser(GenUserKind kind, const GenUserNode* node);

/* Goes over the functions of a list, in the order in which they were added. */
template <class Visit>
void genForUsers(GenUserKind kind, Visit visit) {
    for (const GenUserNode* node = genNextUser(kind, nullptr); node != nullptr;
         node = genNextUser(kind, node))
        if (node->function != nullptr) visit(node->function);
}

/* Calls each of them. */
template <class Function, class... Arguments>
void genCallUsers(GenUserKind kind, Arguments... arguments) {
    genForUsers(kind, [&](GenUserFunction function) {
        reinterpret_cast<Function>(function)(arguments...);
    });
}

/* The same with functions that answer: the last answer, or the one given if there are none. */
template <class Function, class... Arguments>
ZatStatus genAskUsers(ZatStatus status, GenUserKind kind, Arguments... arguments) {
    genForUsers(kind, [&](GenUserFunction function) {
        status = reinterpret_cast<Function>(function)(arguments...);
    });
    return status;
}

/* Frees all nodes but the first of each list. */
void genFreeUserFunctions();

#endif
