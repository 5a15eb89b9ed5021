// What an entry of the table says, in words and numbers: one list of fields for people and
// programs.
#ifndef ZATIPC_OBJECT_H
#define ZATIPC_OBJECT_H

#include <string>
#include <vector>

#include "table.h"

struct Field {
    std::string label;  // words, separated by blanks
    std::string text;
    bool isNumber;
};

// Everything that is known of an object.
std::vector<Field> fieldsOf(const TableEntry& object);

// Who holds an object; process 0 = nobody, or the type is not held.
IpcThread holderOf(const IpcObjectEntry& entry);

// A line of the listing. Waiters to send and receive, or to take exclusively and shared, are added
// up as "1+2".
struct ListRow {
    std::string name, type, uses, process, task, state, waiters, value;
};
ListRow rowOf(const TableEntry& object);

#endif
