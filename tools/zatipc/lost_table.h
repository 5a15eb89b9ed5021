// A table that processes use although its key file is gone, as when something tidies up /tmp: it
// cannot be found by its name, and what is in it looks like nobody's.
#ifndef ZATIPC_LOST_TABLE_H
#define ZATIPC_LOST_TABLE_H

#include "table.h"

enum class LostTable { None, InUse, Unknown };

// InUse when some process has a page attached that is none of the table's and that has an object of
// this directory in it. Unknown when the kernel's list of segments cannot be read. Segments of
// other users of the same size are looked into as well, and only that.
LostTable findLostTable(const KeyDirectory& directory, const Table& table);

#endif
