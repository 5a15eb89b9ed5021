// What key files are for, and what things are called here.
#ifndef ZATIPC_NAMES_H
#define ZATIPC_NAMES_H

#include <string>

#include "osw/ipc/names_private.h"

// The System V objects behind one key: which of them there are, and how large.
struct SysvShape {
    int semaphores;  // of the set; 0 = no set
    bool queue;
    bool segment;
    uint32_t segmentSize;  // 0 = any
};

struct KindNames {
    const char* word;  // what the type is called here
    SysvShape shape;
};

extern const KindNames kindNames[IPC_TYPES];

enum class KeyFileKind { Object, TypeLock, Table, Page, Other };

// What a key file is for, by its name.
struct KeyFileMeaning {
    KeyFileKind kind;
    uint32_t type;       // of an object
    std::string object;  // name of an object
    SysvShape shape;
};

KeyFileMeaning meaningOf(const std::string& file);

// What an entry says of itself; neither a NUL nor a known type is taken for granted.
std::string nameOf(const IpcObjectEntry& entry);
bool hasName(const IpcObjectEntry& entry);
std::string typeOf(const IpcObjectEntry& entry);

// For people: characters that could drive a terminal or break a table are '?'.
std::string shownName(const std::string& name);

#endif
